// One open key: its life, its numbers, its subkeys and what is written into it.

#include "ports/registry_key.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "tests/host/faulty_registry.h"
#include "tests/support/spooler_start.h"
#include "tools/host/memory_registry.h"

namespace ksp {
namespace {

using test::FaultyRegistry;
using test::RegistryOperation;

constexpr wchar_t kPath[] = L"key";

class RegistryKeyTest : public ::testing::Test {
  protected:
    void SetUp() override { test::GiveRegistry(access_, registry_); }

    CRegistryKey Opened() {
        CRegistryKey key;
        EXPECT_EQ(key.Create(access_, HKEY_LOCAL_MACHINE, kPath, KEY_ALL_ACCESS), ERROR_SUCCESS);
        return key;
    }
    void Store(DWORD type, std::vector<BYTE> bytes) {
        memory_.SetBytes(HKEY_LOCAL_MACHINE, kPath, L"number", type, std::move(bytes));
    }
    static std::optional<std::wstring> SubkeyName(const CRegistryKey& key, DWORD index) {
        CSubkey subkey;
        return key.ReadSubkey(index, subkey) == ERROR_SUCCESS
                   ? std::optional<std::wstring>(subkey.name)
                   : std::nullopt;
    }
    [[nodiscard]] std::size_t OpenKeys() const { return memory_.OpenKeyCount(); }

