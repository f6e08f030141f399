#include "net/socket_library.h"

#include <gtest/gtest.h>

#include "tests/net/net_test.h"

namespace ksp::test {
namespace {

class SocketLibraryTest : public NetTest {
  protected:
    static bool SocketsWork() {
        const SOCKET socket = ::socket(AF_INET, SOCK_STREAM, 0);
        return socket != INVALID_SOCKET && closesocket(socket) == 0;
    }
};

TEST_F(SocketLibraryTest, LivesAsLongAsItsOwner) {
    StopSockets();
    ASSERT_FALSE(SocketsWork()) << "somebody else has started the library";
    {
        CSocketLibrary library;
        EXPECT_FALSE(SocketsWork());
        EXPECT_TRUE(library.StartupSockets());
        EXPECT_TRUE(SocketsWork());
    }
    EXPECT_FALSE(SocketsWork());
}

// A second start that counted would keep the library after its owner.
TEST_F(SocketLibraryTest, StartsOnce) {
    StopSockets();
    {
        CSocketLibrary library;
        EXPECT_TRUE(library.StartupSockets());
        EXPECT_TRUE(library.StartupSockets());
    }
    EXPECT_FALSE(SocketsWork());
}

}  // namespace
}  // namespace ksp::test
