#include "tools/host/job_runner.h"

#include <gtest/gtest.h>

#include <functional>
#include <numeric>
#include <string>
#include <vector>

namespace ksp::host {
namespace {

void* const kMonitor = reinterpret_cast<HANDLE>(ULONG_PTR{0x11});
void* const kPort = reinterpret_cast<HANDLE>(ULONG_PTR{0x22});

// A monitor's table whose answers a test chooses. One at a time.
class ScriptedMonitor {
  public:
    ScriptedMonitor() {
        current_ = this;
        table_.cbSize = sizeof(table_);
        table_.pfnOpenPort = OpenPort;
        table_.pfnStartDocPort = StartDocPort;
        table_.pfnWritePort = WritePort;
        table_.pfnEndDocPort = EndDocPort;
        table_.pfnClosePort = ClosePort;
    }
    ~ScriptedMonitor() { current_ = nullptr; }
    ScriptedMonitor(const ScriptedMonitor&) = delete;
    ScriptedMonitor& operator=(const ScriptedMonitor&) = delete;

    [[nodiscard]] const MONITOR2& table() const { return table_; }

    // What WritePort takes of an offer; -1 answers FALSE.
    std::function<int(DWORD offered)> take = [](DWORD offered) {
        return static_cast<int>(offered);
    };
    std::string failing;  // the name of the call that answers FALSE

    std::vector<std::string> calls;
    std::vector<DWORD> offers;
    std::vector<uint8_t> taken;
    std::wstring port;
    std::wstring printer;
    std::wstring document;
    DWORD job_id = 0;

  private:
    BOOL Answer(const std::string& call) {
        calls.push_back(call);
        if (call != failing) {
            return TRUE;
        }
        SetLastError(ERROR_UNEXP_NET_ERR);
        return FALSE;
    }

    static BOOL WINAPI OpenPort(HANDLE monitor, LPWSTR name, PHANDLE handle) {
        EXPECT_EQ(monitor, kMonitor);
        current_->port = name;
        *handle = kPort;
        return current_->Answer("OpenPort");
    }
    static BOOL WINAPI
    StartDocPort(HANDLE port, LPWSTR printer, DWORD job_id, DWORD level,
                 // NOLINTNEXTLINE(readability-non-const-parameter): the slot's type.
                 LPBYTE info) {
        EXPECT_EQ(port, kPort);
        EXPECT_EQ(level, 1u);
        current_->printer = printer;
        current_->job_id = job_id;
        current_->document = reinterpret_cast<DOC_INFO_1W*>(info)->pDocName;
        return current_->Answer("StartDocPort");
    }
    static BOOL WINAPI WritePort(HANDLE port, LPBYTE data, DWORD size, LPDWORD written) {
        EXPECT_EQ(port, kPort);
        current_->offers.push_back(size);
        const int count = current_->take(size);
        *written = static_cast<DWORD>(std::max(count, 0));
        if (count < 0) {
            SetLastError(ERROR_NOT_READY);
            return FALSE;
        }
        const DWORD real = std::min(*written, size);
        current_->taken.insert(current_->taken.end(), data, data + real);
        return TRUE;
    }
    static BOOL WINAPI EndDocPort(HANDLE port) {
        EXPECT_EQ(port, kPort);
        return current_->Answer("EndDocPort");
    }
    static BOOL WINAPI ClosePort(HANDLE port) {
        EXPECT_EQ(port, kPort);
        return current_->Answer("ClosePort");
    }

    static inline ScriptedMonitor* current_ = nullptr;
    MONITOR2 table_ = {};
};

class JobRunnerTest : public ::testing::Test {
  protected:
    JobRunnerTest() : data_(1000) {
        std::iota(data_.begin(), data_.end(), static_cast<uint8_t>(0));
    }

    JobOutcome Run(const JobOptions& options = {}) {
        const SpoolerJob job{.port = L"PORT", .printer = L"Printer", .job_id = 5, .document = L"A"};
        return JobRunner(monitor_.table(), kMonitor).Run(job, data_, options);
    }

