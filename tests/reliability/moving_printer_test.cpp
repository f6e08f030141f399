// A tracked printer that changes its address while a job is on its way to it.

#include "tests/discovery/monitor_discovery_test.h"
#include "tests/idprint/confirmation_service.h"
#include "tests/idprint/header_bytes.h"
#include "tests/monitor/port_call_test.h"
#include "tests/reliability/persistent_job.h"
#include "tests/reliability/troubled_printer.h"

namespace ksp::test {
namespace {

using standins::LpdBehavior;
using standins::PrinterBehavior;

constexpr size_t kMuch = size_t{12} * 1024 * 1024;  // more than the system holds on both sides
constexpr WORD kCheckPort = 9101;

struct Transport {
    const char* name;
    DWORD protocol;
    std::uint16_t port;
    bool id_print = false;
};

void PrintTo(const Transport& transport, std::ostream* out) {
    *out << transport.name;
}

class MovingPrinterTest : public MonitorDiscoveryTest,
                          public ::testing::WithParamInterface<Transport> {
  protected:
    static constexpr int kPatience = 240;  // seconds; beyond this something hangs
    static constexpr wchar_t kPort[] = L"Port";

    void TearDown() override {
        job_.reset();
        Unload();
        old_.reset();
        new_.reset();
        checks_.clear();
        MonitorDiscoveryTest::TearDown();
    }

    static bool IsDaemon() { return GetParam().protocol != 2; }
    static TroubledPrinter::Behavior Well() {
        return IsDaemon() ? TroubledPrinter::Behavior(LpdBehavior())
                          : TroubledPrinter::Behavior(PrinterBehavior());
    }
    static TroubledPrinter::Behavior Refusing() {
        return IsDaemon() ? TroubledPrinter::Behavior(LpdBehavior{.refuses = true})
                          : TroubledPrinter::Behavior(
                                PrinterBehavior{.answer = PrinterBehavior::Answer::kRefuse});
    }
    static TroubledPrinter::Behavior LeavingInTheMiddle() {
        return IsDaemon() ? TroubledPrinter::Behavior(
                                LpdBehavior{.receive_buffer = 4096, .resets_after = 5000})
                          : TroubledPrinter::Behavior(
                                PrinterBehavior{.receive_buffer = 4096, .reset_after = 5000});
    }

    // The monitor with one tracked port, whose printer is at its old place.
    void StartAtOldPlace(const TroubledPrinter::Behavior& behavior) {
        old_ = std::make_unique<TroubledPrinter>(GetParam().port);
        new_ = std::make_unique<TroubledPrinter>(GetParam().port);
        ASSERT_TRUE(old_->Become(behavior));
        ASSERT_TRUE(new_->Become(Well()));
        if (GetParam().id_print) {
            SetMonitorType(2);
            for (const auto* printer : {old_.get(), new_.get()}) {
                checks_.push_back(std::make_unique<ConfirmationService>(
                    Ready(), standins::Endpoint{printer->address(), kCheckPort}));
                ASSERT_TRUE(checks_.back()->ready());
            }
        }
        SetSetting(L"ExeDirectory", DiscoveryControl::FullDirectory());
        SetSetting(L"WaitPrinterValueTimeout", 1);
        SetSetting(L"WaitServerReplyTimeout", 3);
        SetSetting(L"LPRDirectory", directory());
        AddPortKey({.name = kPort,
                    .PrinterAddress = old_->wide_address(),
                    .ProtocolID = GetParam().protocol,
                    .PrinterAddressType = 4,
                    .QueueName = L"queue",
                    .IpAddress = old_->wide_address(),
                    .MacAddress = kMac});
        store().SetDword(root(), PortPath(kPort), L"SecureRawPortNo", GetParam().port);
        store().SetDword(root(), PortPath(kPort), L"CheckPortNo", kCheckPort);
        discovery_.AddDevice({.address = old_->address(), .mac = kNarrowMac});
        ASSERT_TRUE(Start());
    }
    void StartJob(size_t size) {
        Bytes document = Document(size);
        const std::string header = GetParam().id_print ? HeaderBytes() : std::string();
        expected_.assign(header.begin(), header.end());
        expected_.insert(expected_.end(), document.begin(), document.end());
        job_ = std::make_unique<PersistentJob>(host::JobRunner(table(), monitor()), spooler(),
                                               QueueJob(kPort), std::move(document),
                                               size_t{32} * 1024);
    }
    // The printer gets another address.
    void Move() {
        discovery_.RemoveDevice(old_->address());
        discovery_.AddDevice({.address = new_->address(), .mac = kNarrowMac});
    }
    bool WaitUntil(const std::function<bool()>& condition) const {
        for (int round = 0; round < kPatience * 20 && !condition(); ++round) {
            Sleep(50);
        }
        return condition();
    }
    bool IsTroubleShown() const {
        return job_->refusals() >= 2 || job_->IsPrinterInTrouble() || job_->IsJobInError();
    }
    void ExpectPrintedAtNewPlace(unsigned attempts) {
        ASSERT_TRUE(WaitUntil([this] { return job_->done(); }));
        EXPECT_TRUE(job_->outcome().printed());
        EXPECT_EQ(job_->attempts(), attempts);
        const auto received = new_->Documents(1);
        ASSERT_EQ(received.size(), 1u);
        EXPECT_TRUE(received[0] == expected_);
        for (const auto& beginning : old_->Documents(0)) {
            ASSERT_LT(beginning.size(), expected_.size());
            EXPECT_TRUE(std::equal(beginning.begin(), beginning.end(), expected_.begin()));
        }
        EXPECT_EQ(old_->Violations() + new_->Violations(), "");
        EXPECT_EQ(store().GetText(root(), PortPath(kPort), L"IpAddress"), new_->wide_address());
        EXPECT_EQ(store().GetText(root(), PortPath(kPort), L"MacAddress"), kMac);
    }

    std::unique_ptr<TroubledPrinter> old_;
    std::unique_ptr<TroubledPrinter> new_;
    std::vector<std::unique_ptr<ConfirmationService>> checks_;
    std::vector<std::uint8_t> expected_;
    std::unique_ptr<PersistentJob> job_;
};

INSTANTIATE_TEST_SUITE_P(, MovingPrinterTest,
                         ::testing::Values(Transport{"Raw", 2, 9100}, Transport{"Lpr", 0, 515},
                                           Transport{"Xlpr", 1, 515},
                                           Transport{"IdPrintRaw", 2, 9200, true}),
                         [](const auto& test) { return std::string(test.param.name); });

// The job finds the printer by itself.
TEST_P(MovingPrinterTest, MovesBeforeTheJobsFirstByte) {
    ASSERT_NO_FATAL_FAILURE(StartAtOldPlace(Refusing()));
    StartJob(50'000);
    ASSERT_TRUE(WaitUntil([this] { return IsTroubleShown(); }));
    Move();
    ExpectPrintedAtNewPlace(1);
}

// Half a job cannot go on elsewhere; restarted it goes there as a whole.
TEST_P(MovingPrinterTest, MovesInTheMiddleOfTheData) {
    ASSERT_NO_FATAL_FAILURE(StartAtOldPlace(LeavingInTheMiddle()));
    StartJob(kMuch);
    ASSERT_TRUE(WaitUntil([this] {
        return GetParam().protocol == 0 ? job_->IsJobInError() : job_->refusals() >= 2;
    }));
    ASSERT_TRUE(old_->Become(Refusing()));
    Move();
    job_->Restart();
    ExpectPrintedAtNewPlace(2);
}

}  // namespace
}  // namespace ksp::test
