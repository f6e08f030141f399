// A port that is deleted under its job, at the moments at which that is hardest.

#include "tests/host/patched_import.h"
#include "tests/lpr/lpd_printer.h"
#include "tests/monitor/background.h"
#include "tests/monitor/port_call_test.h"

namespace ksp::test {
namespace {

using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

// Opens a gate when a thread in the library has to wait for a slim lock.
class NotedWaits {
  public:
    NotedWaits(HMODULE library, Gate& waiting)
        : acquire_("AcquireSRWLockExclusive", &Acquire, library) {
        waiting_ = &waiting;
    }
    NotedWaits(const NotedWaits&) = delete;
    NotedWaits& operator=(const NotedWaits&) = delete;

  private:
    static void WINAPI Acquire(PSRWLOCK lock) {
        if (TryAcquireSRWLockExclusive(lock))
            return;
        waiting_->Open();
        AcquireSRWLockExclusive(lock);
    }

    static Gate* waiting_;

    PatchedImport<decltype(&::AcquireSRWLockExclusive)> acquire_;
};

Gate* NotedWaits::waiting_ = nullptr;

class DeletedPortTest : public PortCallTest {
  protected:
    // The printer of the job goes by another port, so that the one it prints on may be deleted.
    HANDLE StartJobOfAnothersPrinter() {
        QueueJob(L"ANOTHER");
        const HANDLE port = Open(L"PORT");
        return StartDoc(port).result ? port : nullptr;
    }
};

// The last write is still under way, EndDocPort waits for it, and the port is deleted: whoever of
// the two comes next, the job has been given up.
TEST_F(DeletedPortTest, JobThatEndsAtThatMomentIsNotReportedSent) {
    standins::LpdPrinter daemon;
    ASSERT_TRUE(daemon.ready());
    SetSetting(L"LPRDirectory", directory());
    AddPortKey({.name = L"PORT",
                .PrinterAddress = daemon.wide_address(),
                .ProtocolID = 0,
                .QueueName = L"queue"});
    ASSERT_TRUE(Start());
    const HANDLE port = StartJobOfAnothersPrinter();
    ASSERT_NE(port, nullptr);
    Gate inside;
    Gate go;
    spooler().SetHook(WinspoolGetJob, [&] {
        inside.Open();
        static_cast<void>(go.Wait());
    });
    Background<bool> write([&] { return Write(port, Document(1000)).result; });
    ASSERT_TRUE(inside.Wait());
    Gate waiting;
    const NotedWaits notes(library().module(), waiting);
    Background<bool> end([&] { return EndDoc(port); });
    EXPECT_TRUE(waiting.Wait());
    EXPECT_EQ(DeletePort(L"PORT"), static_cast<DWORD>(ERROR_SUCCESS));
    go.Open();
    static_cast<void>(write.Get());
    EXPECT_FALSE(end.Get());
    EXPECT_THAT(NewCalls(), Not(Contains(HasSubstr("level 0 command 6"))));
    EXPECT_THAT(daemon.connections(), IsEmpty()) << "nothing is delivered for a port that is gone";
}

// The port manager's lock is held by whoever deletes: waiting for the printer then would hold up
// every port of the machine.
TEST_F(DeletedPortTest, PrinterThatNeverReadsIsNotWaitedFor) {
    standins::LoopbackPrinter printer({.reads = false, .receive_buffer = 4096});
    ASSERT_TRUE(printer.ready());
    AddRawPort(L"PORT", printer);
    SetSetting(L"WaitServerReplyTimeout", 1);
    ASSERT_TRUE(Start());
    const HANDLE port = StartJobOfAnothersPrinter();
    ASSERT_NE(port, nullptr);
    const Bytes piece = Document(size_t{256} * 1024);
    int writes = 0;
    while (Write(port, piece).result)
        ASSERT_LT(++writes, 100) << "the system takes everything";
    NewLines();
    Background<DWORD> deletion([&] { return DeletePort(L"PORT"); });
    // Far less than the time for which a connection lingers.
    EXPECT_TRUE(deletion.EndsWithin(Gate::kPatience));
    EXPECT_FALSE(EndDoc(port));
    printer.StartReading();
    EXPECT_EQ(deletion.Get(), static_cast<DWORD>(ERROR_SUCCESS));
    EXPECT_TRUE(printer.WaitForEndings(1)) << "the connection is not left open";
    EXPECT_THAT(NewCalls(), Not(Contains(HasSubstr("level 0 command 6"))));
}

}  // namespace
}  // namespace ksp::test
