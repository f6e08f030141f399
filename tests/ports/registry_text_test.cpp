// What a text value says, in every form in which registries hand it out.

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "ports/registry_access.h"
#include "ports/registry_key.h"
#include "tests/host/faulty_registry.h"
#include "tests/support/spooler_start.h"
#include "tools/host/memory_registry.h"

namespace ksp {
namespace {

using namespace std::string_literals;
using test::FaultyRegistry;
using test::RegistryOperation;

constexpr wchar_t kKey[] = L"key";
constexpr wchar_t kName[] = L"text";

class RegistryTextTest : public ::testing::Test {
  protected:
    void SetUp() override {
        memory_.MakeKey(HKEY_LOCAL_MACHINE, kKey);
        test::GiveRegistry(access_, registry_);
        ASSERT_EQ(key_.Open(access_, HKEY_LOCAL_MACHINE, kKey, KEY_READ), ERROR_SUCCESS);
    }

    // What is read when exactly these characters are stored.
    std::optional<std::wstring> ReadOf(const std::wstring& stored) {
        memory_.SetText(HKEY_LOCAL_MACHINE, kKey, kName, stored);
        return key_.ReadText(kName);
    }
    std::optional<std::wstring> ReadOfBytes(DWORD type, std::vector<BYTE> bytes) {
        memory_.SetBytes(HKEY_LOCAL_MACHINE, kKey, kName, type, std::move(bytes));
        return key_.ReadText(kName);
    }

    host::MemoryRegistry memory_;
    FaultyRegistry registry_{memory_};
    CRegistryAccess access_;
    CRegistryKey key_;
};

TEST_F(RegistryTextTest, LoadsWithoutATerminator) {
    EXPECT_EQ(ReadOf(L"127.0.0.1"), L"127.0.0.1");
}

TEST_F(RegistryTextTest, LoadsWithOneTerminator) {
    EXPECT_EQ(ReadOf(L"127.0.0.1\0"s), L"127.0.0.1");
}

TEST_F(RegistryTextTest, LoadsWithTwoTerminators) {
    EXPECT_EQ(ReadOf(L"127.0.0.1\0\0"s), L"127.0.0.1");
}

TEST_F(RegistryTextTest, EndsAtTheFirstOfSeveralTerminators) {
    EXPECT_EQ(ReadOf(L"127.0\0.0.1\0"s), L"127.0");
    EXPECT_EQ(ReadOf(L"\0abc"s), L"");
}

TEST_F(RegistryTextTest, LoadsEmpty) {
    EXPECT_EQ(ReadOf(L""), L"");
    EXPECT_EQ(ReadOf(L"\0"s), L"");
}

TEST_F(RegistryTextTest, IgnoresAnOddByteAtTheEnd) {
    EXPECT_EQ(ReadOfBytes(REG_SZ, {'a', 0, 'b', 0, 'c'}), L"ab");
    EXPECT_EQ(ReadOfBytes(REG_SZ, {'a', 0, 0, 0, 0}), L"a");
    EXPECT_EQ(ReadOfBytes(REG_SZ, {'a'}), L"");
}

TEST_F(RegistryTextTest, LoadsAnyLength) {
    for (const std::size_t length : {254U, 255U, 256U, 257U, 1023U, 1024U, 32768U, 70000U}) {
        std::wstring text(length, L'x');
        text.front() = L'<';
        text.back() = L'>';
        EXPECT_TRUE(ReadOf(text) == text) << length << " without a terminator";
        EXPECT_TRUE(ReadOf(text + L'\0') == text) << length << " with a terminator";
    }
}

TEST_F(RegistryTextTest, LoadsALongTextOfOddLength) {
    std::vector<BYTE> bytes(1001, BYTE{1});
    EXPECT_EQ(ReadOfBytes(REG_SZ, bytes), std::wstring(500, L'\x0101'));
}

TEST_F(RegistryTextTest, KeepsEveryCharacterBeyondAscii) {
    EXPECT_EQ(ReadOf(L"Z\u00FCrich \u4E2D\u6587 \xD83D\xDDA8"),
              L"Z\u00FCrich \u4E2D\u6587 \xD83D\xDDA8");
}

TEST_F(RegistryTextTest, IsUnreadableWhenOfAnotherType) {
    for (const DWORD type : std::initializer_list<DWORD>{REG_NONE, REG_EXPAND_SZ, REG_BINARY,
                                                         REG_DWORD, REG_MULTI_SZ}) {
        EXPECT_EQ(ReadOfBytes(type, {'a', 0, 'b', 0}), std::nullopt) << type;
        EXPECT_EQ(ReadOfBytes(type, std::vector<BYTE>(4096, BYTE{'a'})), std::nullopt) << type;
    }
}

TEST_F(RegistryTextTest, IsUnreadableWhenMissing) {
    EXPECT_EQ(key_.ReadText(L"no such value"), std::nullopt);
}

TEST_F(RegistryTextTest, IsUnreadableWhenTheReadFails) {
    for (const LONG code : {ERROR_ACCESS_DENIED, ERROR_MORE_DATA, ERROR_KEY_DELETED}) {
        registry_.AddFault({.operation = RegistryOperation::kQueryValue, .code = code});
        EXPECT_EQ(ReadOf(L"text"), std::nullopt) << code;
    }
    EXPECT_EQ(ReadOf(L"text"), L"text");
}

TEST_F(RegistryTextTest, IsUnreadableWhenTheSecondReadOfALongTextFails) {
    registry_.AddFault({.operation = RegistryOperation::kQueryValue, .nth = 2});
    EXPECT_EQ(ReadOf(std::wstring(1000, L'x')), std::nullopt);
}

TEST_F(RegistryTextTest, IsUnreadableWithoutAnOpenKey) {
    EXPECT_EQ(CRegistryKey().ReadText(kName), std::nullopt);
}

TEST_F(RegistryTextTest, CostsOneCallWhenShort) {
    EXPECT_EQ(ReadOf(L"127.0.0.1"), L"127.0.0.1");
    EXPECT_EQ(registry_.CountCalls(RegistryOperation::kQueryValue), 1U);
}

// Somebody appends to the value before every read, for a number of reads.
class GrowingRegistry : public host::MemoryRegistry {
  public:
    LONG QueryValue(HANDLE key, LPCWSTR name, PDWORD type, PBYTE data, PDWORD size) override {
        if (growths_ > 0) {
            --growths_;
            text_.append(1000, L'x');
            SetText(HKEY_LOCAL_MACHINE, kKey, kName, text_);
        }
        ++reads_;
        return host::MemoryRegistry::QueryValue(key, name, type, data, size);
    }