    host::MemoryRegistry memory_;
    FaultyRegistry registry_{memory_};
    CRegistryAccess access_;
};

TEST_F(RegistryKeyTest, IsClosedByItsDestructor) {
    {
        const CRegistryKey key = Opened();
        EXPECT_TRUE(key.IsOpen());
        EXPECT_EQ(OpenKeys(), 1U);
    }
    EXPECT_EQ(OpenKeys(), 0U);
    EXPECT_EQ(registry_.CountCalls(RegistryOperation::kCloseKey), 1U);
}

TEST_F(RegistryKeyTest, IsClosedOnceWhenMoved) {
    {
        CRegistryKey first = Opened();
        CRegistryKey second = std::move(first);
        CRegistryKey third = Opened();
        EXPECT_EQ(OpenKeys(), 2U);
        third = std::move(second);
        EXPECT_EQ(OpenKeys(), 1U) << "what the target held is closed";
        CRegistryKey& same = third;
        third = std::move(same);
        EXPECT_TRUE(third.IsOpen());
    }
    EXPECT_EQ(OpenKeys(), 0U);
    EXPECT_EQ(registry_.CountCalls(RegistryOperation::kCloseKey), 2U);
}

TEST_F(RegistryKeyTest, ClosingAClosedKeyMakesNoCall) {
    CRegistryKey key = Opened();
    EXPECT_EQ(key.Close(), ERROR_SUCCESS);
    EXPECT_EQ(key.Close(), ERROR_SUCCESS);
    EXPECT_FALSE(key.IsOpen());
    EXPECT_EQ(registry_.CountCalls(RegistryOperation::kCloseKey), 1U);
}

TEST_F(RegistryKeyTest, IsForgottenWhenClosingFails) {
    CRegistryKey key = Opened();
    registry_.AddFault({.operation = RegistryOperation::kCloseKey});
    EXPECT_EQ(key.Close(), ERROR_ACCESS_DENIED);
    EXPECT_FALSE(key.IsOpen());
    EXPECT_EQ(key.Close(), ERROR_SUCCESS);
    EXPECT_EQ(registry_.CountCalls(RegistryOperation::kCloseKey), 1U);
}

TEST_F(RegistryKeyTest, ForgottenKeyIsNotClosed) {
    {
        CRegistryKey key = Opened();
        key.Forget();
        EXPECT_FALSE(key.IsOpen());
    }
    EXPECT_EQ(registry_.CountCalls(RegistryOperation::kCloseKey), 0U);
}

TEST_F(RegistryKeyTest, FailedOpenClosesWhatWasOpen) {
    CRegistryKey key = Opened();
    EXPECT_EQ(key.Open(access_, HKEY_LOCAL_MACHINE, L"missing", KEY_READ), ERROR_FILE_NOT_FOUND);
    EXPECT_FALSE(key.IsOpen());
    key = Opened();
    registry_.AddFault({.operation = RegistryOperation::kCreateKey});
    EXPECT_EQ(key.Create(access_, HKEY_LOCAL_MACHINE, kPath, KEY_READ), ERROR_ACCESS_DENIED);
    EXPECT_FALSE(key.IsOpen());
    EXPECT_EQ(OpenKeys(), 0U);
}

TEST_F(RegistryKeyTest, ReadsADword) {
    Store(REG_DWORD, {0x78, 0x56, 0x34, 0x12});
    EXPECT_EQ(Opened().ReadDword(L"number"), 0x12345678U);
    Store(REG_DWORD, {0xFF, 0xFF, 0xFF, 0xFF});
    EXPECT_EQ(Opened().ReadDword(L"number"), 0xFFFFFFFFU);
}

TEST_F(RegistryKeyTest, DwordOfAnotherSizeIsUnreadable) {
    for (const std::size_t size : {0U, 1U, 3U, 5U, 8U}) {
        Store(REG_DWORD, std::vector<BYTE>(size, BYTE{1}));
        EXPECT_EQ(Opened().ReadDword(L"number"), std::nullopt) << size;
    }
}

TEST_F(RegistryKeyTest, DwordOfAnotherTypeIsUnreadable) {
    for (const DWORD type : std::initializer_list<DWORD>{REG_NONE, REG_SZ, REG_BINARY,
                                                         REG_DWORD_BIG_ENDIAN, REG_QWORD}) {
        Store(type, {1, 0, 0, 0});
        EXPECT_EQ(Opened().ReadDword(L"number"), std::nullopt) << type;
    }
}

TEST_F(RegistryKeyTest, DwordIsUnreadableWhenMissingOrTheReadFails) {
    const CRegistryKey key = Opened();
    EXPECT_EQ(key.ReadDword(L"number"), std::nullopt);
    Store(REG_DWORD, {1, 0, 0, 0});
    registry_.AddFault({.operation = RegistryOperation::kQueryValue});
    EXPECT_EQ(key.ReadDword(L"number"), std::nullopt);
    EXPECT_EQ(key.ReadDword(L"number"), 1U);
    EXPECT_EQ(CRegistryKey().ReadDword(L"number"), std::nullopt);
}

TEST_F(RegistryKeyTest, NamesItsSubkeysUpToTheEnd) {
    const std::wstring longest(255, L'z');
    memory_.MakeKey(HKEY_LOCAL_MACHINE, L"key\\b");
    memory_.MakeKey(HKEY_LOCAL_MACHINE, L"key\\a");
    memory_.MakeKey(HKEY_LOCAL_MACHINE, L"key\\" + longest);
    const CRegistryKey key = Opened();
    EXPECT_EQ(SubkeyName(key, 0), L"a");
    EXPECT_EQ(SubkeyName(key, 1), L"b");
    EXPECT_EQ(SubkeyName(key, 2), longest);
    EXPECT_EQ(SubkeyName(key, 3), std::nullopt);
    EXPECT_EQ(SubkeyName(CRegistryKey(), 0), std::nullopt);
}

TEST_F(RegistryKeyTest, TakesSubkeyNamesOfUpTo260Characters) {
    const std::wstring fits(260, L'f');
    memory_.MakeKey(HKEY_LOCAL_MACHINE, L"key\\" + fits);
    EXPECT_EQ(SubkeyName(Opened(), 0), fits);
    memory_.RemoveKey(HKEY_LOCAL_MACHINE, L"key\\" + fits);
    memory_.MakeKey(HKEY_LOCAL_MACHINE, L"key\\" + fits + L"f");
    EXPECT_EQ(SubkeyName(Opened(), 0), std::nullopt);
}

TEST_F(RegistryKeyTest, NamesNoSubkeyAtAnyFailure) {
    memory_.MakeKey(HKEY_LOCAL_MACHINE, L"key\\a");
    for (const LONG code : {ERROR_ACCESS_DENIED, ERROR_MORE_DATA, ERROR_INVALID_HANDLE}) {
        registry_.AddFault({.operation = RegistryOperation::kEnumKey, .code = code});
        EXPECT_EQ(SubkeyName(Opened(), 0), std::nullopt) << code;
    }
}

TEST_F(RegistryKeyTest, TellsWhenASubkeyWasChangedLast) {
    memory_.MakeKey(HKEY_LOCAL_MACHINE, L"key\\a");
    memory_.SetLastWriteTime(HKEY_LOCAL_MACHINE, L"key\\a", {5, 1});
    CSubkey subkey;
    ASSERT_EQ(Opened().ReadSubkey(0, subkey), ERROR_SUCCESS);
    EXPECT_EQ(subkey.lastWrite, 0x1'0000'0005U);
}

TEST_F(RegistryKeyTest, WritesADwordOfFourBytes) {
    EXPECT_EQ(Opened().WriteDword(L"number", 0x12345678), ERROR_SUCCESS);
    const auto value = memory_.GetValue(HKEY_LOCAL_MACHINE, kPath, L"number");
    ASSERT_TRUE(value);
    EXPECT_EQ(value->type, DWORD{REG_DWORD});
    EXPECT_EQ(value->data, (std::vector<BYTE>{0x78, 0x56, 0x34, 0x12}));
}

TEST_F(RegistryKeyTest, WritesATextOfTwoBytesACharacterWithoutATerminator) {
    EXPECT_EQ(Opened().WriteText(L"text", L"a\u4E2D"), ERROR_SUCCESS);
    const auto value = memory_.GetValue(HKEY_LOCAL_MACHINE, kPath, L"text");
    ASSERT_TRUE(value);
    EXPECT_EQ(value->type, DWORD{REG_SZ});
    EXPECT_EQ(value->data, (std::vector<BYTE>{'a', 0, 0x2D, 0x4E}));
}

TEST_F(RegistryKeyTest, WritesAnEmptyTextOfNoBytes) {
    EXPECT_EQ(Opened().WriteText(L"text", L""), ERROR_SUCCESS);
    const auto value = memory_.GetValue(HKEY_LOCAL_MACHINE, kPath, L"text");
    ASSERT_TRUE(value);
    EXPECT_EQ(value->type, DWORD{REG_SZ});
    EXPECT_TRUE(value->data.empty());
}

TEST_F(RegistryKeyTest, WritesBinaryDataAsTheyAre) {
    const BYTE data[] = {0, 1, 255};
    EXPECT_EQ(Opened().WriteBinary(L"data", data, 3), ERROR_SUCCESS);
    const auto value = memory_.GetValue(HKEY_LOCAL_MACHINE, kPath, L"data");
    ASSERT_TRUE(value);
    EXPECT_EQ(value->type, DWORD{REG_BINARY});
    EXPECT_EQ(value->data, (std::vector<BYTE>{0, 1, 255}));
}

TEST_F(RegistryKeyTest, WriteTellsTheRegistrysFailure) {
    const CRegistryKey key = Opened();
    registry_.AddFault(
        {.operation = RegistryOperation::kSetValue, .code = ERROR_DISK_FULL, .and_later = true});
    EXPECT_EQ(key.WriteDword(L"a", 1), ERROR_DISK_FULL);
    EXPECT_EQ(key.WriteText(L"b", L"x"), ERROR_DISK_FULL);
    EXPECT_EQ(key.WriteBinary(L"c", "x", 1), ERROR_DISK_FULL);
}

TEST_F(RegistryKeyTest, WritingWithoutAnOpenKeyIsAnInvalidHandle) {
    const CRegistryKey none;
    EXPECT_EQ(none.WriteDword(L"a", 1), ERROR_INVALID_HANDLE);
    EXPECT_EQ(none.WriteText(L"b", L"x"), ERROR_INVALID_HANDLE);
    EXPECT_EQ(none.WriteBinary(L"c", "x", 1), ERROR_INVALID_HANDLE);
}

}  // namespace
}  // namespace ksp
