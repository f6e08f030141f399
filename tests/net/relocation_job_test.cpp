// A job to a tracked printer, from the spooler's call to the bytes at the printer.

#include <optional>

#include "tests/discovery/monitor_discovery_test.h"
#include "tests/standins/loopback_printer.h"

namespace ksp::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

const std::vector<uint8_t> kDocument = {'d', 'o', 'c', 'u', 'm', 'e', 'n', 't'};

// Two printers, of which the tracked one may be either.
class RelocationJobTest : public MonitorDiscoveryTest {
  protected:
    void SetUp() override {
        MonitorDiscoveryTest::SetUp();
        old_.emplace();
        new_.emplace();
        ASSERT_TRUE(old_->ready());
        ASSERT_TRUE(new_->ready());
    }
    void TearDown() override {
        Unload();
        old_.reset();
        new_.reset();
        MonitorDiscoveryTest::TearDown();
    }
    // The port with its printer at the old place, as far as it knows.
    void AddTrackedPort(const std::wstring& printer_address = L"127.0.0.1") {
        AddPortKey({.name = L"Port",
                    .PrinterAddress = printer_address,
                    .PrinterAddressType = 4,
                    .IpAddress = old_->wide_address(),
                    .MacAddress = kMac});
    }
    host::JobOutcome PrintOn(const std::wstring& port) {
        return Print(QueueJob(port), kDocument, {.max_refusals = 3});
    }
    void ExpectPrinted(standins::LoopbackPrinter& printer) {
        EXPECT_TRUE(PrintOn(L"Port").printed()) << ReadLog().Describe();
        EXPECT_TRUE(printer.WaitForEndings(1));
        EXPECT_EQ(printer.received(), kDocument);
    }
    std::wstring Value(const std::wstring& name) {
        return store().GetText(root(), PortPath(L"Port"), name).value_or(L"no text");
    }

    std::optional<standins::LoopbackPrinter> old_;
    std::optional<standins::LoopbackPrinter> new_;
};

TEST_F(RelocationJobTest, APrinterThatMovedGetsItsJob) {
    AddTrackedPort();
    discovery_.AddDevice({.address = new_->address(), .mac = kNarrowMac});
    ASSERT_TRUE(Start());
    ExpectPrinted(*new_);
    EXPECT_THAT(old_->connections(), IsEmpty());
    EXPECT_THAT(PortWrites(), ElementsAre(L"Port\\IpAddress"));
    EXPECT_EQ(Value(L"IpAddress"), new_->wide_address());
    EXPECT_EQ(Value(L"MacAddress"), kMac);
    EXPECT_THAT(Messages(LineLevel::kTrace, L"IpAddress Changed"),
                ElementsAre(L"IpAddress Changed " + old_->wide_address() + L" --> " +
                            new_->wide_address()));
}

TEST_F(RelocationJobTest, AVariantOfThePrinterIsWrittenWithItsMacAddress) {
    AddTrackedPort();
    discovery_.AddDevice({.address = new_->address(), .mac = "0226AB123456"});
    ASSERT_TRUE(Start());
    ExpectPrinted(*new_);
    EXPECT_THAT(PortWrites(), ElementsAre(L"Port\\IpAddress", L"Port\\MacAddress"));
    EXPECT_EQ(Value(L"IpAddress"), new_->wide_address());
    EXPECT_EQ(Value(L"MacAddress"), L"0226AB123456");
}

TEST_F(RelocationJobTest, AnotherPrinterAtTheOldAddressGetsNothing) {
    AddTrackedPort();
    discovery_.AddDevice({.address = old_->address(), .mac = "0026AB999999"});
    discovery_.AddDevice({.address = new_->address(), .mac = kNarrowMac});
    ASSERT_TRUE(Start());
    ExpectPrinted(*new_);
    EXPECT_THAT(old_->connections(), IsEmpty());
}

TEST_F(RelocationJobTest, APrinterThatIsWhereItWasWritesNothing) {
    AddTrackedPort();
    discovery_.AddDevice({.address = old_->address(), .mac = kNarrowMac});
    ASSERT_TRUE(Start());
    ExpectPrinted(*old_);
    EXPECT_THAT(PortWrites(), IsEmpty());
    EXPECT_THAT(discovery_.Calls(DiscoveryProbe), IsEmpty());
    EXPECT_THAT(new_->connections(), IsEmpty());
}

