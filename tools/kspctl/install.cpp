#include "tools/kspctl/commands.h"
#include "tools/kspctl/library_file.h"
#include "tools/kspctl/machine_registry.h"
#include "tools/kspctl/monitor_names.h"
#include "tools/kspctl/session.h"
#include "tools/print/program_directory.h"

namespace ksp::ctl {
namespace {

constexpr wchar_t kTypeValue[] = L"KSPRINT_SECURE";
constexpr wchar_t kDiscoveryLibrary[] = L"KSSTRMAPIe.dll";

MonitorType WantedType(const Request& request) {
    return request.id_print ? MonitorType::kIdPrint : MonitorType::kOrdinary;
}

// One installation, step by step; what was begun is taken back when a later step fails.
class Installation {
  public:
    Installation(const Request& request, Output& output)
        : request_(request),
          output_(output),
          spooler_(request.server),
          type_(WantedType(request)),
          name_(request.monitor.empty() ? DefaultMonitorName(type_) : request.monitor),
          library_(request.Value(L"--library").value_or(L"kspmon.dll")),
          exe_directory_(request.Value(L"--exe-directory").value_or(print::ProgramDirectory())) {}

    Problem Run() {
        if (library_.empty() || exe_directory_.empty()) {
            return WrongUsage(L"--library and --exe-directory need a value that is not empty");
        }
        XcvHandle monitor;
        if (spooler_.OpenMonitor(name_, SERVER_ACCESS_ENUMERATE, &monitor) == ERROR_SUCCESS) {
            return Exists();
        }
        if (Problem problem = PlaceFile(); problem) {
            return problem;
        }
        if (Problem problem = WriteSettings(); problem) {
            return problem;
        }
        if (Problem problem = Register(); problem) {
            if (key_is_new_) {
                registry_.DeleteTree(MonitorKeyPath(name_));
            }
            return problem;
        }
        return Confirm();
    }

  private:
    Problem Exists() const {
        return Failure{ExitCode::kExists,
                       L"the monitor " + Quoted(name_) + L" is installed already",
                       L"to install it anew: kspctl uninstall"};
    }

    Problem PlaceFile() const {
        if (request_.Has(L"--no-copy") || !request_.server.empty()) {
            return std::nullopt;
        }
        const DWORD error = PlaceLibrary(library_);
        return error == ERROR_SUCCESS
                   ? Problem()
                   : SystemFailure(L"cannot copy " + library_ + L" into the system directory",
                                   error);
    }

    // The monitor reads both when it starts, which is while it is being registered.
    Problem WriteSettings() {
        LONG code = registry_.Connect(spooler_.unc_name());
        if (code != ERROR_SUCCESS) {
            return SystemFailure(L"cannot reach the registry", static_cast<DWORD>(code));
        }
        CRegistryKey monitor_key;
        code = registry_.Create(MonitorKeyPath(name_), &monitor_key, &key_is_new_);
        if (code == ERROR_SUCCESS) {
            code = monitor_key.WriteDword(kTypeValue, static_cast<std::uint32_t>(type_));
        }
        CRegistryKey software_key;
        if (code == ERROR_SUCCESS) {
            code = registry_.Create(SoftwareKeyPath(type_), &software_key);
        }
        if (code == ERROR_SUCCESS) {
            code = software_key.WriteText(L"ExeDirectory", exe_directory_);
        }
        return code == ERROR_SUCCESS ? Problem()
                                     : SystemFailure(L"cannot write the monitor's settings",
                                                     static_cast<DWORD>(code));
    }

    Problem Register() const {
        const DWORD error = spooler_.AddMonitor(name_, FileNameOf(library_));
        if (error == ERROR_SUCCESS) {
            return std::nullopt;
        }
        if (error == ERROR_PRINT_MONITOR_ALREADY_INSTALLED) {
            return Exists();
        }
        Failure failure = SystemFailure(L"the spooler does not take the monitor", error);
        if (failure.advice.empty()) {
            failure.advice = FileNameOf(library_) +
                             L" must lie in the system directory of the spooler's computer and be "
                             L"a 64-bit library";
        }
        return failure;
    }

    // Registered is not started.
    Problem Confirm() const {
        XcvHandle monitor;
        DWORD error = spooler_.OpenMonitor(name_, SERVER_ACCESS_ENUMERATE, &monitor);
        MonitorType type = MonitorType::kNone;
        if (error == ERROR_SUCCESS) {
            error = AskMonitorType(monitor, &type);
        }
        if (error != ERROR_SUCCESS) {
            Failure failure =
                SystemFailure(L"the monitor is registered, but does not answer", error);
            if (failure.advice.empty()) {
                failure.advice = L"start the spooler again: net stop spooler, net start spooler";
            }
            return failure;
        }
        output_.Line(L"installed the monitor " + Quoted(name_) + L" (" +
                     std::wstring(MonitorTypeWord(type)) + L")");
        if (request_.server.empty() && !FileExists(exe_directory_ + L"\\" + kDiscoveryLibrary)) {
            output_.Line(L"note: " + std::wstring(kDiscoveryLibrary) + L" does not lie in " +
                         exe_directory_ +
                         L"; without it printers are not tracked and have no status");
        }
        return std::nullopt;
    }

    const Request& request_;
    Output& output_;
    Spooler spooler_;
    MachineRegistry registry_;
    MonitorType type_;
    std::wstring name_;
    std::wstring library_;
    std::wstring exe_directory_;
    bool key_is_new_ = false;
};

}  // namespace

Problem Install(const Request& request, Output& output) {
    return Installation(request, output).Run();
}

}  // namespace ksp::ctl
