#include "support/bstr.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string_view>

namespace ksp {
namespace {

using namespace std::string_view_literals;

std::wstring_view TextOf(const UniqueBstr& text) {
    return {text.Get(), ::SysStringLen(text.Get())};
}

TEST(BstrTest, CopyOfNoneIsNone) {
    EXPECT_FALSE(CopyBstr(nullptr));
}

TEST(BstrTest, CopyOfTheEmptyStringIsAnEmptyString) {
    const UniqueBstr source = MakeBstr(L"");
    const UniqueBstr copy = CopyBstr(source.Get());
    ASSERT_TRUE(copy);
    EXPECT_EQ(::SysStringByteLen(copy.Get()), 0U);
}

TEST(BstrTest, CopyIsAStringOfItsOwn) {
    const UniqueBstr source = MakeBstr(L"printer");
    const UniqueBstr copy = CopyBstr(source.Get());
    EXPECT_NE(copy.Get(), source.Get());
    source.Get()[0] = L'X';
    EXPECT_EQ(TextOf(copy), L"printer");
}

TEST(BstrTest, CopyKeepsEmbeddedZeros) {
    const UniqueBstr source = MakeBstr(L"a\0b\0\0c"sv);
    EXPECT_EQ(TextOf(CopyBstr(source.Get())), L"a\0b\0\0c"sv);
}

TEST(BstrTest, CopyKeepsAnOddNumberOfBytes) {
    const UniqueBstr source(::SysAllocStringByteLen("\x01\x02\x03\x04\x05", 5));
    ASSERT_TRUE(source);
    const UniqueBstr copy = CopyBstr(source.Get());
    ASSERT_EQ(::SysStringByteLen(copy.Get()), 5U);
    EXPECT_EQ(std::memcmp(copy.Get(), "\x01\x02\x03\x04\x05", 5), 0);
}

TEST(BstrTest, MakesAStringOfTheViewedCharacters) {
    const UniqueBstr made = MakeBstr(L"abc\0def"sv.substr(1, 4));
    EXPECT_EQ(TextOf(made), L"bc\0d"sv);
    EXPECT_EQ(made.Get()[4], L'\0') << "terminated for whoever takes it as a plain text";
}

}  // namespace
}  // namespace ksp
