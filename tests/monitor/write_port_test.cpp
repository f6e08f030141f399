// WritePort: what is taken, what is refused, and why.

#include <optional>

#include "tests/monitor/port_call_test.h"

namespace ksp::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class WritePortTest : public PortCallTest {
  protected:
    // An open port to the printer with a job that was started.
    HANDLE StartJob() {
        AddRawPort(L"PORT", *printer_);
        if (!Start())
            return nullptr;
        QueueJob(L"PORT");
        const HANDLE port = Open(L"PORT");
        if (!StartDoc(port).result)
            return nullptr;
        NewLines();
        NewCalls();
        return port;
    }
    void EndJob(HANDLE port) {
        EXPECT_TRUE(EndDoc(port));
        EXPECT_TRUE(Close(port));
    }
    void SetUp() override {
        PortCallTest::SetUp();
        printer_.emplace();
        ASSERT_TRUE(printer_->ready());
    }
    void TearDown() override {
        printer_.reset();  // before the handles are counted
        PortCallTest::TearDown();
        EXPECT_TRUE(ReadLog().Messages(LineLevel::kCritical).empty());
    }

    std::optional<standins::LoopbackPrinter> printer_;
};

TEST_F(WritePortTest, TakesTheBytesAndSaysHowMany) {
    const HANDLE port = StartJob();
    const WriteResult write = Write(port, Document(1000));
    EXPECT_TRUE(write.result);
    EXPECT_EQ(write.written, 1000U);
    std::vector<std::string> lines = NewLines();
    ASSERT_GE(lines.size(), 4U);
    EXPECT_EQ(lines.back(), "TRACE WritePort Success. written:1000");
    lines.resize(3);
    EXPECT_THAT(lines, ElementsAre("TRACE called write port", "TRACE job id = 1",
                                   "TRACE try check job status."));
    EXPECT_THAT(NewCalls(), ElementsAre("GetJob 'Printer' job 1 level 1 -> TRUE"));
    EndJob(port);
    EXPECT_TRUE(printer_->WaitForEndings(1));
    EXPECT_TRUE(SameBytes(Document(1000), printer_->received()));
}

TEST_F(WritePortTest, CountIsOptional) {
    const HANDLE port = StartJob();
    Bytes data = Document(10);
    EXPECT_TRUE(table().pfnWritePort(port, data.data(), 10, nullptr));
    EXPECT_FALSE(table().pfnWritePort(port, nullptr, 10, nullptr));
    EXPECT_FALSE(table().pfnWritePort(Handle(99), data.data(), 10, nullptr));
    store().RemoveKey(root(), PortPath(L"PORT"));
    EXPECT_FALSE(table().pfnWritePort(port, data.data(), 10, nullptr));
    EndJob(port);
    EXPECT_TRUE(SameBytes(Document(10), printer_->received()));
}

TEST_F(WritePortTest, NothingToWriteIsRefused) {
    const HANDLE port = StartJob();
    DWORD written = kUnwritten;
    BYTE byte = 1;
    EXPECT_FALSE(table().pfnWritePort(port, nullptr, 10, &written));
    EXPECT_FALSE(table().pfnWritePort(port, &byte, 0, &written));
    EXPECT_FALSE(table().pfnWritePort(nullptr, nullptr, 0, &written));
    EXPECT_EQ(written, kUnwritten);
    const char* const refusal = "INFO buffer ptr is null or the size of the buffer is 0";
    EXPECT_THAT(NewLines(),
                ElementsAre("TRACE called write port", refusal, "TRACE called write port", refusal,
                            "TRACE called write port", refusal));
    EXPECT_THAT(NewCalls(), IsEmpty());
    EndJob(port);
    EXPECT_THAT(printer_->connections(), IsEmpty());
}

