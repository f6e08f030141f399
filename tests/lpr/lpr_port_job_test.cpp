// Whole jobs through the library.

#include "tests/lpr/lpr_port_test.h"

namespace ksp::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr DWORD kServerUnknown = 0x800000;

using LprPortJobTest = LprPortTest;

TEST_F(LprPortJobTest, AnLprJobOnTheWire) {
    LpdPrinter& daemon = AddPort(L"Port", kLpr);
    ASSERT_TRUE(Start());
    std::string data(2048, '\0');
    for (size_t i = 0; i < data.size(); ++i) {
        data[i] = static_cast<char>(i * 3 + i / 256);
    }
    const auto job = QueueJob(L"Port");
    EXPECT_TRUE(Print(job, Bytes(data), {.chunk_size = 1000}).printed());
    ASSERT_TRUE(daemon.WaitForEndings(1));
    ASSERT_EQ(daemon.connections().size(), 1u);
    const LpdConnection seen = daemon.connections()[0];
    const JobText text{.number = 1, .data_count = "2048"};
    EXPECT_EQ(seen.violation, "");
    EXPECT_TRUE(seen.bytes == text.Preamble() + data + '\0');
    EXPECT_THAT(Statuses(), IsEmpty()) << "a good printer has no status to write";
    EXPECT_THAT(WrittenJobStatuses(1), ElementsAre(static_cast<DWORD>(JOB_STATUS_PRINTING)));
    EXPECT_TRUE(HasFile(L"ksp000"));
    EXPECT_FALSE(HasFile(L"ksp001"));

    EXPECT_TRUE(Print(job, Bytes("next")).printed());
    ASSERT_TRUE(daemon.WaitForEndings(2));
    EXPECT_EQ(daemon.connections()[1].bytes,
              (JobText{.number = 3, .data_count = "4"}.Preamble()) + "next" + '\0');
    EXPECT_TRUE(HasFile(L"ksp002"));
}

TEST_F(LprPortJobTest, AnXlprJobOnTheWire) {
    SetSetting(L"MaxFileSize", 5);
    LpdPrinter& daemon = AddPort(L"Port", kXlpr);
    ASSERT_TRUE(Start());
    std::string data(2048, 'x');
    data[100] = '\0';
    EXPECT_TRUE(Print(QueueJob(L"Port"), Bytes(data), {.chunk_size = 1000}).printed());
    ASSERT_TRUE(daemon.WaitForEndings(1));
    ASSERT_EQ(daemon.connections().size(), 1u);
    const LpdConnection seen = daemon.connections()[0];
    EXPECT_EQ(seen.violation, "");
    EXPECT_TRUE(seen.bytes == (JobText{.number = 0, .data_count = "5000"}.Preamble()) + data);
    EXPECT_FALSE(HasFile(L"ksp000"));
    EXPECT_THAT(Statuses(), ElementsAre(kServerUnknown, 0u))
        << "what the poll said of the good printer, and the status before";
}

TEST_F(LprPortJobTest, BothShareTheCounter) {
    LpdPrinter& xlpr = AddPort(L"Streamed", kXlpr);
    LpdPrinter& lpr = AddPort(L"Spooled", kLpr);
    ASSERT_TRUE(Start());
    EXPECT_TRUE(Print(QueueJob(L"Streamed"), Bytes("one")).printed());
    EXPECT_TRUE(Print(QueueJob(L"Spooled", L"Other"), Bytes("two")).printed());
    ASSERT_TRUE(xlpr.WaitForEndings(1));
    ASSERT_TRUE(lpr.WaitForEndings(1));
    EXPECT_EQ(xlpr.connections()[0].control, JobText{.number = 0}.Control());
    EXPECT_EQ(lpr.connections()[0].control, JobText{.number = 2}.Control());
    EXPECT_TRUE(HasFile(L"ksp001"));
}

TEST_F(LprPortJobTest, TheStatusBeforeAnLprJobIsWrittenLast) {
    AddPort(L"Port", kLpr);
    ASSERT_TRUE(Start());
    const auto job = QueueJob(L"Port");
    spooler().SetPrinterStatus(L"Printer", PRINTER_STATUS_USER_INTERVENTION);
    EXPECT_TRUE(Print(job, Bytes("data")).printed());
    EXPECT_THAT(Statuses(), ElementsAre(PRINTER_STATUS_USER_INTERVENTION));
}

TEST_F(LprPortJobTest, TheStatusBeforeAnXlprJobIsWrittenAndCleared) {
    AddPort(L"Port", kXlpr);
    ASSERT_TRUE(Start());
    const auto job = QueueJob(L"Port");
    spooler().SetPrinterStatus(L"Printer", PRINTER_STATUS_USER_INTERVENTION);
    EXPECT_TRUE(Print(job, Bytes("data")).printed());
    EXPECT_THAT(Statuses(), ElementsAre(kServerUnknown, PRINTER_STATUS_USER_INTERVENTION, 0u));
}

TEST_F(LprPortJobTest, AJobThatCannotBeSpooledDoesNotStart) {
    SetSetting(L"LPRDirectory", directory() + L"\\no\\parent");
    LpdPrinter& daemon = AddPort(L"Port", kLpr);
    ASSERT_TRUE(Start());
    const host::JobOutcome outcome = Print(QueueJob(L"Port"), Bytes("data"));
    EXPECT_EQ(outcome.failed_step, host::JobStep::kStartDocPort);
    EXPECT_EQ(Count(LineLevel::kError, L"error opening print channel"), 1u);
    EXPECT_THAT(daemon.connections(), IsEmpty());
}

TEST_F(LprPortJobTest, AnXlprJobIsNeverMarkedAsInError) {
    LpdBehavior behavior;
    behavior.answers[Step::kReceiveJob] = {.bytes = "\x01"};
    AddPort(L"Port", kXlpr, behavior);
    ASSERT_TRUE(Start());
    const host::JobOutcome outcome = Print(QueueJob(L"Port"), Bytes("data"), {.max_refusals = 2});
    EXPECT_EQ(outcome.failed_step, host::JobStep::kWritePort);
    EXPECT_EQ(outcome.writes, 2u);
    EXPECT_THAT(WrittenJobStatuses(1), ElementsAre(static_cast<DWORD>(JOB_STATUS_PRINTING)));
}

TEST_F(LprPortJobTest, AJobThatTheSpoolerCannotMarkIsHeldAllTheSame) {
    LpdBehavior behavior;
    behavior.answers[Step::kReceiveJob] = {.bytes = "\x01"};
    AddPort(L"Port", kLpr, behavior);
    ASSERT_TRUE(Start());
    const auto job = QueueJob(L"Port");
    spooler().FailCall(WinspoolSetJob, ERROR_ACCESS_DENIED);
    // The look at the job comes after the attempt to mark it.
    spooler().SetHook(WinspoolSetJob,
                      [this] { spooler().SetJobStatus(L"Printer", 1, JOB_STATUS_DELETED); });
    EXPECT_TRUE(Print(job, Bytes("data")).printed());
    EXPECT_EQ(Count(LineLevel::kError, L"error retrieving job info"), 1u);
    EXPECT_EQ(Count(LineLevel::kInfo, L"The WaitforAck failed.."), 1u);
}

}  // namespace
}  // namespace ksp::test
