// No exception crosses into the spooler. The spooler's own functions throw here, since whatever
// is thrown below an entry has to end there, wherever it comes from.

#include <stdexcept>

#include "monitor/entry_guard.h"
#include "tests/monitor/background.h"
#include "tests/monitor/port_call_test.h"

namespace ksp::test {
namespace {

TEST(EntryGuardTest, AnswersWhatTheOperationAnswers) {
    EXPECT_EQ(Guarded<DWORD>(ERROR_INVALID_DATA, [] { return DWORD{ERROR_SUCCESS}; }),
              DWORD{ERROR_SUCCESS});
    EXPECT_EQ(Guarded<BOOL>(FALSE, [] { return TRUE; }), TRUE);
}

TEST(EntryGuardTest, AnswersTheFailureForWhateverIsThrown) {
    EXPECT_EQ(Guarded<DWORD>(ERROR_INVALID_DATA, []() -> DWORD { throw std::bad_alloc(); }),
              DWORD{ERROR_INVALID_DATA});
    EXPECT_EQ(Guarded<DWORD>(ERROR_INVALID_FUNCTION, []() -> DWORD { throw 1; }),
              DWORD{ERROR_INVALID_FUNCTION});
    EXPECT_EQ(Guarded<BOOL>(FALSE, []() -> BOOL { throw std::runtime_error("x"); }), FALSE);
}

class ExceptionTest : public PortCallTest {
  protected:
    HANDLE StartAndOpen() {
        AddRawPort(L"PORT");
        if (!Start())
            return nullptr;
        QueueJob(L"PORT");
        return Open(L"PORT");
    }
    // The function throws at its nth call from now on, once.
    void ThrowIn(WinspoolFunction function, int nth = 1) {
        spooler().SetHook(function, [count = nth]() mutable {
            if (--count == 0)
                throw std::runtime_error("the spooler is broken");
        });
    }
    void StopThrowing(WinspoolFunction function) { spooler().SetHook(function, {}); }
};

TEST_F(ExceptionTest, StartDocPortFailsWithALine) {
    const HANDLE port = StartAndOpen();
    NewLines();
    ThrowIn(WinspoolOpenPrinter);
    EXPECT_FALSE(StartDoc(port).result);
    EXPECT_EQ(NewLines().back(), "CRITICAL Exception error in StartDocPort.");
    StopThrowing(WinspoolOpenPrinter);
    ThrowIn(WinspoolGetPrinter);
    EXPECT_FALSE(StartDoc(port).result);
    EXPECT_EQ(NewLines().back(), "CRITICAL Exception error in StartDocPort.");
    StopThrowing(WinspoolGetPrinter);
    EXPECT_TRUE(StartDoc(port).result) << "the port is not left locked";
    EXPECT_TRUE(EndDoc(port));
}

TEST_F(ExceptionTest, WritePortFailsWithALine) {
    const HANDLE port = StartAndOpen();
    ASSERT_TRUE(StartDoc(port).result);
    ThrowIn(WinspoolGetJob);
    EXPECT_FALSE(Write(port, Document(10)).result);
    EXPECT_EQ(NewLines().back(), "CRITICAL Exception error in WritePort.");
    StopThrowing(WinspoolGetJob);
    EXPECT_TRUE(EndDoc(port));
}

TEST_F(ExceptionTest, ReportThatThrowsFailsTheWriteAndNotTheJob) {
    const standins::LoopbackPrinter refusing(
        {.answer = standins::PrinterBehavior::Answer::kRefuse});
    ASSERT_TRUE(refusing.ready());
    AddRawPort(L"PORT", refusing);
    ASSERT_TRUE(Start());
    QueueJob(L"PORT");
    const HANDLE port = Open(L"PORT");
    ASSERT_TRUE(StartDoc(port).result);
    ThrowIn(WinspoolSetPrinter);
    // What is reported of a printer decides nothing about the data.
    EXPECT_FALSE(Write(port, Document(10)).result);
    EXPECT_EQ(NewLines().back(), "TRACE WritePort Failed");
    StopThrowing(WinspoolSetPrinter);
    // A job event that stayed reset would hold this call for ever.
    EXPECT_TRUE(EndDoc(port));
}

TEST_F(ExceptionTest, EndDocPortFailsWithALine) {
    const HANDLE port = StartAndOpen();
    for (const WinspoolFunction function : {WinspoolGetJob, WinspoolSetJob}) {
        ASSERT_TRUE(StartDoc(port).result);
        ThrowIn(function);
        EXPECT_FALSE(EndDoc(port));
        EXPECT_EQ(NewLines().back(), "CRITICAL Exception error in EndDocPort.");
        StopThrowing(function);
    }
    ASSERT_TRUE(StartDoc(port).result);
    EXPECT_TRUE(EndDoc(port));
}

TEST_F(ExceptionTest, ClosePortFailsWithALine) {
    const HANDLE port = StartAndOpen();
    ASSERT_TRUE(spooler().SetPrinterStatus(L"Printer", PRINTER_STATUS_TONER_LOW));
    ASSERT_TRUE(StartDoc(port).result);
    // Closing the channel gives the printer its former status back.
    ThrowIn(WinspoolSetPrinter);
    EXPECT_FALSE(Close(port));
    EXPECT_EQ(NewLines().back(), "CRITICAL Exception error in ClosePort.");
    StopThrowing(WinspoolSetPrinter);
    EXPECT_TRUE(EndDoc(port));
    EXPECT_TRUE(Close(port));
    EXPECT_EQ(NewLines().back(), "INFO success close port");
}

// The C++ runtime keeps something for every thread on which it handles an exception. Spoolers start
// a thread for every job, so it must go with the thread.
TEST_F(ExceptionTest, ThreadsLeaveNothingInTheProcess) {
    const HANDLE port = StartAndOpen();
    const auto fail_on_a_thread = [&] {
        ThrowIn(WinspoolOpenPrinter);
        EXPECT_FALSE(Background<bool>([&] { return StartDoc(port).result; }).Get());
        StopThrowing(WinspoolOpenPrinter);
    };
    fail_on_a_thread();
    const HandleCensus before = CountHandles();
    for (int thread = 0; thread < 5; ++thread)
        fail_on_a_thread();
    EXPECT_EQ(NewHandles(before, CountHandles()), HandleCensus());
}

}  // namespace
}  // namespace ksp::test
