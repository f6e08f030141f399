// One job to a printer daemon, as a script orders it. What the daemon made of it is the script's to
// judge; here stands how the monitor saw it.

#include "tests/peers/peer_job.h"

#include "tests/host/monitor_test.h"

namespace ksp::test {
namespace {

constexpr wchar_t kPort[] = L"PEER_1";
constexpr wchar_t kPrinter[] = L"Printer";
constexpr DWORD kJobId = 1;

// A busy machine makes a daemon slow; the time-out is not what is looked at here.
constexpr DWORD kPatience = 20;

class PeerJobTest : public MonitorTest {
  protected:
    void SetUp() override {
        MonitorTest::SetUp();
        const auto job = PeerJob::FromEnvironment();
        ASSERT_TRUE(job) << "the environment orders no job";
        job_ = *job;
        // A job that could not be delivered waits in the queue until somebody deletes it.
        spooler().SetHook(WinspoolGetJob, [this] { DeleteJobInError(); });
    }

    void AddPeerPort() {
        AddPortKey({.name = kPort,
                    .PrinterAddress = job_.address,
                    .ProtocolID = job_.protocol,
                    .QueueName = job_.queue});
        // The answers of a daemon stand there at INFO; the lines about every write, each of which
        // is brought to the disk, would take longer than the job.
        SetSetting(L"LogLevel", static_cast<DWORD>(LineLevel::kInfo));
        SetSetting(L"WaitServerReplyTimeout", kPatience);
        SetSetting(L"LPRDirectory", directory() + L"\\spool");
        if (job_.max_file_size != 0) {
            SetSetting(L"MaxFileSize", job_.max_file_size);
        }
    }

    void DeleteJobInError() {
        const auto status = spooler().JobStatus(kPrinter, kJobId);
        if (status && (*status & JOB_STATUS_ERROR) != 0) {
            came_in_error_ = true;
            spooler().SetJobStatus(kPrinter, kJobId, JOB_STATUS_DELETED);
        }
    }

    PeerJob job_;
    bool came_in_error_ = false;
};

TEST_F(PeerJobTest, PrintsTheDocument) {
    const std::vector<uint8_t> document = PeerDocument(job_.size);
    const std::string names = NameLines();
    ASSERT_FALSE(names.empty());
    ASSERT_TRUE(WriteForScript(job_.sent_file, document.data(), document.size()));
    ASSERT_TRUE(WriteForScript(job_.names_file, names.data(), names.size()));
    AddPeerPort();
    ASSERT_TRUE(Start());

    host::SpoolerJob spooled = QueueJob(kPort, kPrinter, kJobId);
    spooled.document = job_.title;
    const host::JobOutcome outcome = Print(spooled, document);

    const LogFile log = ReadLog();
    EXPECT_EQ(outcome.printed(), !job_.refused) << log.Describe();
    EXPECT_EQ(outcome.bytes_taken, job_.refused ? 0 : document.size());
    EXPECT_EQ(outcome.excess_bytes, 0u);
    EXPECT_FALSE(came_in_error_) << "the job could not be delivered: " << log.Describe();
    const bool said_no = log.ContainsLine(LineLevel::kInfo, L"WaitforAck() = ERROR, bytes=1");
    EXPECT_EQ(said_no, job_.refused) << log.Describe();
    EXPECT_EQ(log.Messages(LineLevel::kCritical), std::vector<std::wstring>());
}

}  // namespace
}  // namespace ksp::test
