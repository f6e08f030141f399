// The identity name of the current user, which lies in the user's own hive.

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "ports/registry_store.h"
#include "support/unique_resource.h"
#include "tests/host/patched_import.h"
#include "tests/support/store_test.h"

namespace ksp {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr wchar_t kPath[] = L"Software\\Kestrel\\Confirmation Print";
constexpr wchar_t kName[] = L"CONFIRM_KEY";

class RegistryUserTest : public test::StoreTest {
  protected:
    void SetUp() override {
        StoreTest::SetUp();
        Open();
        ::RegDeleteTreeW(HKEY_CURRENT_USER, kPath);
    }
    void TearDown() override { ::RegDeleteTreeW(HKEY_CURRENT_USER, kPath); }

    static void Store(DWORD type, const std::wstring& text) {
        ASSERT_EQ(::RegSetKeyValueW(HKEY_CURRENT_USER, kPath, kName, type, text.data(),
                                    static_cast<DWORD>(text.size() * sizeof(wchar_t))),
                  ERROR_SUCCESS);
    }
};

TEST_F(RegistryUserTest, IdentityIsTheConfirmKeyOfTheCurrentUser) {
    Store(REG_SZ, L"user 1");
    EXPECT_EQ(store_.GetUserIdentity(), L"user 1");
    EXPECT_THAT(Lines(), IsEmpty());
    EXPECT_THAT(registry_.Calls(), IsEmpty()) << "the spooler's registry has no users";
}

TEST_F(RegistryUserTest, IdentityOfAnyLengthAndTermination) {
    Store(REG_SZ, std::wstring(2000, L'u'));
    EXPECT_EQ(store_.GetUserIdentity(), std::wstring(2000, L'u'));
    Store(REG_SZ, std::wstring(L"user\0\0", 6));
    EXPECT_EQ(store_.GetUserIdentity(), L"user");
    Store(REG_SZ, L"");
    EXPECT_EQ(store_.GetUserIdentity(), L"");
}

LONG WINAPI NoHive(REGSAM /*rights*/, PHKEY /*hive*/) {
    return ERROR_ACCESS_DENIED;
}

TEST_F(RegistryUserTest, HiveThatCannotBeOpenedIsLoggedWithItsCode) {
    const test::PatchedImport<decltype(&::RegOpenCurrentUser)> patch("RegOpenCurrentUser", NoHive);
    ASSERT_TRUE(patch.works());
    EXPECT_EQ(store_.GetUserIdentity(), std::nullopt);
    EXPECT_THAT(Lines(), ElementsAre("ERROR: RegOpenCurrentUser error. (5)"));
}

TEST_F(RegistryUserTest, MissingKeyIsLoggedWithItsCode) {
    EXPECT_EQ(store_.GetUserIdentity(), std::nullopt);
    EXPECT_THAT(Lines(), ElementsAre("ERROR: Unable to open user identity reg. (2)"));
}

TEST_F(RegistryUserTest, MissingValueIsNoneWithoutALine) {
    Store(REG_SZ, L"user");
    ::RegDeleteKeyValueW(HKEY_CURRENT_USER, kPath, kName);
    EXPECT_EQ(store_.GetUserIdentity(), std::nullopt);
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(RegistryUserTest, ValueOfAnotherTypeIsNone) {
    Store(REG_EXPAND_SZ, L"user");
    EXPECT_EQ(store_.GetUserIdentity(), std::nullopt);
    Store(REG_BINARY, L"user");
    EXPECT_EQ(store_.GetUserIdentity(), std::nullopt);
}

}  // namespace
}  // namespace ksp
