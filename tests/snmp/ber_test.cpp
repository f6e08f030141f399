#include <gmock/gmock.h>

#include "snmp/ber_reader.h"
#include "tests/snmp/bytes.h"

namespace ksp::test {
namespace {

using snmp::BerTag;
using snmp::Bytes;
using snmp::ByteView;
using snmp::CBerReader;
using snmp::CObjectId;
using ::testing::ElementsAreArray;

// The content of the only element of the bytes; none unless that is what they are.
std::optional<Bytes> OnlyContent(std::string_view hex) {
    const GuardedBytes bytes(Hex(hex));
    CBerReader reader(bytes.view());
    const auto element = reader.Next();
    if (!element || !reader.AtEnd()) {
        return std::nullopt;
    }
    return Bytes(element->content.begin(), element->content.end());
}

TEST(BerReaderTest, TakesLengthsOfUpToFourOctetsInAnyForm) {
    EXPECT_EQ(OnlyContent("04 00"), Bytes());
    EXPECT_EQ(OnlyContent("04 02 AA BB"), Hex("AA BB"));
    EXPECT_EQ(OnlyContent("04 81 02 AA BB"), Hex("AA BB"));
    EXPECT_EQ(OnlyContent("04 82 00 02 AA BB"), Hex("AA BB"));
    EXPECT_EQ(OnlyContent("04 84 00 00 00 02 AA BB"), Hex("AA BB"));
}

TEST(BerReaderTest, RefusesWhatIsNoWholeElement) {
    for (const char* hex : {
             "",                                  // nothing
             "04",                                // no length
             "04 80 AA 00 00",                    // the indefinite form
             "04 01",                             // beyond the bytes
             "04 03 AA BB",                       //
             "04 7F AA",                          //
             "04 81",                             // no length behind the count
             "04 82 00",                          //
             "04 81 03 AA BB",                    // beyond the bytes
             "04 84 FF FF FF FF AA",              //
             "04 84 7F FF FF FF AA",              //
             "04 85 00 00 00 00 02 AA BB",        // more than four octets
             "04 88 FF FF FF FF FF FF FF FF AA",  //
             "04 FF AA",                          //
             "1F 81 00",                          // a tag that goes on
             "BF 01 00",                          //
         }) {
        EXPECT_FALSE(OnlyContent(hex)) << hex;
    }
}

TEST(BerReaderTest, StaysWhereItIsWhenTheTagIsAnother) {
    const GuardedBytes bytes(Hex("04 01 AA 05 00"));
    CBerReader reader(bytes.view());
    EXPECT_FALSE(reader.Next(BerTag::kInteger));
    EXPECT_TRUE(reader.Next(BerTag::kOctetString));
    EXPECT_FALSE(reader.AtEnd());
    EXPECT_TRUE(reader.Next(BerTag::kNull));
    EXPECT_TRUE(reader.AtEnd());
}

TEST(BerReaderTest, DoesNotDescendIntoANest) {
    // A thousand sequences, each in the one before.
    Bytes nest;
    for (int depth = 0; depth < 1000; ++depth) {
        Bytes outer;
        snmp::AppendElement(outer, BerTag::kSequence, nest);
        nest = std::move(outer);
    }
    const GuardedBytes bytes(nest);
    CBerReader reader(bytes.view());
    const auto content = reader.Next(BerTag::kSequence);
    ASSERT_TRUE(content);
    EXPECT_LT(content->size(), nest.size());
    EXPECT_TRUE(reader.AtEnd());
}

std::optional<std::int32_t> Integer(std::string_view hex) {
    const GuardedBytes bytes(Hex(hex));
    return snmp::IntegerOf(bytes.view());
}

TEST(BerValueTest, IntegersAreSignedAndOfUpToFourOctets) {
    EXPECT_EQ(Integer("00"), 0);
    EXPECT_EQ(Integer("7F"), 127);
    EXPECT_EQ(Integer("80"), -128);
    EXPECT_EQ(Integer("00 80"), 128);
    EXPECT_EQ(Integer("FF FF FF FF"), -1);
    EXPECT_EQ(Integer("7F FF FF FF"), 2147483647);
    EXPECT_EQ(Integer("80 00 00 00"), -2147483647 - 1);
    EXPECT_EQ(Integer("00 00 00 05"), 5);
    EXPECT_FALSE(Integer(""));
    EXPECT_FALSE(Integer("00 00 00 00 05"));
}

std::optional<std::uint32_t> Unsigned(std::string_view hex) {
    const GuardedBytes bytes(Hex(hex));
    return snmp::UnsignedOf(bytes.view());
}

TEST(BerValueTest, UnsignedNumbersMayHaveAZeroInFront) {
    EXPECT_EQ(Unsigned("05"), 5U);
    EXPECT_EQ(Unsigned("FF"), 255U);
    EXPECT_EQ(Unsigned("00 FF FF FF FF"), 4294967295U);
    EXPECT_EQ(Unsigned("FF FF FF FF"), 4294967295U);
    EXPECT_FALSE(Unsigned(""));
    EXPECT_FALSE(Unsigned("01 00 00 00 00"));
    EXPECT_FALSE(Unsigned("00 00 00 00 00 01"));
}

std::string IdText(std::string_view hex) {
    const GuardedBytes bytes(Hex(hex));
    const auto id = snmp::ObjectIdOf(bytes.view());
    return id ? id->Text() : "none";
}

TEST(BerValueTest, ObjectIds) {
    EXPECT_EQ(IdText("2B 06 01 02 01"), "1.3.6.1.2.1");
    EXPECT_EQ(IdText("00"), "0.0");
    EXPECT_EQ(IdText("27"), "0.39");
    EXPECT_EQ(IdText("4F"), "1.39");
    EXPECT_EQ(IdText("50"), "2.0");
    EXPECT_EQ(IdText("2B 81 00"), "1.3.128");
    EXPECT_EQ(IdText("2B 8F FF FF FF 7F"), "1.3.4294967295");
    EXPECT_EQ(IdText("90 80 80 80 4F"), "2.4294967295");
}

TEST(BerValueTest, RefusesObjectIdsThatAreNone) {
    EXPECT_EQ(IdText(""), "none");
    EXPECT_EQ(IdText("2B 81"), "none") << "a number that does not end";
    EXPECT_EQ(IdText("2B 80 01"), "none") << "a leading zero";
    EXPECT_EQ(IdText("80 2B"), "none");
    EXPECT_EQ(IdText("2B 90 80 80 80 00"), "none") << "33 bits";
    EXPECT_EQ(IdText("90 80 80 80 50"), "none") << "33 bits behind the 2";
    EXPECT_EQ(IdText("2B FF FF FF FF FF FF FF FF FF FF FF FF 7F"), "none");
}

TEST(BerValueTest, RefusesObjectIdsOfTooManyNumbers) {
    Bytes content = Hex("2B");
    content.resize(127, 1);
    EXPECT_TRUE(snmp::ObjectIdOf(GuardedBytes(content).view()));
    content.resize(128, 1);
    EXPECT_FALSE(snmp::ObjectIdOf(GuardedBytes(content).view()));
    content.resize(60000, 1);
    EXPECT_FALSE(snmp::ObjectIdOf(GuardedBytes(content).view()));
}

TEST(BerWriterTest, WritesTheShortestForm) {
    Bytes bytes;
    for (const std::int32_t value :
         {0, 127, 128, -128, -129, 32767, 32768, 8388607, 8388608, -1, -2147483647 - 1}) {
        snmp::AppendInteger(bytes, value);
    }
    EXPECT_THAT(bytes, ElementsAreArray(Hex("020100 02017F 02020080 020180 0202FF7F 02027FFF"
                                            "0203008000 02037FFFFF 020400800000 0201FF"
                                            "020480000000")));
    for (const std::size_t size : {127U, 128U, 255U, 256U, 65536U}) {
        bytes.clear();
        snmp::AppendOctets(bytes, std::string(size, 'x'));
        const std::size_t lengthOctets = size < 128 ? 1 : size < 256 ? 2 : size < 65536 ? 3 : 4;
        EXPECT_EQ(bytes.size(), 1 + lengthOctets + size);
        CBerReader reader(bytes);
        const auto content = reader.Next(BerTag::kOctetString);
        ASSERT_TRUE(content);
        EXPECT_EQ(content->size(), size);
    }
}

TEST(BerWriterTest, ObjectIdsComeBackAsTheyWere) {
    for (const CObjectId& id :
         {CObjectId{0, 0}, CObjectId{1, 39, 127, 128, 16383, 16384}, CObjectId{2, 4294967295},
          CObjectId{1, 3, 2097151, 2097152, 268435455, 268435456, 4294967295}}) {
        Bytes bytes;
        snmp::AppendObjectId(bytes, id);
        CBerReader reader(bytes);
        const auto content = reader.Next(BerTag::kObjectId);
        ASSERT_TRUE(content);
        EXPECT_EQ(snmp::ObjectIdOf(*content), id) << id.Text();
    }
}

}  // namespace
}  // namespace ksp::test
