// SNMP values and what the spooler makes of them.

#include <gtest/gtest.h>

#include <initializer_list>
#include <vector>

#include "discovery/status_values.h"

namespace ksp::test {
namespace {

std::uint32_t Octets(std::initializer_list<unsigned char> bytes) {
    return OctetStringValue(bytes.begin(), static_cast<std::ptrdiff_t>(bytes.size()));
}

std::uint32_t Integer(std::initializer_list<unsigned char> bytes) {
    return IntegerValue(bytes.begin(), static_cast<std::ptrdiff_t>(bytes.size()));
}

TEST(StatusValuesTest, AnOctetsBitsAreReversed) {
    for (unsigned bit = 0; bit < 8; ++bit) {
        EXPECT_EQ(Octets({static_cast<unsigned char>(0x80U >> bit)}), 1U << bit) << "bit " << bit;
    }
    EXPECT_EQ(Octets({0x00}), 0U);
    EXPECT_EQ(Octets({0xFF}), 0xFFU);
    EXPECT_EQ(Octets({0xD2}), 0x4BU);
}

TEST(StatusValuesTest, OctetStringsAreBigEndian) {
    EXPECT_EQ(Octets({0x80, 0x40}), 0x0102U) << "the first octet is the high byte";
    EXPECT_EQ(Octets({0x80, 0x40, 0x20, 0x10}), 0x01020408U);
}

TEST(StatusValuesTest, OctetStringsOfOtherLengthsAreZero) {
    EXPECT_EQ(Octets({}), 0U);
    EXPECT_EQ(Octets({0xFF, 0xFF, 0xFF}), 0U);
    EXPECT_EQ(Octets({0xFF, 0xFF, 0xFF, 0xFF, 0xFF}), 0U);
}

TEST(StatusValuesTest, IntegersAreLittleEndian) {
    EXPECT_EQ(Integer({0xFE}), 0xFEU);
    EXPECT_EQ(Integer({0x01, 0x02}), 0x0201U);
    EXPECT_EQ(Integer({0x01, 0x02, 0x03, 0xF4}), 0xF4030201U);
}

TEST(StatusValuesTest, IntegersOfOtherLengthsAreZero) {
    EXPECT_EQ(Integer({}), 0U);
    EXPECT_EQ(Integer({0xFF, 0xFF, 0xFF}), 0U);
    EXPECT_EQ(Integer({0xFF, 0xFF, 0xFF, 0xFF, 0xFF}), 0U);
}

// What the library says must not be taken for what it has.
TEST(StatusValuesTest, NegativeCountsAndMissingBytesAreZero) {
    const unsigned char byte = 0xFF;
    EXPECT_EQ(OctetStringValue(&byte, -1), 0U);
    EXPECT_EQ(IntegerValue(&byte, -1), 0U);
    EXPECT_EQ(OctetStringValue(&byte, -4), 0U);
    EXPECT_EQ(IntegerValue(&byte, -4), 0U);
    for (const std::ptrdiff_t count : {1, 2, 4}) {
        EXPECT_EQ(OctetStringValue(nullptr, count), 0U);
        EXPECT_EQ(IntegerValue(nullptr, count), 0U);
    }
}

struct Row {
    std::uint32_t state;
    std::uint32_t errors;
    std::uint32_t status;
};

class SpoolerStatusTest : public ::testing::TestWithParam<Row> {};

TEST_P(SpoolerStatusTest, IsTheStatesFlagWithTheErrorsFlags) {
    EXPECT_EQ(SpoolerStatus({GetParam().state, GetParam().errors}), GetParam().status);
}

INSTANTIATE_TEST_SUITE_P(States, SpoolerStatusTest,
                         ::testing::Values(Row{1, 0, 0}, Row{2, 0, 0x800000}, Row{3, 0, 0},
                                           Row{4, 0, 0x200}, Row{5, 0, 0x10000}, Row{0, 0, 0},
                                           Row{6, 0, 0}, Row{0xFFFFFFFF, 0, 0}));

INSTANTIATE_TEST_SUITE_P(Errors, SpoolerStatusTest,
                         ::testing::Values(Row{3, 0x01, 0}, Row{3, 0x02, 0x10},
                                           Row{3, 0x04, 0x20000}, Row{3, 0x08, 0x40000},
                                           Row{3, 0x10, 0x400000}, Row{3, 0x20, 0x8},
                                           Row{3, 0x40, 0x80}, Row{3, 0x80, 0},
                                           Row{3, 0xFFFFFF00, 0}, Row{3, 0xFF, 0x460098},
                                           Row{3, 0xFFFFFFFF, 0x460098}));

INSTANTIATE_TEST_SUITE_P(Both, SpoolerStatusTest,
                         ::testing::Values(Row{4, 0x02, 0x210}, Row{2, 0x20, 0x800008},
                                           Row{2, 0xFF, 0xC60098}, Row{5, 0x40, 0x10080},
                                           Row{1, 0x04, 0x20000}));

}  // namespace
}  // namespace ksp::test
