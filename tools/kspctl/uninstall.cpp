#include "tools/kspctl/commands.h"
#include "tools/kspctl/machine_registry.h"
#include "tools/kspctl/monitor_names.h"
#include "tools/kspctl/our_ports.h"

namespace ksp::ctl {
namespace {

Failure HasPorts(const std::wstring& which) {
    return {ExitCode::kInUse, L"the monitor has ports: " + which,
            L"delete them first, or lose them with --with-ports"};
}

Failure NotInstalled(const std::wstring& name) {
    return {ExitCode::kNotFound, L"the monitor " + Quoted(name) + L" is not installed",
            L"another vendor's monitor of that name is left alone"};
}

// One removal, step by step.
class Removal {
  public:
    Removal(const Request& request, Output& output)
        : request_(request),
          output_(output),
          spooler_(request.server),
          type_(request.id_print ? MonitorType::kIdPrint : MonitorType::kOrdinary),
          name_(request.monitor.empty() ? DefaultMonitorName(type_) : request.monitor) {}

    Problem Run() {
        if (const LONG code = registry_.Connect(spooler_.unc_name()); code != ERROR_SUCCESS) {
            return SystemFailure(L"cannot reach the registry", static_cast<DWORD>(code));
        }
        // Asked now: the key that says it does not outlive the monitor.
        installed_type_ = registry_.InstalledType(name_);
        type_ = installed_type_.value_or(type_);
        if (Problem problem = AskMonitor(); problem) {
            return problem;
        }
        if (Problem problem = DeleteMonitor(); problem) {
            return problem;
        }
        // What `install` wrote there before the spooler knew the monitor.
        const LONG code = registry_.DeleteTree(MonitorKeyPath(name_));
        if (code != ERROR_SUCCESS && code != ERROR_FILE_NOT_FOUND) {
            return SystemFailure(L"cannot remove the monitor's key", static_cast<DWORD>(code));
        }
        output_.Line(L"uninstalled the monitor " + Quoted(name_));
        return request_.Has(L"--purge") ? Purge() : std::nullopt;
    }

  private:
    // Whether it is ours, its kind and its ports. The channel is closed again before the monitor is
    // deleted: an open one keeps it in use.
    Problem AskMonitor() {
        XcvHandle monitor;
        const DWORD error = spooler_.OpenMonitor(name_, SERVER_ACCESS_ADMINISTER, &monitor);
        if (error != ERROR_SUCCESS) {
            if (installed_type_) {
                return CheckStoredPorts();
            }
            return error == ERROR_ACCESS_DENIED
                       ? SystemFailure(L"cannot reach the monitor " + Quoted(name_), error)
                       : NotInstalled(name_);
        }
        if (!installed_type_ && !TellsItsType(monitor)) {
            return NotInstalled(name_);
        }
        return request_.Has(L"--with-ports") ? std::nullopt : CheckPorts(monitor);
    }

    // No other monitor knows the question.
    bool TellsItsType(const XcvHandle& monitor) {
        return AskMonitorType(monitor, &type_) == ERROR_SUCCESS &&
               (type_ == MonitorType::kOrdinary || type_ == MonitorType::kIdPrint);
    }

    Problem CheckPorts(const XcvHandle& monitor) const {
        std::vector<std::wstring> ports;
        if (Problem problem = ListOurPorts(request_, monitor, &ports); problem) {
            return problem;
        }
        if (ports.empty()) {
            return std::nullopt;
        }
        return HasPorts(
            Quoted(ports.front()) +
            (ports.size() == 1 ? L"" : L" and " + std::to_wstring(ports.size() - 1) + L" more"));
    }

    // A monitor that does not start still has the ports that it would start with.
    Problem CheckStoredPorts() {
        const DWORD count = registry_.CountPorts(name_);
        return count == 0 || request_.Has(L"--with-ports")
                   ? Problem()
                   : HasPorts(std::to_wstring(count) + L" in the registry; it does not start");
    }

    Problem DeleteMonitor() const {
        const DWORD error = spooler_.DeleteMonitor(name_);
        if (error == ERROR_UNKNOWN_PRINT_MONITOR || error == ERROR_FILE_NOT_FOUND) {
            // A spooler forgets a monitor that did not start; its key is still there.
            return installed_type_ ? Problem() : NotInstalled(name_);
        }
        if (error == ERROR_PRINT_MONITOR_IN_USE || error == ERROR_BUSY) {
            return Failure{ExitCode::kInUse, L"the monitor " + Quoted(name_) + L" is in use",
                           L"give its printers another port, then start the spooler again"};
        }
        return error == ERROR_SUCCESS
                   ? Problem()
                   : SystemFailure(L"the spooler does not delete the monitor", error);
    }

    Problem Purge() {
        const LONG code = registry_.DeleteTree(SoftwareKeyPath(type_));
        if (code != ERROR_SUCCESS && code != ERROR_FILE_NOT_FOUND) {
            return SystemFailure(L"cannot remove the settings", static_cast<DWORD>(code));
        }
        output_.Line(L"removed its settings");
        return std::nullopt;
    }

    const Request& request_;
    Output& output_;
    Spooler spooler_;
    MachineRegistry registry_;
    MonitorType type_;
    std::wstring name_;
    std::optional<MonitorType> installed_type_;
};

}  // namespace

Problem Uninstall(const Request& request, Output& output) {
    return Removal(request, output).Run();
}

}  // namespace ksp::ctl
