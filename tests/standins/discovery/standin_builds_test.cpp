// The builds of the stand-in, each with its own set of exports.

#include <gtest/gtest.h>

#include <set>
#include <string>

#include "tests/host/discovery_control.h"

namespace ksp::test {
namespace {

DiscoveryFunction Export(int number) {
    return static_cast<DiscoveryFunction>(number);
}

HMODULE LoadFrom(const std::wstring& directory) {
    return LoadLibraryW((directory + L"\\KSSTRMAPIe.dll").c_str());
}

std::set<std::string> ExportsOf(HMODULE module) {
    std::set<std::string> found;
    for (int i = 0; i < DiscoveryExportCount; ++i) {
        if (GetProcAddress(module, ExportName(Export(i))) != nullptr) {
            found.insert(ExportName(Export(i)));
        }
    }
    return found;
}

TEST(DiscoveryStandinBuilds, EachLacksTheExportItIsNamedAfterAndNoOther) {
    const HMODULE full = LoadFrom(DiscoveryControl::FullDirectory());
    ASSERT_NE(full, nullptr);
    const std::set<std::string> all = ExportsOf(full);
    EXPECT_EQ(all.size(), size_t{DiscoveryExportCount});
    for (int i = 0; i < DiscoveryExportCount; ++i) {
        const HMODULE module = LoadFrom(DiscoveryControl::DirectoryWithout(Export(i)));
        ASSERT_NE(module, nullptr) << ExportName(Export(i));
        std::set<std::string> expected = all;
        expected.erase(ExportName(Export(i)));
        EXPECT_EQ(ExportsOf(module), expected);
    }
}

TEST(DiscoveryStandinBuilds, AreLibrariesOfTheirOwnInOneProcess) {
    std::set<HMODULE> modules = {LoadFrom(DiscoveryControl::FullDirectory())};
    for (int i = 0; i < DiscoveryExportCount; ++i) {
        modules.insert(LoadFrom(DiscoveryControl::DirectoryWithout(Export(i))));
    }
    EXPECT_FALSE(modules.contains(nullptr));
    EXPECT_EQ(modules.size(), size_t{DiscoveryExportCount} + 1);

    DiscoveryControl full;
    DiscoveryControl partial;
    ASSERT_TRUE(full.Connect());
    ASSERT_TRUE(partial.Connect(DiscoveryControl::DirectoryWithout(DiscoveryRecvStream)));
    full.AddDevice({.address = "127.0.0.2"});
    EXPECT_FALSE(partial.RemoveDevice("127.0.0.2"));
    EXPECT_TRUE(full.RemoveDevice("127.0.0.2"));
}

TEST(DiscoveryStandinBuilds, AreNotFoundWhereThereIsNone) {
    DiscoveryControl control;
    EXPECT_FALSE(control.Connect(DiscoveryControl::FullDirectory() + L"\\nowhere"));
}

}  // namespace
}  // namespace ksp::test
