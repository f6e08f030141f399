#include <gtest/gtest.h>

#include <optional>

#include "tests/net/stream_socket_test.h"

namespace ksp::test {
namespace {

using standins::BoundPort;
using standins::Endpoint;
using standins::Socket;

class StreamSocketConnectTest : public StreamSocketTest {
  protected:
    // A port that nobody has at the moment.
    static uint16_t FreePort(const std::string& address) {
        return BoundPort(standins::BindTo({address, 0}));
    }
};

TEST_F(StreamSocketConnectTest, BeforeConnectThereIsNoSocket) {
    const CSLStreamSocket socket(AddressOf("127.0.0.1"), 9100);
    EXPECT_EQ(socket.Get(), INVALID_SOCKET);
    EXPECT_FALSE(socket.IsConnected());
    EXPECT_EQ(socket.LocalPort(), 0);
}

TEST_F(StreamSocketConnectTest, ConnectsAndRecordsTheLocalPort) {
    LoopbackPrinter printer;
    ASSERT_TRUE(printer.ready());
    CSLStreamSocket socket(AddressOf(printer.address()), printer.port());
    ASSERT_EQ(socket.connect(), 0u);
    EXPECT_TRUE(socket.IsConnected());
    EXPECT_EQ(Count(LineLevel::kInfo, L"The connect -> connection is successful"), 1u);
    ASSERT_TRUE(printer.WaitForConnections(1));
    EXPECT_NE(socket.LocalPort(), 0);
    EXPECT_EQ(socket.LocalPort(), printer.connections()[0].peer_port);

    EXPECT_EQ(socket.close(), 0u);
    EXPECT_EQ(socket.LocalPort(), 0);
}

TEST_F(StreamSocketConnectTest, BindsToTheLocalHost) {
    LoopbackPrinter printer;
    CSLIpAddr local;
    if (local.getLocalHost() != 0) {
        GTEST_SKIP() << "this computer's name has no address";
    }
    CSLStreamSocket socket(AddressOf(printer.address()), printer.port());
    ASSERT_EQ(socket.connect(), 0u);
    sockaddr_in bound{};
    int size = sizeof(bound);
    ASSERT_EQ(getsockname(socket.Get(), reinterpret_cast<sockaddr*>(&bound), &size), 0);
    EXPECT_EQ(bound.sin_addr.s_addr, local.Address().s_addr);
}

TEST_F(StreamSocketConnectTest, AKeptLocalPortStays) {
    LoopbackPrinter printer;
    const std::string own = standins::NewLoopbackAddress();
    const uint16_t port = FreePort(own);
    CSLStreamSocket socket(AddressOf(printer.address()), printer.port());
    socket.SetLocalAddress(AddressOf(own));
    socket.KeepLocalPort(port);
    ASSERT_EQ(socket.connect(), 0u) << ReadLog().Describe();
    EXPECT_EQ(socket.LocalPort(), port);
    ASSERT_TRUE(printer.WaitForConnections(1));
    EXPECT_EQ(printer.connections()[0].peer_port, port);

    EXPECT_EQ(socket.close(), 0u);
    EXPECT_EQ(socket.LocalPort(), port);
}

TEST_F(StreamSocketConnectTest, ThePortOfTheSystemsChoiceIsNotRecordedWhenNoneIsToBeKept) {
    LoopbackPrinter printer;
    CSLStreamSocket socket(AddressOf(printer.address()), printer.port());
    socket.KeepLocalPort(0);
    ASSERT_EQ(socket.connect(), 0u);
    EXPECT_EQ(socket.LocalPort(), 0);
}

TEST_F(StreamSocketConnectTest, ALocalPortInUseIsRefused) {
    LoopbackPrinter printer;
    const std::string own = standins::NewLoopbackAddress();
    const Socket holder = standins::BindTo({own, 0});
    const uint16_t port = BoundPort(holder);
    CSLStreamSocket socket(AddressOf(printer.address()), printer.port());
    socket.SetLocalAddress(AddressOf(own));
    socket.KeepLocalPort(port);
    EXPECT_EQ(socket.connect(), static_cast<DWORD>(WSAEADDRINUSE));
    EXPECT_EQ(Count(LineLevel::kInfo, L"Error in ::bind call. LocalPort =" + std::to_wstring(port) +
                                          L". Error Code =10048. Error Msg =" +
                                          SystemText(WSAEADDRINUSE)),
              1u)
        << ReadLog().Describe();
    EXPECT_NE(socket.Get(), INVALID_SOCKET) << "a failed connect leaves the socket to its owner";
    EXPECT_EQ(socket.close(), 0u);
    EXPECT_EQ(socket.Get(), INVALID_SOCKET);
}

TEST_F(StreamSocketConnectTest, AConnectedSocketStaysConnected) {
    LoopbackPrinter printer;
    CSLStreamSocket socket(AddressOf(printer.address()), printer.port());
    ASSERT_EQ(socket.connect(), 0u);
    const SOCKET first = socket.Get();
    EXPECT_EQ(socket.connect(), 0u);
    EXPECT_EQ(socket.Get(), first);
    EXPECT_EQ(Count(LineLevel::kInfo, L"The connect -> connection is successful"), 1u);
    ASSERT_TRUE(printer.WaitForConnections(1));
    EXPECT_EQ(printer.connections().size(), 1u);
}

TEST_F(StreamSocketConnectTest, ARefusalIsTheSocketsOwnError) {
    LoopbackPrinter printer({.answer = PrinterBehavior::Answer::kRefuse});
    CSLStreamSocket socket(AddressOf(printer.address()), printer.port());
    EXPECT_EQ(socket.connect(), static_cast<DWORD>(WSAECONNREFUSED));
    EXPECT_EQ(Count(LineLevel::kInfo, L"The connect -> getsockopt returned : 10061"), 1u);
    EXPECT_FALSE(socket.IsConnected());
    EXPECT_EQ(socket.LocalPort(), 0);
    EXPECT_NE(socket.Get(), INVALID_SOCKET) << "a failed connect leaves the socket to its owner";
    EXPECT_EQ(socket.close(), 0u);
    EXPECT_EQ(socket.Get(), INVALID_SOCKET);
}

// A broadcast address is none that a stream can reach, which the system says at once.
TEST_F(StreamSocketConnectTest, AnErrorThatIsKnownAtOnceIsReturned) {
    CSLStreamSocket socket(AddressOf("255.255.255.255"), 9100);
    const std::uint32_t result = socket.connect();
    EXPECT_NE(result, 0u);
    EXPECT_NE(result, static_cast<DWORD>(ERROR_TIMEOUT));
    EXPECT_NE(result, static_cast<DWORD>(WSAEWOULDBLOCK));
    EXPECT_FALSE(socket.IsConnected());
    EXPECT_EQ(socket.LocalPort(), 0);
}

TEST_F(StreamSocketConnectTest, APrinterThatDoesNotAnswerTimesOutAndMayBeWaitedForAgain) {
    LoopbackPrinter printer({.answer = PrinterBehavior::Answer::kNeverAnswer});
    ASSERT_TRUE(printer.ready());
    CSLStreamSocket socket(AddressOf(printer.address()), printer.port());
    EXPECT_EQ(socket.connect(), static_cast<DWORD>(ERROR_TIMEOUT));
    EXPECT_EQ(Count(LineLevel::kInfo, L"The connect -> select timed out.."), 1u);
    EXPECT_FALSE(socket.IsConnected());
    const SOCKET pending = socket.Get();
    ASSERT_NE(pending, INVALID_SOCKET);

    EXPECT_EQ(socket.selectforconnect(), static_cast<DWORD>(ERROR_TIMEOUT));
    EXPECT_EQ(Count(LineLevel::kInfo, L"The selectforconnect -> select timed out.."), 1u);
    EXPECT_EQ(socket.LocalPort(), 0);

    SetReplyTimeout(20);
    printer.StartAnswering();
    EXPECT_EQ(socket.selectforconnect(), 0u);
    EXPECT_EQ(Count(LineLevel::kInfo, L"The selectforconnect -> connection is successful"), 1u);
    EXPECT_EQ(socket.Get(), pending);
    EXPECT_TRUE(socket.IsConnected());
    ASSERT_TRUE(printer.WaitForConnections(1));
    EXPECT_EQ(socket.LocalPort(), printer.connections()[0].peer_port);
}

TEST_F(StreamSocketConnectTest, APendingConnectionKeepsAKeptPort) {
    LoopbackPrinter printer({.answer = PrinterBehavior::Answer::kNeverAnswer});
    const std::string own = standins::NewLoopbackAddress();
    const uint16_t port = FreePort(own);
    CSLStreamSocket socket(AddressOf(printer.address()), printer.port());
    socket.SetLocalAddress(AddressOf(own));
    socket.KeepLocalPort(port);
    ASSERT_EQ(socket.connect(), static_cast<DWORD>(ERROR_TIMEOUT));
    SetReplyTimeout(20);
    printer.StartAnswering();
    EXPECT_EQ(socket.selectforconnect(), 0u);
    EXPECT_EQ(socket.LocalPort(), port);
}

TEST_F(StreamSocketConnectTest, APendingConnectionMayStillBeRefused) {
    std::optional<LoopbackPrinter> printer(
        std::in_place, PrinterBehavior{.answer = PrinterBehavior::Answer::kNeverAnswer});
    CSLStreamSocket socket(AddressOf(printer->address()), printer->port());
    ASSERT_EQ(socket.connect(), static_cast<DWORD>(ERROR_TIMEOUT));
    printer.reset();
    SetReplyTimeout(20);
    EXPECT_EQ(socket.selectforconnect(), static_cast<DWORD>(WSAECONNREFUSED));
    EXPECT_EQ(Count(LineLevel::kInfo, L"The selectforconnect -> getsockopt returned : 10061"), 1u);
    EXPECT_FALSE(socket.IsConnected());
    EXPECT_EQ(socket.LocalPort(), 0);
}

TEST_F(StreamSocketConnectTest, WaitingOnALostSocketFails) {
    LoopbackPrinter printer({.answer = PrinterBehavior::Answer::kNeverAnswer});
    CSLStreamSocket socket(AddressOf(printer.address()), printer.port());
    ASSERT_EQ(socket.connect(), static_cast<DWORD>(ERROR_TIMEOUT));
    Invalidate(socket);
    EXPECT_EQ(socket.selectforconnect(), static_cast<DWORD>(WSAENOTSOCK));
    EXPECT_EQ(Count(LineLevel::kInfo, L"Error in ::connect call. Error code =10038.Error msg =" +
                                          SystemText(WSAENOTSOCK)),
              1u)
        << ReadLog().Describe();
}

TEST_F(StreamSocketConnectTest, ConnectsAgainAfterClose) {
    LoopbackPrinter printer;
    CSLStreamSocket socket(AddressOf(printer.address()), printer.port());
    ASSERT_EQ(socket.connect(), 0u);
    ASSERT_EQ(socket.close(), 0u);
    EXPECT_FALSE(socket.IsConnected());
    EXPECT_EQ(socket.connect(), 0u);
    EXPECT_TRUE(socket.IsConnected());
    EXPECT_TRUE(printer.WaitForConnections(2));
}

TEST_F(StreamSocketConnectTest, WithoutTheSocketsLibraryThereIsNoSocket) {
    StopSockets();
    CSLStreamSocket socket(AddressOf("127.0.0.1"), 9100);
    EXPECT_EQ(socket.connect(), static_cast<DWORD>(WSANOTINITIALISED));
    EXPECT_EQ(Count(LineLevel::kError, L"Error in ::socket call. Err msg =10093"), 1u)
        << ReadLog().Describe();
    EXPECT_EQ(socket.close(), 0u);
}

}  // namespace
}  // namespace ksp::test