TEST_F(WritePortTest, WithoutStartedJobItIsRefused) {
    AddRawPort(L"PORT", *printer_);
    ASSERT_TRUE(Start());
    const HANDLE port = Open(L"PORT");
    NewLines();
    EXPECT_FALSE(Write(port, Document(10)).result);
    EXPECT_THAT(NewLines(),
                ElementsAre("TRACE called write port", "TRACE job id = 0",
                            "ERROR print handle is not set", "ERROR error get job info."));
    EXPECT_THAT(NewCalls(), IsEmpty());
}

TEST_F(WritePortTest, JobThatTheSpoolerDoesNotKnowIsRefused) {
    const HANDLE port = StartJob();
    ASSERT_TRUE(spooler().RemoveJob(L"Printer", 1));
    EXPECT_FALSE(Write(port, Document(10)).result);
    EXPECT_THAT(NewLines(),
                ElementsAre("TRACE called write port", "TRACE job id = 1",
                            "ERROR error retrieving job info", "ERROR error get job info."));
    EXPECT_TRUE(EndDoc(port)) << "the event is not left reset";
    EXPECT_THAT(printer_->connections(), IsEmpty());
}

TEST_F(WritePortTest, JobThatVanishesBetweenTheTwoReadsIsRefused) {
    const HANDLE port = StartJob();
    spooler().FailCall(WinspoolGetJob, ERROR_INVALID_PARAMETER, 2);
    EXPECT_FALSE(Write(port, Document(10)).result);
    EXPECT_THAT(NewLines(),
                ElementsAre("TRACE called write port", "TRACE job id = 1",
                            "ERROR error retrieving job info", "ERROR error get job info."));
    EXPECT_TRUE(Write(port, Document(10)).result);
    EndJob(port);
}

TEST_F(WritePortTest, JobWithoutSizeIsRefused) {
    const HANDLE port = StartJob();
    spooler().EmptyCall(WinspoolGetJob);
    EXPECT_FALSE(Write(port, Document(10)).result);
    EXPECT_THAT(NewLines(), ElementsAre("TRACE called write port", "TRACE job id = 1",
                                        "ERROR error get job info."));
    EndJob(port);
}

TEST_F(WritePortTest, PausedJobSendsNothingUntilItGoesOn) {
    const HANDLE port = StartJob();
    spooler().SetJobStatus(L"Printer", 1, JOB_STATUS_PAUSED | JOB_STATUS_PRINTING);
    const WriteResult paused = Write(port, Document(10));
    EXPECT_FALSE(paused.result);
    EXPECT_EQ(paused.written, kUnwritten);
    EXPECT_THAT(NewLines(),
                ElementsAre("TRACE called write port", "TRACE job id = 1",
                            "TRACE try check job status.", "ERROR error job status paused."));
    EXPECT_THAT(printer_->connections(), IsEmpty());

    spooler().SetJobStatus(L"Printer", 1, JOB_STATUS_PRINTING);
    EXPECT_TRUE(Write(port, Document(10)).result);
    EndJob(port);
    EXPECT_TRUE(SameBytes(Document(10), printer_->received()));
}

TEST_F(WritePortTest, JobThatIsPausedForGoodCanBeEnded) {
    const HANDLE port = StartJob();
    spooler().SetJobStatus(L"Printer", 1, JOB_STATUS_PAUSED);
    EXPECT_FALSE(Write(port, Document(10)).result);
    EndJob(port);
    EXPECT_THAT(spooler().OpenHandles(), IsEmpty());
}

TEST_F(WritePortTest, OtherJobStatesDoNotHoldItUp) {
    const HANDLE port = StartJob();
    spooler().SetJobStatus(L"Printer", 1, ~DWORD{JOB_STATUS_PAUSED});
    EXPECT_TRUE(Write(port, Document(10)).result);
    EndJob(port);
}

