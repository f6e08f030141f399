// Whose name an ID-print job carries: the port's SecureUserMode and the current user's identity.

#include <windows.h>

#include "tests/idprint/id_print_test.h"

namespace ksp::test {
namespace {

using ::testing::Contains;
using ::testing::IsEmpty;

constexpr wchar_t kPath[] = L"Software\\Kestrel\\Confirmation Print";

// The identity lies in the hive of the user who runs the tests.
class UserModeTest : public IdPrintTest {
  protected:
    void SetUp() override {
        IdPrintTest::SetUp();
        RemoveIdentity();
    }
    void TearDown() override {
        RemoveIdentity();
        IdPrintTest::TearDown();
    }

    static void RemoveIdentity() { RegDeleteTreeW(HKEY_CURRENT_USER, kPath); }
    static void SetIdentity(const std::wstring& identity) {
        ASSERT_EQ(
            RegSetKeyValueW(HKEY_CURRENT_USER, kPath, L"CONFIRM_KEY", REG_SZ, identity.c_str(),
                            static_cast<DWORD>((identity.size() + 1) * sizeof(wchar_t))),
            ERROR_SUCCESS);
    }
    // Prints a small job in that mode and compares what the printer has.
    void ExpectIdentity(DWORD mode, const std::wstring& identity) {
        StartRawJob({.SecureUserMode = mode});
        PrintPieces({"data"});
        EXPECT_TRUE(SameText(Received(), HeaderBytes({.identifier = identity}) + "data"));
    }
};

TEST_F(UserModeTest, ModeZeroNamesTheJobsUser) {
    SetIdentity(L"card 4711");
    ExpectIdentity(0, L"alice");
}

TEST_F(UserModeTest, ModeThreeNamesTheJobsUser) {
    SetIdentity(L"card 4711");
    ExpectIdentity(3, L"alice");
}

TEST_F(UserModeTest, ModeTwoNamesTheIdentityOfTheCurrentUser) {
    SetIdentity(L"card 4711");
    ExpectIdentity(2, L"card 4711");
}

TEST_F(UserModeTest, ModeTwoTakesAnyIdentity) {
    const std::wstring identity = L"\"\xD83D\xDCC4\" " + std::wstring(1000, L'i');
    SetIdentity(identity);
    ExpectIdentity(2, identity);
}

TEST_F(UserModeTest, ModeTwoWithoutAnIdentityNamesTheJobsUser) {
    ExpectIdentity(2, L"alice");
    EXPECT_THAT(ReadLog().Messages(LineLevel::kError),
                Contains(L"Unable to open user identity reg. (2)"));
}

TEST_F(UserModeTest, ModeTwoWithAnEmptyIdentityNamesTheJobsUser) {
    SetIdentity(L"");
    ExpectIdentity(2, L"alice");
    EXPECT_THAT(ReadLog().Messages(LineLevel::kError), IsEmpty());
}

TEST_F(UserModeTest, ModeOneSendsNothing) {
    SetIdentity(L"card 4711");
    StartRawJob({.SecureUserMode = 1});
    const HANDLE port = Open(L"Port");
    ASSERT_TRUE(StartDoc(port).result);
    for (int i = 0; i < 3; ++i) {
        NewLines();
        const WriteResult write = Write(port, {'1', '2'});
        EXPECT_FALSE(write.result);
        EXPECT_EQ(write.written, 0U);
        EXPECT_THAT(NewLines(), Contains("TRACE WritePort Failed"));
    }
    EXPECT_TRUE(EndDoc(port));
    EXPECT_TRUE(Close(port));
    EXPECT_THAT(raw_->connections(), IsEmpty());
}

TEST_F(UserModeTest, TheModeIsReadAtEveryWrite) {
    StartRawJob({.SecureUserMode = 1});
    const HANDLE port = Open(L"Port");
    ASSERT_TRUE(StartDoc(port).result);
    EXPECT_FALSE(Write(port, {'1'}).result);
    SetPortValue(L"SecureUserMode", 0);
    EXPECT_TRUE(Write(port, {'1'}).result);
    SetPortValue(L"SecureUserMode", 1);
    EXPECT_FALSE(Write(port, {'2'}).result);
    EXPECT_TRUE(EndDoc(port));
    EXPECT_TRUE(Close(port));
    EXPECT_TRUE(SameText(Received(), HeaderBytes() + "1"));
}

TEST_F(UserModeTest, APortThatTheRegistryLostTakesNothing) {
    StartRawJob();
    const HANDLE port = Open(L"Port");
    ASSERT_TRUE(StartDoc(port).result);
    store().RemoveKey(root(), PortPath(L"Port"));
    EXPECT_FALSE(Write(port, {'1'}).result);
    EXPECT_TRUE(EndDoc(port));
    EXPECT_TRUE(Close(port));
    EXPECT_THAT(raw_->connections(), IsEmpty());
}

}  // namespace
}  // namespace ksp::test
