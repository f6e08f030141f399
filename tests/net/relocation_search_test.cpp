// A tracked printer that is looked for on the network.

#include "tests/net/relocation_test.h"

namespace ksp::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr char kStart[] =
    "TRACE: Start Search IP Address by Oryx.(Port:Port IP:127.0.0.2 MAC:0026AB123456)";
constexpr char kSearch[] = "TRACE: Start Search MAC Address by Oryx. 0026AB123456";

class RelocationSearchTest : public RelocationTest {};

TEST_F(RelocationSearchTest, APrinterThatMovedIsFoundAndWritten) {
    AddTrackedPort();
    AddDevice("127.0.0.7", "0026AB123456");
    EXPECT_EQ(Resolve(), "127.0.0.7");
    EXPECT_EQ(address_.AddressOrigin(), CSLIpAddr::Origin::kText);
    EXPECT_THAT(Writes(), ElementsAre("Port\\IpAddress"));
    EXPECT_EQ(Value(L"IpAddress"), L"127.0.0.7");
    EXPECT_EQ(Value(L"MacAddress"), L"0026AB123456");
    EXPECT_EQ(Value(L"PrinterAddress"), L"127.0.0.1");
    EXPECT_THAT(SearchLines(), ElementsAre(kStart, "ERROR: Failed Create Device Handle",
                                           "ERROR: Failed create device handle",
                                           "TRACE: IP Address is changed by 127.0.0.2", kSearch,
                                           "TRACE: MAC is 0026AB123456  --> get IP is 127.0.0.7",
                                           "TRACE: IpAddress Changed 127.0.0.2 --> 127.0.0.7"));
    EXPECT_EQ(library_.Calls(DiscoveryCreateStream).size(), 1U) << "one wrapper for the call";
}

TEST_F(RelocationSearchTest, TheNextJobFindsItAtItsNewAddress) {
    AddTrackedPort();
    AddDevice("127.0.0.7", "0026AB123456");
    EXPECT_EQ(Resolve(), "127.0.0.7");
    Writes();
    library_.ClearCalls();
    EXPECT_EQ(Resolve(), "127.0.0.7");
    EXPECT_THAT(Writes(), IsEmpty());
    EXPECT_THAT(library_.Calls(DiscoveryProbe), IsEmpty());
}

TEST_F(RelocationSearchTest, SomebodyElseAtTheOldAddressIsNotPrintedOn) {
    AddTrackedPort();
    AddDevice("127.0.0.2", "0026AB999999");
    AddDevice("127.0.0.7", "0026AB123456");
    EXPECT_EQ(Resolve(), "127.0.0.7");
    EXPECT_THAT(Writes(), ElementsAre("Port\\IpAddress"));
    EXPECT_THAT(SearchLines(), ElementsAre(kStart, "TRACE: Find MAC Address:0026AB999999", kSearch,
                                           "TRACE: MAC is 0026AB123456  --> get IP is 127.0.0.7",
                                           "TRACE: IpAddress Changed 127.0.0.2 --> 127.0.0.7"));
}

TEST_F(RelocationSearchTest, AVariantIsFoundAndWrittenToo) {
    AddTrackedPort();
    AddDevice("127.0.0.7", "0226ab12b456");
    EXPECT_EQ(Resolve(), "127.0.0.7");
    EXPECT_THAT(Writes(), ElementsAre("Port\\IpAddress", "Port\\MacAddress"));
    EXPECT_EQ(Value(L"IpAddress"), L"127.0.0.7");
    EXPECT_EQ(Value(L"MacAddress"), L"0226AB12B456");
    EXPECT_THAT(SearchLines(), ElementsAre(kStart, "ERROR: Failed Create Device Handle",
                                           "ERROR: Failed create device handle",
                                           "TRACE: IP Address is changed by 127.0.0.2", kSearch,
                                           "TRACE: MAC is 0226AB12B456  --> get IP is 127.0.0.7",
                                           "TRACE: Mac address changed 0226AB12B456",
                                           "TRACE: IpAddress Changed 127.0.0.2 --> 127.0.0.7"));
}

// The first look failed for another reason than the printer's absence.
TEST_F(RelocationSearchTest, TheSameAddressIsWrittenAgain) {
    AddTrackedPort();
    AddDevice("127.0.0.2", "0026AB123456");
    library_.FailNth(DiscoveryGetDeviceCapability, 1);
    EXPECT_EQ(Resolve(), "127.0.0.2");
    EXPECT_THAT(Writes(), ElementsAre("Port\\IpAddress"));
    EXPECT_THAT(SearchLines(), ElementsAre(kStart, "ERROR: Failed get device capability.",
                                           "TRACE: IP Address is changed by 127.0.0.2", kSearch,
                                           "TRACE: MAC is 0026AB123456  --> get IP is 127.0.0.2",
                                           "TRACE: IpAddress Changed 127.0.0.2 --> 127.0.0.2"));
}

TEST_F(RelocationSearchTest, FailedWritesDoNotChangeTheResult) {
    AddTrackedPort();
    AddDevice("127.0.0.7", "0226AB123456");
    registry_.AddFault({.operation = RegistryOperation::kSetValue, .and_later = true});
    EXPECT_EQ(Resolve(), "127.0.0.7");
    EXPECT_EQ(Value(L"IpAddress"), L"127.0.0.2");
    EXPECT_EQ(Value(L"MacAddress"), L"0026AB123456");
    EXPECT_EQ(CountLines("ERROR: error write ipaddress value fail."), 1U);
    EXPECT_EQ(CountLines("ERROR: error write mac address value fail."), 1U);
    EXPECT_EQ(CountLines("TRACE: Mac address changed 0226AB123456"), 1U);
    EXPECT_EQ(CountLines("TRACE: IpAddress Changed 127.0.0.2 --> 127.0.0.7"), 1U);
}

