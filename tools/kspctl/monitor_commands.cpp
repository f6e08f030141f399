#include "tools/kspctl/monitor_commands.h"

#include <memory>
#include <vector>

#include "ports/port_record_forms.h"
#include "ports/xcv_port_info.h"

namespace ksp::ctl {
namespace {

// The spooler takes inputs as writable bytes, and the monitor writes into one of them.
std::vector<BYTE> BytesOf(const std::wstring& text) {
    const auto* const bytes = reinterpret_cast<const BYTE*>(text.c_str());
    return {bytes, bytes + (text.size() + 1) * sizeof(wchar_t)};
}

template <class Record>
std::span<BYTE> AsBytes(Record& record) {
    return {reinterpret_cast<BYTE*>(&record), sizeof(record)};
}

// What the monitor sends for a text that is not there.
std::wstring TextOrNone(const std::wstring& text) {
    return text.empty() ? L"NONE" : text;
}

}  // namespace

DWORD AskMonitorType(const XcvHandle& monitor, MonitorType* type) {
    std::uint32_t value = 0;
    const DWORD code = monitor.Send(L"GetMonitorType", {}, AsBytes(value));
    if (code == ERROR_SUCCESS) {
        *type = static_cast<MonitorType>(value);
    }
    return code;
}

DWORD AskIsOurPort(const XcvHandle& monitor, const std::wstring& port, bool* ours) {
    std::vector<BYTE> input = BytesOf(port);
    BOOL known = FALSE;
    const DWORD code = monitor.Send(L"IsKspPort", input, AsBytes(known));
    *ours = code == ERROR_SUCCESS && known != FALSE;
    return code;
}

DWORD AskPortExists(const XcvHandle& monitor, const std::wstring& port) {
    std::vector<BYTE> input = BytesOf(port);
    return monitor.Send(L"PortExists", input, {});
}

DWORD SendAddPort(const XcvHandle& monitor, const CPortInfo& info) {
    std::vector<BYTE> input = BytesOf(AddPortText(info));
    return monitor.Send(L"AddPort", input, {});
}

DWORD SendDeletePort(const XcvHandle& monitor, const std::wstring& port) {
    std::vector<BYTE> input = BytesOf(port);
    return monitor.Send(L"DeletePort", input, {});
}

DWORD SendSilentAdd(const XcvHandle& monitor, const std::string& text) {
    std::vector<BYTE> input(text.c_str(), text.c_str() + text.size() + 1);
    return monitor.Send(L"SilentAddPort", input, {});
}

DWORD SendPortConfig(const XcvHandle& monitor, const CPortInfo& info) {
    const auto record = std::make_unique<XcvPortInfo>();
    if (!FillRecord(info, *record)) {
        return ERROR_INVALID_DATA;
    }
    return monitor.Send(L"ConfigurePort", AsBytes(*record), {});
}

DWORD AskPortConfig(const XcvHandle& monitor, const std::wstring& port, CPortInfo* info) {
    std::vector<BYTE> input = BytesOf(port);
    const auto record = std::make_unique<XcvPortInfo>();
    const DWORD code = monitor.Send(L"GetPortConfig", input, AsBytes(*record));
    if (code == ERROR_SUCCESS) {
        ReadRecord(*record, *info);
    }
    return code;
}

std::wstring AddPortText(const CPortInfo& info) {
    const std::wstring tokens[kAddPortTokens] = {
        info.PortName,
        std::to_wstring(info.ProtocolID),
        info.PrinterAddress,
        info.PortName,
        TextOrNone(info.IpAddress),
        TextOrNone(info.SubnetMask),
        TextOrNone(info.MacAddress),
        std::to_wstring(info.PrinterAddressType),
        std::to_wstring(info.SecureUserMode),
        std::to_wstring(info.SecureRawPortNo),
        std::to_wstring(info.CheckPortNo),
        info.UserIdentityName,
    };
    std::wstring text;
    for (const std::wstring& token : tokens) {
        text += (&token == tokens ? L"" : L",") + token;
    }
    return text;
}

}  // namespace ksp::ctl
