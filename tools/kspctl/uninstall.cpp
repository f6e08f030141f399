#include "tools/kspctl/commands.h"
#include "tools/kspctl/machine_registry.h"
#include "tools/kspctl/monitor_names.h"
#include "tools/kspctl/our_ports.h"

namespace ksp::ctl {
namespace {

// A monitor that does not start has no ports to lose.
Problem CheckNoPorts(const Request& request, const XcvHandle& monitor) {
    std::vector<std::wstring> ports;
    if (Problem problem = ListOurPorts(request, monitor, &ports); problem) {
        return problem;
    }
    if (ports.empty()) {
        return std::nullopt;
    }
    return Failure{
        ExitCode::kInUse,
        L"the monitor has ports: " + Quoted(ports.front()) +
            (ports.size() == 1 ? L"" : L" and " + std::to_wstring(ports.size() - 1) + L" more"),
        L"delete them first, or lose them with --with-ports"};
}

}  // namespace

Problem Uninstall(const Request& request, Output& output) {
    MonitorType type = request.id_print ? MonitorType::kIdPrint : MonitorType::kOrdinary;
    const std::wstring name = request.monitor.empty() ? DefaultMonitorName(type) : request.monitor;
    const Spooler spooler(request.server);
    {
        // Closed before the monitor is deleted: an open channel keeps it in use.
        XcvHandle monitor;
        if (spooler.OpenMonitor(name, SERVER_ACCESS_ADMINISTER, &monitor) == ERROR_SUCCESS) {
            static_cast<void>(AskMonitorType(monitor, &type));
            if (!request.Has(L"--with-ports")) {
                if (Problem problem = CheckNoPorts(request, monitor); problem) {
                    return problem;
                }
            }
        }
    }
    const DWORD error = spooler.DeleteMonitor(name);
    if (error == ERROR_UNKNOWN_PRINT_MONITOR || error == ERROR_FILE_NOT_FOUND) {
        return Failure{ExitCode::kNotFound, L"the monitor " + Quoted(name) + L" is not installed"};
    }
    if (error == ERROR_PRINT_MONITOR_IN_USE || error == ERROR_BUSY) {
        return Failure{ExitCode::kInUse, L"the monitor " + Quoted(name) + L" is in use",
                       L"give its printers another port, then start the spooler again"};
    }
    if (error != ERROR_SUCCESS) {
        return SystemFailure(L"the spooler does not delete the monitor", error);
    }
    output.Line(L"uninstalled the monitor " + Quoted(name));
    MachineRegistry registry;
    if (registry.Connect(spooler.unc_name()) != ERROR_SUCCESS) {
        return std::nullopt;
    }
    // What `install` wrote there before the spooler knew the monitor.
    registry.DeleteTree(MonitorKeyPath(name));
    if (request.Has(L"--purge")) {
        const LONG code = registry.DeleteTree(SoftwareKeyPath(type));
        if (code != ERROR_SUCCESS && code != ERROR_FILE_NOT_FOUND) {
            return SystemFailure(L"cannot remove the settings", static_cast<DWORD>(code));
        }
        output.Line(L"removed its settings");
    }
    return std::nullopt;
}

}  // namespace ksp::ctl
