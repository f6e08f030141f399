#pragma once

#include <windows.h>

#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "discovery/discovery_library.h"
#include "support/windows_handles.h"
#include "tests/standins/discovery_control.h"

namespace ksp::standins {

// A DiscoveryAnswer that owns its text; no address stands for the device handle 0.
struct Answer {
    std::string address;
    int code = 0;
    DWORD thread = 0;
    DWORD delay_ms = 0;
    DiscoveryMoment moment = DiscoveryDuringProbe;
};

// Whom a probe calls back.
struct ProbeTarget {
    void* stream = nullptr;
    ProbeCallback callback = nullptr;
    void* context = nullptr;
};

// A search that runs on threads of its own, one for each thread number of its answers. Create it,
// then Begin, then Stop or Cancel. The threads keep it alive. No lock may be held when a function
// of it is called that waits.
class Probe : public std::enable_shared_from_this<Probe> {
  public:
    // Null when the system refuses a thread.
    static std::shared_ptr<Probe> Create(const ProbeTarget& target, std::vector<Answer> answers);

    Probe(const ProbeTarget& target, std::vector<Answer> answers);

    void Begin();
    // Lets the answers for the end of the probe come and waits for every callback.
    void Stop();
    // Waits for the callbacks under way; no other will come.
    void Cancel();
    // Waits until all answers were given that come during the probe.
    void Wait();

    // On its own threads a probe cannot be waited for; Stop, Cancel and Wait return at once there.
    [[nodiscard]] bool RunsOnThisThread() const;

    [[nodiscard]] const ProbeTarget& target() const { return target_; }
    [[nodiscard]] std::vector<Answer> AnswersAt(DiscoveryMoment moment) const;

  private:
    struct Thread {
        DWORD id = 0;
        UniqueHandle handle;
    };

    static unsigned __stdcall RunThread(void* start);

    bool CreateThreads();
    // Ends the threads that were created before one could not be.
    void Abandon();
    void Run(DWORD number);
    void Give(const Answer& answer) const;

    const ProbeTarget target_;
    const std::vector<Answer> answers_;
    UniqueHandle stopping_;  // manual-reset event
    std::atomic<bool> cancelled_ = false;
    std::vector<Thread> threads_;  // complete before the first one runs
};

}  // namespace ksp::standins
