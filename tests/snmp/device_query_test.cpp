#include "snmp/device_query.h"

#include <gmock/gmock.h>

#include <map>

#include "snmp/replies.h"

namespace ksp::test {
namespace {

using snmp::CAnswer;
using snmp::CDeviceQuery;
using snmp::CObjectId;
using snmp::CQuestion;
using snmp::CValue;
using snmp::QuestionKind;
using snmp::ValueKind;

const CObjectId kSysDescr{1, 3, 6, 1, 2, 1, 1, 1, 0};
const CObjectId kSysName{1, 3, 6, 1, 2, 1, 1, 5, 0};
const CObjectId kPrinterStatus{1, 3, 6, 1, 2, 1, 25, 3, 5, 1, 1, 3};
const CObjectId kDeviceDescr{1, 3, 6, 1, 2, 1, 25, 3, 2, 1, 3};
const CObjectId kPhysAddress{1, 3, 6, 1, 2, 1, 2, 2, 1, 6};
const CObjectId kInterfaceOfAddress{1, 3, 6, 1, 2, 1, 4, 20, 1, 2, 127, 0, 5, 7};
constexpr snmp::Ipv4 kAddress = 0x7F000507;

CValue Text(std::string text) {
    return {ValueKind::kOctets, 0, std::move(text)};
}
CValue Number(std::uint32_t number) {
    return {ValueKind::kInteger, number, ""};
}
const CValue kMac = Text(std::string("\x00\x26\xAB\x12\x34\x56", 6));

// A device with these variables, asked until nothing more is asked.
struct Agent {
    std::map<CObjectId, CValue> variables;
    int questions = 0;

