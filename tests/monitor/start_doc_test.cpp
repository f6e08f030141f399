// StartDocPort: the printer's handle, the status, the channel.

#include "tests/monitor/port_call_test.h"

namespace ksp::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class StartDocTest : public PortCallTest {
  protected:
    // A port named PORT that is open, a printer and a job for it.
    HANDLE StartAndOpen() {
        AddRawPort(L"PORT");
        if (!Start())
            return nullptr;
        QueueJob(L"PORT");
        const HANDLE port = Open(L"PORT");
        NewLines();
        return port;
    }
};

TEST_F(StartDocTest, OpensThePrinterWithAllAccess) {
    const HANDLE port = StartAndOpen();
    const CallResult start = StartDoc(port);
    EXPECT_TRUE(start.result);
    EXPECT_THAT(NewCalls(), ElementsAre("OpenPrinter 'Printer' access 0xf000c -> TRUE",
                                        "GetPrinter 'Printer' level 2 -> TRUE"));
    ASSERT_EQ(spooler().OpenHandles().size(), 1U);
    EXPECT_EQ(spooler().OpenHandles()[0].access, DWORD{PRINTER_ALL_ACCESS});
    EXPECT_THAT(NewLines(),
                ElementsAre("TRACE called start doc port",             //
                            "TRACE Read port info : hostname = PORT",  //
                            "INFO read port. port name is PORT", "TRACE try open print channel.",
                            "TRACE success start doc port"));
    EXPECT_TRUE(EndDoc(port));
}

TEST_F(StartDocTest, FallsBackToUsingThePrinter) {
    const HANDLE port = StartAndOpen();
    spooler().PutPrinter(
        {.name = L"Printer", .port_names = L"PORT", .denied_access = PRINTER_ACCESS_ADMINISTER});
    EXPECT_TRUE(StartDoc(port).result);
    EXPECT_THAT(NewCalls(), ElementsAre("OpenPrinter 'Printer' access 0xf000c -> FALSE error 5",
                                        "OpenPrinter 'Printer' access 0x8 -> TRUE",
                                        "GetPrinter 'Printer' level 2 -> TRUE"));
    EXPECT_THAT(NewLines(), Contains("INFO error opening printer with all access"));
    EXPECT_TRUE(EndDoc(port));
}

TEST_F(StartDocTest, PrinterThatCannotBeOpenedFailsTheJob) {
    const HANDLE port = StartAndOpen();
    EXPECT_FALSE(StartDoc(port, L"No such printer").result);
    EXPECT_THAT(NewCalls(),
                ElementsAre("OpenPrinter 'No such printer' access 0xf000c -> FALSE error 1801",
                            "OpenPrinter 'No such printer' access 0x8 -> FALSE error 1801"));
    EXPECT_THAT(NewLines(), ElementsAre("TRACE called start doc port",
                                        "INFO error opening printer with all access",
                                        "ERROR error opening printer"));
    EXPECT_THAT(spooler().OpenHandles(), IsEmpty());
}

TEST_F(StartDocTest, PrinterThatCannotBeOpenedLeavesThePortReady) {
    const HANDLE port = StartAndOpen();
    spooler().FailCall(WinspoolOpenPrinter, ERROR_ACCESS_DENIED, 1);
    spooler().FailCall(WinspoolOpenPrinter, ERROR_ACCESS_DENIED, 2);
    EXPECT_FALSE(StartDoc(port).result);
    EXPECT_TRUE(StartDoc(port).result);
    EXPECT_TRUE(EndDoc(port));
}

TEST_F(StartDocTest, RecordThatIsGoneIsIgnored) {
    const HANDLE port = StartAndOpen();
    store().RemoveKey(root(), PortPath(L"PORT"));
    EXPECT_TRUE(StartDoc(port).result);
    EXPECT_THAT(NewLines(),
                ElementsAre("TRACE called start doc port", "TRACE Read port info : hostname = PORT",
                            "TRACE try open print channel.", "TRACE success start doc port"));
    EXPECT_TRUE(EndDoc(port));
}

TEST_F(StartDocTest, RecordOfAnotherPortIsIgnored) {
    AddRawPort(L"OTHER");
    const HANDLE port = StartAndOpen();
    store().RemoveKey(root(), PortPath(L"PORT"));
    EXPECT_TRUE(StartDoc(port).result);
    EXPECT_TRUE(EndDoc(port));
}

TEST_F(StartDocTest, PrinterWhoseStatusCannotBeReadIsPrintedToAllTheSame) {
    const HANDLE port = StartAndOpen();
    spooler().FailCallsFrom(WinspoolGetPrinter, ERROR_ACCESS_DENIED);
    EXPECT_TRUE(StartDoc(port).result);
    const std::vector<std::string> lines = NewLines();
    EXPECT_THAT(lines, Contains("INFO error retrieving printer info"));
    EXPECT_THAT(lines, Contains("ERROR Getting the print status failed"));
    EXPECT_TRUE(EndDoc(port));
}

