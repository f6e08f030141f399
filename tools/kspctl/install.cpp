#include "tools/kspctl/commands.h"
#include "tools/kspctl/library_file.h"
#include "tools/kspctl/machine_registry.h"
#include "tools/kspctl/monitor_names.h"
#include "tools/kspctl/session.h"
#include "tools/print/program_directory.h"

namespace ksp::ctl {
namespace {

constexpr wchar_t kShippedLibrary[] = L"kspmon.dll";
constexpr wchar_t kDiscoveryLibrary[] = L"KSSTRMAPIe.dll";

MonitorType WantedType(const Request& request) {
    return request.id_print ? MonitorType::kIdPrint : MonitorType::kOrdinary;
}

// Each kind has a file of its own: a process has a library only once, and one that serves both
// kinds would stay what it was first started as.
std::wstring DefaultTarget(MonitorType type) {
    return type == MonitorType::kIdPrint ? L"kspmonid.dll" : kShippedLibrary;
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
          library_(request.Value(L"--library").value_or(kShippedLibrary)),
          file_(request.Has(L"--library") ? FileNameOf(library_) : DefaultTarget(type_)),
          exe_directory_(request.Value(L"--exe-directory").value_or(print::ProgramDirectory())) {}

    Problem Run() {
        if (file_.empty() || exe_directory_.empty()) {
            return WrongUsage(L"--library and --exe-directory need a value that is not empty");
        }
        if (!request_.server.empty() && !request_.Has(L"--exe-directory")) {
            return WrongUsage(
                L"--server needs --exe-directory: a directory of that computer, not of this one");
        }
        XcvHandle monitor;
        if (spooler_.OpenMonitor(name_, SERVER_ACCESS_ENUMERATE, &monitor) == ERROR_SUCCESS) {
            return Exists();
        }
        if (Problem problem = CheckKey(); problem) {
            return problem;
        }
        if (Problem problem = PlaceFile(); problem) {
            return problem;
        }
        Problem problem = WriteSettings();
        if (!problem) {
            problem = Register();
        }
        if (!problem) {
            problem = Confirm();
        }
        if (problem) {
            TakeBack();
        }
        return problem;
    }

  private:
    Problem Exists() const {
        return Failure{ExitCode::kExists,
                       L"the monitor " + Quoted(name_) + L" is installed already",
                       L"to install it anew: kspctl uninstall"};
    }

    // The key of another vendor's monitor, which may have our name, is not written.
    Problem CheckKey() {
        LONG code = registry_.Connect(spooler_.unc_name());
        if (code != ERROR_SUCCESS) {
            return SystemFailure(L"cannot reach the registry", static_cast<DWORD>(code));
        }
        CRegistryKey key;
        code = registry_.Open(MonitorKeyPath(name_), KEY_READ, &key);
        if (code == ERROR_FILE_NOT_FOUND) {
            return std::nullopt;
        }
        if (code != ERROR_SUCCESS) {
            return SystemFailure(L"cannot read the monitor's key", static_cast<DWORD>(code));
        }
        if (key.ReadDword(kMonitorTypeValue)) {
            return std::nullopt;
        }
        return Failure{ExitCode::kExists,
                       L"another vendor's monitor is called " + Quoted(name_) +
                           L" already: its key has no " + kMonitorTypeValue,
                       L"choose another name: kspctl install --monitor NAME"};
    }

    Problem PlaceFile() const {
        if (request_.Has(L"--no-copy") || !request_.server.empty()) {
            return std::nullopt;
        }
        const DWORD error = PlaceLibrary(library_, file_);
        if (error == ERROR_SUCCESS) {
            return std::nullopt;
        }
        Failure failure = SystemFailure(
            L"cannot copy " + library_ + L" into the system directory as " + file_, error);
        if (error == ERROR_SHARING_VIOLATION || error == ERROR_USER_MAPPED_FILE) {
            failure.advice =
                L"the spooler still uses another version: start it again (net stop spooler, net "
                L"start spooler), then install";
        }
        return failure;
    }

    // What a step before the failing one did. The library's file stays: another monitor may use it.
    void TakeBack() {
        if (registered_) {
            static_cast<void>(spooler_.DeleteMonitor(name_));
        }
        if (key_is_new_) {
            registry_.DeleteTree(MonitorKeyPath(name_));
        }
    }

    // The monitor reads both when it starts, which is while it is being registered.
    Problem WriteSettings() {
        CRegistryKey monitor_key;
        LONG code = registry_.Create(MonitorKeyPath(name_), &monitor_key, &key_is_new_);
        if (code == ERROR_SUCCESS) {
            code = monitor_key.WriteDword(kMonitorTypeValue, static_cast<std::uint32_t>(type_));
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

    Problem Register() {
        const DWORD error = spooler_.AddMonitor(name_, file_);
        registered_ = error == ERROR_SUCCESS;
        if (registered_) {
            return std::nullopt;
        }
        if (error == ERROR_PRINT_MONITOR_ALREADY_INSTALLED) {
            return Exists();
        }
        Failure failure = SystemFailure(L"the spooler does not take the monitor", error);
        if (failure.advice.empty()) {
            failure.advice = file_ +
                             L" must lie in the system directory of the spooler's computer and be "
                             L"a 64-bit library";
        }
        return failure;
    }

    // Registered is not started. One that is only not started yet stays registered.
    Problem Confirm() {
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
            KeepAll();
            return failure;
        }
        if (type != type_) {
            return Failure{ExitCode::kFailed,
                           L"the library runs as the other kind of the monitor already (" +
                               std::wstring(MonitorTypeWord(type)) +
                               L"); the installation was taken back",
                           L"give this one a file of its own: kspctl install --library FILE"};
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

    void KeepAll() {
        registered_ = false;
        key_is_new_ = false;
    }

    const Request& request_;
    Output& output_;
    Spooler spooler_;
    MachineRegistry registry_;
    MonitorType type_;
    std::wstring name_;
    std::wstring library_;  // where it is copied from
    std::wstring file_;     // its name in the system directory
    std::wstring exe_directory_;
    bool key_is_new_ = false;
    bool registered_ = false;
};

}  // namespace

Problem Install(const Request& request, Output& output) {
    return Installation(request, output).Run();
}

}  // namespace ksp::ctl
