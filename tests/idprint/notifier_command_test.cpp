// The notifier's command line, and what stands in it when the system does not know a name.

#include <gmock/gmock.h>

#include <string>

#include "monitor/confirmation_print.h"
#include "monitor/notifier_command.h"
#include "tests/host/patched_import.h"
#include "tests/net/net_test.h"

namespace ksp::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(NotifierCommandTest, AnArgumentIsQuoted) {
    EXPECT_EQ(NotifierArgument(L'P', L"Printer"), L"/P \"Printer\"");
    EXPECT_EQ(NotifierArgument(L'O', L"two words"), L"/O \"two words\"");
    EXPECT_EQ(NotifierArgument(L'U', L"ends in \\"), L"/U \"ends in \\\"");
    EXPECT_EQ(NotifierArgument(L'C', L""), L"/C \"\"");
}

TEST(NotifierCommandTest, AnArgumentWithAQuoteSaysItsLength) {
    EXPECT_EQ(NotifierArgument(L'P', L"a \"b\" 789x"), L"/P<10> \"a \"b\" 789x\"");
    EXPECT_EQ(NotifierArgument(L'O', L"\""), L"/O<1> \"\"\"");
    // Code units, not characters.
    EXPECT_EQ(NotifierArgument(L'U', L"\"\xD83D\xDCC4"), L"/U<3> \"\"\xD83D\xDCC4\"");
    EXPECT_EQ(NotifierArgument(L'C', std::wstring(300, L'"')),
              L"/C<300> \"" + std::wstring(300, L'"') + L"\"");
}

TEST(NotifierCommandTest, TheProgramComesFirstAndFourArgumentsFollow) {
    EXPECT_EQ(NotifierCommandLine(L"notify.exe -x", {L"P 1", L"O\"2", L"", L"C"}),
              L"notify.exe -x /P \"P 1\" /O<3> \"O\"2\" /U \"\" /C \"C\"");
}

BOOL WINAPI NoUserName(LPWSTR /*name*/, LPDWORD /*length*/) {
    return FALSE;
}
BOOL WINAPI NoComputerName(LPWSTR /*name*/, LPDWORD /*length*/) {
    return FALSE;
}
BOOL Answer(const std::wstring& name, LPWSTR buffer, LPDWORD length) {
    EXPECT_EQ(*length, 255U);
    buffer[name.copy(buffer, 254)] = L'\0';
    *length = static_cast<DWORD>(name.size()) + 1;
    return TRUE;
}
BOOL WINAPI QuotedUserName(LPWSTR buffer, LPDWORD length) {
    return Answer(L"Ann \"A\"", buffer, length);
}
BOOL WINAPI EmptyComputerName(LPWSTR buffer, LPDWORD length) {
    return Answer(L"", buffer, length);
}
BOOL WINAPI LongUserName(LPWSTR buffer, LPDWORD length) {
    return Answer(std::wstring(254, L'u'), buffer, length);
}
BOOL WINAPI LongComputerName(LPWSTR buffer, LPDWORD length) {
    return Answer(std::wstring(254, L'c'), buffer, length);
}

// The launcher with the system's answers in the test's hand; its program does not exist.
class NotifierNamesTest : public NetTest {
  protected:
    using NameFunction = BOOL(WINAPI*)(LPWSTR, LPDWORD);

    void Launch(NameFunction user, NameFunction computer) {
        registry().SetText(HKEY_LOCAL_MACHINE, L"SOFTWARE\\TAVRIN\\PNOTIFY", L"NAME",
                           L"no-such-program.exe");
        const PatchedImport<NameFunction> user_name("GetUserNameW", user);
        const PatchedImport<NameFunction> computer_name("GetComputerNameW", computer);
        ASSERT_TRUE(user_name.works() && computer_name.works());
        LaunchConfirmationPrint(L"O", L"P", nullptr);
    }
};

TEST_F(NotifierNamesTest, WhatTheSystemDoesNotSayIsUnknown) {
    Launch(NoUserName, NoComputerName);
    EXPECT_THAT(
        ReadLog().Messages(LineLevel::kInfo),
        ElementsAre(L"no-such-program.exe /P \"P\" /O \"O\" /U \"unknown\" /C \"unknown\""));
    EXPECT_THAT(ReadLog().Messages(LineLevel::kError), ElementsAre(L"CreateProcess failed."));
}

TEST_F(NotifierNamesTest, NamesWithQuotesAndEmptyOnes) {
    Launch(QuotedUserName, EmptyComputerName);
    EXPECT_THAT(ReadLog().Messages(LineLevel::kInfo),
                ElementsAre(L"no-such-program.exe /P \"P\" /O \"O\" /U<7> \"Ann \"A\"\" /C \"\""));
}

TEST_F(NotifierNamesTest, NamesThatFillTheirBuffers) {
    Launch(LongUserName, LongComputerName);
    EXPECT_THAT(
        ReadLog().Messages(LineLevel::kInfo),
        ElementsAre(L"no-such-program.exe /P \"P\" /O \"O\" /U \"" + std::wstring(254, L'u') +
                    L"\" /C \"" + std::wstring(254, L'c') + L"\""));
}

TEST_F(NotifierNamesTest, NullNamesArePassedAsEmptyOnes) {
    registry().SetText(HKEY_LOCAL_MACHINE, L"SOFTWARE\\TAVRIN\\PNOTIFY", L"NAME", L"no-such.exe");
    LaunchConfirmationPrint(nullptr, nullptr, nullptr);
    const auto lines = ReadLog().Messages(LineLevel::kInfo);
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_TRUE(lines[0].starts_with(L"no-such.exe /P \"\" /O \"\" /U \""));
}

TEST_F(NotifierNamesTest, WithoutAKeyNothingHappens) {
    LaunchConfirmationPrint(L"O", L"P", nullptr);
    EXPECT_THAT(ReadLog().lines(), IsEmpty());
}

}  // namespace
}  // namespace ksp::test
