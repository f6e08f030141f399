#include "tests/host/handle_census.h"

#include <gtest/gtest.h>

#include <winsock2.h>
#include <windows.h>

#include "tests/standins/loopback_socket.h"

namespace ksp::test {
namespace {

TEST(HandleCensusTest, CountsAnEvent) {
    const HandleCensus before = CountHandles();
    HANDLE event = CreateEventW(nullptr, TRUE, TRUE, nullptr);
    EXPECT_EQ(NewHandles(before, CountHandles()), (HandleCensus{{L"Event", 1}}));
    CloseHandle(event);
    EXPECT_EQ(NewHandles(before, CountHandles()), HandleCensus());
}

TEST(HandleCensusTest, CountsASocket) {
    const standins::SocketLibrary library;
    const HandleCensus before = CountHandles();
    {
        const standins::Socket socket = standins::BindTo({"127.0.0.1", 0});
        EXPECT_EQ(NewHandles(before, CountHandles()), (HandleCensus{{L"File", 1}}));
    }
    EXPECT_EQ(NewHandles(before, CountHandles()), HandleCensus());
}

TEST(HandleCensusTest, CountsARegistryKey) {
    const HandleCensus before = CountHandles();
    HKEY key = nullptr;
    ASSERT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"Software", 0, KEY_READ, &key), ERROR_SUCCESS);
    EXPECT_EQ(NewHandles(before, CountHandles())[L"Key"], 1u);
    RegCloseKey(key);
}

}  // namespace
}  // namespace ksp::test
