#pragma once

#include <chrono>
#include <cstdint>
#include <mutex>

#include "tools/host/job_runner.h"
#include "tools/print/spooler.h"

namespace ksp::print {

// Shows a job on its way, in lines that begin with the time: how far it is, when the monitor takes
// nothing, and every printer status that the monitor tells the spooler. Any thread may call it.
class Progress {
  public:
    // `spooler` must outlive it. The clock starts here.
    Progress(const Spooler& spooler, uint64_t total_bytes);

    // After every WritePort.
    void Update(const host::JobProgress& job);
    // While a call to the monitor lasts.
    void Look();
    // After the job.
    void Finish();

    [[nodiscard]] double seconds() const;
    // Since the monitor last took bytes or told another printer status, or since the start.
    [[nodiscard]] double seconds_without_news();

  private:
    using Clock = std::chrono::steady_clock;

    // These want the lock.
    void ShowStatusChanges();
    void ShowBytes(uint64_t taken);
    void ShowRefusal(size_t refusals);
    void Show(const std::wstring& text) const;

    const Spooler& spooler_;
    const uint64_t total_bytes_;
    const Clock::time_point start_;
    std::mutex mutex_;  // for all below
    Clock::time_point last_news_;
    Clock::time_point last_refusal_shown_;
    uint64_t shown_tenths_ = 0;
    size_t calls_seen_ = 0;
};

}  // namespace ksp::print
