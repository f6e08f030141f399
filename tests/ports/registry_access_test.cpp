// The locked access layer, over a spooler that brings its own registry functions.

#include "ports/registry_access.h"
#include "ports/registry_key.h"

#include <gmock/gmock.h>

#include <atomic>
#include <string>
#include <thread>

#include "tests/host/faulty_registry.h"
#include "tests/support/spooler_start.h"
#include "tools/host/memory_registry.h"

namespace ksp {
namespace {

using test::FaultyRegistry;
using test::RegistryOperation;
using ::testing::IsEmpty;

class RegistryAccessTest : public ::testing::Test {
  protected:
    void SetUp() override {
        test::GiveRegistry(access_, registry_);
        access_.CreateLock();
    }

    HANDLE CreateKey(HANDLE parent, const wchar_t* name) {
        HANDLE key = nullptr;
        EXPECT_EQ(access_.CreateKey(parent, name, KEY_ALL_ACCESS, &key), ERROR_SUCCESS);
        return key;
    }

    host::MemoryRegistry memory_;
    FaultyRegistry registry_{memory_};
    CRegistryAccess access_;
};

TEST_F(RegistryAccessTest, NullKeyIsAnInvalidHandleWithoutACall) {
    HANDLE key = nullptr;
    DWORD number = 0;
    wchar_t name[8] = {};
    EXPECT_EQ(access_.OpenKey(nullptr, L"x", KEY_READ, &key), ERROR_INVALID_HANDLE);
    EXPECT_EQ(access_.CloseKey(nullptr), ERROR_INVALID_HANDLE);
    EXPECT_EQ(access_.DeleteKey(nullptr, L"x"), ERROR_INVALID_HANDLE);
    EXPECT_EQ(access_.EnumKey(nullptr, 0, name, &number, nullptr), ERROR_INVALID_HANDLE);
    EXPECT_EQ(access_.QueryValueCount(nullptr, &number), ERROR_INVALID_HANDLE);
    EXPECT_EQ(access_.SetValue(nullptr, L"x", REG_SZ, "", 0), ERROR_INVALID_HANDLE);
    EXPECT_EQ(access_.EnumValue(nullptr, 0, name, &number, nullptr, nullptr, nullptr),
              ERROR_INVALID_HANDLE);
    EXPECT_EQ(access_.QueryValue(nullptr, L"x", nullptr, nullptr, nullptr), ERROR_INVALID_HANDLE);
    EXPECT_THAT(registry_.Calls(), IsEmpty());
    EXPECT_EQ(key, nullptr);
}

TEST_F(RegistryAccessTest, NullParentOfCreateIsTheMonitorRoot) {
    CreateKey(nullptr, L"Ports");
    EXPECT_TRUE(memory_.HasKey(memory_.Root(), L"Ports"));
    EXPECT_EQ(registry_.Calls().at(0).key, L"root");
}

TEST_F(RegistryAccessTest, CreateUnderAnotherParentLeavesTheRootAlone) {
    CreateKey(HKEY_LOCAL_MACHINE, L"SOFTWARE\\x");
    EXPECT_TRUE(memory_.HasKey(HKEY_LOCAL_MACHINE, L"SOFTWARE\\x"));
    EXPECT_THAT(memory_.SubkeyNames(memory_.Root(), L""), IsEmpty());
}

TEST_F(RegistryAccessTest, CarriesEveryOperationOut) {
    const HANDLE key = CreateKey(nullptr, L"Ports");
    EXPECT_EQ(access_.SetValue(key, L"value", REG_BINARY, "\x01\x02\x03", 3), ERROR_SUCCESS);
    EXPECT_EQ(access_.SetValue(key, L"other", REG_SZ, L"x", 2), ERROR_SUCCESS);

    DWORD type = 0;
    BYTE data[8] = {};
    DWORD size = sizeof(data);
    EXPECT_EQ(access_.QueryValue(key, L"value", &type, data, &size), ERROR_SUCCESS);
    EXPECT_EQ(type, DWORD{REG_BINARY});
    EXPECT_EQ(size, 3U);
    EXPECT_EQ(data[2], 3);

    DWORD count = 0;
    EXPECT_EQ(access_.QueryValueCount(key, &count), ERROR_SUCCESS);
    EXPECT_EQ(count, 2U);

    wchar_t name[16] = {};
    DWORD length = 16;
    size = sizeof(data);
    EXPECT_EQ(access_.EnumValue(key, 1, name, &length, &type, data, &size), ERROR_SUCCESS);
    EXPECT_EQ(std::wstring(name, length), L"other");
    EXPECT_EQ(type, DWORD{REG_SZ});
    EXPECT_EQ(size, 2U);

    CreateKey(key, L"sub");
    length = 16;
    FILETIME changed{};
    EXPECT_EQ(access_.EnumKey(key, 0, name, &length, &changed), ERROR_SUCCESS);
    EXPECT_EQ(std::wstring(name, length), L"sub");
    EXPECT_EQ(NumberOf(changed), NumberOf(memory_.LastWriteTime(memory_.Root(), L"Ports\\sub")));
    EXPECT_EQ(access_.DeleteKey(key, L"sub"), ERROR_SUCCESS);
    EXPECT_FALSE(memory_.HasKey(memory_.Root(), L"Ports\\sub"));

    HANDLE opened = nullptr;
    EXPECT_EQ(access_.OpenKey(memory_.Root(), L"Ports", KEY_READ, &opened), ERROR_SUCCESS);
    EXPECT_NE(opened, nullptr);
    EXPECT_EQ(access_.CloseKey(opened), ERROR_SUCCESS);
}

TEST_F(RegistryAccessTest, AsksForTheGivenRights) {
    const HANDLE full = CreateKey(nullptr, L"Ports");
    HANDLE readable = nullptr;
    ASSERT_EQ(access_.OpenKey(memory_.Root(), L"Ports", KEY_READ, &readable), ERROR_SUCCESS);
    EXPECT_EQ(access_.SetValue(readable, L"x", REG_SZ, "", 0), ERROR_ACCESS_DENIED);
    EXPECT_EQ(access_.SetValue(full, L"x", REG_SZ, "", 0), ERROR_SUCCESS);
}

TEST_F(RegistryAccessTest, ReturnsTheCodeOfTheCall) {
    constexpr LONG kCode = 4321;
    const HANDLE key = CreateKey(nullptr, L"Ports");
    for (const RegistryOperation operation :
         {RegistryOperation::kCreateKey, RegistryOperation::kOpenKey, RegistryOperation::kCloseKey,
          RegistryOperation::kDeleteKey, RegistryOperation::kEnumKey,
          RegistryOperation::kQueryInfoKey, RegistryOperation::kSetValue,
          RegistryOperation::kEnumValue, RegistryOperation::kQueryValue}) {
        registry_.AddFault({.operation = operation, .code = kCode});
    }
    HANDLE other = nullptr;
    DWORD number = 8;
    wchar_t name[8] = {};
    EXPECT_EQ(access_.CreateKey(key, L"x", KEY_READ, &other), kCode);
    EXPECT_EQ(access_.OpenKey(key, L"x", KEY_READ, &other), kCode);
    EXPECT_EQ(access_.CloseKey(key), kCode);
    EXPECT_EQ(access_.DeleteKey(key, L"x"), kCode);
    EXPECT_EQ(access_.EnumKey(key, 0, name, &number, nullptr), kCode);
    EXPECT_EQ(access_.QueryValueCount(key, &number), kCode);
    EXPECT_EQ(access_.SetValue(key, L"x", REG_SZ, "", 0), kCode);
    EXPECT_EQ(access_.EnumValue(key, 0, name, &number, nullptr, nullptr, nullptr), kCode);
    EXPECT_EQ(access_.QueryValue(key, L"x", nullptr, nullptr, nullptr), kCode);
}

TEST_F(RegistryAccessTest, UsesTheSpoolerThatWasGivenLast) {
    host::MemoryRegistry second;
    test::GiveRegistry(access_, second);
    CreateKey(nullptr, L"Ports");
    EXPECT_THAT(registry_.Calls(), IsEmpty());
    EXPECT_TRUE(second.HasKey(second.Root(), L"Ports"));
}

TEST_F(RegistryAccessTest, ForgetsTheSpooler) {
    EXPECT_TRUE(access_.HasSpoolerRegistry());
    EXPECT_EQ(access_.MonitorRoot(), memory_.Root());
    access_.SetMonitorInit(nullptr);
    EXPECT_FALSE(access_.HasSpoolerRegistry());
    EXPECT_EQ(access_.MonitorRoot(), nullptr);
    HANDLE key = nullptr;
    EXPECT_EQ(access_.CreateKey(nullptr, L"Ports", KEY_READ, &key), ERROR_INVALID_HANDLE);
    EXPECT_THAT(registry_.Calls(), IsEmpty());
}

TEST_F(RegistryAccessTest, KeepsTheRootOfASpoolerWithoutRegistryFunctions) {
    test::GiveRootOnly(access_, HKEY_CURRENT_USER);
    EXPECT_FALSE(access_.HasSpoolerRegistry());
    EXPECT_EQ(access_.MonitorRoot(), HKEY_CURRENT_USER);
}

TEST_F(RegistryAccessTest, WorksWithoutTheLock) {
    EXPECT_TRUE(access_.HasLock());
    access_.DeleteLock();
    EXPECT_FALSE(access_.HasLock());
    const HANDLE key = CreateKey(nullptr, L"Ports");
    EXPECT_EQ(access_.CloseKey(key), ERROR_SUCCESS);
}

// Notes whether a call began before another had ended.
class OverlapRegistry : public host::MemoryRegistry {
  public:
    LONG QueryValue(HANDLE key, LPCWSTR name, PDWORD type, PBYTE data, PDWORD size) override {
        return Alone([&] { return host::MemoryRegistry::QueryValue(key, name, type, data, size); });
    }
    LONG SetValue(HANDLE key, LPCWSTR name, DWORD type, const BYTE* data, DWORD size) override {
        return Alone([&] { return host::MemoryRegistry::SetValue(key, name, type, data, size); });
    }

