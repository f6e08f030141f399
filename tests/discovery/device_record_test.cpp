// What is read from a device's documents.

#include "discovery/device_record.h"

#include "support/text.h"
#include "tests/discovery/discovery_test.h"
#include "tests/discovery/xml_test.h"

namespace ksp::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class DeviceRecordTest : public XmlTest {
  protected:
    static CDeviceRecord Record(const std::string& elements, bool ipv4 = true, bool ipv6 = false) {
        return ReadDeviceRecord(FromAnsi(CapabilityDocument(elements)), ipv4, ipv6);
    }
    static CMacAddressReply Reply(const std::string& elements) {
        return ReadMacAddressReply(FromAnsi(MacReplyDocument(elements)));
    }
};

TEST_F(DeviceRecordTest, EveryFieldHasItsElement) {
    const CDeviceRecord record = Record(
        "<Device_ID>id</Device_ID><Device_Name>name</Device_Name>"
        "<MAC_Address>0026AB123456</MAC_Address><IPV4_Address>127.0.0.2</IPV4_Address>"
        "<IPAddress>fe80::1</IPAddress>");
    EXPECT_EQ(record.DeviceId, L"id");
    EXPECT_EQ(record.DeviceName, L"name");
    EXPECT_EQ(record.MacAddress, L"0026AB123456");
    EXPECT_EQ(record.IPv4Address, L"127.0.0.2");
    EXPECT_EQ(record.IPv6Address, L"");
    EXPECT_THAT(record.Others, IsEmpty());
    EXPECT_THAT(log_.Lines(), IsEmpty());
}

TEST_F(DeviceRecordTest, MissingElementsLeaveTheirFieldsEmpty) {
    const CDeviceRecord record = Record("<Device_Name>name</Device_Name>");
    EXPECT_EQ(record.DeviceId, L"");
    EXPECT_EQ(record.DeviceName, L"name");
    EXPECT_EQ(record.MacAddress, L"");
    EXPECT_EQ(record.IPv4Address, L"");
    EXPECT_EQ(record.IPv6Address, L"");
}

TEST_F(DeviceRecordTest, TheFamiliesChooseTheAddress) {
    const std::string both = "<IPV4_Address>127.0.0.2</IPV4_Address><IPAddress>fe80::1</IPAddress>";
    for (const bool ipv6 : {false, true}) {
        const CDeviceRecord record = Record(both, true, ipv6);
        EXPECT_EQ(record.IPv4Address, L"127.0.0.2");
        EXPECT_EQ(record.IPv6Address, L"");
    }
    const CDeviceRecord ipv6_only = Record(both, false, true);
    EXPECT_EQ(ipv6_only.IPv4Address, L"");
    EXPECT_EQ(ipv6_only.IPv6Address, L"fe80::1");
    const CDeviceRecord neither = Record(both, false, false);
    EXPECT_EQ(neither.IPv4Address, L"127.0.0.2");
    EXPECT_EQ(neither.IPv6Address, L"");
}

TEST_F(DeviceRecordTest, TheFirstElementOfANameCounts) {
    EXPECT_EQ(Record("<x><MAC_Address>first</MAC_Address></x><MAC_Address>second</MAC_Address>")
                  .MacAddress,
              L"first");
}

TEST_F(DeviceRecordTest, LetterCaseOfElementsCounts) {
    EXPECT_EQ(Record("<MAC_ADDRESS>0026AB123456</MAC_ADDRESS>").MacAddress, L"");
}

TEST_F(DeviceRecordTest, AMacAddressIsTakenAsItIs) {
    for (const std::string text : {"00:26:ab:12:34:56", "00-26-AB-12-34-56", "0026ab123456", "1",
                                   "0026AB123456789012345678901234567890", "not one"}) {
        EXPECT_EQ(Record("<MAC_Address>" + text + "</MAC_Address>").MacAddress, FromAnsi(text));
    }
}

TEST_F(DeviceRecordTest, ADocumentThatCannotBeReadLeavesEverythingEmpty) {
    const std::wstring text = L"<r><MAC_Address>0026AB123456</MAC_Address>";
    const std::string reason = ParserReason(text);
    const CDeviceRecord record = ReadDeviceRecord(text, true, false);
    EXPECT_EQ(record.MacAddress, L"");
    EXPECT_THAT(log_.Lines(), ElementsAre("TRACE: error loadXML : 1", "TRACE: " + reason));
    EXPECT_EQ(ReadDeviceRecord(L"", true, false).MacAddress, L"");
}

TEST_F(DeviceRecordTest, AReplyGivesTheMacAddress) {
    const CMacAddressReply reply =
        Reply("<d id=\"Name\">x</d><d id=\"MACAddress\">0026AB123456</d>");
    EXPECT_EQ(reply.result, S_OK);
    EXPECT_EQ(reply.macAddress, L"0026AB123456");
}

TEST_F(DeviceRecordTest, AReplyWithoutAMacAddressGivesNone) {
    for (const char* elements :
         {"", "<d id=\"Name\">0026AB123456</d>", "<d id=\"MACAddress\"></d>",
          "<d id=\"MACAddress\"/>", "<d id=\"MACAddress\">-1</d>", "<d>0026AB123456</d>",
          "<D id=\"MACAddress\">0026AB123456</D>", "<d id=\"MacAddress\">0026AB123456</d>"}) {
        const CMacAddressReply reply = Reply(elements);
        EXPECT_EQ(reply.result, S_OK) << elements;
        EXPECT_EQ(reply.macAddress, L"") << elements;
    }
}

TEST_F(DeviceRecordTest, OnlyExactlyMinusOneStandsForNone) {
    EXPECT_EQ(Reply("<d id=\"MACAddress\">-10</d>").macAddress, L"-10");
    EXPECT_EQ(Reply("<d id=\"MACAddress\">-1-</d>").macAddress, L"-1-");
}

TEST_F(DeviceRecordTest, AReplyThatCannotBeReadTellsWhy) {
    const CMacAddressReply reply = ReadMacAddressReply(L"no document");
    EXPECT_EQ(reply.result, S_FALSE);
    EXPECT_EQ(reply.macAddress, L"");
    EXPECT_EQ(log_.Lines().front(), "TRACE: error loadXML : 1");
}

}  // namespace
}  // namespace ksp::test
