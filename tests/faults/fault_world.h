#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "tests/faults/fault.h"
#include "tests/faults/memory_plan.h"
#include "tests/faults/printers.h"
#include "tests/host/discovery_control.h"
#include "tests/host/faulty_registry.h"
#include "tests/host/log_file.h"
#include "tests/host/temp_directory.h"
#include "tests/host/winspool_control.h"
#include "tools/host/memory_registry.h"

namespace ksp::test {

// What one program shares among all its runs: the two stand-ins, which are loaded once, and the
// plan by which memory runs out.
struct SharedStandins {
    WinspoolControl spooler;
    DiscoveryControl discovery;
    PublishedPlan memory;
};

// Everything around the library in one run: a registry with a monitor's settings and one port, a
// spooler with one printer, a network with one printer that can move, and one fault in all of it.
class FaultWorld {
  public:
    static constexpr wchar_t kPrinter[] = L"Printer";
    static constexpr wchar_t kTrackedPort[] = L"Port";     // the scenario adds it
    static constexpr wchar_t kStoredPort[] = L"Z stored";  // in the registry from the beginning
    static constexpr wchar_t kMac[] = L"0026AB123456";

    FaultWorld(Transport transport, const Fault& fault, SharedStandins& shared);
    ~FaultWorld();
    FaultWorld(const FaultWorld&) = delete;
    FaultWorld& operator=(const FaultWorld&) = delete;

    // From now on the fault's call is waited for, and every call is counted.
    void Arm();
    // Nothing fails any more.
    void Disarm();
    // Whether the call that fails was made, or the printer really did what it does wrong.
    [[nodiscard]] bool Struck();
    [[nodiscard]] CallCounts Counts();
    // The registry call that failed.
    [[nodiscard]] std::optional<RegistryCall> StruckCall() const;

    // The printer answers searches and questions at this address, and nowhere else. A printer whose
    // part it is to fail also says so where it fails, unless that is hidden.
    void MoveTo(const std::string& address);

    // The port's printer has a job; its number makes its contents.
    void QueueJob(const std::wstring& port, DWORD job);
    // The next job, if any, is deleted when it is in error, or has been waited for too long, as
    // soon as the monitor asks for it.
    void WatchJob(DWORD job);
    // Whether that has happened.
    [[nodiscard]] bool WasJobDeleted() const { return deleted_; }
    // Whether the printer had another status than ready since the job was queued.
    [[nodiscard]] bool WasTroubleShown() const;
    [[nodiscard]] bool IsJobInError(DWORD job) const;

    [[nodiscard]] std::set<std::wstring> StoredPorts() const;
    // What is left open or was misused, a line each. What the fault itself kept open is none.
    [[nodiscard]] std::vector<std::string> Leftovers() const;

    FaultyRegistry& registry() { return registry_; }
    WinspoolControl& spooler() { return shared_.spooler; }
    Printers& printers() { return printers_; }
    [[nodiscard]] Transport transport() const { return transport_; }
    [[nodiscard]] DWORD protocol() const;
    [[nodiscard]] LogFile Log() const;

  private:
    [[nodiscard]] bool HasPrinterFailed();
    void WriteSettings();
    void SetSetting(const std::wstring& name, const std::wstring& text);
    void SetSetting(const std::wstring& name, DWORD number);

    const Transport transport_;
    const Fault fault_;
    SharedStandins& shared_;
    TempDirectory directory_;
    host::MemoryRegistry store_;
    FaultyRegistry registry_{store_};
    std::wstring software_key_;
    Printers printers_;
    std::string place_;
    bool printer_failed_ = false;
    DWORD watched_job_ = 0;
    DWORD watched_since_ = 0;
    bool deleted_ = false;
    size_t spooler_calls_before_ = 0;
};

}  // namespace ksp::test
