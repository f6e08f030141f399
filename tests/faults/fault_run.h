#pragma once

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tests/faults/fault_world.h"
#include "tests/faults/job_report.h"
#include "tests/faults/port_user.h"
#include "tests/host/handle_census.h"
#include "tools/host/monitor_library.h"

namespace ksp::test {

// The library's whole life with one call that fails: it is loaded and started, a port is added
// silently and one by its values, that one is configured and asked for, three jobs are printed on
// it while the printer moves and its status is asked, both ports are deleted, and the library is
// unloaded. Before that, when the call has failed already, another thread adds another port, prints
// on it and deletes it: no lock is held, and nothing is left in a state that hurts.
//
// A step that reports failure is repeated once, as a user would do; without a fault it must then
// succeed.
class FaultRun {
  public:
    FaultRun(Transport transport, const Fault& fault, SharedStandins& shared);

    struct Result {
        std::vector<std::string> findings = {};  // what the library did wrong, a line each
        bool struck = false;                     // the call that fails was made
        CallCounts counts = {};                  // of a run without a fault
    };

    // Everything; once.
    Result Run();

  private:
    void LiveIn(FaultWorld& world);
    void RunScenario();
    void RunAftermath();

    bool Start();
    [[nodiscard]] PortUser User() { return {*world_, library_}; }
    void PrintJobs();
    void PrintJob(DWORD number, const std::wstring& port, bool must_print,
                  const std::function<void()>& refused = {});
    void DeletePorts();

    // A step of the user's, repeated once when it fails.
    void Step(const char* name, const std::function<bool()>& step);
    [[nodiscard]] bool EndsJob() const;
    // The only port that may be listed without being stored or stored without being listed, and the
    // lines of which one tells of it.
    struct Excuse {
        std::wstring port;
        std::vector<std::pair<LineLevel, std::wstring>> lines;
    };
    [[nodiscard]] std::optional<Excuse> ExcusedPort() const;
    // Without the key of all ports none is stored, loaded or found until the next start.
    [[nodiscard]] bool IsPortsKeyMissing() const;
    void ExpectSamePorts(const char* when);
    void Find(const std::string& finding) { result_.findings.push_back(finding); }

    const Transport transport_;
    const Fault fault_;
    SharedStandins& shared_;
    FaultWorld* world_ = nullptr;
    host::MonitorLibrary library_;
    std::vector<JobReport> jobs_;
    bool struck_at_start_ = false;
    Result result_;
};

}  // namespace ksp::test
