#include "support/text.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <string>

#include "tests/host/patched_import.h"

namespace ksp {
namespace {

using namespace std::string_view_literals;

// Bytes of the ANSI code page whose characters exist in every one that Windows uses.
std::wstring AnsiCharacters() {
    std::wstring text;
    for (int byte = 0x80; byte <= 0xFF; ++byte) {
        const char narrow = static_cast<char>(byte);
        wchar_t wide = L'\0';
        if (::MultiByteToWideChar(CP_ACP, MB_ERR_INVALID_CHARS, &narrow, 1, &wide, 1) == 1) {
            text += wide;
        }
    }
    return text;
}

// The room that the text needs is found, and then it cannot be converted.
int(WINAPI* g_to_ansi)(UINT, DWORD, LPCWCH, int, LPSTR, int, LPCCH, LPBOOL) = nullptr;
int(WINAPI* g_from_ansi)(UINT, DWORD, LPCCH, int, LPWSTR, int) = nullptr;

int WINAPI MeasuringToAnsi(UINT page, DWORD flags, LPCWCH text, int length, LPSTR result, int size,
                           LPCCH otherwise, LPBOOL used) {
    return size > 0 ? 0 : g_to_ansi(page, flags, text, length, result, size, otherwise, used);
}

int WINAPI MeasuringFromAnsi(UINT page, DWORD flags, LPCCH text, int length, LPWSTR result,
                             int size) {
    return size > 0 ? 0 : g_from_ansi(page, flags, text, length, result, size);
}

TEST(TextTest, ATextThatCannotBeConvertedIsEmpty) {
    const test::PatchedImport<decltype(g_to_ansi)> to_ansi("WideCharToMultiByte", MeasuringToAnsi);
    const test::PatchedImport<decltype(g_from_ansi)> from_ansi("MultiByteToWideChar",
                                                               MeasuringFromAnsi);
    g_to_ansi = to_ansi.original();
    g_from_ansi = from_ansi.original();
    const std::string narrow = ToAnsi(L"text");
    const std::wstring wide = FromAnsi("text");
    EXPECT_TRUE(narrow.empty()) << narrow.size();
    EXPECT_TRUE(wide.empty()) << wide.size();
}

TEST(TextTest, ConvertsEmptyTexts) {
    EXPECT_EQ(ToAnsi(L""), "");
    EXPECT_EQ(FromAnsi(""), L"");
}

TEST(TextTest, KeepsAsciiAndEmbeddedZeros) {
    EXPECT_EQ(ToAnsi(L"a\0b\r\n"sv), "a\0b\r\n"sv);
    EXPECT_EQ(FromAnsi("a\0b\r\n"sv), L"a\0b\r\n"sv);
}

TEST(TextTest, ConvertsOnlyTheViewedPart) {
    EXPECT_EQ(ToAnsi(L"abcdef"sv.substr(1, 3)), "bcd");
    EXPECT_EQ(FromAnsi("abcdef"sv.substr(1, 3)), L"bcd");
}

TEST(TextTest, ConvertsThroughTheAnsiCodePageAndBack) {
    if (::GetACP() == CP_UTF8) {
        GTEST_SKIP() << "UTF-8 has no single bytes beyond ASCII";
    }
    const std::wstring wide = AnsiCharacters();
    ASSERT_FALSE(wide.empty());
    const std::string narrow = ToAnsi(wide);
    EXPECT_EQ(narrow.size(), wide.size()) << "one byte a character";
    EXPECT_EQ(FromAnsi(narrow), wide);
}

TEST(TextTest, PutsTheDefaultCharacterForWhatTheCodePageLacks) {
    if (::GetACP() == CP_UTF8) {
        GTEST_SKIP() << "UTF-8 lacks no character";
    }
    EXPECT_EQ(ToAnsi(L"a\u4E2Db\u0E01c"), "a?b?c");
}

}  // namespace
}  // namespace ksp
