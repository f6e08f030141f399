#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>

#include "tools/host/monitor_registry.h"

namespace ksp::host {

// A document on its way through a port.
struct SpoolerJob {
    std::wstring port = {};
    std::wstring printer = {};
    DWORD job_id = 1;
    std::wstring document = L"Document";
    std::wstring data_type = L"RAW";
};

struct JobProgress {
    uint64_t bytes_taken = 0;  // by the monitor, since the job began
    size_t refusals = 0;       // WritePort answers FALSE or takes nothing, since the last success
};

// How patiently and in which portions a job is printed.
struct JobOptions {
    // Bytes offered in one WritePort call.
    size_t chunk_size = size_t{64} * 1024;
    // The job is given up when WritePort refuses this many times in a row.
    size_t max_refusals = 20;
    // Milliseconds between a refusal and the next attempt.
    DWORD retry_pause = 0;
    // Asked before every WritePort; false means that the job was deleted.
    std::function<bool()> alive = {};
    // Told after every WritePort.
    std::function<void(const JobProgress&)> progress = {};
};

// The call at which a job ended early; kNone when it went through.
enum class JobStep { kNone, kOpenPort, kStartDocPort, kWritePort, kEndDocPort, kClosePort };

struct JobOutcome {
    JobStep failed_step = JobStep::kNone;
    DWORD error = ERROR_SUCCESS;  // last error at the failed step
    uint64_t bytes_taken = 0;
    size_t writes = 0;    // WritePort calls
    size_t refusals = 0;  // of them, those that took nothing
    // Bytes that WritePort reported beyond those offered; a sound monitor reports none.
    uint64_t excess_bytes = 0;

    [[nodiscard]] bool printed() const { return failed_step == JobStep::kNone; }
};

// Drives a monitor's MONITOR2 table through one job as the spooler does: OpenPort, StartDocPort,
// WritePort until every byte is taken, EndDocPort, ClosePort. What a short write leaves is offered
// again, a refusal is repeated while the job lives, and a job that is given up is still ended and
// closed.
class JobRunner {
  public:
    // Fills the buffer with the job's next bytes and returns how many; 0 at the end of the job.
    using Source = std::function<size_t(std::span<uint8_t> buffer)>;

    // `table` must outlive the runner.
    JobRunner(const MONITOR2& table, HANDLE monitor) : table_(table), monitor_(monitor) {}

    JobOutcome Run(const SpoolerJob& job, const Source& source, const JobOptions& options = {});
    JobOutcome Run(const SpoolerJob& job, std::span<const uint8_t> data,
                   const JobOptions& options = {});

  private:
    bool StartDoc(HANDLE port, const SpoolerJob& job) const;
    bool WriteAll(HANDLE port, const Source& source, const JobOptions& options,
                  JobOutcome* outcome) const;
    bool WriteChunk(HANDLE port, std::span<uint8_t> chunk, const JobOptions& options,
                    JobOutcome* outcome) const;

    const MONITOR2& table_;
    HANDLE monitor_;
};

}  // namespace ksp::host
