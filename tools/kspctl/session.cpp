#include "tools/kspctl/session.h"

#include <algorithm>

#include "ports/port_record_forms.h"
#include "tools/kspctl/monitor_names.h"

namespace ksp::ctl {
namespace {

ACCESS_MASK MaskOf(Access access) {
    return access == Access::kChange ? SERVER_ACCESS_ADMINISTER : SERVER_ACCESS_ENUMERATE;
}

// How spoolers say that they do not know a name: the versions differ.
bool SaysUnknown(DWORD error) {
    constexpr DWORD kUnknown[] = {ERROR_INVALID_PRINTER_NAME, ERROR_UNKNOWN_PRINT_MONITOR,
                                  ERROR_INVALID_NAME,         ERROR_FILE_NOT_FOUND,
                                  ERROR_INVALID_PARAMETER,    ERROR_UNKNOWN_PORT,
                                  ERROR_MOD_NOT_FOUND};
    return std::find(std::begin(kUnknown), std::end(kUnknown), error) != std::end(kUnknown);
}

}  // namespace

std::vector<std::wstring> MonitorsToTry(const Request& request) {
    if (!request.monitor.empty()) {
        return {request.monitor};
    }
    if (request.id_print) {
        return {std::wstring(kIdPrintMonitor)};
    }
    return {std::wstring(kOrdinaryMonitor), std::wstring(kIdPrintMonitor)};
}

Problem OpenMonitor(const Request& request, Access access, XcvHandle* monitor, std::wstring* name) {
    const Spooler spooler(request.server);
    const std::vector<std::wstring> candidates = MonitorsToTry(request);
    for (const std::wstring& candidate : candidates) {
        const DWORD error = spooler.OpenMonitor(candidate, MaskOf(access), monitor);
        if (error == ERROR_SUCCESS) {
            if (name != nullptr) {
                *name = candidate;
            }
            return std::nullopt;
        }
        if (!SaysUnknown(error)) {
            return SystemFailure(L"cannot reach the monitor " + Quoted(candidate), error);
        }
    }
    return Failure{
        ExitCode::kNotFound,
        L"the monitor " + Quoted(candidates.front()) + L" is not installed, or does not start",
        L"install it with: kspctl install; if it is installed, look at its settings "
        L"with: kspctl settings"};
}

Problem OpenPort(const Request& request, const std::wstring& port, Access access,
                 XcvHandle* monitor) {
    if (Problem problem = CheckPortName(port); problem) {
        return problem;
    }
    const Spooler spooler(request.server);
    const DWORD error = spooler.OpenPort(port, MaskOf(access), monitor);
    if (SaysUnknown(error)) {
        return NoSuchPort(port);
    }
    if (error != ERROR_SUCCESS) {
        return SystemFailure(L"cannot open the port " + Quoted(port), error);
    }
    bool ours = false;
    const DWORD code = AskIsOurPort(*monitor, port, &ours);
    if (code == ERROR_INVALID_PARAMETER) {
        return Failure{ExitCode::kNotFound,
                       L"the port " + Quoted(port) + L" belongs to another monitor",
                       L"the ports of this one are shown by: kspctl list"};
    }
    if (code != ERROR_SUCCESS) {
        return SystemFailure(L"the monitor does not tell about the port " + Quoted(port), code);
    }
    return ours ? Problem() : NoSuchPort(port);
}

Problem ReadRecord(const XcvHandle& monitor, const std::wstring& port, CPortInfo* info) {
    const DWORD code = AskPortConfig(monitor, port, info);
    if (code != ERROR_SUCCESS) {
        Failure failure =
            SystemFailure(L"the monitor has no record of the port " + Quoted(port), code);
        if (failure.advice.empty()) {
            failure.advice = L"the monitor's log tells why; see: kspctl help settings";
        }
        return failure;
    }
    if (info->PortName != port) {
        return Failure{ExitCode::kFailed,
                       L"the monitor answered with the record of the port " +
                           Quoted(info->PortName) + L", which is tracked by its MAC address",
                       L"while there is such a port, write the other ports' settings with: kspctl "
                       L"add --replace"};
    }
    return std::nullopt;
}

Problem ReadPort(const Request& request, const std::wstring& port, CPortInfo* info,
                 MonitorType* type) {
    XcvHandle monitor;
    if (Problem problem = OpenPort(request, port, Access::kRead, &monitor); problem) {
        return problem;
    }
    if (Problem problem = ReadRecord(monitor, port, info); problem) {
        return problem;
    }
    const DWORD code = AskMonitorType(monitor, type);
    return code == ERROR_SUCCESS ? Problem()
                                 : SystemFailure(L"the monitor does not tell what it is", code);
}

Problem CheckPortName(const std::wstring& port) {
    if (IsPortNameValid(port)) {
        return std::nullopt;
    }
    return WrongUsage(Quoted(port) +
                      L" cannot be the name of a port: a name has 1 to 255 "
                      L"characters and no backslash");
}

Problem AskOwner(const XcvHandle& monitor, const std::wstring& port, bool* ours) {
    const DWORD code = AskIsOurPort(monitor, port, ours);
    return code == ERROR_SUCCESS || code == ERROR_INVALID_PARAMETER
               ? Problem()
               : SystemFailure(L"the monitor does not tell about the port " + Quoted(port), code);
}

Failure NoSuchPort(const std::wstring& port) {
    return {ExitCode::kNotFound, L"there is no port " + Quoted(port),
            L"the ports are shown by: kspctl list"};
}

}  // namespace ksp::ctl
