#include "snmp/snmp_message.h"

#include <gmock/gmock.h>

#include <random>

#include "snmp/exchange.h"
#include "tests/snmp/bytes.h"

namespace ksp::test {
namespace {

using snmp::Bytes;
using snmp::CAnswer;
using snmp::CObjectId;
using snmp::CQuestion;
using snmp::QuestionKind;
using snmp::SnmpVersion;
using snmp::ValueKind;
using snmp::VersionChoice;
using ::testing::ElementsAreArray;

// What an agent in use answered: to a get-next of hrPrinterStatus, of
// hrPrinterDetectedErrorState, and of ifPhysAddress.
constexpr char kState[] =
    "302A 020101 0406 7075626C6963 A21D 020107 020100 020100"
    "3012 3010 060B 2B06010201190305010101 020104";
constexpr char kErrors[] =
    "302A 020101 0406 7075626C6963 A21D 020107 020100 020100"
    "3012 3010 060B 2B06010201190305010201 040140";
constexpr char kPhysAddress[] =
    "302E 020101 0406 7075626C6963 A221 020107 020100 020100"
    "3016 3014 060A 2B060102010202010601 04060026AB123456";

std::optional<snmp::CResponse> Decode(const Bytes& bytes) {
    return snmp::DecodeResponse(GuardedBytes(bytes).view());
}
std::optional<snmp::CResponse> Decode(std::string_view hex) {
    return Decode(Hex(hex));
}

TEST(SnmpRequestTest, IsWrittenAsAgentsExpectIt) {
    const CObjectId column{1, 3, 6, 1, 2, 1, 25, 3, 5, 1, 1};
    EXPECT_THAT(
        snmp::EncodeRequest(SnmpVersion::k2c, "public", 7, {QuestionKind::kGetNext, column}),
        ElementsAreArray(Hex("3028 020101 0406 7075626C6963 A11B 020107 020100 020100"
                             "3010 300E 060A 2B060102011903050101 0500")));
    EXPECT_THAT(snmp::EncodeRequest(SnmpVersion::k1, "secret", 0x12345678,
                                    {QuestionKind::kGet, column.Child(1)}),
                ElementsAreArray(Hex("302C 020100 0406 736563726574 A01F 020412345678 020100 020100"
                                     "3011 300F 060B 2B06010201190305010101 0500")));
}

TEST(SnmpResponseTest, GivesTheVariable) {
    const auto state = Decode(kState);
    ASSERT_TRUE(state);
    EXPECT_EQ(state->version, SnmpVersion::k2c);
    EXPECT_EQ(state->requestId, 7);
    EXPECT_TRUE(state->answer.found);
    EXPECT_EQ(state->answer.id.Text(), "1.3.6.1.2.1.25.3.5.1.1.1");
    EXPECT_EQ(state->answer.value.kind, ValueKind::kInteger);
    EXPECT_EQ(state->answer.value.number, 4U);

    const auto errors = Decode(kErrors);
    ASSERT_TRUE(errors);
    EXPECT_EQ(errors->answer.value.kind, ValueKind::kOctets);
    EXPECT_EQ(errors->answer.value.octets, "\x40");
}

// A response with this version, error status and list of variables.
Bytes Response(std::string_view version, std::string_view status, std::string_view list,
               std::string_view pdu = "A2") {
    Bytes fields = Hex("020107");
    for (const std::string_view part : {status, std::string_view("020100"), list}) {
        const Bytes bytes = Hex(part);
        fields.insert(fields.end(), bytes.begin(), bytes.end());
    }
    Bytes message = Hex(version);
    snmp::AppendOctets(message, "public");
    snmp::AppendElement(message, static_cast<snmp::BerTag>(Hex(pdu)[0]), fields);
    Bytes bytes;
    snmp::AppendElement(bytes, snmp::BerTag::kSequence, message);
    return bytes;
}

constexpr char kNoError[] = "020100";
constexpr char kVersion2c[] = "020101";
constexpr char kOneVariable[] = "3008 3006 06022B06 0500";

TEST(SnmpResponseTest, SaysWhenThereIsNoSuchVariable) {
    for (const std::string exception : {"8000", "8100", "8200"}) {
        const auto response =
            Decode(Response(kVersion2c, kNoError, "3008 3006 06022B06" + exception));
        ASSERT_TRUE(response) << exception;
        EXPECT_FALSE(response->answer.found) << exception;
    }
    const auto version1 = Decode(Response("020100", "020102", kOneVariable));
    ASSERT_TRUE(version1);
    EXPECT_EQ(version1->version, SnmpVersion::k1);
    EXPECT_FALSE(version1->answer.found);
    const auto withoutList = Decode(Response(kVersion2c, "020101", "3000"));
    ASSERT_TRUE(withoutList);
    EXPECT_FALSE(withoutList->answer.found);
}

TEST(SnmpResponseTest, ReadsEveryKindOfNumber) {
    struct Row {
        const char* hex;
        ValueKind kind;
        std::uint32_t number;
    };
    for (const Row& row :
         {Row{"0201FF", ValueKind::kInteger, 0xFFFFFFFF}, Row{"4101FF", ValueKind::kUnsigned, 255},
          Row{"420500FFFFFFFF", ValueKind::kUnsigned, 0xFFFFFFFF},
          Row{"430101", ValueKind::kUnsigned, 1}, Row{"460101", ValueKind::kNone, 0},
          Row{"0500", ValueKind::kNone, 0}, Row{"40047F000001", ValueKind::kNone, 0},
          Row{"06022B06", ValueKind::kNone, 0}}) {
        Bytes binding = Hex("06022B06");
        const Bytes value = Hex(row.hex);
        binding.insert(binding.end(), value.begin(), value.end());
        Bytes one;
        snmp::AppendElement(one, snmp::BerTag::kSequence, binding);
        Bytes list;
        snmp::AppendElement(list, snmp::BerTag::kSequence, one);
        std::string hex;
        for (const std::uint8_t byte : list) {
            constexpr char kDigits[] = "0123456789ABCDEF";
            hex += {kDigits[byte >> 4], kDigits[byte & 15]};
        }
        const auto response = Decode(Response(kVersion2c, kNoError, hex));
        ASSERT_TRUE(response) << row.hex;
        EXPECT_EQ(response->answer.value.kind, row.kind) << row.hex;
        EXPECT_EQ(response->answer.value.number, row.number) << row.hex;
    }
}

TEST(SnmpResponseTest, IsNoneWhenAnythingIsNotAsItShouldBe) {
    ASSERT_TRUE(Decode(Response(kVersion2c, kNoError, kOneVariable)));
    EXPECT_FALSE(Decode(Response("020103", kNoError, kOneVariable))) << "version 3";
    EXPECT_FALSE(Decode(Response("0201FF", kNoError, kOneVariable))) << "version -1";
    EXPECT_FALSE(Decode(Response("0400", kNoError, kOneVariable))) << "no version";
    for (const char* pdu : {"A0", "A1", "A3", "A4", "A5", "A6", "A7", "A8", "30"}) {
        EXPECT_FALSE(Decode(Response(kVersion2c, kNoError, kOneVariable, pdu))) << pdu;
    }
    EXPECT_FALSE(Decode(Response(kVersion2c, kNoError, "3000"))) << "no variable";
    EXPECT_FALSE(
        Decode(Response(kVersion2c, kNoError, "3010 3006 06022B06 0500 3006 06022B06 0500")))
        << "two";
    EXPECT_FALSE(Decode(Response(kVersion2c, kNoError, "3006 3004 06022B06"))) << "no value";
    EXPECT_FALSE(Decode(Response(kVersion2c, kNoError, "300A 3008 06022B06 0500 0500")))
        << "two values";
    EXPECT_FALSE(Decode(Response(kVersion2c, kNoError, "3006 3004 0600 0500"))) << "no name";
    EXPECT_FALSE(Decode(Response(kVersion2c, kNoError, "3008 3006 06022B06 0200")))
        << "an empty integer";
    EXPECT_FALSE(Decode(Response(kVersion2c, kNoError, "300D 300B 06022B06 02050000000001")))
        << "a long integer";
    Bytes trailing = Hex(kState);
    trailing.push_back(0);
    EXPECT_FALSE(Decode(trailing)) << "more than the message";
}

TEST(SnmpResponseTest, IsNoneWhenCutShortAnywhere) {
    for (const char* hex : {kState, kErrors, kPhysAddress}) {
        const Bytes whole = Hex(hex);
        ASSERT_TRUE(Decode(whole));
        for (std::size_t size = 0; size < whole.size(); ++size) {
            EXPECT_FALSE(Decode(Bytes(whole.begin(), whole.begin() + static_cast<int>(size))))
                << size << " bytes of " << hex;
        }
    }
}

// Each length of the message, one by one, as it is not.
TEST(SnmpResponseTest, IsNoneWhenALengthIsWrong) {
    const Bytes whole = Hex(kState);
    for (const std::size_t at : {1U, 6U, 14U, 25U, 27U}) {
        for (const unsigned length : {0U, 1U, whole[at] - 1U, whole[at] + 1U, 0x7FU, 0x80U, 0x81U,
                                      0x82U, 0x84U, 0x88U, 0xFFU}) {
            Bytes bytes = whole;
            bytes[at] = static_cast<std::uint8_t>(length);
            if (bytes != whole) {
                EXPECT_FALSE(Decode(bytes)) << "length " << length << " at " << at;
            }
        }
    }
}

// Whatever comes, nothing is read behind it, and what is taken for a response keeps to its limits.
TEST(SnmpResponseTest, KeepsWithinABoundWhateverComes) {
    std::mt19937 random(20260901);
    const Bytes seeds[] = {Hex(kState), Hex(kErrors), Hex(kPhysAddress)};
    int taken = 0;
    for (int round = 0; round < 30000; ++round) {
        Bytes bytes = seeds[random() % 3];
        for (unsigned change = 1 + random() % 4; change > 0; --change) {
            const std::size_t at = random() % bytes.size();
            switch (random() % 4) {
                case 0:
                    bytes[at] = static_cast<std::uint8_t>(random());
                    break;
                case 1:
                    bytes.insert(bytes.begin() + static_cast<int>(at),
                                 static_cast<std::uint8_t>(random()));
                    break;
                case 2:
                    bytes.erase(bytes.begin() + static_cast<int>(at));
                    break;
                default:
                    bytes[at] ^= static_cast<std::uint8_t>(1U << random() % 8);
            }
        }
        if (const auto response = Decode(bytes); response) {
            ++taken;
            EXPECT_LE(response->answer.id.Numbers().size(), CObjectId::kMost);
            EXPECT_LE(response->answer.value.octets.size(), bytes.size());
        }
    }
    EXPECT_GT(taken, 0) << "the changes leave nothing to read";
}

TEST(ExchangeTest, TakesOnlyTheAnswerToItsQuestion) {
    const CQuestion next{QuestionKind::kGetNext, {1, 3, 6, 1, 2, 1, 25, 3, 5, 1, 1}};
    const CQuestion get{QuestionKind::kGet, next.id.Child(1)};
    const Bytes state = Hex(kState);
    EXPECT_TRUE(snmp::CExchange(next, 7, VersionChoice::kEither).Accept(state));
    EXPECT_TRUE(snmp::CExchange(get, 7, VersionChoice::kEither).Accept(state));
    EXPECT_FALSE(snmp::CExchange(next, 8, VersionChoice::kEither).Accept(state)) << "another id";
    EXPECT_FALSE(snmp::CExchange(next, 7, VersionChoice::k1).Accept(state)) << "another version";
    EXPECT_FALSE(
        snmp::CExchange({QuestionKind::kGet, next.id}, 7, VersionChoice::kEither).Accept(state))
        << "another variable";
    EXPECT_FALSE(
        snmp::CExchange({QuestionKind::kGetNext, get.id}, 7, VersionChoice::kEither).Accept(state))
        << "a walk that does not go on";
    EXPECT_FALSE(
        snmp::CExchange({QuestionKind::kGetNext, get.id.Child(1)}, 7, VersionChoice::kEither)
            .Accept(state))
        << "a walk that goes back";
}

TEST(ExchangeTest, LearnsTheVersionFromTheAnswer) {
    snmp::CExchange exchange({QuestionKind::kGet, {1, 3, 6}}, 7, VersionChoice::kEither);
    ASSERT_TRUE(exchange.Accept(Response("020100", "020102", kOneVariable)));
    EXPECT_EQ(exchange.Versions(), VersionChoice::k1);
}

}  // namespace
}  // namespace ksp::test
