// A tracked printer that is still at its stored address.

#include "tests/net/relocation_test.h"

namespace ksp::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class RelocationStayTest : public RelocationTest {
  protected:
    static constexpr char kStart[] =
        "TRACE: Start Search IP Address by Oryx.(Port:Port IP:127.0.0.2 MAC:0026AB123456)";
};

TEST_F(RelocationStayTest, APrinterThatIsWhereItWasWritesNothing) {
    AddTrackedPort();
    AddDevice("127.0.0.2", "0026AB123456");
    EXPECT_EQ(Resolve(), "127.0.0.2");
    EXPECT_EQ(address_.AddressOrigin(), CSLIpAddr::Origin::kText);
    EXPECT_THAT(Writes(), IsEmpty());
    EXPECT_THAT(NewLines(), ElementsAre("TRACE: Host name = 127.0.0.1",
                                        "TRACE: Read port info : hostname = 127.0.0.1",
                                        "INFO: read port. port name is Port", kStart,
                                        "TRACE: Find MAC Address:0026AB123456",
                                        "TRACE: IpAddress NotChange 127.0.0.2"));
    EXPECT_THAT(library_.Calls(DiscoveryProbe), IsEmpty()) << "the network was searched";
}

TEST_F(RelocationStayTest, TheWrapperLivesForTheCall) {
    AddTrackedPort();
    AddDevice("127.0.0.2", "0026AB123456");
    EXPECT_EQ(Resolve(), "127.0.0.2");
    EXPECT_THAT(CallNames(),
                ElementsAre("KSCreateStream", "KSInitialize", "KSCreateDeviceHandle",
                            "KSGetDeviceCapability", "KSDeleteBuffer", "KSDeleteDeviceHandle",
                            "KSStopProbe", "KSTerminate", "KSDeleteStream"));
}

TEST_F(RelocationStayTest, LetterCaseIsNoChange) {
    AddTrackedPort(L"0026ab123456");
    AddDevice("127.0.0.2", "0026AB123456");
    EXPECT_EQ(Resolve(), "127.0.0.2");
    EXPECT_THAT(Writes(), IsEmpty());
    EXPECT_EQ(Value(L"MacAddress"), L"0026ab123456");
}

TEST_F(RelocationStayTest, EachVariantIsWrittenAsTheNewMacAddress) {
    for (const wchar_t* variant : {L"0226AB123456", L"0026AB12B456", L"0226AB12B456"}) {
        const std::string text(variant, variant + 12);
        AddTrackedPort();
        AddDevice("127.0.0.2", text);
        EXPECT_EQ(Resolve(), "127.0.0.2");
        EXPECT_THAT(Writes(), ElementsAre("Port\\MacAddress"));
        EXPECT_EQ(Value(L"MacAddress"), variant);
        EXPECT_EQ(Value(L"IpAddress"), L"127.0.0.2");
        EXPECT_THAT(SearchLines(), ElementsAre(kStart, "TRACE: Find MAC Address:" + text,
                                               "TRACE: IpAddress NotChange 127.0.0.2",
                                               "TRACE: Mac address changed " + text));
    }
}

// What is stored is the variant, not the device's way of writing it.
TEST_F(RelocationStayTest, AVariantInSmallLettersIsWrittenInCapitals) {
    AddTrackedPort();
    AddDevice("127.0.0.2", "0226ab123456");
    EXPECT_EQ(Resolve(), "127.0.0.2");
    EXPECT_EQ(Value(L"MacAddress"), L"0226AB123456");
    EXPECT_THAT(SearchLines(), ElementsAre(kStart, "TRACE: Find MAC Address:0226ab123456",
                                           "TRACE: IpAddress NotChange 127.0.0.2",
                                           "TRACE: Mac address changed 0226AB123456"));
}

TEST_F(RelocationStayTest, AMacAddressThatIsAskedForCountsToo) {
    AddTrackedPort();
    library_.AddDevice(
        {.address = "127.0.0.2", .mac = "0026AB123456", .document = CapabilityDocument("")});
    EXPECT_EQ(Resolve(), "127.0.0.2");
    EXPECT_THAT(Writes(), IsEmpty());
}

TEST_F(RelocationStayTest, AMacAddressThatCannotBeParsedIsComparedAsItIs) {
    AddTrackedPort(L"00:26:AB:12:34:56");
    AddDevice("127.0.0.2", "00:26:ab:12:34:56");
    EXPECT_EQ(Resolve(), "127.0.0.2");
    EXPECT_THAT(Writes(), IsEmpty());
}

TEST_F(RelocationStayTest, TheResultStandsWhenTheMacAddressCannotBeWritten) {
    AddTrackedPort();
    AddDevice("127.0.0.2", "0226AB123456");
    registry_.AddFault({.operation = RegistryOperation::kSetValue, .name = L"MacAddress"});
    EXPECT_EQ(Resolve(), "127.0.0.2");
    EXPECT_THAT(SearchLines(), ElementsAre(kStart, "TRACE: Find MAC Address:0226AB123456",
                                           "TRACE: IpAddress NotChange 127.0.0.2",
                                           "TRACE: Mac address changed 0226AB123456",
                                           "ERROR: error write mac address value fail."));
}

TEST_F(RelocationStayTest, WithoutAWrapperThereIsNoAddressAtAll) {
    AddTrackedPort();
    AddDevice("127.0.0.2", "0026AB123456");
    library_.FailNth(DiscoveryCreateStream, 1);
    EXPECT_EQ(Resolve(), "error 4294967295");
    EXPECT_THAT(SearchLines(), ElementsAre("ERROR: failed create oryx stream handle)",
                                           "ERROR: Failed Initialized Oryx."));
    EXPECT_THAT(Writes(), IsEmpty());

    library_.FailNth(DiscoveryInitialize, 1, 3);
    EXPECT_EQ(Resolve(), "error 4294967295");
    EXPECT_THAT(SearchLines(),
                ElementsAre("ERROR: failed initialize oryx(3)", "ERROR: Failed Initialized Oryx."));
}

}  // namespace
}  // namespace ksp::test