TEST_F(StartDocTest, SecondStartClosesTheFormerPrinterHandle) {
    const HANDLE port = StartAndOpen();
    EXPECT_TRUE(StartDoc(port).result);
    EXPECT_TRUE(StartDoc(port).result);
    EXPECT_EQ(spooler().OpenHandles().size(), 1U);
    EXPECT_EQ(spooler().Calls(WinspoolClosePrinter).size(), 1U);
    EXPECT_TRUE(EndDoc(port));
}

TEST_F(StartDocTest, StatusOfTheLastJobIsCleared) {
    // A printer that refuses: the job leaves the status "server unknown" in the port.
    standins::LoopbackPrinter printer({.answer = standins::PrinterBehavior::Answer::kRefuse});
    ASSERT_TRUE(printer.ready());
    AddRawPort(L"PORT", printer);
    ASSERT_TRUE(Start());
    QueueJob(L"PORT");
    const HANDLE port = Open(L"PORT");
    ASSERT_TRUE(StartDoc(port).result);
    EXPECT_FALSE(Write(port, Document(10)).result);
    ASSERT_EQ(spooler().PrinterStatus(L"Printer"), DWORD{PRINTER_STATUS_SERVER_UNKNOWN});

    // The job is gone without an EndDocPort; the next one begins with a printer that is well.
    NewLines();
    NewCalls();
    ASSERT_TRUE(StartDoc(port).result);
    EXPECT_THAT(NewLines(), Contains("INFO Old Stat=8388608 NewStat=0"));
    EXPECT_THAT(NewCalls(), Contains("SetPrinter 'Printer' level 0 command 4 status 0x0 -> TRUE"));
    EXPECT_EQ(spooler().PrinterStatus(L"Printer"), 0U);
    EXPECT_TRUE(EndDoc(port));
}

TEST_F(StartDocTest, StatusThatIsClearIsNotWritten) {
    const HANDLE port = StartAndOpen();
    spooler().SetPrinterStatus(L"Printer", PRINTER_STATUS_PAPER_OUT);
    ASSERT_TRUE(StartDoc(port).result);
    EXPECT_THAT(spooler().Calls(WinspoolSetPrinter), IsEmpty())
        << "only what this port wrote itself is cleared";
    EXPECT_TRUE(EndDoc(port));
}

TEST_F(StartDocTest, DocumentInfoIsNotNeeded) {
    const HANDLE port = StartAndOpen();
    std::wstring printer = L"Printer";
    EXPECT_TRUE(table().pfnStartDocPort(port, printer.data(), 1, 1, nullptr));
    EXPECT_TRUE(EndDoc(port));
    DOC_INFO_1W info = {};
    for (const DWORD level : {0UL, 2UL, 99UL}) {
        EXPECT_TRUE(table().pfnStartDocPort(port, printer.data(), 1, level,
                                            reinterpret_cast<LPBYTE>(&info)));
        EXPECT_TRUE(EndDoc(port));
    }
}

TEST_F(StartDocTest, ChannelThatCannotBeOpenedFailsTheJobWithItsError) {
    // LPR jobs are spooled to a file, here in a directory that cannot be made.
    SetSetting(L"LPRDirectory", directory() + L"\\missing\\below");
    AddPortKey({.name = L"LPR", .PrinterAddress = L"127.0.0.1", .ProtocolID = 0});
    ASSERT_TRUE(Start());
    QueueJob(L"LPR");
    const HANDLE port = Open(L"LPR");
    const CallResult start = StartDoc(port);
    EXPECT_FALSE(start.result);
    EXPECT_EQ(start.error, DWORD{ERROR_UNEXP_NET_ERR});
    EXPECT_EQ(NewLines().back(), "ERROR error opening print channel");
    EXPECT_EQ(spooler().OpenHandles().size(), 1U) << "kept until the job ends";
    EXPECT_FALSE(Write(port, Document(10)).result);
    EXPECT_TRUE(EndDoc(port));
    EXPECT_THAT(spooler().OpenHandles(), IsEmpty());
}

TEST_F(StartDocTest, NeedsNoOpenPort) {
    AddRawPort(L"PORT");
    ASSERT_TRUE(Start());
    QueueJob(L"PORT");
    EXPECT_TRUE(StartDoc(Handle(1)).result);
    EXPECT_TRUE(EndDoc(Handle(1)));
}

TEST_F(StartDocTest, LeavesThePrinterAloneUntilTheFirstWrite) {
    standins::LoopbackPrinter printer;
    ASSERT_TRUE(printer.ready());
    AddRawPort(L"PORT", printer);
    ASSERT_TRUE(Start());
    QueueJob(L"PORT");
    const HANDLE port = Open(L"PORT");
    ASSERT_TRUE(StartDoc(port).result);
    EXPECT_TRUE(EndDoc(port));
    EXPECT_TRUE(Close(port));
    EXPECT_THAT(printer.connections(), IsEmpty());
}

}  // namespace
}  // namespace ksp::test
