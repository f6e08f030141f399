// A tracked printer that is not found: its name text, and who answers there.

#include "tests/net/relocation_test.h"

namespace ksp::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

constexpr char kStart[] =
    "TRACE: Start Search IP Address by Oryx.(Port:Port IP:127.0.0.2 MAC:0026AB123456)";
constexpr char kSearch[] = "TRACE: Start Search MAC Address by Oryx. 0026AB123456";
constexpr char kNotFound[] = "TRACE: Could not found MAC Address : 0026AB123456";
constexpr char kByName[] = "TRACE: Start Search IP Address by Oryx.(IP:127.0.0.1)";

class RelocationFallbackTest : public RelocationTest {};

TEST_F(RelocationFallbackTest, TheNameTextIsTheLastResort) {
    AddTrackedPort();
    EXPECT_EQ(Resolve(), "127.0.0.1");
    EXPECT_THAT(Writes(), IsEmpty());
    EXPECT_THAT(SearchLines(),
                ElementsAre(kStart, "ERROR: Failed Create Device Handle",
                            "ERROR: Failed create device handle",
                            "TRACE: IP Address is changed by 127.0.0.2", kSearch,
                            "TRACE: MAC is   --> get IP is ", kNotFound, kByName,
                            "ERROR: Failed Create Device Handle",
                            "ERROR: Failed create device handle", "ERROR: printer not found !!"));
}

TEST_F(RelocationFallbackTest, AHostNameIsResolved) {
    AddPort(L"Port", 4, L"localhost", L"127.0.0.2", L"0026AB123456");
    EXPECT_EQ(Resolve(L"localhost"), "127.0.0.1");
    EXPECT_EQ(address_.AddressOrigin(), CSLIpAddr::Origin::kHostName);
    EXPECT_EQ(CountLines(kByName), 1U);
}

TEST_F(RelocationFallbackTest, ANameThatCannotBeResolvedIsAnError) {
    AddPort(L"Port", 4, L"no such host", L"127.0.0.2", L"0026AB123456");
    EXPECT_EQ(Resolve(L"no such host"), "error 11001");
    EXPECT_THAT(log_.Lines(), Contains(::testing::StartsWith(
                                  "INFO: Unable to get address for host name =no such host . ")));
    EXPECT_THAT(Writes(), IsEmpty());
    EXPECT_EQ(library_.Calls(DiscoveryCreateStream).size(), 1U) << "nobody to ask any more";
}

TEST_F(RelocationFallbackTest, AnUnreadablePortIsResolvedByName) {
    AddTrackedPort();
    registry_.AddFault(
        {.operation = RegistryOperation::kOpenKey, .and_later = true, .name = L"Port"});
    EXPECT_EQ(Resolve(), "127.0.0.1");
    EXPECT_EQ(CountLines("TRACE: could not read info. : 127.0.0.1"), 1U);
    EXPECT_THAT(CallNames(), IsEmpty());
}

TEST_F(RelocationFallbackTest, ADeviceWithoutAnAddressIsNotFound) {
    AddTrackedPort();
    library_.AddDevice({.address = "127.0.0.7",
                        .document = CapabilityDocument("<MAC_Address>0026AB123456</MAC_Address>")});
    EXPECT_EQ(Resolve(), "127.0.0.1");
    EXPECT_THAT(Writes(), IsEmpty());
    EXPECT_EQ(CountLines("TRACE: MAC is 0026AB123456  --> get IP is "), 1U);
    EXPECT_EQ(CountLines(kNotFound), 1U);
}

TEST_F(RelocationFallbackTest, ASearchThatDoesNotStartFindsNothing) {
    AddTrackedPort();
    AddDevice("127.0.0.7", "0026AB123456");
    library_.FailNth(DiscoveryProbe, 1);
    EXPECT_EQ(Resolve(), "127.0.0.1");
    EXPECT_EQ(CountLines("ERROR: Failed Start Probe"), 1U);
    EXPECT_EQ(CountLines(kNotFound), 1U);
}

// One that the search does not find answers all the same when it is asked; here by another of its
// network interfaces.
TEST_F(RelocationFallbackTest, ThePrinterThatAnswersAtTheNamesAddressIsWrittenBack) {
    AddTrackedPort();
    library_.AddDevice({.address = "127.0.0.1", .mac = "0226AB123456", .silent = true});
    EXPECT_EQ(Resolve(), "127.0.0.1");
    EXPECT_THAT(Writes(), ElementsAre("Port\\IpAddress", "Port\\MacAddress"));
    EXPECT_EQ(Value(L"IpAddress"), L"127.0.0.1");
    EXPECT_EQ(Value(L"MacAddress"), L"0226AB123456");
    EXPECT_THAT(SearchLines(),
                ElementsAre(kStart, "ERROR: Failed Create Device Handle",
                            "ERROR: Failed create device handle",
                            "TRACE: IP Address is changed by 127.0.0.2", kSearch,
                            "TRACE: MAC is   --> get IP is ", kNotFound, kByName,
                            "TRACE: Mac address changed 0226AB123456", "TRACE: Found 127.0.0.1"));
}

// The job goes there, as its name says; the port goes on looking for its own printer.
TEST_F(RelocationFallbackTest, AStrangerAtTheNamesAddressIsNotWrittenBack) {
    AddTrackedPort();
    AddDevice("127.0.0.1", "0026AB999999");
    EXPECT_EQ(Resolve(), "127.0.0.1");
    EXPECT_THAT(Writes(), IsEmpty());
    EXPECT_EQ(CountLines("ERROR: printer not found !!"), 1U);
    EXPECT_EQ(CountLines("TRACE: Found 127.0.0.1"), 0U);
}

