// A job so short that the system takes all of it, and a printer that hangs up on it: nobody
// acknowledges what a plain connection brings. What shows then, and what does not suffer.

#include <algorithm>
#include <functional>
#include <optional>

#include "tests/lpr/lpd_printer.h"
#include "tests/monitor/port_call_test.h"
#include "tests/reliability/persistent_job.h"

namespace ksp::test {
namespace {

using ::testing::Contains;
using ::testing::Truly;

class ShortJobTest : public PortCallTest {
  protected:
    static constexpr size_t kShort = 20'000;

    void SetUp() override {
        PortCallTest::SetUp();
        SetSetting(L"LPRDirectory", directory());
        SetSetting(L"WaitServerReplyTimeout", 3);
    }

    // Prints until the job is over, or deletes it where it is held in error.
    void PrintOrDelete(const Bytes& document) {
        PersistentJob job(host::JobRunner(table(), monitor()), spooler(), QueueJob(L"Port"),
                          document, document.size());
        constexpr int kPatience = 120 * 20;
        for (int round = 0; round < kPatience && !job.done(); ++round) {
            Sleep(50);
            if (job.IsJobInError() || job.refusals() >= 2)
                job.Delete();
        }
        EXPECT_TRUE(job.done());
    }
    void ExpectNextJobIsWhole(const std::function<Bytes(size_t)>& arrived) {
        const Bytes document = Document(kShort, 2);
        EXPECT_TRUE(Print(QueueJob(L"Port", L"Next"), document).printed());
        EXPECT_TRUE(SameBytes(document, arrived(1)));
    }
};

// The last acknowledgement does not come, or the rest cannot be sent: the printer's status or the
// job's tells.
TEST_F(ShortJobTest, DaemonThatHangsUpBehindTheDataCommandShowsInTheQueue) {
    standins::LpdBehavior leaves;
    leaves.answers[standins::LpdStep::kDataCommand].then = standins::LpdAnswer::Then::kClose;
    standins::LpdPrinter daemon(leaves);
    ASSERT_TRUE(daemon.ready());
    AddPortKey({.name = L"Port",
                .PrinterAddress = daemon.wide_address(),
                .ProtocolID = 0,
                .QueueName = L"queue"});
    ASSERT_TRUE(Start());
    PrintOrDelete(Document(kShort, 1));
    EXPECT_THAT(spooler().Calls(), Contains(Truly([](const WinspoolCall& call) {
                    return (call.function == WinspoolSetPrinter && call.status != 0) ||
                           (call.function == WinspoolSetJob && (call.status & JOB_STATUS_ERROR));
                })));
    ASSERT_TRUE(daemon.WaitForEndings(1));
    EXPECT_FALSE(daemon.connections()[0].has_whole_data);

    daemon.SetAnswers({});
    ExpectNextJobIsWhole([&](size_t index) {
        EXPECT_TRUE(daemon.WaitForEndings(index + 1));
        const std::string data = daemon.connections().at(index).data;
        return Bytes(data.begin(), data.end());
    });
}

// A plain printer takes the beginning with it. Nothing of that job comes to it again, and the next
// job comes whole.
TEST_F(ShortJobTest, PlainPrinterThatClosesGetsTheBeginningOnce) {
    constexpr size_t kTaken = 5000;
    std::optional<standins::LoopbackPrinter> printer;
    printer.emplace(standins::PrinterBehavior{.read_size = 1000, .close_after = kTaken});
    ASSERT_TRUE(printer->ready());
    AddRawPort(L"Port", *printer);
    ASSERT_TRUE(Start());
    const Bytes document = Document(kShort, 1);
    PrintOrDelete(document);
    ASSERT_TRUE(printer->WaitForEndings(1));
    ASSERT_EQ(printer->connections().size(), 1u);
    const Bytes beginning = printer->connections()[0].received;
    EXPECT_GE(beginning.size(), kTaken);
    ASSERT_LT(beginning.size(), document.size());
    EXPECT_TRUE(std::equal(beginning.begin(), beginning.end(), document.begin()));

    const standins::Endpoint endpoint{printer->address(), printer->port()};
    printer.emplace(standins::PrinterBehavior(), endpoint);
    ASSERT_TRUE(printer->ready());
    ExpectNextJobIsWhole([&](size_t) {
        EXPECT_TRUE(printer->WaitForEndings(1));
        return printer->connections().at(0).received;
    });
}

}  // namespace
}  // namespace ksp::test
