#include "tools/kspctl/port_changes.h"

#include "ports/xcv_port_info.h"
#include "tools/kspctl/port_fields.h"

namespace ksp::ctl {
namespace {

// A job may hold the port; otherwise the monitor's log knows more.
Failure NotConfigured(const std::wstring& port, DWORD code) {
    if (code != ERROR_INVALID_DATA) {
        return SystemFailure(L"the monitor does not configure the port " + Quoted(port), code);
    }
    return {ExitCode::kInUse, L"the monitor does not configure the port " + Quoted(port) + L" now",
            L"wait until no job prints on it; the monitor's log tells if it is something else"};
}

}  // namespace

Problem CheckRecord(const CPortInfo& info, MonitorType type) {
    for (const PortField& field : PortFields()) {
        if (field.text == nullptr) {
            continue;
        }
        const std::wstring& text = info.*field.text;
        if (text.find(L',') != std::wstring::npos) {
            return WrongUsage(std::wstring(field.name) + L" cannot hold a comma: " + Quoted(text));
        }
        if (text.size() >= XcvPortInfo::kSlot) {
            return WrongUsage(std::wstring(field.name) + L" is longer than " +
                              std::to_wstring(XcvPortInfo::kSlot - 1) + L" characters");
        }
    }
    if (PrintsNothing(info, type) && info.UserIdentityName.empty()) {
        return WrongUsage(
            L"user mode 1 (SecureUserMode), which prints nothing, is taken with an identity name "
            L"only; 2 prints with the user's");
    }
    return std::nullopt;
}

Problem CheckTracking(const CPortInfo& info) {
    return info.IsTracked() && info.MacAddress.empty()
               ? Problem(
                     WrongUsage(L"a tracked port needs a MAC address (--mac, MacAddress): by it "
                                L"the printer is found again"))
               : std::nullopt;
}

Problem ChangePort(const XcvHandle& monitor, const CPortInfo& info, bool address_values) {
    if (address_values) {
        const DWORD code = SendAddPort(monitor, info);
        if (code != ERROR_SUCCESS && code != ERROR_ALREADY_EXISTS) {
            return NotConfigured(info.PortName, code);
        }
    }
    const DWORD code = SendPortConfig(monitor, info);
    return code == ERROR_SUCCESS ? Problem() : NotConfigured(info.PortName, code);
}

std::wstring DefaultQueue(std::uint32_t protocol) {
    return protocol == static_cast<std::uint32_t>(ProtocolId::kRaw) ? L"" : L"KSPQueue";
}

}  // namespace ksp::ctl