TEST_F(RelocationFallbackTest, ARecordWithoutAPrinterTakesTheOneThatAnswersAtItsName) {
    AddPort(L"Port", 4, kName, L"127.0.0.2", L"");
    AddDevice("127.0.0.1", "0026AB999999");
    EXPECT_EQ(Resolve(), "127.0.0.1");
    EXPECT_EQ(Value(L"IpAddress"), L"127.0.0.1");
    EXPECT_EQ(Value(L"MacAddress"), L"0026AB999999");
}

// The first tracked port's record answers for those behind it.
TEST_F(RelocationFallbackTest, ThePrinterOfAPortBehindIsNotWrittenIntoTheOneInFront) {
    for (const wchar_t* mac : {kMac, L""}) {
        AddPort(L"Front", 4, L"127.0.0.9", L"127.0.0.2", mac);
        AddTrackedPort();
        AddDevice("127.0.0.1", "0026AB999999");
        EXPECT_EQ(Resolve(), "127.0.0.1");
        EXPECT_THAT(Writes(), IsEmpty());
    }
}

// Its MAC address is written also when it is the stored one, without the line.
TEST_F(RelocationFallbackTest, TheStoredMacAddressIsNoChange) {
    AddTrackedPort();
    library_.AddDevice({.address = "127.0.0.1", .mac = "0026AB123456", .silent = true});
    EXPECT_EQ(Resolve(), "127.0.0.1");
    EXPECT_THAT(Writes(), ElementsAre("Port\\IpAddress", "Port\\MacAddress"));
    EXPECT_EQ(Value(L"MacAddress"), L"0026AB123456");
    EXPECT_EQ(CountLines("TRACE: Found 127.0.0.1"), 1U);
    EXPECT_THAT(log_.Lines(), Not(Contains(::testing::HasSubstr("Mac address changed"))));
}

TEST_F(RelocationFallbackTest, LetterCaseIsAChangeThere) {
    AddTrackedPort();
    library_.AddDevice({.address = "127.0.0.1", .mac = "0026ab123456", .silent = true});
    EXPECT_EQ(Resolve(), "127.0.0.1");
    EXPECT_EQ(Value(L"MacAddress"), L"0026ab123456");
    EXPECT_EQ(CountLines("TRACE: Mac address changed 0026ab123456"), 1U);
}

TEST_F(RelocationFallbackTest, ADeviceWithoutAMacAddressIsNobody) {
    AddTrackedPort();
    library_.AddDevice({.address = "127.0.0.1", .document = CapabilityDocument("")});
    EXPECT_EQ(Resolve(), "127.0.0.1");
    EXPECT_THAT(Writes(), IsEmpty());
    EXPECT_EQ(CountLines("ERROR: printer not found !!"), 1U);
}

TEST_F(RelocationFallbackTest, TheNamesAddressStandsWithoutASecondWrapper) {
    AddTrackedPort();
    AddDevice("127.0.0.1", "0026AB999999");
    library_.FailNth(DiscoveryCreateStream, 2);
    EXPECT_EQ(Resolve(), "127.0.0.1");
    EXPECT_THAT(Writes(), IsEmpty());
    EXPECT_EQ(CountLines("ERROR: Failed Initialized Oryx."), 1U);
    EXPECT_EQ(CountLines(kByName), 0U);
}

TEST_F(RelocationFallbackTest, FailedWritesDoNotChangeTheResult) {
    AddTrackedPort();
    library_.AddDevice({.address = "127.0.0.1", .mac = "0226AB123456", .silent = true});
    registry_.AddFault({.operation = RegistryOperation::kSetValue, .and_later = true});
    EXPECT_EQ(Resolve(), "127.0.0.1");
    EXPECT_EQ(Value(L"IpAddress"), L"127.0.0.2");
    EXPECT_EQ(CountLines("ERROR: error write ipaddress value fail."), 1U);
    EXPECT_EQ(CountLines("ERROR: error write mac address value fail."), 1U);
    EXPECT_EQ(CountLines("TRACE: Found 127.0.0.1"), 1U);
}

TEST_F(RelocationFallbackTest, AnAddressThatCannotBeConvertedIsNotAskedAt) {
    AddPort(L"Port", 4, kName, L"127.0.0.2\xD800", kMac);
    AddDevice("127.0.0.7", "0026AB123456");
    EXPECT_EQ(Resolve(), "127.0.0.7");
    EXPECT_THAT(library_.Calls(DiscoveryCreateDeviceHandle), IsEmpty());
    EXPECT_THAT(Writes(), ElementsAre("Port\\IpAddress"));
}

TEST_F(RelocationFallbackTest, WhatTheNetworkSaysLeavesTheJobPathWorking) {
    AddTrackedPort();
    const std::string huge =
        "<r><MAC_Address>0026AB123456</MAC_Address>" + std::string(10 * 1024 * 1024, ' ') + "</r>";
    for (const std::string& document :
         {std::string("<"), std::string(),
          std::string("<!DOCTYPE r [<!ENTITY m \"0026AB123456\">]><r><MAC_Address>&m;</MAC_Address>"
                      "</r>"),
          huge}) {
        library_.AddDevice({.address = "127.0.0.2", .document = document});
        library_.AddDevice({.address = "127.0.0.7", .document = document});
        EXPECT_EQ(Resolve(), "127.0.0.1");
        EXPECT_THAT(Writes(), IsEmpty());
        EXPECT_EQ(library_.Leftovers(), "");
    }
}

}  // namespace
}  // namespace ksp::test
