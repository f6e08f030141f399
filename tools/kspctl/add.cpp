#include "ports/printer_address.h"
#include "tools/kspctl/commands.h"
#include "tools/kspctl/port_changes.h"
#include "tools/kspctl/port_fields.h"

namespace ksp::ctl {
namespace {

struct FieldOption {
    const wchar_t* option;
    const wchar_t* field;
};
constexpr FieldOption kFieldOptions[] = {
    {L"--address", L"PrinterAddress"},   {L"--protocol", L"ProtocolID"},
    {L"--ip", L"IpAddress"},             {L"--mask", L"SubnetMask"},
    {L"--mac", L"MacAddress"},           {L"--raw-port", L"SecureRawPortNo"},
    {L"--check-port", L"CheckPortNo"},   {L"--user-mode", L"SecureUserMode"},
    {L"--identity", L"UserIdentityName"},
};

Problem TakeOptions(const Request& request, MonitorType type, CPortInfo* info) {
    if (request.Value(L"--address").value_or(L"").empty()) {
        return WrongUsage(L"--address is needed: the printer's IPv4 address or host name");
    }
    info->ProtocolID = static_cast<std::uint32_t>(ProtocolId::kRaw);
    if (type == MonitorType::kIdPrint) {
        info->SecureRawPortNo = kSecureRawPort;
    }
    for (const FieldOption& entry : kFieldOptions) {
        if (const auto value = request.Value(entry.option); value) {
            if (Problem problem = StoreField(*FindPortField(entry.field), *value, type, info);
                problem) {
                return problem;
            }
        }
    }
    info->PrinterAddressType = GetPrinterAddressType(info->PrinterAddress);
    if (const auto value = request.Value(L"--type"); value) {
        if (Problem problem = ParseAddressType(*value, &info->PrinterAddressType); problem) {
            return problem;
        }
    }
    if (Problem problem = CheckTracking(*info); problem) {
        return problem;
    }
    info->QueueName = request.Value(L"--queue").value_or(DefaultQueue(info->ProtocolID));
    info->PortNumber = PrintingPort(*info, type);
    return CheckRecord(*info, type);
}

// None for a name that is free, or that is one of our ports and may be replaced.
Problem CheckName(const Request& request, const XcvHandle& monitor, const std::wstring& port,
                  bool* exists) {
    const DWORD code = AskPortExists(monitor, port);
    *exists = code == ERROR_SUCCESS;
    if (code == ERROR_UNKNOWN_PORT) {
        return std::nullopt;
    }
    if (code != ERROR_SUCCESS && code != ERROR_INVALID_DATA) {
        return SystemFailure(L"the monitor does not tell whether the port exists", code);
    }
    if (!*exists) {
        return std::nullopt;  // a spooler without any port answers so
    }
    bool ours = false;
    if (Problem problem = AskOwner(monitor, port, &ours); problem) {
        return problem;
    }
    if (!ours) {
        return Failure{ExitCode::kExists,
                       L"another monitor has a port " + Quoted(port) + L" already",
                       L"choose another name"};
    }
    if (!request.Has(L"--replace")) {
        return Failure{ExitCode::kExists, L"there is a port " + Quoted(port) + L" already",
                       L"change it with: kspctl set, or add it with --replace"};
    }
    return std::nullopt;
}

Failure NotAdded(const std::wstring& port, DWORD code) {
    if (code == ERROR_ALREADY_EXISTS) {
        return {ExitCode::kExists, L"there is a port " + Quoted(port) + L" already",
                L"choose another name"};
    }
    Failure failure = SystemFailure(L"the monitor does not add the port " + Quoted(port), code);
    if (failure.advice.empty()) {
        failure.advice = L"the monitor's log tells why; see: kspctl help settings";
    }
    return failure;
}

// Adding gives a port its protocol's standard queue and TCP port.
bool NeedsConfiguring(const CPortInfo& info, MonitorType type) {
    return info.QueueName != DefaultQueue(info.ProtocolID) ||
           (type == MonitorType::kIdPrint && info.PortNumber != kSecureRawPort);
}

}  // namespace

Problem Add(const Request& request, Output& output) {
    CPortInfo info;
    info.PortName = request.arguments.front();
    if (Problem problem = CheckPortName(info.PortName); problem) {
        return problem;
    }
    XcvHandle monitor;
    if (Problem problem = OpenMonitor(request, Access::kChange, &monitor); problem) {
        return problem;
    }
    MonitorType type = MonitorType::kNone;
    if (const DWORD code = AskMonitorType(monitor, &type); code != ERROR_SUCCESS) {
        return SystemFailure(L"the monitor does not tell what it is", code);
    }
    if (Problem problem = TakeOptions(request, type, &info); problem) {
        return problem;
    }
    bool exists = false;
    if (Problem problem = CheckName(request, monitor, info.PortName, &exists); problem) {
        return problem;
    }
    if (exists) {
        if (Problem problem = ChangePort(monitor, info, true); problem) {
            return problem;
        }
        output.Line(L"configured the port " + Quoted(info.PortName));
        return std::nullopt;
    }
    if (const DWORD code = SendAddPort(monitor, info); code != ERROR_SUCCESS) {
        return NotAdded(info.PortName, code);
    }
    if (NeedsConfiguring(info, type)) {
        if (Problem problem = ChangePort(monitor, info, false); problem) {
            return problem;
        }
    }
    output.Line(L"added the port " + Quoted(info.PortName));
    return std::nullopt;
}

}  // namespace ksp::ctl
