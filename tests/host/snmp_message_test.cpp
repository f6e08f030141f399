#include "tools/snmp_agent/snmp_message.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "tools/snmp_agent/printer_rows.h"
#include "tools/snmp_agent/snmp_table.h"

namespace ksp::agent {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

// "30 29": two digits an octet.
Bytes FromHex(const std::string& digits) {
    constexpr size_t kWidth = 3;
    Bytes bytes;
    for (size_t i = 0; i < digits.size(); i += kWidth) {
        bytes.push_back(static_cast<uint8_t>(std::stoi(digits.substr(i, 2), nullptr, 16)));
    }
    return bytes;
}

const Bytes kGetNextStatus = FromHex(
    "30 29 02 01 00 04 06 70 75 62 6C 69 63 A1 1C 02 02 01 00 02 01 00 02 01 00 30 10 30 0E 06 0A "
    "2B 06 01 02 01 19 03 05 01 01 05 00");

TEST(OidTest, ReadsAndWritesArcs) {
    EXPECT_EQ(OidOf("1.3.6.1"), (Oid{1, 3, 6, 1}));
    EXPECT_EQ(TextOf({1, 3, 4294967295}), "1.3.4294967295");
    for (const char* text : {"", ".", "1.", ".1", "1..2", "1.a", "1.4294967296", "1 2"}) {
        EXPECT_THAT(OidOf(text), IsEmpty()) << text;
    }
    EXPECT_EQ(Row("1.2", {3, 4}), (Oid{1, 2, 3, 4}));
    EXPECT_TRUE(StartsWith({1, 2, 3}, {1, 2}));
    EXPECT_FALSE(StartsWith({1, 2}, {1, 2, 3}));
    EXPECT_FALSE(StartsWith({1, 3, 3}, {1, 2}));
}

TEST(BerTest, WritesNumbersAsShortAsTheirSignAllows) {
    EXPECT_EQ(IntegerContent(0), FromHex("00"));
    EXPECT_EQ(IntegerContent(127), FromHex("7F"));
    EXPECT_EQ(IntegerContent(128), FromHex("00 80"));
    EXPECT_EQ(IntegerContent(-1), FromHex("FF"));
    EXPECT_EQ(IntegerContent(-129), FromHex("FF 7F"));
    EXPECT_EQ(IntegerContent(4294967295), FromHex("00 FF FF FF FF"));
}

TEST(BerTest, ReadsNumbersUpTo32Bits) {
    for (const int32_t number :
         {0, 1, -1, 127, 128, -128, -129, 65536, std::numeric_limits<int32_t>::max(),
          std::numeric_limits<int32_t>::min()}) {
        EXPECT_EQ(IntegerOf(IntegerContent(number)), number);
    }
    EXPECT_EQ(IntegerOf({}), std::nullopt);
    EXPECT_EQ(IntegerOf(FromHex("00 FF FF FF FF")), std::nullopt);
}

TEST(BerTest, WritesAndReadsIdentifiers) {
    EXPECT_EQ(OidContent({1, 3, 6, 1, 128, 99999}), FromHex("2B 06 01 81 00 86 8D 1F"));
    for (const Oid& oid : {Oid{0, 0}, Oid{1, 39}, Oid{2, 999, 4294967295}}) {
        EXPECT_EQ(OidOf(OidContent(oid)), oid);
    }
    EXPECT_EQ(OidOf(ByteView()), std::nullopt);
    EXPECT_EQ(OidOf(FromHex("2B 86")), std::nullopt);                 // ends within an arc
    EXPECT_EQ(OidOf(FromHex("2B 90 80 80 80 80 00")), std::nullopt);  // more than 32 bits
}

TEST(BerTest, ReadsAllFormsOfALengthAndNothingBeyondTheEnd) {
    for (const char* form : {"04 01 AA", "04 81 01 AA", "04 82 00 01 AA", "04 84 00 00 00 01 AA"}) {
        const Bytes bytes = FromHex(form);
        BerReader reader(bytes);
        const auto element = reader.Next();
        ASSERT_TRUE(element) << form;
        EXPECT_THAT(element->content, ElementsAre(0xAA)) << form;
        EXPECT_TRUE(reader.AtEnd()) << form;
    }
    for (const char* form : {"04", "04 02 AA", "04 80 AA 00 00", "04 85 00 00 00 00 01 AA",
                             "04 82 00", "04 84 FF FF FF FF AA"}) {
        const Bytes bytes = FromHex(form);
        EXPECT_FALSE(BerReader(bytes).Next()) << form;
    }
}

TEST(BerTest, WritesLongLengths) {
    EXPECT_EQ(Element(kNull, Bytes(127)).size(), 2u + 127);
    const Bytes middle = Element(kOctetString, Bytes(128));
    EXPECT_EQ(Bytes(middle.begin(), middle.begin() + 3), FromHex("04 81 80"));
    const Bytes large = Element(kOctetString, Bytes(256));
    EXPECT_EQ(Bytes(large.begin(), large.begin() + 4), FromHex("04 82 01 00"));
}

TEST(SnmpMessageTest, WritesARequestOctetByOctet) {
    SnmpMessage message;
    message.operation = SnmpOperation::kGetNext;
    message.id = 256;
    message.bindings = {{OidOf("1.3.6.1.2.1.25.3.5.1.1")}};
    EXPECT_EQ(EncodeSnmp(message), kGetNextStatus);
}

TEST(SnmpMessageTest, ReadsARequest) {
    const auto message = DecodeSnmp(kGetNextStatus);
    ASSERT_TRUE(message);
    EXPECT_EQ(message->version, SnmpVersion::kV1);
    EXPECT_EQ(message->community, "public");
    EXPECT_EQ(message->operation, SnmpOperation::kGetNext);
    EXPECT_EQ(message->id, 256);
    ASSERT_THAT(message->bindings, SizeIs(1));
    EXPECT_EQ(TextOf(message->bindings[0].oid), "1.3.6.1.2.1.25.3.5.1.1");
    EXPECT_EQ(message->bindings[0].value.tag, kNull);
}

TEST(SnmpMessageTest, ReadsNothingOutOfAPieceOfOne) {
    for (size_t size = 0; size < kGetNextStatus.size(); ++size) {
        EXPECT_FALSE(DecodeSnmp(ByteView(kGetNextStatus).first(size))) << size;
    }
    Bytes longer = kGetNextStatus;
    longer.push_back(0);
    EXPECT_FALSE(DecodeSnmp(longer));
}

// Every octet that says what stands there, changed to something else.
TEST(SnmpMessageTest, RefusesWhatIsNoSnmp) {
    for (const size_t place : {0u, 2u, 4u, 5u, 13u, 15u, 19u, 22u, 25u, 27u, 29u}) {
        Bytes changed = kGetNextStatus;
        changed[place] = 0x17;
        EXPECT_FALSE(DecodeSnmp(changed)) << place;
    }
}

SnmpMessage Request(SnmpVersion version, SnmpOperation operation,
                    const std::vector<std::string>& oids) {
    SnmpMessage request;
    request.version = version;
    request.operation = operation;
    request.id = 7;
    for (const std::string& oid : oids) {
        request.bindings.push_back({OidOf(oid)});
    }
    return request;
}

const SnmpRows kRows = {{OidOf("1.3.1.1"), SnmpValue::Integer(11)},
                        {OidOf("1.3.1.2"), SnmpValue::Integer(12)},
                        {OidOf("1.3.1.10"), SnmpValue::Integer(20)},
                        {OidOf("1.3.2.1"), SnmpValue::Octets("x")}};

std::vector<std::string> Told(const SnmpMessage& response) {
    std::vector<std::string> told;
    for (const SnmpBinding& binding : response.bindings) {
        told.push_back(TextOf(binding.oid) + "=" + std::to_string(binding.value.tag));
    }
    return told;
}

TEST(SnmpTableTest, WalksRowsInTheOrderOfTheirArcs) {
    SnmpMessage request = Request(SnmpVersion::kV1, SnmpOperation::kGetNext, {"1.3"});
    std::vector<std::string> walk;
    for (size_t step = 0; step <= kRows.size(); ++step) {
        const auto response = Answer(kRows, request);
        ASSERT_TRUE(response);
        EXPECT_EQ(response->operation, SnmpOperation::kResponse);
        EXPECT_EQ(response->id, 7);
        if (response->error != 0) {
            EXPECT_EQ(step, kRows.size());
            EXPECT_EQ(response->error, 2);
            EXPECT_EQ(response->error_index, 1);
            break;
        }
        walk.push_back(TextOf(response->bindings[0].oid));
        request.bindings[0].oid = response->bindings[0].oid;
    }
    EXPECT_THAT(walk, ElementsAre("1.3.1.1", "1.3.1.2", "1.3.1.10", "1.3.2.1"));
}

TEST(SnmpTableTest, AnswersV1AllOrNothing) {
    const auto both =
        Answer(kRows, Request(SnmpVersion::kV1, SnmpOperation::kGet, {"1.3.1.2", "1.3.2.1"}));
    EXPECT_EQ(both->error, 0);
    EXPECT_EQ(both->bindings[0].value, SnmpValue::Integer(12));
    EXPECT_EQ(both->bindings[1].value, SnmpValue::Octets("x"));
    const SnmpMessage half = Request(SnmpVersion::kV1, SnmpOperation::kGet, {"1.3.1.2", "1.3.1.3"});
    const auto none = Answer(kRows, half);
    EXPECT_EQ(none->error, 2);
    EXPECT_EQ(none->error_index, 2);
    EXPECT_EQ(none->bindings, half.bindings);
}

TEST(SnmpTableTest, SaysInV2cWhatIsMissingInItsPlace) {
    const auto got = Answer(
        kRows, Request(SnmpVersion::kV2c, SnmpOperation::kGet, {"1.3.1.2", "1.3.1.3", "1.3.9.1"}));
    EXPECT_EQ(got->error, 0);
    EXPECT_THAT(Told(*got), ElementsAre("1.3.1.2=2", "1.3.1.3=129", "1.3.9.1=128"));
    const auto last =
        Answer(kRows, Request(SnmpVersion::kV2c, SnmpOperation::kGetNext, {"1.3.2.1"}));
    EXPECT_THAT(Told(*last), ElementsAre("1.3.2.1=130"));
}

TEST(SnmpTableTest, AnswersInBulkInV2cAlone) {
    SnmpMessage request =
        Request(SnmpVersion::kV2c, SnmpOperation::kGetBulk, {"1.3.1", "1.3.1", "1.3.1.2"});
    request.error = 1;
    request.error_index = 2;
    EXPECT_THAT(Told(*Answer(kRows, request)),
                ElementsAre("1.3.1.1=2", "1.3.1.1=2", "1.3.1.10=2", "1.3.1.2=2", "1.3.2.1=4"));
    request.error_index = std::numeric_limits<int32_t>::max();
    EXPECT_LE(Answer(kRows, request)->bindings.size(), kMostBindings);
    request.error = request.error_index = -1;
    EXPECT_THAT(Answer(kRows, request)->bindings, IsEmpty());
    request.version = SnmpVersion::kV1;
    EXPECT_FALSE(Answer(kRows, request));
}

TEST(SnmpTableTest, ChangesNothing) {
    EXPECT_EQ(Answer(kRows, Request(SnmpVersion::kV1, SnmpOperation::kSet, {"1.3.1.1"}))->error, 2);
    EXPECT_EQ(Answer(kRows, Request(SnmpVersion::kV2c, SnmpOperation::kSet, {"1.3.1.1"}))->error,
              17);
    EXPECT_FALSE(Answer(kRows, Request(SnmpVersion::kV2c, SnmpOperation::kResponse, {})));
}

TEST(PrinterRowsTest, ShowAPrinter) {
    const SnmpRows rows = PrinterRows(
        {.address = "127.9.8.7", .state = PrinterState::kWarmup, .trouble = kNoPaper | kDoorOpen});
    EXPECT_EQ(rows.at(OidOf("1.3.6.1.2.1.25.3.5.1.1.1")), SnmpValue::Integer(5));
    EXPECT_EQ(rows.at(OidOf("1.3.6.1.2.1.25.3.5.1.2.1")), SnmpValue::Octets("\x48"));
    EXPECT_EQ(rows.at(OidOf("1.3.6.1.2.1.2.2.1.6.2")),
              SnmpValue::Octets(std::string("\x00\x26\xAB\x12\x34\x56", 6)));
    EXPECT_EQ(rows.at(OidOf("1.3.6.1.2.1.2.2.1.6.1")), SnmpValue::Octets(""));
    EXPECT_EQ(rows.at(OidOf("1.3.6.1.2.1.4.20.1.1.127.9.8.7")),
              (SnmpValue{kIpAddress, {127, 9, 8, 7}}));
    EXPECT_EQ(rows.at(OidOf("1.3.6.1.2.1.25.3.2.1.2.1")),
              SnmpValue::Identifier("1.3.6.1.2.1.25.3.1.5"));
    EXPECT_EQ(rows.at(OidOf("1.3.6.1.2.1.1.5.0")), SnmpValue::Octets("demo-printer"));
}

}  // namespace
}  // namespace ksp::agent
