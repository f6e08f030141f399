// What the spooler is told of a printer while a job does not get through to it.

#include <optional>

#include "tests/discovery/monitor_discovery_test.h"
#include "tests/standins/loopback_printer.h"

namespace ksp::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr char kStatusOid[] = "1.3.6.1.2.1.25.3.5.1.1";
constexpr char kErrorStateOid[] = "1.3.6.1.2.1.25.3.5.1.2";
const std::vector<uint8_t> kDocument = {'d', 'o', 'c', 'u', 'm', 'e', 'n', 't'};

// A port whose printer refuses connections but answers for its status.
class MonitorStatusTest : public MonitorDiscoveryTest {
  protected:
    void SetUp() override {
        MonitorDiscoveryTest::SetUp();
        printer_.emplace(
            standins::PrinterBehavior{.answer = standins::PrinterBehavior::Answer::kRefuse});
        ASSERT_TRUE(printer_->ready());
        AddPortKey({.name = L"Port",
                    .PrinterAddress = printer_->wide_address(),
                    .IpAddress = printer_->wide_address()});
        discovery_.AddDevice({.address = printer_->address()});
    }
    void TearDown() override {
        Unload();
        printer_.reset();
        MonitorDiscoveryTest::TearDown();
    }
    void SetValues(const std::vector<uint8_t>& state, const std::vector<uint8_t>& errors) {
        ASSERT_TRUE(discovery_.SetValue(printer_->address(), kStatusOid, state));
        ASSERT_TRUE(discovery_.SetValue(printer_->address(), kErrorStateOid, errors));
    }
    // A job that is refused so often and then given up.
    void FailAJob(size_t refusals = 3) {
        const host::JobOutcome outcome =
            Print(QueueJob(L"Port"), kDocument, {.max_refusals = refusals});
        EXPECT_EQ(outcome.failed_step, host::JobStep::kWritePort);
        EXPECT_EQ(outcome.refusals, refusals);
    }

    std::optional<standins::LoopbackPrinter> printer_;
};

TEST_F(MonitorStatusTest, TheWordReachesTheSpoolerAndIsTakenBack) {
    SetValues({4}, {0x40});
    ASSERT_TRUE(Start());
    FailAJob();
    EXPECT_THAT(StatusWords(), ElementsAre(0x210U, 0U));
    EXPECT_THAT(Messages(LineLevel::kError, L"Print State"),
                ElementsAre(L"Print State = 4 , ErrorState = 0x2"));
    EXPECT_THAT(Messages(LineLevel::kInfo, L"Old Stat="),
                ElementsAre(L"Old Stat=0 NewStat=528", L"Old Stat=528 NewStat=0"));
}

struct Row {
    std::vector<uint8_t> state;
    std::vector<uint8_t> errors;
    DWORD word;
};

class MonitorStatusRowTest : public MonitorStatusTest, public ::testing::WithParamInterface<Row> {};

TEST_P(MonitorStatusRowTest, ReachesTheSpooler) {
    SetValues(GetParam().state, GetParam().errors);
    ASSERT_TRUE(Start());
    FailAJob(1);
    EXPECT_THAT(StatusWords(), ElementsAre(GetParam().word, 0U));
}

INSTANTIATE_TEST_SUITE_P(All, MonitorStatusRowTest,
                         ::testing::Values(Row{{2}, {0x00}, 0x800000}, Row{{2}, {0x20}, 0x820000},
                                           Row{{4}, {0x00}, 0x200}, Row{{5}, {0x00}, 0x10000},
                                           Row{{3}, {0x40}, 0x10}, Row{{3}, {0x20}, 0x20000},
                                           Row{{3}, {0x10}, 0x40000}, Row{{3}, {0x08}, 0x400000},
                                           Row{{3}, {0x04}, 0x8}, Row{{3}, {0x02}, 0x80},
                                           Row{{3}, {0xFF}, 0x460098}, Row{{3}, {0x40, 0x02}, 0x80},
                                           Row{{4, 0}, {0x00}, 0x200},
                                           Row{{4, 0, 0, 0}, {0x00}, 0x200}));

TEST_F(MonitorStatusTest, AnIdlePrinterWritesNothing) {
    SetValues({3}, {0x00});
    ASSERT_TRUE(Start());
    FailAJob();
    EXPECT_THAT(StatusWords(), IsEmpty());
}

TEST_F(MonitorStatusTest, AnIntegerOfThreeBytesIsNoState) {
    SetValues({4, 0, 0}, {0x00});
    ASSERT_TRUE(Start());
    FailAJob();
    EXPECT_THAT(StatusWords(), IsEmpty());
    EXPECT_THAT(Messages(LineLevel::kError, L"Print State"),
                ElementsAre(L"Print State = 0 , ErrorState = 0x0"));
}

