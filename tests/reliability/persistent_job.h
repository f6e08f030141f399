#pragma once

#include <windows.h>

#include <atomic>
#include <cstdint>
#include <thread>
#include <vector>

#include "tests/host/winspool_control.h"
#include "tools/host/job_runner.h"

namespace ksp::test {

// A job that its spooler does not give up, on a thread of its own: what a WritePort refuses is
// offered again, and a job that the user restarts is printed again from its beginning.
//
// Everything but the printing is called by one thread, which plays the user.
class PersistentJob {
  public:
    // The table, the spooler and the printer's queue in it outlive the job.
    PersistentJob(const host::JobRunner& runner, WinspoolControl& spooler, host::SpoolerJob job,
                  std::vector<std::uint8_t> document, size_t chunk_size);
    // A job that is still under way is deleted.
    ~PersistentJob();
    PersistentJob(const PersistentJob&) = delete;
    PersistentJob& operator=(const PersistentJob&) = delete;

    [[nodiscard]] bool done() const { return done_; }
    // WritePort calls that took nothing, over all attempts.
    [[nodiscard]] size_t refusals() const { return refusals_; }
    // What the queue shows now: the job in error, the printer in any state but a ready one.
    [[nodiscard]] bool IsJobInError() const;
    [[nodiscard]] bool IsPrinterInTrouble() const;

    // The user restarts the job: the attempt ends, and the next begins. Until then the queue shows
    // the attempt that ends.
    void Restart();
    [[nodiscard]] bool restarting() const { return restarting_; }
    // The user deletes the job.
    void Delete();

    // Once it is done.
    [[nodiscard]] unsigned attempts() const { return attempts_; }
    [[nodiscard]] const host::JobOutcome& outcome() const { return outcome_; }

  private:
    void PrintUntilThrough();
    void MarkJob(DWORD status);

    host::JobRunner runner_;
    WinspoolControl& spooler_;
    const host::SpoolerJob job_;
    const std::vector<std::uint8_t> document_;
    const size_t chunk_size_;

    std::atomic<bool> restarting_ = false;
    std::atomic<bool> deleted_ = false;
    std::atomic<bool> done_ = false;
    std::atomic<size_t> refusals_ = 0;
    unsigned attempts_ = 0;  // the job's thread writes these, until it is done
    host::JobOutcome outcome_;
    std::thread thread_;  // last: it uses the others
};

}  // namespace ksp::test
