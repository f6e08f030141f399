#include "support/error_text.h"

#include <winsock2.h>
#include <windows.h>

#include <gtest/gtest.h>

#include <string>

namespace ksp {
namespace {

constexpr int kUnknownCode = 0x2000BEEF;  // application-defined, so no system message has it

std::wstring SystemMessage(int code) {
    wchar_t text[1024] = {};
    const DWORD length =
        ::FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                         static_cast<DWORD>(code), LANG_USER_DEFAULT, text, 1024, nullptr);
    return {text, length};
}

TEST(SocketErrorTextTest, GivesTheSystemsTextAndTheCodeOfTheLastSocketError) {
    for (const int code : {WSAECONNREFUSED, int{WSA_INVALID_HANDLE}}) {
        const std::wstring expected = SystemMessage(code);
        ASSERT_FALSE(expected.empty()) << code;
        ::WSASetLastError(code);
        const SocketError error = SocketErrorText();
        EXPECT_EQ(error.code, code);
        EXPECT_EQ(error.text, expected);
    }
}

TEST(SocketErrorTextTest, LeavesInsertsOfTheSystemsTextAsTheyAre) {
    // This message has a "%1", for which there is nothing to insert.
    const std::wstring expected = SystemMessage(ERROR_BAD_EXE_FORMAT);
    ASSERT_NE(expected.find(L"%1"), std::wstring::npos);
    ::WSASetLastError(ERROR_BAD_EXE_FORMAT);
    EXPECT_EQ(SocketErrorText().text, expected);
}

TEST(SocketErrorTextTest, HasATextForACodeThatTheSystemDoesNotKnow) {
    ASSERT_TRUE(SystemMessage(kUnknownCode).empty());
    ::WSASetLastError(kUnknownCode);
    const SocketError error = SocketErrorText();
    EXPECT_EQ(error.code, kUnknownCode);
    EXPECT_EQ(error.text, L"Error while retrieving message using FormatMessage method");
}

}  // namespace
}  // namespace ksp