TEST_F(MonitorStatusTest, APrinterThatCannotBeAskedIsUnknown) {
    discovery_.RemoveDevice(printer_->address());
    ASSERT_TRUE(Start());
    FailAJob();
    EXPECT_THAT(StatusWords(), ElementsAre(0x800000U, 0U));
    EXPECT_THAT(Messages(LineLevel::kError, L"GetPrinterStatus"),
                ElementsAre(L"GetPrinterStatus Result is FALSE!"));
}

TEST_F(MonitorStatusTest, FailedQueriesAreUnknown) {
    SetValues({4}, {0x40});
    ASSERT_TRUE(Start());
    discovery_.FailNth(DiscoverySendRecvStream, 2);
    FailAJob();
    EXPECT_THAT(StatusWords(), ElementsAre(0x800000U, 0U));
    EXPECT_THAT(Messages(LineLevel::kError, L"Failed GetOIDSValue"),
                ElementsAre(L"Failed GetOIDSValue (Error Status)"));
}

TEST_F(MonitorStatusTest, WithoutTheLibraryAPrinterIsUnknown) {
    SetSetting(L"ExeDirectory", directory());
    ASSERT_TRUE(Start());
    FailAJob();
    EXPECT_THAT(StatusWords(), ElementsAre(0x800000U, 0U));
    EXPECT_THAT(Messages(LineLevel::kError, L"Failed Initialized Oryx."), ::testing::SizeIs(1));
}

// Refusals come far quicker than every ten seconds.
TEST_F(MonitorStatusTest, TheSameStatusIsAskedForAndWrittenOnce) {
    SetValues({3}, {0x40});
    ASSERT_TRUE(Start());
    FailAJob(10);
    EXPECT_THAT(StatusWords(), ElementsAre(0x10U, 0U));
    EXPECT_EQ(discovery_.Calls(DiscoveryCreateStream).size(), 1U);
    EXPECT_EQ(discovery_.Calls(DiscoverySendRecvStream).size(), 2U);
}

// --- Pooled printers: the spooler takes another of the ports when one is not offline.

class PooledStatusTest : public MonitorStatusTest {
  protected:
    void FailAPooledJob() {
        const host::SpoolerJob job = QueueJob(L"Port");
        spooler().PutPrinter({.name = job.printer, .port_names = L"Port,Other"});
        spooler().PutJob(job.printer, WinspoolControl::SampleJob(job.job_id));
        EXPECT_EQ(Print(job, kDocument, {.max_refusals = 2}).failed_step,
                  host::JobStep::kWritePort);
    }
};

TEST_F(PooledStatusTest, OfflineIsNotTold) {
    SetValues({3}, {0x42});
    ASSERT_TRUE(Start());
    FailAPooledJob();
    EXPECT_THAT(StatusWords(), ElementsAre(0x10U, 0U));
}

TEST_F(PooledStatusTest, OfflineAloneIsNothing) {
    SetValues({3}, {0x02});
    ASSERT_TRUE(Start());
    FailAPooledJob();
    EXPECT_THAT(StatusWords(), IsEmpty());
}

TEST_F(PooledStatusTest, EverythingElseIsTold) {
    SetValues({4}, {0x04});
    ASSERT_TRUE(Start());
    FailAPooledJob();
    EXPECT_THAT(StatusWords(), ElementsAre(0x208U, 0U));
}

TEST_F(MonitorStatusTest, OfflineIsToldOfAPrinterOfOnePort) {
    SetValues({3}, {0x42});
    ASSERT_TRUE(Start());
    FailAJob();
    EXPECT_THAT(StatusWords(), ElementsAre(0x90U, 0U));
}

TEST_F(MonitorStatusTest, TheIdPrintMonitorAsksNobody) {
    SetMonitorType(2);
    SetSetting(L"ExeDirectory", DiscoveryControl::FullDirectory());
    SetValues({4}, {0x40});
    ASSERT_TRUE(Start());
    const host::JobOutcome outcome = Print(QueueJob(L"Port"), kDocument, {.max_refusals = 2});
    EXPECT_NE(outcome.failed_step, host::JobStep::kNone);
    EXPECT_THAT(discovery_.Calls(), IsEmpty());
    EXPECT_THAT(StatusWords(), IsEmpty());
}

TEST_F(MonitorStatusTest, ATrackedPrinterIsFollowedForItsStatusToo) {
    const std::string moved = standins::NewLoopbackAddress();
    AddPortKey({.name = L"Port",
                .PrinterAddress = L"127.0.0.1",
                .PrinterAddressType = 4,
                .IpAddress = printer_->wide_address(),
                .MacAddress = kMac});
    discovery_.RemoveDevice(printer_->address());
    discovery_.AddDevice({.address = moved, .mac = kNarrowMac});
    discovery_.SetValue(moved, kStatusOid, {5});
    discovery_.SetValue(moved, kErrorStateOid, {0x00});
    ASSERT_TRUE(Start());
    FailAJob(1);
    EXPECT_THAT(StatusWords(), ElementsAre(0x10000U, 0U));
    EXPECT_THAT(PortWrites(), ElementsAre(L"Port\\IpAddress"));
}

}  // namespace
}  // namespace ksp::test
