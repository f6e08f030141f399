// A port that is deleted while a job is on it: what becomes of the job, and what the spooler is
// told.

#include "tests/monitor/port_call_test.h"

namespace ksp::test {
namespace {

using standins::LoopbackPrinter;
using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::Not;

class DeleteDuringJobTest : public PortCallTest {
  protected:
    static constexpr DWORD kDeleted = ERROR_SUCCESS;
    static constexpr DWORD kRefused = ERROR_NOT_READY;

    // Half of the document is written when this returns.
    HANDLE StartJob(const LoopbackPrinter& printer) {
        AddRawPort(L"PORT", printer);
        if (!Start())
            return nullptr;
        QueueJob(L"PORT");
        const HANDLE port = Open(L"PORT");
        if (!StartDoc(port).result || !WriteAll(port, first_half_))
            return nullptr;
        return port;
    }

    Bytes WholeDocument() const {
        Bytes whole = first_half_;
        whole.insert(whole.end(), second_half_.begin(), second_half_.end());
        return whole;
    }

    const Bytes first_half_ = Document(100'000, 1);
    const Bytes second_half_ = Document(50'000, 2);
};

TEST_F(DeleteDuringJobTest, RefusedDeletionLeavesTheJobWhole) {
    LoopbackPrinter printer;
    ASSERT_TRUE(printer.ready());
    const HANDLE port = StartJob(printer);
    ASSERT_NE(port, nullptr);
    EXPECT_EQ(DeletePort(L"PORT"), kRefused) << "the printer of the job uses the port";
    EXPECT_TRUE(WriteAll(port, second_half_));
    EXPECT_TRUE(EndDoc(port));
    EXPECT_TRUE(printer.WaitForEndings(1));
    EXPECT_TRUE(SameBytes(WholeDocument(), printer.received()));
    EXPECT_EQ(printer.connections().size(), 1u);
    EXPECT_THAT(NewCalls(), Contains(HasSubstr("level 0 command 6")));
}

TEST_F(DeleteDuringJobTest, JobOfADeletedPortIsNeverReportedSent) {
    LoopbackPrinter printer;
    ASSERT_TRUE(printer.ready());
    const HANDLE port = StartJob(printer);
    ASSERT_NE(port, nullptr);
    spooler().PutPrinter({.name = L"Printer", .port_names = L"ANOTHER"});
    EXPECT_EQ(DeletePort(L"PORT"), kDeleted);
    EXPECT_FALSE(Write(port, second_half_).result);
    EXPECT_FALSE(EndDoc(port));
    EXPECT_TRUE(printer.WaitForEndings(1)) << "the connection is not left open";
    EXPECT_TRUE(SameBytes(first_half_, printer.received()));
    EXPECT_THAT(NewCalls(), Not(Contains(HasSubstr("level 0 command 6"))));
    EXPECT_EQ(*spooler().JobStatus(L"Printer", 1) & JOB_STATUS_COMPLETE, 0u);
}

// Between finding the port and starting its job lies a call of the spooler.
TEST_F(DeleteDuringJobTest, JobThatStartsWhileItsPortIsDeletedDoesNotStart) {
    LoopbackPrinter printer;
    ASSERT_TRUE(printer.ready());
    AddRawPort(L"PORT", printer);
    ASSERT_TRUE(Start());
    QueueJob(L"PORT");
    spooler().PutPrinter({.name = L"Printer", .port_names = L"ANOTHER"});
    const HANDLE port = Open(L"PORT");
    DWORD deleted = ERROR_CAN_NOT_COMPLETE;
    spooler().SetHook(WinspoolOpenPrinter, [&] { deleted = DeletePort(L"PORT"); });
    EXPECT_FALSE(StartDoc(port).result);
    spooler().SetHook(WinspoolOpenPrinter, {});
    EXPECT_EQ(deleted, kDeleted);
    EXPECT_THAT(NewLines(), Contains("ERROR invalid port handle"));
    EXPECT_TRUE(spooler().OpenHandles().empty());
    EXPECT_TRUE(printer.connections().empty());
}

}  // namespace
}  // namespace ksp::test