    [[nodiscard]] bool overlapped() const { return overlapped_; }

  private:
    template <class Call>
    LONG Alone(Call call) {
        if (++inside_ > 1) {
            overlapped_ = true;
        }
        ::SwitchToThread();
        const LONG result = call();
        --inside_;
        return result;
    }

    std::atomic<int> inside_{0};
    std::atomic<bool> overlapped_{false};
};

TEST(RegistryLockTest, LetsOneCallInAtATime) {
    OverlapRegistry registry;
    CRegistryAccess access;
    test::GiveRegistry(access, registry);
    access.CreateLock();
    HANDLE key = nullptr;
    ASSERT_EQ(access.CreateKey(nullptr, L"Ports", KEY_ALL_ACCESS, &key), ERROR_SUCCESS);
    constexpr int kRounds = 3000;
    std::thread writer([&] {
        for (int round = 0; round < kRounds; ++round) {
            access.SetValue(key, L"x", REG_DWORD, &round, sizeof(round));
        }
    });
    std::thread reader([&] {
        for (int round = 0; round < kRounds; ++round) {
            DWORD type = 0;
            int number = 0;
            DWORD size = sizeof(number);
            access.QueryValue(key, L"x", &type, &number, &size);
        }
    });
    writer.join();
    reader.join();
    EXPECT_FALSE(registry.overlapped());
}

}  // namespace
}  // namespace ksp
