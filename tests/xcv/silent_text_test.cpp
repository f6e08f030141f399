// How a value is found in a text of KEY=value pairs.

#include "monitor/silent_text.h"

#include <gtest/gtest.h>

namespace ksp::test {
namespace {

TEST(SilentTextTest, ValueRunsToTheNextPair) {
    const struct {
        const wchar_t* text;
        const wchar_t* value;
    } cases[] = {
        {L"", L""},           {L"AR", L""},          {L"AR=", L""},         {L"AR=a", L"a"},
        {L"AR=a:PR=b", L"a"}, {L"PR=b:AR=a", L"a"},  {L"AR=a:", L"a"},      {L"AR=a::b", L"a"},
        {L"AR=a:AR=b", L"a"}, {L"AR=a=b:c", L"a=b"}, {L"AR= a :b", L" a "}, {L"ar=a", L""},
        {L"Ar=a", L""},       {L"AR =a", L""}};
    for (const auto& one : cases) {
        EXPECT_EQ(SilentValue(one.text, L"AR"), one.value) << one.text;
    }
}

TEST(SilentTextTest, KeyIsFoundInsideAnotherValue) {
    EXPECT_EQ(SilentValue(L"MN=BAR=x:AR=y", L"AR"), L"x");
    EXPECT_EQ(SilentValue(L"XAR=x", L"AR"), L"x");
}

TEST(SilentTextTest, FirstCharacterIsNeverTheEnd) {
    EXPECT_EQ(SilentValue(L"AR=:PR=b", L"AR"), L":PR=b");
    EXPECT_EQ(SilentValue(L"AR=:", L"AR"), L":");
    EXPECT_EQ(SilentValue(L"AR=::", L"AR"), L":");
    EXPECT_EQ(SilentValue(L"AR=:a:b", L"AR"), L":a");
}

TEST(SilentTextTest, ColonBehindABackslashIsNotTheEnd) {
    EXPECT_EQ(SilentValue(L"AR=a\\:b:c", L"AR"), L"a\\:b");
    EXPECT_EQ(SilentValue(L"AR=a\\:b\\:c", L"AR"), L"a\\:b\\:c");
    EXPECT_EQ(SilentValue(L"AR=\\:b:c", L"AR"), L"\\:b");
    EXPECT_EQ(SilentValue(L"AR=a\\\\:b", L"AR"), L"a\\\\:b") << "a backslash escapes nothing else";
    EXPECT_EQ(SilentValue(L"AR=a\\b:c", L"AR"), L"a\\b");
    EXPECT_EQ(SilentValue(L"AR=a\\:", L"AR"), L"a\\:");
    EXPECT_EQ(SilentValue(L"AR=a\\", L"AR"), L"a\\");
}

TEST(SilentTextTest, LongTextsAreSearchedInOnePass) {
    const std::wstring colons = std::wstring(32 * 1024, L':') + L"AR=a";
    EXPECT_EQ(SilentValue(colons, L"AR"), L"a");
    std::wstring escaped = L"AR=x";
    for (int count = 0; count < 32 * 1024; ++count) {
        escaped += L"\\:";
    }
    EXPECT_EQ(SilentValue(escaped, L"AR"), escaped.substr(3));
}

}  // namespace
}  // namespace ksp::test