    [[nodiscard]] CAnswer Answer(const CQuestion& question) {
        ++questions;
        const auto found = question.kind == QuestionKind::kGet ? variables.find(question.id)
                                                               : variables.upper_bound(question.id);
        if (found == variables.end()) {
            return {};
        }
        return {true, found->first, found->second};
    }
    snmp::CDeviceIdentity Ask(CDeviceQuery::Wanted wanted = CDeviceQuery::Wanted::kEverything,
                              int most = 1000) {
        CDeviceQuery query(kAddress, wanted);
        while (const auto question = questions < most ? query.Next() : std::nullopt) {
            query.Take(Answer(*question));
        }
        return query.Identity();
    }
};

TEST(DeviceQueryTest, APrinterSaysWhatItIs) {
    Agent agent{{{kSysDescr, Text("firmware 1")},
                 {kSysName, Text("office")},
                 {kPrinterStatus, Number(3)},
                 {kDeviceDescr.Child(1), Text("a processor")},
                 {kDeviceDescr.Child(3), Text("Kestrel 500")},
                 {kInterfaceOfAddress, Number(2)},
                 {kPhysAddress.Child(1), Text("")},
                 {kPhysAddress.Child(2), kMac}}};
    const auto identity = agent.Ask();
    EXPECT_EQ(identity.id, "Kestrel 500");
    EXPECT_EQ(identity.name, "Kestrel 500");
    EXPECT_EQ(identity.mac, "0026AB123456");
    EXPECT_EQ(snmp::CapabilityDocument(identity),
              "<?xml version=\"1.0\" encoding=\"utf-8\"?><DeviceCapability><Identity>"
              "<Device_ID>Kestrel 500</Device_ID><Device_Name>Kestrel 500</Device_Name></Identity>"
              "<Network><MAC_Address>0026AB123456</MAC_Address>"
              "<IPV4_Address>127.0.5.7</IPV4_Address></Network></DeviceCapability>");
}

TEST(DeviceQueryTest, WithoutAPrinterTheSystemsDescriptionIsTheId) {
    Agent agent{{{kSysDescr, Text("a router")}, {kDeviceDescr.Child(1), Text("a processor")}}};
    const auto identity = agent.Ask();
    EXPECT_EQ(identity.id, "a router");
    EXPECT_EQ(identity.name, "a router");
}

TEST(DeviceQueryTest, WithoutAPrinterTheSystemsNameIsTheName) {
    Agent agent{{{kSysDescr, Text("a router")}, {kSysName, Text("office")}}};
    const auto identity = agent.Ask();
    EXPECT_EQ(identity.id, "a router");
    EXPECT_EQ(identity.name, "office");
}

TEST(DeviceQueryTest, APrinterWithoutDescriptionHasTheSystemsNameAndDescription) {
    for (const char* description : {"", "Kestrel 500"}) {
        Agent agent{{{kSysDescr, Text("firmware 1")},
                     {kSysName, Text("office")},
                     {kPrinterStatus, Number(3)},
                     {kDeviceDescr.Child(3), Text(description)},
                     {kPhysAddress.Child(1), kMac}}};
        const bool hasOne = *description != '\0';
        const auto identity = agent.Ask();
        EXPECT_EQ(identity.name, hasOne ? "Kestrel 500" : "office");
        EXPECT_EQ(identity.id, hasOne ? "Kestrel 500" : "firmware 1");
        EXPECT_EQ(agent.questions, hasOne ? 5 : 6) << "the system's name is asked in need only";
    }
}

TEST(DeviceQueryTest, TheFirstCardsAddressIsTakenWhenTheInterfaceIsNotTold) {
    Agent agent{{{kPhysAddress.Child(1), Text("")},
                 {kPhysAddress.Child(2), Text(std::string(6, '\0'))},
                 {kPhysAddress.Child(3), Text("\x01\x02\x03\x04\x05\x06")},
                 {kPhysAddress.Child(4), Text("\x02\x02\x03\x04\x05\x06\x07")},
                 {kPhysAddress.Child(7), kMac},
                 {kPhysAddress.Child(9), Text("\x02\x02\x03\x04\x05\x06")}}};
    EXPECT_EQ(agent.Ask(CDeviceQuery::Wanted::kMacAddress).mac, "0026AB123456");
}

TEST(DeviceQueryTest, AnInterfaceWithoutAddressIsMadeUpForByTheFirstOne) {
    Agent agent{{{kInterfaceOfAddress, Number(1)},
                 {kPhysAddress.Child(1), Text("")},
                 {kPhysAddress.Child(2), kMac}}};
    EXPECT_EQ(agent.Ask(CDeviceQuery::Wanted::kMacAddress).mac, "0026AB123456");
}

TEST(DeviceQueryTest, TheMacAddressIsKnownBeforeTheNamesAreAsked) {
    Agent agent{{{kSysDescr, Text("firmware 1")},
                 {kSysName, Text("office")},
                 {kPrinterStatus, Number(3)},
                 {kDeviceDescr.Child(3), Text("Kestrel 500")},
                 {kInterfaceOfAddress, Number(2)},
                 {kPhysAddress.Child(2), kMac}}};
    const auto identity = agent.Ask(CDeviceQuery::Wanted::kEverything, 3);
    EXPECT_EQ(identity.mac, "0026AB123456");
    EXPECT_EQ(identity.id, "firmware 1");
}

TEST(DeviceQueryTest, ADeviceThatHasNothingIsAskedLittle) {
    Agent agent;
    const auto identity = agent.Ask();
    EXPECT_EQ(identity.id + identity.name + identity.mac, "");
    EXPECT_EQ(agent.questions, 5);
    EXPECT_THAT(snmp::MacAddressDocument(identity), ::testing::HasSubstr("\"MACAddress\">-1</d>"));
}

TEST(DeviceQueryTest, AnEndlessTableEndsTheWalk) {
    Agent agent;
    for (std::uint32_t row = 1; row <= 5000; ++row) {
        agent.variables.emplace(kPhysAddress.Child(row), Text(""));
    }
    EXPECT_EQ(agent.Ask(CDeviceQuery::Wanted::kMacAddress).mac, "");
    EXPECT_EQ(agent.questions, 1 + 64);
}

TEST(DeviceQueryTest, ValuesOfOtherTypesAreNone) {
    Agent agent{{{kSysDescr, Number(1)},
                 {kSysName, Number(2)},
                 {kInterfaceOfAddress, Text("2")},
                 {kPhysAddress.Child(1), Number(7)}}};
    const auto identity = agent.Ask();
    EXPECT_EQ(identity.id + identity.name + identity.mac, "");
}

TEST(AddressTextTest, IsFourNumbers) {
    EXPECT_EQ(snmp::AddressText(0x7F000507), "127.0.5.7");
    EXPECT_EQ(snmp::ParseAddress("127.0.5.7"), 0x7F000507U);
    EXPECT_EQ(snmp::ParseAddress("255.255.255.0"), 0xFFFFFF00U);
    for (const char* text : {"", "127", "127.0.5", "127.0.5.", "127.0.5.256", "127.0.5.7.1",
                             "127.0.5.7 ", "127.0.5.-7", "printer", "127..5.7"}) {
        EXPECT_FALSE(snmp::ParseAddress(text)) << text;
    }
}

TEST(ValueBytesTest, AreLittleEndianOrAsTheyAre) {
    snmp::CDataRequest request{
        false, {QuestionKind::kGetNext, {1, 3, 6}}, snmp::ValueType::kInteger};
    const CObjectId row{1, 3, 6, 1};
    EXPECT_EQ(snmp::ValueBytes(request, {true, row, Number(0x01020304)}), "\x04\x03\x02\x01");
    EXPECT_FALSE(snmp::ValueBytes(request, {true, row, Text("4")})) << "another type";
    EXPECT_FALSE(snmp::ValueBytes(request, {true, {1, 3, 7, 1}, Number(4)})) << "behind the column";
    EXPECT_FALSE(snmp::ValueBytes(request, {false, row, Number(4)}));
    request.type = snmp::ValueType::kOctetString;
    EXPECT_EQ(snmp::ValueBytes(request, {true, row, Text("\x40\x02")}), "\x40\x02");
    EXPECT_EQ(snmp::ValueBytes(request, {true, row, Text("")}), "");
    EXPECT_FALSE(snmp::ValueBytes(request, {true, row, Number(4)}));
    EXPECT_FALSE(snmp::ValueBytes(request, {true, row, CValue()}));
}

}  // namespace
}  // namespace ksp::test
