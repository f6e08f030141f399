#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tests/faults/fault.h"
#include "tools/host/job_runner.h"

namespace ksp::test {

// A job as the spooler saw it, and what it had a right to.
struct JobReport {
    unsigned number = 0;  // of the spooler, from 1; it makes the job's contents
    std::vector<uint8_t> data;
    host::JobOutcome outcome;
    bool reported = false;         // in the job's or the printer's status, or by its deletion
    bool deleted = false;          // by its user, maybe in the middle of its transfer
    bool must_print = false;       // nothing failed while it was printed
    bool must_be_taken = false;    // one call may have failed
    bool may_be_lost = false;      // its printer went where the protocol tells nobody
    bool may_lack_header = false;  // what the ID-print header needs may have failed
};

// What one connection brought to a printer.
struct Arrival {
    std::string bytes;
    bool ended = false;  // as the protocol ends a job; else it was cut
};

// What became of the jobs that should not have, a line each: every connection has to have brought
// the beginning of one job, and every job to be at the printer wholly and once, or reported.
std::vector<std::string> Judge(Transport transport, const std::vector<JobReport>& jobs,
                               const std::vector<Arrival>& arrivals);

}  // namespace ksp::test