    ScriptedMonitor monitor_;
    std::vector<uint8_t> data_;
};

TEST_F(JobRunnerTest, TakesAJobThroughEveryStep) {
    const JobOutcome outcome = Run({.chunk_size = 300});
    EXPECT_TRUE(outcome.printed());
    EXPECT_EQ(outcome.bytes_taken, 1000u);
    EXPECT_EQ(outcome.writes, 4u);
    EXPECT_EQ(outcome.refusals, 0u);
    EXPECT_EQ(monitor_.offers, (std::vector<DWORD>{300, 300, 300, 100}));
    EXPECT_EQ(monitor_.taken, data_);
    EXPECT_EQ(monitor_.calls,
              (std::vector<std::string>{"OpenPort", "StartDocPort", "EndDocPort", "ClosePort"}));
    EXPECT_EQ(monitor_.port, L"PORT");
    EXPECT_EQ(monitor_.printer, L"Printer");
    EXPECT_EQ(monitor_.document, L"A");
    EXPECT_EQ(monitor_.job_id, 5u);
}

TEST_F(JobRunnerTest, OffersAgainWhatAShortWriteLeft) {
    monitor_.take = [](DWORD offered) { return static_cast<int>(std::min<DWORD>(offered, 250)); };
    EXPECT_TRUE(Run({.chunk_size = 600}).printed());
    EXPECT_EQ(monitor_.offers, (std::vector<DWORD>{600, 350, 100, 400, 150}));
    EXPECT_EQ(monitor_.taken, data_);
}

TEST_F(JobRunnerTest, RepeatsWhatWasRefused) {
    int calls = 0;
    monitor_.take = [&](DWORD offered) {
        const int answers[] = {-1, 0, static_cast<int>(offered)};
        return answers[std::min(calls++, 2)];
    };
    std::vector<size_t> refusals;
    JobOptions options;
    options.max_refusals = 3;
    options.progress = [&](const JobProgress& progress) { refusals.push_back(progress.refusals); };
    const JobOutcome outcome = Run(options);
    EXPECT_TRUE(outcome.printed());
    EXPECT_EQ(outcome.refusals, 2u);
    EXPECT_EQ(monitor_.taken, data_);
    EXPECT_EQ(refusals, (std::vector<size_t>{1, 2, 0}));
}

TEST_F(JobRunnerTest, GivesUpAfterSoManyRefusalsAndStillEndsTheJob) {
    monitor_.take = [](DWORD) { return -1; };
    const JobOutcome outcome = Run({.max_refusals = 3});
    EXPECT_EQ(outcome.failed_step, JobStep::kWritePort);
    EXPECT_EQ(outcome.error, DWORD{ERROR_NOT_READY});
    EXPECT_EQ(outcome.writes, 3u);
    EXPECT_EQ(outcome.bytes_taken, 0u);
    EXPECT_EQ(monitor_.calls.back(), "ClosePort");
}

TEST_F(JobRunnerTest, StopsWhenTheJobIsDeleted) {
    JobOptions options;
    options.chunk_size = 100;
    options.alive = [&] { return monitor_.taken.size() < 300; };
    const JobOutcome outcome = Run(options);
    EXPECT_EQ(outcome.failed_step, JobStep::kWritePort);
    EXPECT_EQ(outcome.bytes_taken, 300u);
    EXPECT_EQ(monitor_.calls.back(), "ClosePort");
}

TEST_F(JobRunnerTest, SaysWhichStepFailedFirst) {
    const struct {
        std::string failing;
        JobStep step;
        std::vector<std::string> calls;
    } cases[] = {
        {"OpenPort", JobStep::kOpenPort, {"OpenPort"}},
        {"StartDocPort", JobStep::kStartDocPort, {"OpenPort", "StartDocPort", "ClosePort"}},
        {"EndDocPort",
         JobStep::kEndDocPort,
         {"OpenPort", "StartDocPort", "EndDocPort", "ClosePort"}},
        {"ClosePort", JobStep::kClosePort, {"OpenPort", "StartDocPort", "EndDocPort", "ClosePort"}},
    };
    for (const auto& one : cases) {
        SCOPED_TRACE(one.failing);
        monitor_.failing = one.failing;
        monitor_.calls.clear();
        const JobOutcome outcome = Run();
        EXPECT_EQ(outcome.failed_step, one.step);
        EXPECT_EQ(outcome.error, DWORD{ERROR_UNEXP_NET_ERR});
        EXPECT_EQ(monitor_.calls, one.calls);
    }
}

TEST_F(JobRunnerTest, TellsWhenMoreIsReportedThanWasOffered) {
    monitor_.take = [](DWORD offered) { return static_cast<int>(offered) + 10; };
    const JobOutcome outcome = Run({.chunk_size = 500});
    EXPECT_EQ(outcome.bytes_taken, 1000u);
    EXPECT_EQ(outcome.excess_bytes, 20u);
}

}  // namespace
}  // namespace ksp::host
