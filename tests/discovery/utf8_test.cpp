#include "discovery/utf8.h"

#include <gtest/gtest.h>

namespace ksp::test {
namespace {

TEST(Utf8Test, TextsBecomeUtf8) {
    EXPECT_EQ(ToUtf8(L""), "");
    EXPECT_EQ(ToUtf8(L"127.0.0.1"), "127.0.0.1");
    EXPECT_EQ(ToUtf8(L"\u00E4"), "\xC3\xA4");
    EXPECT_EQ(ToUtf8(L"\u20AC"), "\xE2\x82\xAC");
    EXPECT_EQ(ToUtf8(L"a\xD83D\xDE00z"), "a\xF0\x9F\x98\x80z");
}

TEST(Utf8Test, EmbeddedZerosAreKept) {
    EXPECT_EQ(ToUtf8(std::wstring_view(L"a\0b", 3)), std::string("a\0b", 3));
}

TEST(Utf8Test, LongTextsAreConvertedWhole) {
    const auto utf8 = ToUtf8(std::wstring(100000, L'\u20AC'));
    ASSERT_TRUE(utf8);
    EXPECT_EQ(utf8->size(), 300000U);
}

TEST(Utf8Test, HalfASurrogatePairHasNone) {
    EXPECT_EQ(ToUtf8(L"\xD83D"), std::nullopt);
    EXPECT_EQ(ToUtf8(L"a\xDE00z"), std::nullopt);
    EXPECT_EQ(ToUtf8(L"\xDE00\xD83D"), std::nullopt);
}

}  // namespace
}  // namespace ksp::test
