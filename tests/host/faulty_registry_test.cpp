#include "tests/host/faulty_registry.h"

#include <gtest/gtest.h>

#include "tools/host/memory_registry.h"

namespace ksp::test {
namespace {

class FaultyRegistryTest : public ::testing::Test {
  protected:
    LONG SetNumber(const wchar_t* name, DWORD number) {
        HANDLE key = nullptr;
        const LONG opened = registry_.CreateKey(registry_.Root(), L"Ports", 0, KEY_ALL_ACCESS,
                                                nullptr, &key, nullptr);
        if (opened != ERROR_SUCCESS) {
            return opened;
        }
        const LONG code = registry_.SetValue(
            key, name, REG_DWORD, reinterpret_cast<const BYTE*>(&number), sizeof(number));
        registry_.CloseKey(key);
        return code;
    }

    host::MemoryRegistry store_;
    FaultyRegistry registry_{store_};
};

TEST_F(FaultyRegistryTest, NotesEveryCallWithItsPlace) {
    EXPECT_EQ(SetNumber(L"A", 1), ERROR_SUCCESS);
    const std::vector<RegistryCall> calls = registry_.Calls();
    ASSERT_EQ(calls.size(), 3u);
    EXPECT_EQ(calls[0].operation, RegistryOperation::kCreateKey);
    EXPECT_EQ(calls[0].key, L"root");
    EXPECT_EQ(calls[0].name, L"Ports");
    EXPECT_EQ(calls[1].operation, RegistryOperation::kSetValue);
    EXPECT_EQ(calls[1].key, L"root\\Ports");
    EXPECT_EQ(calls[1].name, L"A");
    EXPECT_EQ(calls[2].operation, RegistryOperation::kCloseKey);
    EXPECT_EQ(calls[2].key, L"root\\Ports");
    EXPECT_EQ(registry_.CountCalls(RegistryOperation::kSetValue), 1u);
    EXPECT_EQ(registry_.CountCalls(RegistryOperation::kSetValue, L"B"), 0u);
}

TEST_F(FaultyRegistryTest, TheNthCallFailsWithoutReachingTheRegistry) {
    registry_.AddFault({.operation = RegistryOperation::kSetValue, .code = 1234, .nth = 2});
    EXPECT_EQ(SetNumber(L"A", 1), ERROR_SUCCESS);
    EXPECT_EQ(SetNumber(L"A", 2), 1234);
    EXPECT_EQ(store_.GetDword(store_.Root(), L"Ports", L"A"), 1u);
    EXPECT_EQ(SetNumber(L"A", 3), ERROR_SUCCESS);
    EXPECT_EQ(store_.GetDword(store_.Root(), L"Ports", L"A"), 3u);
}

TEST_F(FaultyRegistryTest, AFaultMayLastAndMayStrikeOneNameOnly) {
    registry_.AddFault({.operation = RegistryOperation::kSetValue,
                        .code = ERROR_DISK_FULL,
                        .nth = 2,
                        .and_later = true,
                        .name = L"A"});
    EXPECT_EQ(SetNumber(L"A", 1), ERROR_SUCCESS);
    EXPECT_EQ(SetNumber(L"B", 1), ERROR_SUCCESS);
    EXPECT_EQ(SetNumber(L"A", 2), ERROR_DISK_FULL);
    EXPECT_EQ(SetNumber(L"A", 3), ERROR_DISK_FULL);
    EXPECT_EQ(SetNumber(L"B", 2), ERROR_SUCCESS);
    registry_.ClearFaults();
    EXPECT_EQ(SetNumber(L"A", 4), ERROR_SUCCESS);
}

TEST_F(FaultyRegistryTest, TellsWhichKeysAreOpen) {
    HANDLE ports = nullptr;
    HANDLE port = nullptr;
    ASSERT_EQ(
        registry_.CreateKey(registry_.Root(), L"Ports", 0, KEY_READ, nullptr, &ports, nullptr),
        ERROR_SUCCESS);
    ASSERT_EQ(registry_.CreateKey(ports, L"KEY", 0, KEY_READ, nullptr, &port, nullptr),
              ERROR_SUCCESS);
    EXPECT_EQ(registry_.OpenKeys(),
              (std::vector<std::wstring>{L"root\\Ports", L"root\\Ports\\KEY"}));
    registry_.CloseKey(ports);
    EXPECT_EQ(registry_.OpenKeys(), std::vector<std::wstring>{L"root\\Ports\\KEY"});
    registry_.CloseKey(port);
    EXPECT_TRUE(registry_.OpenKeys().empty());
}

TEST_F(FaultyRegistryTest, ARefusedOpeningLeavesNoKeyOpen) {
    registry_.AddFault({.operation = RegistryOperation::kCreateKey, .code = ERROR_ACCESS_DENIED});
    EXPECT_EQ(SetNumber(L"A", 1), ERROR_ACCESS_DENIED);
    EXPECT_TRUE(registry_.OpenKeys().empty());
    EXPECT_FALSE(store_.HasKey(store_.Root(), L"Ports"));
}

}  // namespace
}  // namespace ksp::test
