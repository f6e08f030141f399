// Whole jobs, from OpenPort to ClosePort, byte by byte.

#include "tests/monitor/background.h"
#include "tests/monitor/port_call_test.h"

namespace ksp::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class JobTest : public PortCallTest {
  protected:
    // Prints and compares what arrived; everything of the job comes over one connection.
    void ExpectPrinted(standins::LoopbackPrinter& printer, const host::SpoolerJob& job,
                       const Bytes& document, const host::JobOptions& options = {}) {
        const size_t before = printer.connections().size();
        const host::JobOutcome outcome = Print(job, document, options);
        EXPECT_TRUE(outcome.printed()) << static_cast<int>(outcome.failed_step);
        EXPECT_EQ(outcome.bytes_taken, document.size());
        EXPECT_EQ(outcome.excess_bytes, 0U);
        ASSERT_TRUE(printer.WaitForEndings(before + 1));
        ASSERT_EQ(printer.connections().size(), before + 1);
        EXPECT_TRUE(SameBytes(document, printer.connections().back().received));
    }
};

TEST_F(JobTest, JobsOfEverySizeArriveWhole) {
    standins::LoopbackPrinter printer;
    ASSERT_TRUE(printer.ready());
    AddRawPort(L"PORT", printer);
    ASSERT_TRUE(Start());
    const host::SpoolerJob job = QueueJob(L"PORT");
    constexpr size_t kChunk = 4096;
    for (const size_t size :
         {size_t{1}, kChunk - 1, kChunk, kChunk + 1, 2 * kChunk, size_t{100'000}}) {
        SCOPED_TRACE(size);
        ExpectPrinted(printer, job, Document(size, static_cast<unsigned>(size)),
                      {.chunk_size = kChunk});
    }
    EXPECT_THAT(ReadLog().Messages(LineLevel::kError), IsEmpty());
    EXPECT_THAT(ReadLog().Messages(LineLevel::kCritical), IsEmpty());
}

TEST_F(JobTest, EveryByteValueIsCarriedAsItIs) {
    standins::LoopbackPrinter printer;
    ASSERT_TRUE(printer.ready());
    AddRawPort(L"PORT", printer);
    ASSERT_TRUE(Start());
    Bytes document(256);
    for (size_t value = 0; value < document.size(); ++value)
        document[value] = static_cast<std::uint8_t>(value);
    ExpectPrinted(printer, QueueJob(L"PORT"), document, {.chunk_size = 1});
}

TEST_F(JobTest, LargeJobArrivesThroughASlowPrinter) {
    standins::LoopbackPrinter printer(
        {.read_size = 32 * 1024, .read_pause = 1, .receive_buffer = 16 * 1024});
    ASSERT_TRUE(printer.ready());
    AddRawPort(L"PORT", printer);
    ASSERT_TRUE(Start());
    ExpectPrinted(printer, QueueJob(L"PORT"), Document(5 << 20), {.chunk_size = 300'000});
}

TEST_F(JobTest, JobOfNoBytesReachesNoPrinter) {
    standins::LoopbackPrinter printer;
    ASSERT_TRUE(printer.ready());
    AddRawPort(L"PORT", printer);
    ASSERT_TRUE(Start());
    EXPECT_TRUE(Print(QueueJob(L"PORT"), Bytes()).printed());
    EXPECT_THAT(printer.connections(), IsEmpty());
}

TEST_F(JobTest, SpoolerSeesTheJobInOrder) {
    standins::LoopbackPrinter printer;
    ASSERT_TRUE(printer.ready());
    AddRawPort(L"PORT", printer);
    ASSERT_TRUE(Start());
    EXPECT_TRUE(Print(QueueJob(L"PORT"), Document(10)).printed());
    EXPECT_THAT(NewCalls(),
                ElementsAre("OpenPrinter 'Printer' access 0xf000c -> TRUE",
                            "GetPrinter 'Printer' level 2 -> TRUE",
                            "GetJob 'Printer' job 1 level 1 -> TRUE",
                            "GetJob 'Printer' job 1 level 2 -> TRUE",
                            "SetJob 'Printer' job 1 level 2 command 0 status 0x10 -> TRUE",
                            "SetJob 'Printer' job 1 level 0 command 6 status 0x0 -> TRUE",
                            "ClosePrinter 'Printer' -> TRUE"));
}

TEST_F(JobTest, TwoPortsPrintAtOnce) {
    constexpr size_t kPorts = 2;
    constexpr unsigned kJobs = 5;
    standins::LoopbackPrinter printers[kPorts];
    const std::wstring names[kPorts] = {L"left", L"right"};
    for (size_t index = 0; index < kPorts; ++index) {
        ASSERT_TRUE(printers[index].ready());
        AddRawPort(names[index], printers[index]);
    }
    ASSERT_TRUE(Start());
    const auto print_all = [&](size_t index) {
        const host::SpoolerJob job = {.port = names[index], .printer = names[index], .job_id = 1};
        bool printed = true;
        for (unsigned number = 0; number < kJobs; ++number) {
            const Bytes document = Document(200'000, number + 100 * static_cast<unsigned>(index));
            printed = Print(job, document, {.chunk_size = 10'000}).printed() && printed;
        }
        return printed;
    };
    QueueJob(names[0], names[0]);
    QueueJob(names[1], names[1]);
    Background<bool> left([&] { return print_all(0); });
    EXPECT_TRUE(print_all(1));
    EXPECT_TRUE(left.Get());
    for (size_t index = 0; index < kPorts; ++index) {
        ASSERT_TRUE(printers[index].WaitForEndings(kJobs));
        const auto connections = printers[index].connections();
        ASSERT_EQ(connections.size(), kJobs);
        for (unsigned number = 0; number < kJobs; ++number) {
            const Bytes document = Document(200'000, number + 100 * static_cast<unsigned>(index));
            EXPECT_TRUE(SameBytes(document, connections[number].received));
        }
    }
}

TEST_F(JobTest, PrinterThatClosesEarlyFailsTheJobAndTakesTheNext) {
    standins::LoopbackPrinter printer({.reset_after = 1000});
    ASSERT_TRUE(printer.ready());
    AddRawPort(L"PORT", printer);
    ASSERT_TRUE(Start());
    const host::SpoolerJob job = QueueJob(L"PORT");
    const host::JobOutcome outcome =
        Print(job, Document(4 << 20), {.chunk_size = 10'000, .max_refusals = 3});
    EXPECT_EQ(outcome.failed_step, host::JobStep::kWritePort);
    EXPECT_THAT(spooler().OpenHandles(), IsEmpty());
    // What fits before the printer hangs up goes through.
    EXPECT_TRUE(Print(job, Document(500)).printed());
    ASSERT_TRUE(printer.WaitForEndings(2));
    EXPECT_TRUE(SameBytes(Document(500), printer.connections().back().received));
}

TEST_F(JobTest, DeletedJobIsEndedAndThePortTakesTheNext) {
    standins::LoopbackPrinter printer;
    ASSERT_TRUE(printer.ready());
    AddRawPort(L"PORT", printer);
    ASSERT_TRUE(Start());
    const host::SpoolerJob job = QueueJob(L"PORT");
    int writes = 0;
    host::JobOptions options{.chunk_size = 100};
    options.alive = [&] { return ++writes <= 3; };
    EXPECT_EQ(Print(job, Document(1000), options).failed_step, host::JobStep::kWritePort);
    EXPECT_THAT(spooler().OpenHandles(), IsEmpty());
    EXPECT_TRUE(Print(job, Document(50)).printed());
    ASSERT_TRUE(printer.WaitForEndings(2));
    EXPECT_EQ(printer.connections()[0].received.size(), 300U);
    EXPECT_TRUE(SameBytes(Document(50), printer.connections()[1].received));
}

TEST_F(JobTest, ThreadsThatComeAndGoLeaveNothingInTheProcess) {
    standins::LoopbackPrinter printer;
    ASSERT_TRUE(printer.ready());
    AddRawPort(L"PORT", printer);
    ASSERT_TRUE(Start());
    const host::SpoolerJob job = QueueJob(L"PORT");
    const auto print_on_a_thread = [&] {
        return Background<bool>([&] { return Print(job, Document(100)).printed(); }).Get();
    };
    const auto settle = [&](size_t jobs) { EXPECT_TRUE(printer.WaitForEndings(jobs)); };
    EXPECT_TRUE(print_on_a_thread());
    settle(1);
    const size_t threads_before = CountHandles()[L"Thread"];
    const size_t events_before = CountHandles()[L"Event"];
    constexpr size_t kThreads = 10;
    for (size_t number = 0; number < kThreads; ++number)
        EXPECT_TRUE(print_on_a_thread());
    settle(1 + kThreads);
    // The printer keeps a thread for each of its connections until it goes away itself, and an
    // event or two beside them.
    EXPECT_LE(CountHandles()[L"Thread"], threads_before + kThreads);
    EXPECT_LE(CountHandles()[L"Event"], events_before + kThreads + 2);
}

TEST_F(JobTest, PooledPrinterIsNotSetOffline) {
    AddRawPort(L"PORT");
    ASSERT_TRUE(Start());
    QueueJob(L"PORT");
    spooler().PutPrinter({.name = L"Printer",
                          .port_names = L"PORT,OTHER",
                          .status = PRINTER_STATUS_OFFLINE | PRINTER_STATUS_PAPER_JAM});
    const HANDLE port = Open(L"PORT");
    ASSERT_TRUE(StartDoc(port).result);
    NewCalls();
    EXPECT_TRUE(EndDoc(port));
    std::vector<std::string> set;
    for (const WinspoolCall& call : spooler().Calls(WinspoolSetPrinter))
        set.push_back(DescribeCall(call));
    EXPECT_THAT(set, ElementsAre("SetPrinter 'Printer' level 0 command 4 status 0x8 -> TRUE",
                                 "SetPrinter 'Printer' level 0 command 4 status 0x0 -> TRUE"));
}

TEST_F(JobTest, OnlyPrinterOfItsPortIsSetOffline) {
    AddRawPort(L"PORT");
    ASSERT_TRUE(Start());
    QueueJob(L"PORT");
    spooler().SetPrinterStatus(L"Printer", PRINTER_STATUS_OFFLINE);
    const HANDLE port = Open(L"PORT");
    ASSERT_TRUE(StartDoc(port).result);
    NewCalls();
    EXPECT_TRUE(EndDoc(port));
    EXPECT_THAT(NewCalls(), Contains("SetPrinter 'Printer' level 0 command 4 status 0x80 -> TRUE"));
}

}  // namespace
}  // namespace ksp::test
