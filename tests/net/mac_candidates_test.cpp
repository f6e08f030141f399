#include "net/mac_candidates.h"

#include <gmock/gmock.h>

namespace ksp::test {
namespace {

using ::testing::ElementsAre;

TEST(MacCandidatesTest, AMacAddressHasThreeVariants) {
    EXPECT_THAT(MacCandidates(L"0026AB123456"),
                ElementsAre(L"0026AB123456", L"0226AB123456", L"0026AB12B456", L"0226AB12B456"));
}

TEST(MacCandidatesTest, BitsThatAreSetAreCleared) {
    EXPECT_THAT(MacCandidates(L"FFFFFFFFFFFF"),
                ElementsAre(L"FFFFFFFFFFFF", L"FDFFFFFFFFFF", L"FFFFFFFF7FFF", L"FDFFFFFF7FFF"));
    EXPECT_THAT(MacCandidates(L"000000000000"),
                ElementsAre(L"000000000000", L"020000000000", L"000000008000", L"020000008000"));
}

TEST(MacCandidatesTest, TheStoredTextStaysAsItIsAndVariantsAreUpperCase) {
    EXPECT_THAT(MacCandidates(L"0026ab12cdef"),
                ElementsAre(L"0026ab12cdef", L"0226AB12CDEF", L"0026AB124DEF", L"0226AB124DEF"));
}

TEST(MacCandidatesTest, OnlyTheFirstTwelveCharactersMakeVariants) {
    EXPECT_THAT(
        MacCandidates(L"0026AB123456 and more"),
        ElementsAre(L"0026AB123456 and more", L"0226AB123456", L"0026AB12B456", L"0226AB12B456"));
}

TEST(MacCandidatesTest, AShorterTextHasNoVariants) {
    EXPECT_THAT(MacCandidates(L"0026AB12345"), ElementsAre(L"0026AB12345"));
    EXPECT_THAT(MacCandidates(L"0"), ElementsAre(L"0"));
    EXPECT_THAT(MacCandidates(L""), ElementsAre(L""));
}

TEST(MacCandidatesTest, ATextWithOtherCharactersHasNoVariants) {
    for (const wchar_t* text :
         {L"00:26:AB:12:34:56", L"00-26-AB-12-34-56", L"G026AB123456", L"0026AB12345G",
          L" 026AB123456", L"0026AB12345 ", L"0x26AB123456", L"+026AB123456", L"0026AB-23456",
          L"0026\u0661B123456", L"/026AB123456", L"0@26AB123456", L"0`26AB123456"}) {
        EXPECT_THAT(MacCandidates(text), ElementsAre(text));
    }
}

TEST(MacCandidatesTest, EveryDigitCounts) {
    EXPECT_THAT(MacCandidates(L"0123456789AB"),
                ElementsAre(L"0123456789AB", L"0323456789AB", L"0123456709AB", L"0323456709AB"));
    EXPECT_THAT(MacCandidates(L"abcdefABCDEF"),
                ElementsAre(L"abcdefABCDEF", L"A9CDEFABCDEF", L"ABCDEFAB4DEF", L"A9CDEFAB4DEF"));
}

TEST(MacCandidatesTest, TheFirstEqualCandidateIsFound) {
    const std::vector<std::wstring> candidates = {L"0026ab123456", L"0226AB123456",
                                                  L"0226ab123456"};
    EXPECT_EQ(FindMacCandidate(candidates, L"0026AB123456"), &candidates[0]);
    EXPECT_EQ(FindMacCandidate(candidates, L"0226ab123456"), &candidates[1]);
    EXPECT_EQ(FindMacCandidate(candidates, L"0226AB123456"), &candidates[1]);
}

TEST(MacCandidatesTest, AnotherTextIsNone) {
    const std::vector<std::wstring> candidates = {L"0026AB123456"};
    for (const wchar_t* text :
         {L"", L"0026AB12345", L"0026AB1234567", L"00:26:AB:12:34:56", L"1026AB123456"}) {
        EXPECT_EQ(FindMacCandidate(candidates, text), nullptr);
    }
    EXPECT_EQ(FindMacCandidate({}, L"0026AB123456"), nullptr);
}

TEST(MacCandidatesTest, ADeviceWithoutAnAddressIsNobodysPrinter) {
    EXPECT_EQ(FindMacCandidate({L""}, L""), nullptr);
}

// Only A to Z are folded.
TEST(MacCandidatesTest, OtherLettersAreNotFolded) {
    const std::vector<std::wstring> candidates = {L"\u00C4"};
    EXPECT_EQ(FindMacCandidate(candidates, L"\u00E4"), nullptr);
    EXPECT_EQ(FindMacCandidate(candidates, L"\u00C4"), &candidates[0]);
}

}  // namespace
}  // namespace ksp::test
