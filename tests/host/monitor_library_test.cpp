#include "tools/host/monitor_library.h"

#include <gtest/gtest.h>

#include "tools/host/memory_registry.h"

namespace ksp::host {
namespace {

constexpr wchar_t kWitness[] = L"witness_monitor.dll";

class MonitorLibraryTest : public ::testing::Test {
  protected:
    std::optional<DWORD> Stored(const wchar_t* name) const {
        return registry_.GetDword(registry_.Root(), L"", name);
    }

    MemoryRegistry registry_;
};

TEST_F(MonitorLibraryTest, StartsAMonitorWithTheRegistryGiven) {
    MonitorLibrary library;
    ASSERT_TRUE(library.Load(kWitness));
    EXPECT_EQ(library.table(), nullptr);
    ASSERT_TRUE(library.Initialize(registry_));
    EXPECT_EQ(library.monitor(), reinterpret_cast<HANDLE>(ULONG_PTR{42}));
    EXPECT_NE(library.table(), nullptr);
    EXPECT_EQ(Stored(L"InitSize"), sizeof(MONITORINIT));
    EXPECT_EQ(Stored(L"RegSize"), sizeof(MONITORREG));
    EXPECT_EQ(Stored(L"Local"), 1u);
    EXPECT_FALSE(Stored(L"Shutdown"));

    EXPECT_TRUE(library.Unload());
    EXPECT_EQ(Stored(L"Shutdown"), 42u);
    EXPECT_FALSE(library.loaded());
    EXPECT_EQ(library.table(), nullptr);
    EXPECT_EQ(GetModuleHandleW(kWitness), nullptr);
}

TEST_F(MonitorLibraryTest, ShutsDownAndUnloadsWhenItGoesAway) {
    {
        MonitorLibrary library;
        ASSERT_TRUE(library.Load(kWitness));
        ASSERT_TRUE(library.Initialize(registry_));
    }
    EXPECT_EQ(Stored(L"Shutdown"), 42u);
    EXPECT_EQ(GetModuleHandleW(kWitness), nullptr);
}

TEST_F(MonitorLibraryTest, LoadsAgainAfterUnloading) {
    MonitorLibrary library;
    for (int round = 0; round < 2; ++round) {
        ASSERT_TRUE(library.Load(kWitness));
        EXPECT_FALSE(library.Load(kWitness)) << "one at a time";
        EXPECT_EQ(GetLastError(), DWORD{ERROR_ALREADY_INITIALIZED});
        ASSERT_TRUE(library.Initialize(registry_));
        EXPECT_TRUE(library.Unload());
    }
}

TEST_F(MonitorLibraryTest, TellsWhenSomebodyElseKeepsTheLibrary) {
    MonitorLibrary library;
    ASSERT_TRUE(library.Load(kWitness));
    const HMODULE other = LoadLibraryW(kWitness);
    EXPECT_FALSE(library.Unload());
    FreeLibrary(other);
}

TEST_F(MonitorLibraryTest, StartsAMonitorWithoutRegistryFunctions) {
    const std::wstring path = L"Software\\kspmon witness " + std::to_wstring(GetCurrentProcessId());
    HKEY root = nullptr;
    ASSERT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS,
                              nullptr, &root, nullptr),
              ERROR_SUCCESS);
    MonitorLibrary library;
    ASSERT_TRUE(library.Load(kWitness));
    EXPECT_TRUE(library.InitializeWithoutRegistry(root));
    DWORD size_seen = 1;
    DWORD size = sizeof(size_seen);
    EXPECT_EQ(RegQueryValueExW(root, L"RegSize", nullptr, nullptr,
                               reinterpret_cast<LPBYTE>(&size_seen), &size),
              ERROR_SUCCESS);
    EXPECT_EQ(size_seen, 0u);
    EXPECT_TRUE(library.Unload());
    RegCloseKey(root);
    RegDeleteTreeW(HKEY_CURRENT_USER, path.c_str());
}

TEST_F(MonitorLibraryTest, ReportsAMonitorThatReturnsNoTable) {
    MonitorLibrary library;
    ASSERT_TRUE(library.Load(kWitness));
    EXPECT_FALSE(library.InitializeWithNull());
    EXPECT_EQ(library.table(), nullptr);
    EXPECT_TRUE(library.Unload());
}

TEST_F(MonitorLibraryTest, RefusesWhatIsNoMonitor) {
    MonitorLibrary library;
    EXPECT_FALSE(library.Load(L"no_such_monitor.dll"));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_MOD_NOT_FOUND});
    EXPECT_FALSE(library.Load(L"winspool.drv"));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_PROC_NOT_FOUND});
    EXPECT_FALSE(library.loaded());
    EXPECT_FALSE(library.Initialize(registry_));
}

}  // namespace
}  // namespace ksp::host
