#include "tools/host/job_runner.h"

#include <algorithm>
#include <vector>

namespace ksp::host {
namespace {

// Keeps the first failure: what follows it is only cleaning up.
void NoteFailure(JobOutcome* outcome, JobStep step) {
    if (outcome->failed_step != JobStep::kNone) {
        return;
    }
    outcome->failed_step = step;
    outcome->error = GetLastError();
}

// The spooler hands out texts that a monitor could write to.
LPWSTR Writable(std::wstring& text) {
    return text.data();
}

}  // namespace

JobOutcome JobRunner::Run(const SpoolerJob& job, std::span<const uint8_t> data,
                          const JobOptions& options) {
    size_t position = 0;
    const Source from_memory = [&](std::span<uint8_t> buffer) {
        const size_t count = std::min(buffer.size(), data.size() - position);
        std::copy_n(data.begin() + static_cast<ptrdiff_t>(position), count, buffer.begin());
        position += count;
        return count;
    };
    return Run(job, from_memory, options);
}

JobOutcome JobRunner::Run(const SpoolerJob& job, const Source& source, const JobOptions& options) {
    JobOutcome outcome;
    HANDLE port = nullptr;
    std::wstring port_name = job.port;
    if (!table_.pfnOpenPort(monitor_, Writable(port_name), &port)) {
        NoteFailure(&outcome, JobStep::kOpenPort);
        return outcome;
    }
    if (!StartDoc(port, job)) {
        NoteFailure(&outcome, JobStep::kStartDocPort);
    } else {
        if (!WriteAll(port, source, options, &outcome)) {
            NoteFailure(&outcome, JobStep::kWritePort);
        }
        if (!table_.pfnEndDocPort(port)) {
            NoteFailure(&outcome, JobStep::kEndDocPort);
        }
    }
    if (!table_.pfnClosePort(port)) {
        NoteFailure(&outcome, JobStep::kClosePort);
    }
    return outcome;
}

bool JobRunner::StartDoc(HANDLE port, const SpoolerJob& job) const {
    std::wstring printer = job.printer;
    std::wstring document = job.document;
    std::wstring data_type = job.data_type;
    DOC_INFO_1W info = {};
    info.pDocName = Writable(document);
    info.pDatatype = Writable(data_type);
    return table_.pfnStartDocPort(port, Writable(printer), job.job_id, 1,
                                  reinterpret_cast<LPBYTE>(&info)) != FALSE;
}

bool JobRunner::WriteAll(HANDLE port, const Source& source, const JobOptions& options,
                         JobOutcome* outcome) const {
    std::vector<uint8_t> buffer(std::max<size_t>(options.chunk_size, 1));
    for (;;) {
        const size_t count = source(buffer);
        if (count == 0) {
            return true;
        }
        if (!WriteChunk(port, std::span(buffer).first(count), options, outcome)) {
            return false;
        }
    }
}

bool JobRunner::WriteChunk(HANDLE port, std::span<uint8_t> chunk, const JobOptions& options,
                           JobOutcome* outcome) const {
    size_t refusals = 0;
    while (!chunk.empty()) {
        if (options.alive && !options.alive()) {
            return false;
        }
        DWORD written = 0;
        const bool accepted =
            table_.pfnWritePort(port, chunk.data(), static_cast<DWORD>(chunk.size()), &written) !=
            FALSE;
        const DWORD error = GetLastError();
        ++outcome->writes;
        const size_t taken = accepted ? std::min<size_t>(written, chunk.size()) : 0;
        refusals = taken > 0 ? 0 : refusals + 1;
        outcome->refusals += taken > 0 ? 0 : 1;
        outcome->bytes_taken += taken;
        outcome->excess_bytes += accepted ? written - taken : 0;
        chunk = chunk.subspan(taken);
        if (options.progress) {
            options.progress({outcome->bytes_taken, refusals});
        }
        if (taken > 0) {
            continue;
        }
        if (refusals >= options.max_refusals) {
            SetLastError(error);
            return false;
        }
        if (options.retry_pause > 0) {
            Sleep(options.retry_pause);
        }
    }
    return true;
}

}  // namespace ksp::host
