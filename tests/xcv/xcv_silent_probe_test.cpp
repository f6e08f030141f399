// The command SilentAddPort: what the printer says of itself.

#include "tests/monitor/background.h"
#include "tests/xcv/xcv_test.h"

namespace ksp::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::Not;

class XcvSilentProbeTest : public XcvTest {
  protected:
    static constexpr char kDevice[] = "127.0.0.2";

    void StartEmpty() {
        ASSERT_TRUE(Start());
        NewLines();
    }
    void AddDevice(const std::string& name = "Model 7") {
        discovery_.AddDevice({.address = kDevice, .mac = kNarrowMac, .name = name});
    }
    // The lines of a silent addition that succeeds.
    std::vector<std::string> LinesOfAdding(std::string_view text) {
        NewLines();
        EXPECT_EQ(AddSilently(text).code, DWORD{ERROR_SUCCESS});
        return LinesOf("Xcv SilentAddPort");
    }
};

TEST_F(XcvSilentProbeTest, PrinterGivesItsModelAndMacAddress) {
    AddDevice();
    StartEmpty();
    EXPECT_THAT(LinesOfAdding("AR=127.0.0.2:PR=RAW"),
                ElementsAre("TRACE SilentAddPort: not dhcp port name",
                            "TRACE SilentAddPort: not  subnetmask name",
                            "TRACE SilentAddPort: not  macaddr name", "ERROR invalidate Port",
                            "INFO port added successfully"));
    EXPECT_THAT(PortNames(), ElementsAre(L"127.0.0.2:Model 7"));
    EXPECT_EQ(StoredText(L"127.0.0.2:Model 7", L"MacAddress"), kMac);
    EXPECT_EQ(StoredText(L"127.0.0.2:Model 7", L"IpAddress"), L"");
    EXPECT_EQ(discovery_.Leftovers(), "") << "the library is done with";
}

TEST_F(XcvSilentProbeTest, TextGoesBeforeWhatThePrinterSays) {
    AddDevice();
    StartEmpty();
    LinesOfAdding("AR=127.0.0.2:MN=Mine:MA=000000000001:PR=RAW");
    EXPECT_THAT(PortNames(), ElementsAre(L"127.0.0.2:Mine"));
    EXPECT_EQ(StoredText(L"127.0.0.2:Mine", L"MacAddress"), L"000000000001");
}

TEST_F(XcvSilentProbeTest, PrinterIsAskedAtItsAddressAlsoWithADhcpName) {
    AddDevice();
    StartEmpty();
    LinesOfAdding("AR=127.0.0.2:DP=prn01:PR=RAW");
    EXPECT_THAT(PortNames(), ElementsAre(L"prn01:Model 7"));
    EXPECT_EQ(StoredText(L"prn01:Model 7", L"MacAddress"), kMac);
    EXPECT_EQ(StoredText(L"prn01:Model 7", L"IpAddress"), L"127.0.0.2");
    const auto calls = discovery_.Calls(DiscoveryCreateDeviceHandle);
    ASSERT_EQ(calls.size(), 1U);
    EXPECT_EQ(calls[0].address, kDevice);
}

TEST_F(XcvSilentProbeTest, PrinterWithoutANameLeavesTheModelEmpty) {
    AddDevice("");
    StartEmpty();
    EXPECT_THAT(LinesOfAdding("AR=127.0.0.2:PR=RAW"),
                Not(Contains("INFO SilentAddPort: error obtaining printer model name")));
    EXPECT_THAT(PortNames(), ElementsAre(L"127.0.0.2:"));
}

TEST_F(XcvSilentProbeTest, PrinterWithoutAMacAddressCountsAsSilent) {
    discovery_.AddDevice({.address = kDevice, .mac = std::nullopt, .name = "Model 7"});
    StartEmpty();
    const std::vector<std::string> lines = LinesOfAdding("AR=127.0.0.2:PR=RAW");
    EXPECT_THAT(lines, Contains("ERROR SilentAddPort: Probe IP is FALSE!"));
    EXPECT_THAT(lines, Contains("INFO SilentAddPort: error obtaining printer model name"));
    EXPECT_THAT(PortNames(), ElementsAre(L"127.0.0.2:"));
}

TEST_F(XcvSilentProbeTest, WithoutTheLibraryThePortIsAddedAllTheSame) {
    AddDevice();
    SetSetting(L"ExeDirectory", directory());
    StartEmpty();
    EXPECT_THAT(LinesOfAdding("AR=127.0.0.2:PR=RAW"),
                ElementsAre("ERROR COryxDLL::LoadFunctions failed GetLibraryInstance",
                            "ERROR Oryx dll is not ready to use",
                            "ERROR SilentAddPort: Failed Initialized Oryx.",
                            "INFO SilentAddPort: error obtaining printer model name",
                            "TRACE SilentAddPort: not dhcp port name",
                            "TRACE SilentAddPort: not  subnetmask name",
                            "TRACE SilentAddPort: not  macaddr name", "ERROR invalidate Port",
                            "INFO port added successfully"));
    EXPECT_THAT(PortNames(), ElementsAre(L"127.0.0.2:"));
}

TEST_F(XcvSilentProbeTest, LibraryThatCannotStartDoesNotPreventIt) {
    AddDevice();
    StartEmpty();
    discovery_.FailNth(DiscoveryInitialize, 1);
    EXPECT_THAT(LinesOfAdding("AR=127.0.0.2:PR=RAW"),
                Contains("ERROR SilentAddPort: Failed Initialized Oryx."));
    EXPECT_THAT(PortNames(), ElementsAre(L"127.0.0.2:"));
}

// A printer that takes its time must not hold up other ports.
TEST_F(XcvSilentProbeTest, OtherCommandsDoNotWaitForThePrinter) {
    AddDevice();
    AddRawPort(L"OTHER");
    StartEmpty();
    DWORD code = ERROR_GEN_FAILURE;
    discovery_.SetHook(DiscoveryGetDeviceCapability, [&] {
        Background<DWORD> other([&] { return Call(L"DeletePort", L"OTHER").code; });
        if (other.EndsWithin(Gate::kPatience)) {
            code = other.Get();
        }
    });
    EXPECT_EQ(AddSilently("AR=127.0.0.2:PR=RAW").code, DWORD{ERROR_SUCCESS});
    discovery_.SetHook(DiscoveryGetDeviceCapability, {});
    EXPECT_EQ(code, DWORD{ERROR_SUCCESS});
}

// --- The ID-print monitor

TEST_F(XcvSilentProbeTest, IdPrintMonitorAddsItsPortsTheSameWay) {
    AddDevice();
    SetMonitorType(2);
    SetSetting(L"ExeDirectory", DiscoveryControl::FullDirectory());
    StartEmpty();
    LinesOfAdding("AR=127.0.0.2:PR=RAW");
    EXPECT_EQ(StoredNumber(L"127.0.0.2:Model 7", L"ProtocolID"), 2U);
    EXPECT_EQ(StoredNumber(L"127.0.0.2:Model 7", L"SecureRawPortNo"), 0U);
    EXPECT_EQ(StoredText(L"127.0.0.2:Model 7", L"QueueName"), L"");
}

}  // namespace
}  // namespace ksp::test