TEST_F(RelocationJobTest, APrinterThatIsNotFoundIsLookedForByItsName) {
    AddTrackedPort(new_->wide_address());
    ASSERT_TRUE(Start());
    ExpectPrinted(*new_);
    EXPECT_THAT(PortWrites(), IsEmpty());
    EXPECT_THAT(Messages(LineLevel::kTrace, L"Could not found"),
                ElementsAre(L"Could not found MAC Address : 0026AB123456"));
    EXPECT_THAT(Messages(LineLevel::kError, L"printer not found"),
                ElementsAre(L"printer not found !!"));
}

TEST_F(RelocationJobTest, ThePrinterAtTheNamesAddressIsWrittenBack) {
    AddTrackedPort(new_->wide_address());
    discovery_.AddDevice({.address = new_->address(), .mac = "0226AB123456", .silent = true});
    ASSERT_TRUE(Start());
    ExpectPrinted(*new_);
    EXPECT_THAT(PortWrites(), ElementsAre(L"Port\\IpAddress", L"Port\\MacAddress"));
    EXPECT_EQ(Value(L"IpAddress"), new_->wide_address());
    EXPECT_EQ(Value(L"MacAddress"), L"0226AB123456");
}

TEST_F(RelocationJobTest, AStrangerAtTheNamesAddressGetsTheJobAndIsForgotten) {
    AddTrackedPort(new_->wide_address());
    discovery_.AddDevice({.address = new_->address(), .mac = "0026AB999999"});
    ASSERT_TRUE(Start());
    ExpectPrinted(*new_);
    EXPECT_THAT(PortWrites(), IsEmpty());
}

TEST_F(RelocationJobTest, FailedWritesDoNotHoldTheJobUp) {
    AddTrackedPort();
    discovery_.AddDevice({.address = new_->address(), .mac = kNarrowMac});
    ASSERT_TRUE(Start());
    registry().AddFault({.operation = RegistryOperation::kSetValue, .and_later = true});
    ExpectPrinted(*new_);
    EXPECT_EQ(Value(L"IpAddress"), old_->wide_address());
    EXPECT_THAT(Messages(LineLevel::kError, L"error write"),
                ElementsAre(L"error write ipaddress value fail."));
}

// A wrapper that does not start refuses the write; nothing is sent and nothing is lost.
TEST_F(RelocationJobTest, AJobWaitsForALibraryThatDoesNotStart) {
    AddTrackedPort();
    discovery_.AddDevice({.address = old_->address(), .mac = kNarrowMac});
    ASSERT_TRUE(Start());
    discovery_.FailFrom(DiscoveryCreateStream, 1);
    size_t writes = 0;
    const auto repair = [&] {
        if (writes++ == 4) {
            discovery_.ClearFaults();
        }
        return true;
    };
    const host::JobOutcome outcome =
        Print(QueueJob(L"Port"), kDocument, {.chunk_size = 3, .alive = repair});
    EXPECT_TRUE(outcome.printed());
    EXPECT_EQ(outcome.refusals, 4U);
    EXPECT_TRUE(old_->WaitForEndings(1));
    EXPECT_EQ(old_->received(), kDocument);
    EXPECT_EQ(old_->connections().size(), 1U);
    EXPECT_THAT(Messages(LineLevel::kError, L"Failed Initialized Oryx."), ::testing::SizeIs(4));
}

TEST_F(RelocationJobTest, TwoPortsPrintOneTrackedOneNot) {
    AddTrackedPort();
    AddPortKey({.name = L"Untracked",
                .PrinterAddress = old_->wide_address(),
                .IpAddress = old_->wide_address()});
    discovery_.AddDevice({.address = new_->address(), .mac = kNarrowMac});
    ASSERT_TRUE(Start());
    EXPECT_TRUE(Print(QueueJob(L"Untracked", L"Second"), kDocument).printed());
    EXPECT_TRUE(old_->WaitForEndings(1));
    EXPECT_EQ(old_->received(), kDocument);
    EXPECT_THAT(discovery_.Calls(), IsEmpty());
    ExpectPrinted(*new_);
    EXPECT_EQ(old_->connections().size(), 1U);
}

TEST_F(RelocationJobTest, ThePrinterIsFollowedFromJobToJob) {
    AddTrackedPort();
    discovery_.AddDevice({.address = old_->address(), .mac = kNarrowMac});
    ASSERT_TRUE(Start());
    ExpectPrinted(*old_);
    discovery_.RemoveDevice(old_->address());
    discovery_.AddDevice({.address = new_->address(), .mac = kNarrowMac});
    ExpectPrinted(*new_);
    EXPECT_EQ(old_->connections().size(), 1U);
    EXPECT_THAT(PortWrites(), ElementsAre(L"Port\\IpAddress"));
}

}  // namespace
}  // namespace ksp::test
