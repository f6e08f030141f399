// A job that cannot be delivered is held in the queue until somebody deletes or restarts it. For
// each way in which a delivery fails three jobs are held side by side, one for each way to end it.

#include <array>
#include <ostream>

#include "tests/lpr/lpr_port_test.h"

namespace ksp::test {
namespace {

constexpr size_t kMuch = size_t{12} * 1024 * 1024;  // more than the system holds on both sides

struct Loop {
    const char* name;
    standins::LpdBehavior daemon;
    const wchar_t* text;
    bool marks_job;  // as in error
    size_t queue_length = 5;
    size_t data_length = 4;
};

void PrintTo(const Loop& loop, std::ostream* out) {
    *out << loop.name;
}

standins::LpdBehavior RefusesAt(standins::LpdStep step) {
    standins::LpdBehavior behavior;
    behavior.answers[step] = {.bytes = "\x01"};
    return behavior;
}

standins::LpdBehavior SilentAt(standins::LpdStep step) {
    standins::LpdBehavior behavior;
    behavior.answers[step] = {.bytes = {}};
    return behavior;
}

class LprPortLoopTest : public LprPortTest, public ::testing::WithParamInterface<Loop> {
  protected:
    // A look takes two calls, and so does the writing back at the end. A job that is still held
    // after several looks is deleted, so that the test ends.
    static constexpr size_t kOverdue = 5;

    struct HeldJob {
        DWORD id;
        DWORD status;  // ends it
        LpdPrinter* daemon = nullptr;
        host::SpoolerJob job = {};
        std::jthread thread = {};
        std::atomic<DWORD> thread_id = 0;
        std::atomic<bool> is_to_end = false;
        bool has_ended = false;                   // touched by the job's thread
        std::atomic<size_t> calls_since_end = 0;  // that ask about the job
        std::atomic<bool> printed = false;
    };

    void Hold(HeldJob& held) {
        const std::wstring name = L"Port" + std::to_wstring(held.id);
        held.job = QueueJob(name, L"Printer" + std::to_wstring(held.id), held.id);
        held.thread = std::jthread([this, &held] {
            held.thread_id = GetCurrentThreadId();
            const std::vector<uint8_t> data(GetParam().data_length, 'd');
            held.printed = Print(held.job, data).printed();
        });
    }
    // How often the job's thread has logged the loop's line.
    size_t Rounds(const HeldJob& held) const {
        size_t rounds = 0;
        const LogFile log = ReadLog();
        for (const LogLine& line : log.lines()) {
            rounds += line.thread_id == held.thread_id && line.level == LineLevel::kInfo &&
                              line.message == GetParam().text
                          ? 1u
                          : 0u;
        }
        return rounds;
    }
    bool GoesRound(const HeldJob& held) const {
        for (int seconds = 0; seconds < 120; ++seconds) {
            if (Rounds(held) >= 2) {
                return true;
            }
            Sleep(1000);
        }
        return false;
    }
    // Ends a job at the channel's next look at it. What still fills the connection then would be
    // waited for, so the daemon begins to read.
    void EndAtNextLook(std::list<HeldJob>& jobs) {
        spooler().SetHook(WinspoolGetJob, [this, &jobs] {
            for (HeldJob& held : jobs) {
                if (held.thread_id != GetCurrentThreadId()) {
                    continue;
                }
                if (held.has_ended && ++held.calls_since_end > kOverdue) {
                    spooler().SetJobStatus(held.job.printer, held.id, JOB_STATUS_DELETED);
                }
                if (held.is_to_end.exchange(false)) {
                    held.has_ended = true;
                    const DWORD now = spooler().JobStatus(held.job.printer, held.id).value_or(0);
                    EXPECT_TRUE(
                        spooler().SetJobStatus(held.job.printer, held.id, now | held.status));
                    held.daemon->StartReading();
                }
            }
        });
    }
};

INSTANTIATE_TEST_SUITE_P(
    , LprPortLoopTest,
    ::testing::Values(
        Loop{"Connection", {.refuses = true}, L"The openConnection Failed or timedout..", false},
        Loop{.name = "JobCommand",
             .daemon = {.reads = false, .receive_buffer = 4096},
             .text = L"The SendPrintJobInformation Failed or timedout..",
             .marks_job = true,
             .queue_length = kMuch},
        Loop{"NoAcknowledgement", SilentAt(standins::LpdStep::kReceiveJob),
             L"The WaitforAck timedout..", false},
        Loop{"Refusal", RefusesAt(standins::LpdStep::kReceiveJob), L"The WaitforAck failed..",
             true},
        Loop{"Control", RefusesAt(standins::LpdStep::kControlFile),
             L"The SendControlInformation failed or timedout..", true},
        Loop{"DataCommand", RefusesAt(standins::LpdStep::kDataCommand),
             L"The SendDataFileInformation failed or timedout..", true},
        Loop{.name = "StalledData",
             .daemon = {.receive_buffer = 4096, .stalls_after = 0},
             .text = L"The SendToServer timedout..",
             .marks_job = false,
             .data_length = kMuch},
        Loop{.name = "LostData",
             .daemon = {.receive_buffer = 4096, .resets_after = 5000},
             .text = L"The sendtoServer failed ..",
             .marks_job = true,
             .data_length = kMuch}),
    [](const auto& test) { return std::string(test.param.name); });

TEST_P(LprPortLoopTest, HoldsTheJobUntilItIsEnded) {
    SetSetting(L"WaitServerReplyTimeout", 1);
    std::list<HeldJob> jobs;
    constexpr std::array<DWORD, 3> kEndings = {JOB_STATUS_DELETED, JOB_STATUS_DELETING,
                                               JOB_STATUS_RESTART};
    for (const DWORD status : kEndings) {
        HeldJob& held = jobs.emplace_back(static_cast<DWORD>(jobs.size() + 1), status);
        held.daemon = &AddPort(L"Port" + std::to_wstring(held.id), kLpr, GetParam().daemon,
                               std::wstring(GetParam().queue_length, L'q'));
    }
    ASSERT_TRUE(Start());
    EndAtNextLook(jobs);
    for (HeldJob& held : jobs) {
        Hold(held);
    }
    for (const HeldJob& held : jobs) {
        if (!GoesRound(held)) {
            ADD_FAILURE() << "not held";
            break;
        }
    }
    for (HeldJob& held : jobs) {
        EXPECT_FALSE(held.printed);
        const DWORD shown = spooler().JobStatus(held.job.printer, held.id).value_or(0);
        EXPECT_EQ((shown & JOB_STATUS_ERROR) != 0, GetParam().marks_job);
        held.is_to_end = true;
        held.thread.join();
        EXPECT_LT(held.calls_since_end, kOverdue) << "it was ended by this look";
        EXPECT_TRUE(held.printed) << "EndDocPort does not report the failure";
    }
    for (HeldJob& held : jobs) {
        const std::vector<DWORD> written = WrittenJobStatuses(held.id);
        // The mark, and the writing back at the end of every job.
        ASSERT_EQ(written.size(), GetParam().marks_job ? 2u : 1u);
        EXPECT_EQ((written[0] & JOB_STATUS_ERROR) != 0, GetParam().marks_job);
        EXPECT_TRUE(written[0] & JOB_STATUS_PRINTING) << "the rest of the status stays";
        for (const LpdConnection& seen : held.daemon->connections()) {
            EXPECT_FALSE(seen.has_whole_data);
        }
    }
}

}  // namespace
}  // namespace ksp::test
