#include "tests/faults/job_report.h"

#include <string_view>

#include "tests/idprint/header_bytes.h"

namespace ksp::test {
namespace {

enum class Match { kNone, kBeginning, kWhole };

// The header in front of the data that came; one whose values could not all be had is known by its
// first and last line only, and one that could not be made is empty.
std::string HeaderOf(const JobReport& job, const std::string& bytes) {
    if (!job.may_lack_header) {
        return HeaderBytes({.job_id = std::to_wstring(job.number)});
    }
    constexpr std::string_view kFirst = "@EXTRAKJL START\n";
    constexpr std::string_view kLast = "\n@EXTRAKJL END\n";
    const size_t end = bytes.find(kLast);
    if (!bytes.starts_with(kFirst) || end == std::string::npos) {
        return "";
    }
    return bytes.substr(0, end + kLast.size());
}

Match MatchOf(Transport transport, const Arrival& arrival, const JobReport& job) {
    std::string expected(job.data.begin(), job.data.end());
    if (transport == Transport::kIdPrint) {
        expected.insert(0, HeaderOf(job, arrival.bytes));
    }
    if (arrival.ended && arrival.bytes == expected) {
        return Match::kWhole;
    }
    std::string_view bytes = arrival.bytes;
    if (transport == Transport::kLpr && job.deleted && !arrival.ended && bytes.ends_with('\0')) {
        // The octet that ends the data follows also those of a job that was deleted meanwhile.
        bytes.remove_suffix(1);
    }
    return expected.starts_with(bytes) ? Match::kBeginning : Match::kNone;
}

// The headers of all jobs begin alike.
bool IsCommonBeginning(Transport transport, const Arrival& arrival) {
    return transport == Transport::kIdPrint && HeaderBytes().starts_with(arrival.bytes);
}

// How often a job came, and how often all of it.
struct Count {
    size_t begun = 0;
    size_t whole = 0;
};

void JudgeJob(const JobReport& job, const Count& count, std::vector<std::string>* findings) {
    const std::string name = "job " + std::to_string(job.number);
    const auto find = [&](const std::string& finding) { findings->push_back(name + finding); };
    if (count.begun > 1) {
        find(" came to the printer " + std::to_string(count.begun) + " times, " +
             std::to_string(count.whole) + " times whole");
    }
    if (count.whole == 0 && !job.reported && !job.may_be_lost) {
        find(" is lost and nobody was told");
    }
    if (job.must_print && (count.whole == 0 || !job.outcome.printed())) {
        find(" is not printed, step " + std::to_string(static_cast<int>(job.outcome.failed_step)) +
             ", " + std::to_string(count.whole) + " times whole");
    }
    // The call failed once, and the spooler offered the bytes again.
    if (job.must_be_taken && job.outcome.failed_step == host::JobStep::kWritePort) {
        find(" is refused again and again");
    }
    if (job.outcome.excess_bytes > 0) {
        find(": more bytes taken than offered");
    }
}

}  // namespace

std::vector<std::string> Judge(Transport transport, const std::vector<JobReport>& jobs,
                               const std::vector<Arrival>& arrivals) {
    std::vector<std::string> findings;
    std::vector<Count> counts(jobs.size());
    for (const Arrival& arrival : arrivals) {
        if (arrival.bytes.empty()) {
            continue;
        }
        std::vector<Count*> owners;
        for (size_t index = 0; index < jobs.size(); ++index) {
            const Match match = MatchOf(transport, arrival, jobs[index]);
            if (match != Match::kNone) {
                owners.push_back(&counts[index]);
            }
            counts[index].whole += match == Match::kWhole ? 1U : 0U;
        }
        if (owners.size() == 1) {
            ++owners.front()->begun;
        } else if (owners.empty() || !IsCommonBeginning(transport, arrival)) {
            findings.push_back(std::to_string(arrival.bytes.size()) +
                               " bytes came that are the beginning of " +
                               std::to_string(owners.size()) + " jobs");
        }
    }
    for (size_t index = 0; index < jobs.size(); ++index) {
        JudgeJob(jobs[index], counts[index], &findings);
    }
    return findings;
}

}  // namespace ksp::test