TEST_F(WritePortTest, PortWithoutRecordTakesNothing) {
    const HANDLE port = StartJob();
    store().RemoveKey(root(), PortPath(L"PORT"));
    const WriteResult write = Write(port, Document(10));
    EXPECT_FALSE(write.result);
    EXPECT_EQ(write.written, 0U);
    EXPECT_THAT(
        NewLines(),
        ElementsAre("TRACE called write port", "TRACE job id = 1", "TRACE try check job status.",
                    "TRACE Read port info : hostname = PORT", "TRACE WritePort Failed"));
    EXPECT_THAT(printer_->connections(), IsEmpty());

    AddRawPort(L"PORT", *printer_);
    EXPECT_TRUE(Write(port, Document(10)).result);
    EndJob(port);
    EXPECT_TRUE(SameBytes(Document(10), printer_->received()));
}

TEST_F(WritePortTest, EachWriteReadsTheRecordAnew) {
    const HANDLE port = StartJob();
    EXPECT_TRUE(Write(port, Document(10)).result);
    store().RemoveKey(root(), PortPath(L"PORT"));
    EXPECT_FALSE(Write(port, Document(10)).result) << "also in the middle of a job";
    AddRawPort(L"PORT", *printer_);
    EXPECT_TRUE(Write(port, Document(5)).result);
    EndJob(port);
    EXPECT_EQ(printer_->received().size(), 15U);
}

TEST_F(WritePortTest, ChannelWithoutStartedDocumentFails) {
    const HANDLE port = StartJob();
    EXPECT_TRUE(Close(port)) << "ends the channel's job, the printer handle stays";
    EXPECT_TRUE(EndDoc(port));
    EXPECT_FALSE(Write(port, Document(10)).result);
}

TEST_F(WritePortTest, PrinterThatRefusesFailsTheWriteAndIsTriedAgain) {
    const standins::LoopbackPrinter refusing(
        {.answer = standins::PrinterBehavior::Answer::kRefuse});
    ASSERT_TRUE(refusing.ready());
    AddRawPort(L"PORT", refusing);
    ASSERT_TRUE(Start());
    QueueJob(L"PORT");
    const HANDLE port = Open(L"PORT");
    ASSERT_TRUE(StartDoc(port).result);
    NewCalls();
    NewLines();
    for (int attempt = 0; attempt < 3; ++attempt) {
        const WriteResult write = Write(port, Document(10));
        EXPECT_FALSE(write.result);
        EXPECT_EQ(write.written, 0U);
        EXPECT_EQ(NewLines().back(), "TRACE WritePort Failed");
    }
    // The status is told once, however often the printer refuses.
    EXPECT_EQ(spooler().Calls(WinspoolSetPrinter).size(), 1U);
    EXPECT_THAT(NewCalls(),
                Contains("SetPrinter 'Printer' level 0 command 4 status 0x800000 -> TRUE"));
    EndJob(port);
}

TEST_F(WritePortTest, SpoolerThatRefusesTheStatusDoesNotStopTheJob) {
    const HANDLE port = StartJob();
    spooler().SetPrinterStatus(L"Printer", PRINTER_STATUS_PAPER_OUT);
    spooler().FailCallsFrom(WinspoolSetPrinter, ERROR_ACCESS_DENIED);
    EXPECT_TRUE(Write(port, Document(10)).result);
    EndJob(port);
}

TEST_F(WritePortTest, JobIdIsThatOfTheStartedJob) {
    AddRawPort(L"PORT", *printer_);
    ASSERT_TRUE(Start());
    QueueJob(L"PORT", L"Printer", 4711);
    const HANDLE port = Open(L"PORT");
    ASSERT_TRUE(StartDoc(port, L"Printer", 4711).result);
    EXPECT_TRUE(Write(port, Document(1)).result);
    EXPECT_THAT(LogNow(), Contains("TRACE job id = 4711"));
    EXPECT_THAT(NewCalls(), Contains("GetJob 'Printer' job 4711 level 1 -> TRUE"));
    EndJob(port);
}

}  // namespace
}  // namespace ksp::test
