// EndDocPort: the job's end as the printer and the spooler see it.

#include <atomic>

#include "tests/monitor/background.h"
#include "tests/monitor/port_call_test.h"

namespace ksp::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class EndDocTest : public PortCallTest {
  protected:
    // An open port to an address at which nobody listens, with a job that was started.
    HANDLE StartJob(const std::wstring& address = L"127.0.0.1") {
        AddRawPort(L"PORT", address);
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
};

TEST_F(EndDocTest, TellsTheSpoolerThatTheJobWasSent) {
    const HANDLE port = StartJob();
    ASSERT_TRUE(spooler().SetJobStatus(L"Printer", 1, JOB_STATUS_PRINTING | JOB_STATUS_RESTART));
    EXPECT_TRUE(EndDoc(port));
    std::vector<std::string> calls = NewCalls();
    EXPECT_THAT(calls, ElementsAre("GetJob 'Printer' job 1 level 2 -> TRUE",
                                   "SetJob 'Printer' job 1 level 2 command 0 status 0x810 -> TRUE",
                                   "SetJob 'Printer' job 1 level 0 command 6 status 0x0 -> TRUE",
                                   "ClosePrinter 'Printer' -> TRUE"))
        << "the status is written back as it was read";
    EXPECT_EQ(*spooler().JobStatus(L"Printer", 1) & JOB_STATUS_COMPLETE,
              DWORD{JOB_STATUS_COMPLETE});
    EXPECT_EQ(NewLines().front(), "TRACE called end doc port");
}

TEST_F(EndDocTest, WritesTheWholeJobRecordBackUnchanged) {
    const HANDLE port = StartJob();
    JOB_INFO_2W job = WinspoolControl::SampleJob(1);
    job.pDocument = const_cast<LPWSTR>(L"A document of another name");
    job.pNotifyName = const_cast<LPWSTR>(L"bob");
    job.Priority = 42;
    job.TotalPages = 17;
    ASSERT_TRUE(spooler().PutJob(L"Printer", job));
    const auto read = [this] {
        HANDLE printer = nullptr;
        std::wstring name = L"Printer";
        EXPECT_TRUE(OpenPrinterW(name.data(), &printer, nullptr));
        DWORD needed = 0;
        GetJobW(printer, 1, 2, nullptr, 0, &needed);
        Bytes record(needed);
        EXPECT_TRUE(GetJobW(printer, 1, 2, record.data(), needed, &needed));
        ClosePrinter(printer);
        const auto* info = reinterpret_cast<const JOB_INFO_2W*>(record.data());
        return std::wstring(info->pDocument) + L"|" + info->pNotifyName + L"|" + info->pUserName +
               L"|" + info->pDatatype + L"|" + std::to_wstring(info->Priority) + L"|" +
               std::to_wstring(info->TotalPages) + L"|" + std::to_wstring(info->Position);
    };
    const std::wstring before = read();
    EXPECT_TRUE(EndDoc(port));
    EXPECT_EQ(read(), before);
    EXPECT_EQ(before, L"A document of another name|bob|alice|RAW|42|17|1");
}

TEST_F(EndDocTest, JobThatCannotBeReadIsOnlyReportedSent) {
    const HANDLE port = StartJob();
    spooler().FailCall(WinspoolGetJob, ERROR_ACCESS_DENIED);
    EXPECT_TRUE(EndDoc(port));
    EXPECT_THAT(NewCalls(),
                ElementsAre("GetJob 'Printer' job 1 level 2 -> FALSE error 5",
                            "SetJob 'Printer' job 1 level 0 command 6 status 0x0 -> TRUE",
                            "ClosePrinter 'Printer' -> TRUE"));
}

TEST_F(EndDocTest, JobThatVanishesBetweenTheTwoReadsIsOnlyReportedSent) {
    const HANDLE port = StartJob();
    spooler().FailCall(WinspoolGetJob, ERROR_INVALID_PARAMETER, 2);
    EXPECT_TRUE(EndDoc(port));
    EXPECT_THAT(NewCalls(),
                ElementsAre("GetJob 'Printer' job 1 level 2 -> FALSE error 87",
                            "SetJob 'Printer' job 1 level 0 command 6 status 0x0 -> TRUE",
                            "ClosePrinter 'Printer' -> TRUE"));
}

TEST_F(EndDocTest, FailuresOfTheSpoolerDoNotFailTheJob) {
    const HANDLE port = StartJob();
    spooler().FailCallsFrom(WinspoolSetJob, ERROR_ACCESS_DENIED);
    EXPECT_TRUE(EndDoc(port));
    EXPECT_THAT(NewCalls(),
                ElementsAre("GetJob 'Printer' job 1 level 2 -> TRUE",
                            "SetJob 'Printer' job 1 level 2 command 0 status 0x10 -> FALSE error 5",
                            "SetJob 'Printer' job 1 level 0 command 6 status 0x0 -> FALSE error 5",
                            "ClosePrinter 'Printer' -> TRUE"));
}

TEST_F(EndDocTest, JobThatIsGoneStillEnds) {
    const HANDLE port = StartJob();
    ASSERT_TRUE(spooler().RemoveJob(L"Printer", 1));
    EXPECT_TRUE(EndDoc(port));
    EXPECT_THAT(spooler().OpenHandles(), IsEmpty());
}

TEST_F(EndDocTest, WithoutJobItDoesNothing) {
    AddRawPort(L"PORT");
    ASSERT_TRUE(Start());
    const HANDLE port = Open(L"PORT");
    NewLines();
    EXPECT_TRUE(EndDoc(port));
    EXPECT_THAT(NewLines(), ElementsAre("TRACE called end doc port"));
    EXPECT_THAT(spooler().Calls(), IsEmpty());
}

TEST_F(EndDocTest, SecondEndDoesNothing) {
    const HANDLE port = StartJob();
    EXPECT_TRUE(EndDoc(port));
    NewCalls();
    EXPECT_TRUE(EndDoc(port));
    EXPECT_THAT(NewCalls(), IsEmpty());
    EXPECT_FALSE(Write(port, Document(1)).result) << "the job is over";
}

TEST_F(EndDocTest, ConnectionIsClosedBeforeTheSpoolerIsTold) {
    standins::LoopbackPrinter printer;
    ASSERT_TRUE(printer.ready());
    const HANDLE port = StartJob(printer.wide_address());
    ASSERT_TRUE(WriteAll(port, Document(3000)));
    std::atomic<bool> ended{false};
    spooler().SetHook(WinspoolSetJob, [&] { ended = printer.WaitForEndings(1); });
    EXPECT_TRUE(EndDoc(port));
    spooler().SetHook(WinspoolSetJob, {});
    EXPECT_TRUE(ended);
    EXPECT_TRUE(SameBytes(Document(3000), printer.received()));
}

TEST_F(EndDocTest, StatusIsSetBackBeforeTheJobIsReportedSent) {
    AddRawPort(L"PORT");
    ASSERT_TRUE(Start());
    QueueJob(L"PORT");
    spooler().SetPrinterStatus(L"Printer", PRINTER_STATUS_TONER_LOW);
    const HANDLE port = Open(L"PORT");
    ASSERT_TRUE(StartDoc(port).result);
    NewLines();
    NewCalls();
    EXPECT_TRUE(EndDoc(port));
    EXPECT_THAT(NewCalls(),
                ElementsAre("SetPrinter 'Printer' level 0 command 4 status 0x20000 -> TRUE",
                            "SetPrinter 'Printer' level 0 command 4 status 0x0 -> TRUE",
                            "GetJob 'Printer' job 1 level 2 -> TRUE",
                            "SetJob 'Printer' job 1 level 2 command 0 status 0x10 -> TRUE",
                            "SetJob 'Printer' job 1 level 0 command 6 status 0x0 -> TRUE",
                            "ClosePrinter 'Printer' -> TRUE"));
    EXPECT_THAT(NewLines(),
                ElementsAre("TRACE called end doc port", "INFO Old Stat=0 NewStat=131072",
                            "INFO Old Stat=131072 NewStat=0"));
}

// A write is held inside the spooler while the printer's status is told to it, after which the job
// is ended on another thread.
TEST_F(EndDocTest, DoesNotOvertakeAWriteThatSends) {
    const standins::LoopbackPrinter refusing(
        {.answer = standins::PrinterBehavior::Answer::kRefuse});
    ASSERT_TRUE(refusing.ready());
    const HANDLE port = StartJob(refusing.wide_address());
    Gate sending;
    Gate release;
    std::atomic<bool> write_goes_on{false};
    std::atomic<bool> overtaken{false};
    std::atomic<bool> held{false};
    spooler().SetHook(WinspoolSetPrinter, [&] {
        if (!held.exchange(true)) {
            sending.Open();
            release.Wait();
        }
    });
    spooler().SetHook(WinspoolSetJob, [&] { overtaken = overtaken || !write_goes_on; });

    Background<bool> write([&] { return Write(port, Document(100)).result; });
    ASSERT_TRUE(sending.Wait());
    Background<bool> end([&] { return EndDoc(port); });
    EXPECT_FALSE(end.EndsWithin(300));
    write_goes_on = true;
    release.Open();
    EXPECT_FALSE(write.Get());
    EXPECT_TRUE(end.Get());
    EXPECT_FALSE(overtaken);
    EXPECT_THAT(spooler().OpenHandles(), IsEmpty());
    spooler().SetHook(WinspoolSetPrinter, {});
    spooler().SetHook(WinspoolSetJob, {});
}

// The same with a printer that takes its time: whatever the write took arrives, then the job ends.
TEST_F(EndDocTest, LetsAWriteToASlowPrinterFinish) {
    standins::LoopbackPrinter printer({.reads = false, .receive_buffer = 4096});
    ASSERT_TRUE(printer.ready());
    SetSetting(L"WaitServerReplyTimeout", 30);
    const HANDLE port = StartJob(printer.wide_address());
    const Bytes document = Document(8 << 20);
    // The first write fills what the system takes; a later one waits for the printer.
    Background<bool> write([&] { return WriteAll(port, document, document.size()); });
    ASSERT_TRUE(printer.WaitForConnections(1));
    EXPECT_FALSE(write.EndsWithin(300));
    printer.StartReading();
    EXPECT_TRUE(write.Get());
    EXPECT_TRUE(EndDoc(port));
    ASSERT_TRUE(printer.WaitForEndings(1));
    EXPECT_TRUE(SameBytes(document, printer.received()));
}

}  // namespace
}  // namespace ksp::test