    void set_growths(int growths) { growths_ = growths; }
    [[nodiscard]] const std::wstring& text() const { return text_; }
    [[nodiscard]] int reads() const { return reads_; }

  private:
    int growths_ = 0;
    int reads_ = 0;
    std::wstring text_;
};

class RegistryGrowingTextTest : public ::testing::Test {
  protected:
    void SetUp() override {
        memory_.SetText(HKEY_LOCAL_MACHINE, kKey, kName, L"");
        test::GiveRegistry(access_, memory_);
        ASSERT_EQ(key_.Open(access_, HKEY_LOCAL_MACHINE, kKey, KEY_READ), ERROR_SUCCESS);
    }

    GrowingRegistry memory_;
    CRegistryAccess access_;
    CRegistryKey key_;
};

TEST_F(RegistryGrowingTextTest, IsReadWholeWhenItGrowsBetweenTwoReads) {
    memory_.set_growths(2);
    EXPECT_EQ(key_.ReadText(kName), memory_.text());
    EXPECT_EQ(memory_.text().size(), 2000U);
}

TEST_F(RegistryGrowingTextTest, IsNotWaitedForWhenItKeepsGrowing) {
    memory_.set_growths(1000);
    EXPECT_EQ(key_.ReadText(kName), std::nullopt);
    EXPECT_LT(memory_.reads(), 10);
}

TEST(TextOfValueTest, TakesNoBytesForAnEmptyText) {
    EXPECT_EQ(TextOfValue(nullptr, 0), L"");
    EXPECT_EQ(TextOfValue("x", 1), L"");
}

}  // namespace
}  // namespace ksp
