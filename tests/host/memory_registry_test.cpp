#include "tools/host/memory_registry.h"

#include <gtest/gtest.h>

#include <thread>

namespace ksp::host {
namespace {

HANDLE Open(MemoryRegistry& registry, const wchar_t* name, REGSAM access) {
    HANDLE key = nullptr;
    return registry.OpenKey(registry.Root(), name, access, &key) == ERROR_SUCCESS ? key : nullptr;
}

ULONGLONG AsNumber(const FILETIME& time) {
    return (static_cast<ULONGLONG>(time.dwHighDateTime) << 32) | time.dwLowDateTime;
}

TEST(MemoryRegistryTest, GivesBackWhatWasSetDirectly) {
    MemoryRegistry registry;
    registry.SetDword(registry.Root(), L"Ports\\KEY", L"ProtocolID", 2);
    registry.SetText(registry.Root(), L"Ports\\KEY", L"Address", std::wstring(L"ab\0c", 4));
    registry.SetBytes(HKEY_LOCAL_MACHINE, L"SOFTWARE", L"Odd", REG_SZ, {1, 2, 3});

    EXPECT_EQ(registry.GetDword(registry.Root(), L"ports\\key", L"PROTOCOLID"), 2u);
    EXPECT_EQ(registry.GetText(registry.Root(), L"Ports\\KEY", L"Address"),
              std::wstring(L"ab\0c", 4));
    EXPECT_EQ(registry.GetValue(registry.Root(), L"Ports\\KEY", L"Address")->data.size(), 8u);
    EXPECT_EQ(registry.GetValue(HKEY_LOCAL_MACHINE, L"SOFTWARE", L"Odd")->data.size(), 3u);
    EXPECT_EQ(registry.ValueNames(registry.Root(), L"Ports\\KEY"),
              (std::vector<std::wstring>{L"ProtocolID", L"Address"}));
    EXPECT_EQ(registry.SubkeyNames(registry.Root(), L"Ports"), std::vector<std::wstring>{L"KEY"});
}

TEST(MemoryRegistryTest, GivesNothingForAnotherTypeOrAMissingValue) {
    MemoryRegistry registry;
    registry.SetBytes(registry.Root(), L"", L"Odd", REG_SZ, {1, 2, 3});
    registry.SetBytes(registry.Root(), L"", L"Short", REG_DWORD, {1, 2});
    registry.SetDword(registry.Root(), L"", L"Number", 7);
    EXPECT_FALSE(registry.GetText(registry.Root(), L"", L"Odd"));
    EXPECT_FALSE(registry.GetText(registry.Root(), L"", L"Number"));
    EXPECT_FALSE(registry.GetDword(registry.Root(), L"", L"Short"));
    EXPECT_FALSE(registry.GetDword(registry.Root(), L"", L"Odd"));
    EXPECT_FALSE(registry.GetValue(registry.Root(), L"missing", L"Number"));
}

TEST(MemoryRegistryTest, AKeyThatIsNotWritableOpensOnlyForReading) {
    MemoryRegistry registry;
    registry.SetWritable(registry.Root(), L"KEY", false);
    HANDLE key = nullptr;
    EXPECT_EQ(registry.OpenKey(registry.Root(), L"KEY", KEY_ALL_ACCESS, &key), ERROR_ACCESS_DENIED);
    EXPECT_EQ(registry.CreateKey(registry.Root(), L"KEY", 0, KEY_WRITE, nullptr, &key, nullptr),
              ERROR_ACCESS_DENIED);
    EXPECT_EQ(registry.CreateKey(registry.Root(), L"KEY\\new", 0, KEY_READ, nullptr, &key, nullptr),
              ERROR_ACCESS_DENIED);
    EXPECT_EQ(registry.DeleteKey(registry.Root(), L"KEY"), ERROR_ACCESS_DENIED);
    EXPECT_EQ(registry.OpenKeyCount(), 0u);

    ASSERT_EQ(registry.OpenKey(registry.Root(), L"KEY", KEY_READ, &key), ERROR_SUCCESS);
    registry.CloseKey(key);
    registry.SetWritable(registry.Root(), L"KEY", true);
    ASSERT_EQ(registry.OpenKey(registry.Root(), L"KEY", KEY_ALL_ACCESS, &key), ERROR_SUCCESS);
    registry.CloseKey(key);
}

TEST(MemoryRegistryTest, CountsOpenKeysAndFindsStaleHandles) {
    MemoryRegistry registry;
    registry.MakeKey(registry.Root(), L"KEY");
    HANDLE first = Open(registry, L"KEY", KEY_READ);
    HANDLE second = Open(registry, L"KEY", KEY_READ);
    ASSERT_NE(first, nullptr);
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(registry.OpenKeyCount(), 2u);
    EXPECT_EQ(registry.OpenKeyNames(), (std::vector<std::wstring>{L"KEY", L"KEY"}));
    EXPECT_EQ(registry.CloseKey(first), ERROR_SUCCESS);
    EXPECT_EQ(registry.CloseKey(first), ERROR_INVALID_HANDLE);
    EXPECT_EQ(registry.CloseKey(second), ERROR_SUCCESS);
    EXPECT_NE(Open(registry, L"KEY", KEY_READ), first) << "a handle value came back";
}

TEST(MemoryRegistryTest, TheMonitorsRootIsNotTheMonitorsToClose) {
    MemoryRegistry registry;
    EXPECT_EQ(registry.CloseKey(registry.Root()), ERROR_INVALID_HANDLE);
}

TEST(MemoryRegistryTest, EveryWriteMovesTheWriteTime) {
    MemoryRegistry registry;
    registry.SetDword(registry.Root(), L"KEY", L"A", 1);
    const ULONGLONG first = AsNumber(registry.LastWriteTime(registry.Root(), L"KEY"));
    registry.SetDword(registry.Root(), L"KEY", L"A", 1);
    const ULONGLONG second = AsNumber(registry.LastWriteTime(registry.Root(), L"KEY"));
    registry.RemoveValue(registry.Root(), L"KEY", L"A");
    const ULONGLONG third = AsNumber(registry.LastWriteTime(registry.Root(), L"KEY"));
    EXPECT_LT(first, second);
    EXPECT_LT(second, third);
}

TEST(MemoryRegistryTest, DescribesAKeyWithEverythingInIt) {
    MemoryRegistry registry;
    registry.SetDword(registry.Root(), L"Ports\\KEY_A", L"ProtocolID", 2);
    registry.SetText(registry.Root(), L"Ports\\KEY_A", L"Address", std::wstring(L"127.1\0", 6));
    registry.SetBytes(registry.Root(), L"Ports", L"Flags", REG_BINARY, {1, 0xAB});
    EXPECT_EQ(registry.Describe(registry.Root(), L"Ports"),
              L"[Ports]\n"
              L"  \"Flags\" = REG_BINARY 01 AB\n"
              L"  [KEY_A]\n"
              L"    \"ProtocolID\" = REG_DWORD 2\n"
              L"    \"Address\" = REG_SZ \"127.1\\0\" (12 bytes)\n");
}

TEST(MemoryRegistryTest, ThreadsShareOneRegistry) {
    MemoryRegistry registry;
    constexpr DWORD kRounds = 500;
    const auto work = [&](const wchar_t* name) {
        for (DWORD round = 0; round < kRounds; ++round) {
            HANDLE key = nullptr;
            ASSERT_EQ(registry.CreateKey(registry.Root(), name, 0, KEY_ALL_ACCESS, nullptr, &key,
                                         nullptr),
                      ERROR_SUCCESS);
            ASSERT_EQ(registry.SetValue(key, L"Round", REG_DWORD,
                                        reinterpret_cast<const BYTE*>(&round), sizeof(round)),
                      ERROR_SUCCESS);
            ASSERT_EQ(registry.CloseKey(key), ERROR_SUCCESS);
        }
    };
    std::thread other([&] { work(L"other"); });
    work(L"this");
    other.join();
    EXPECT_EQ(registry.GetDword(registry.Root(), L"other", L"Round"), kRounds - 1);
    EXPECT_EQ(registry.GetDword(registry.Root(), L"this", L"Round"), kRounds - 1);
    EXPECT_EQ(registry.OpenKeyCount(), 0u);
}

}  // namespace
}  // namespace ksp::host
