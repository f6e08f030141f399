#pragma once

#include <chrono>
#include <cstdint>

#include "tools/host/job_runner.h"
#include "tools/print/spooler.h"

namespace ksp::print {

// Shows a job on its way, in lines that begin with the time: how far it is, when the monitor takes
// nothing, and every printer status that the monitor tells the spooler.
class Progress {
  public:
    // `spooler` must outlive it. The clock starts here.
    Progress(const Spooler& spooler, uint64_t total_bytes);

    // After every WritePort.
    void Update(const host::JobProgress& job);
    // After the job.
    void Finish();

    [[nodiscard]] double seconds() const;
    // Since the monitor last took bytes, or since the start.
    [[nodiscard]] double seconds_without_bytes() const;

  private:
    using Clock = std::chrono::steady_clock;

    void ShowStatusChanges();
    void ShowBytes(uint64_t taken);
    void ShowRefusal(size_t refusals);
    void Show(const std::wstring& text) const;

    const Spooler& spooler_;
    const uint64_t total_bytes_;
    const Clock::time_point start_;
    Clock::time_point last_bytes_;
    Clock::time_point last_refusal_shown_;
    uint64_t shown_tenths_ = 0;
    size_t calls_seen_ = 0;
};

}  // namespace ksp::print
