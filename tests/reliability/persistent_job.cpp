#include "tests/reliability/persistent_job.h"

#include <utility>

namespace ksp::test {

PersistentJob::PersistentJob(const host::JobRunner& runner, WinspoolControl& spooler,
                             host::SpoolerJob job, std::vector<std::uint8_t> document,
                             size_t chunk_size)
    : runner_(runner),
      spooler_(spooler),
      job_(std::move(job)),
      document_(std::move(document)),
      chunk_size_(chunk_size),
      thread_([this] { PrintUntilThrough(); }) {}

PersistentJob::~PersistentJob() {
    if (!done_) {
        Delete();
    }
    thread_.join();
}

bool PersistentJob::IsJobInError() const {
    return (spooler_.JobStatus(job_.printer, job_.job_id).value_or(0) & JOB_STATUS_ERROR) != 0;
}

bool PersistentJob::IsPrinterInTrouble() const {
    return spooler_.PrinterStatus(job_.printer).value_or(0) != 0;
}

void PersistentJob::Restart() {
    restarting_ = true;
    MarkJob(JOB_STATUS_RESTART);
}

void PersistentJob::Delete() {
    deleted_ = true;
    MarkJob(JOB_STATUS_DELETED);
}

void PersistentJob::MarkJob(DWORD status) {
    const DWORD now = spooler_.JobStatus(job_.printer, job_.job_id).value_or(0);
    spooler_.SetJobStatus(job_.printer, job_.job_id, now | status);
}

void PersistentJob::PrintUntilThrough() {
    host::JobOptions options;
    options.chunk_size = chunk_size_;
    options.max_refusals = SIZE_MAX;
    options.retry_pause = 50;
    options.alive = [this] { return !restarting_ && !deleted_; };
    options.progress = [this](const host::JobProgress& progress) {
        refusals_ += progress.refusals > 0 ? 1 : 0;
    };
    bool again = true;
    while (again && !deleted_) {
        ++attempts_;
        outcome_ = runner_.Run(job_, document_, options);
        again = restarting_;
        if (again) {
            spooler_.PutJob(job_.printer, WinspoolControl::SampleJob(job_.job_id));
            restarting_ = false;
        }
    }
    done_ = true;
}

}  // namespace ksp::test