TEST_F(RelocationSearchTest, APortKeyThatCannotBeOpenedDoesNotChangeTheResult) {
    AddTrackedPort();
    AddDevice("127.0.0.7", "0026AB123456");
    // The first opening reads the port.
    registry_.AddFault({.operation = RegistryOperation::kOpenKey, .nth = 2, .name = L"Port"});
    EXPECT_EQ(Resolve(), "127.0.0.7");
    EXPECT_EQ(CountLines("ERROR: Unable to open key ( Port )"), 1U);
    EXPECT_THAT(Writes(), IsEmpty());
}

TEST_F(RelocationSearchTest, EveryCandidateIsLookedFor) {
    for (const char* mac : {"0026AB123456", "0226AB123456", "0026AB12B456", "0226AB12B456"}) {
        AddTrackedPort();
        AddDevice("127.0.0.7", mac);
        EXPECT_EQ(Resolve(), "127.0.0.7") << mac;
    }
    AddTrackedPort();
    AddDevice("127.0.0.7", "0126AB123456");
    EXPECT_EQ(Resolve(), "127.0.0.1") << "found under an address that is no candidate";
}

TEST_F(RelocationSearchTest, AShortMacAddressIsLookedForAsItIs) {
    AddTrackedPort(L"0026");
    AddDevice("127.0.0.7", "0026");
    EXPECT_EQ(Resolve(), "127.0.0.7");
    EXPECT_THAT(Writes(), ElementsAre("Port\\IpAddress"));
}

TEST_F(RelocationSearchTest, TheConfiguredSubnetsAreSearched) {
    SetSubnets(1, {L"192.0.2.0;255.255.255.0"});
    AddTrackedPort();
    AddDevice("127.0.0.7", "0026AB123456");
    EXPECT_EQ(Resolve(), "127.0.0.7");
    const auto modes = library_.Texts(DiscoverySetProbeMode);
    ASSERT_EQ(modes.size(), 1U);
    EXPECT_THAT(modes[0], ::testing::HasSubstr("<Address networkAddress=\"192.0.2.0\" "
                                               "subnetMask=\"255.255.255.0\" />"));
}

// --- Several ports

TEST_F(RelocationSearchTest, SeveralTrackedPortsGoByTheFirstOnesRecord) {
    AddPort(L"A", 4, L"127.0.0.11", L"127.0.0.21", L"0026AB00000A");
    AddPort(L"B", 4, L"127.0.0.12", L"127.0.0.22", L"0026AB00000B");
    AddDevice("127.0.0.31", "0026AB00000A");
    AddDevice("127.0.0.32", "0026AB00000B");
    EXPECT_EQ(Resolve(L"127.0.0.12"), "127.0.0.31");
    EXPECT_THAT(Writes(), ElementsAre("A\\IpAddress"));
    EXPECT_EQ(Value(L"IpAddress", L"A"), L"127.0.0.31");
    EXPECT_EQ(Value(L"IpAddress", L"B"), L"127.0.0.22");
}

TEST_F(RelocationSearchTest, APortThatIsNotTrackedKeepsToItsOwnAddress) {
    AddPort(L"A", 4, L"127.0.0.11", L"127.0.0.21", L"0026AB00000A");
    AddPort(L"B", 1, L"127.0.0.12");
    AddDevice("127.0.0.31", "0026AB00000A");
    EXPECT_EQ(Resolve(L"127.0.0.12"), "127.0.0.12");
    EXPECT_THAT(Writes(), IsEmpty());
    EXPECT_THAT(CallNames(), IsEmpty()) << "the library was used";
    EXPECT_EQ(Resolve(L"127.0.0.11"), "127.0.0.31") << "the tracked one is still followed";
}

TEST_F(RelocationSearchTest, ATrackedPortIsFollowedAlsoBesideAnotherOfItsAddress) {
    AddPort(L"A", 4, L"127.0.0.11", L"127.0.0.21", L"0026AB00000A");
    AddPort(L"B", 1, L"127.0.0.11");
    AddDevice("127.0.0.31", "0026AB00000A");
    EXPECT_EQ(Resolve(L"127.0.0.11"), "127.0.0.31");
}

TEST_F(RelocationSearchTest, OnlyExactlyTheSameAddressIsAnUntrackedPorts) {
    AddPort(L"A", 4, L"127.0.0.11", L"127.0.0.21", L"0026AB00000A");
    AddPort(L"B", 1, L"127.0.0.123");
    AddDevice("127.0.0.31", "0026AB00000A");
    EXPECT_EQ(Resolve(L"127.0.0.12"), "127.0.0.31");
}

TEST_F(RelocationSearchTest, APortThatIsNotTrackedNeverUsesTheLibrary) {
    AddPort(L"127.0.0.12", 1, L"127.0.0.12");
    EXPECT_EQ(Resolve(L"127.0.0.12"), "127.0.0.12");
    EXPECT_THAT(CallNames(), IsEmpty());
    EXPECT_THAT(Writes(), IsEmpty());
}

}  // namespace
}  // namespace ksp::test
