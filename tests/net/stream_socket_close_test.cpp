#include <gtest/gtest.h>

#include "tests/net/stream_socket_test.h"

namespace ksp::test {
namespace {

using Ending = standins::PrinterConnection::Ending;

class StreamSocketCloseTest : public StreamSocketTest {
  protected:
    static constexpr size_t kDocumentSize = 64 * 1024;

    // Says something at once and takes its time with the document.
    static PrinterBehavior SlowTalker() {
        return {.read_size = 2048,
                .read_pause = 20,
                .receive_buffer = 4096,
                .greeting = std::string(1000, 'G')};
    }
    // Connects, leaves the printer's greeting unread but for its first byte, and sends.
    static void SendDocument(CSLStreamSocket& socket) {
        ASSERT_EQ(socket.connect(), 0u);
        char first = 0;
        ASSERT_EQ(socket.recv(&first, 1, 20), 1);
        const std::vector<char> document(kDocumentSize, 'D');
        ASSERT_EQ(socket.send(document.data(), static_cast<std::int32_t>(kDocumentSize), 20),
                  static_cast<std::int32_t>(kDocumentSize));
    }
};

TEST_F(StreamSocketCloseTest, ClosingWhatWasNeverConnectedDoesNothing) {
    CSLStreamSocket socket(AddressOf("127.0.0.1"), 9100);
    EXPECT_EQ(socket.close(), 0u);
    EXPECT_EQ(ReadLog().Messages(LineLevel::kInfo), std::vector<std::wstring>());
}

TEST_F(StreamSocketCloseTest, EndsTheConnectionOnce) {
    LoopbackPrinter printer;
    CSLStreamSocket socket(AddressOf(printer.address()), printer.port());
    ASSERT_EQ(socket.connect(), 0u);
    EXPECT_EQ(socket.close(), 0u);
    EXPECT_FALSE(socket.IsConnected());
    EXPECT_EQ(socket.Get(), INVALID_SOCKET);
    EXPECT_EQ(EndingOf(printer), Ending::kByPeer);
    EXPECT_EQ(socket.close(), 0u);
    EXPECT_EQ(ReadLog().Messages(LineLevel::kError), std::vector<std::wstring>());
}

TEST_F(StreamSocketCloseTest, TheDestructorCloses) {
    LoopbackPrinter printer;
    {
        CSLStreamSocket socket(AddressOf(printer.address()), printer.port());
        ASSERT_EQ(socket.connect(), 0u);
        ASSERT_EQ(socket.send("last words", 10, 1), 10);
    }
    EXPECT_EQ(EndingOf(printer), Ending::kByPeer);
    EXPECT_EQ(printer.received().size(), 10u);
}

TEST_F(StreamSocketCloseTest, TheDestructorReadsWhatThePrinterSays) {
    LoopbackPrinter printer(SlowTalker());
    {
        CSLStreamSocket socket(AddressOf(printer.address()), printer.port());
        SendDocument(socket);
    }
    EXPECT_EQ(EndingOf(printer), Ending::kByPeer);
    EXPECT_EQ(printer.received().size(), kDocumentSize);
}

TEST_F(StreamSocketCloseTest, APendingConnectionIsGivenUp) {
    LoopbackPrinter printer({.answer = PrinterBehavior::Answer::kNeverAnswer});
    CSLStreamSocket socket(AddressOf(printer.address()), printer.port());
    ASSERT_EQ(socket.connect(), static_cast<DWORD>(ERROR_TIMEOUT));
    EXPECT_EQ(socket.close(), 0u);
    EXPECT_EQ(socket.Get(), INVALID_SOCKET);
}

TEST_F(StreamSocketCloseTest, WhatWasSentArrivesAtASlowPrinter) {
    LoopbackPrinter printer({.read_size = 4096, .read_pause = 20});
    CSLStreamSocket socket(AddressOf(printer.address()), printer.port());
    ASSERT_EQ(socket.connect(), 0u);
    const std::vector<char> document(kDocumentSize, 'D');
    ASSERT_EQ(socket.send(document.data(), static_cast<std::int32_t>(kDocumentSize), 20),
              static_cast<std::int32_t>(kDocumentSize));
    EXPECT_EQ(socket.close(), 0u);
    EXPECT_EQ(EndingOf(printer), Ending::kByPeer);
    EXPECT_EQ(printer.received().size(), kDocumentSize);
}

// A socket that is closed with bytes still unread resets the connection, and with it goes what is
// still on its way to the printer.
TEST_F(StreamSocketCloseTest, WhatThePrinterSaysIsReadBeforeTheEnd) {
    LoopbackPrinter printer(SlowTalker());
    CSLStreamSocket socket(AddressOf(printer.address()), printer.port());
    SendDocument(socket);
    EXPECT_EQ(socket.close(), 0u);
    EXPECT_EQ(EndingOf(printer), Ending::kByPeer);
    EXPECT_EQ(printer.received().size(), kDocumentSize);
}

TEST_F(StreamSocketCloseTest, APrinterThatHasClosedFirstIsNoError) {
    LoopbackPrinter printer({.close_after = 0});
    CSLStreamSocket socket(AddressOf(printer.address()), printer.port());
    ASSERT_EQ(socket.connect(), 0u);
    ASSERT_TRUE(printer.WaitForEndings(1));
    EXPECT_EQ(socket.close(), 0u);
    EXPECT_EQ(socket.Get(), INVALID_SOCKET);
}

// Systems differ in what they say of such a connection when it is shut down.
TEST_F(StreamSocketCloseTest, AResetConnectionIsClosedAllTheSame) {
    LoopbackPrinter printer({.reset_after = 0});
    CSLStreamSocket socket(AddressOf(printer.address()), printer.port());
    ASSERT_EQ(socket.connect(), 0u);
    ASSERT_TRUE(printer.WaitForEndings(1));
    static_cast<void>(socket.close());
    EXPECT_EQ(socket.Get(), INVALID_SOCKET);
    EXPECT_FALSE(socket.IsConnected());
    EXPECT_EQ(socket.LocalPort(), 0);
}

TEST_F(StreamSocketCloseTest, AFailureWhileWaitingForThePrinterIsReturned) {
    LoopbackPrinter printer({.greeting = kGreeting});
    CSLStreamSocket socket(AddressOf(printer.address()), printer.port());
    ASSERT_EQ(socket.connect(), 0u);
    ASSERT_EQ(shutdown(socket.Get(), SD_RECEIVE), 0);
    const std::uint32_t result = socket.close();
    EXPECT_EQ(result, static_cast<DWORD>(WSAESHUTDOWN));
    EXPECT_EQ(Count(LineLevel::kInfo, L"Error in ::recv call. Err msg =" + SystemText(result)), 1u)
        << ReadLog().Describe();
    EXPECT_EQ(socket.Get(), INVALID_SOCKET);
    EXPECT_FALSE(socket.IsConnected());
    EXPECT_EQ(socket.LocalPort(), 0);
}

TEST_F(StreamSocketCloseTest, EveryStepOnALostSocketIsLogged) {
    LoopbackPrinter printer;
    CSLStreamSocket socket(AddressOf(printer.address()), printer.port());
    ASSERT_EQ(socket.connect(), 0u);
    Invalidate(socket);
    EXPECT_EQ(socket.close(), static_cast<DWORD>(WSAENOTSOCK));
    EXPECT_EQ(Count(LineLevel::kInfo, L"Error while setting the socket mode."), 1u);
    EXPECT_EQ(Count(LineLevel::kError, L"Error in ::setsockopt,SO_LINGER call."), 1u);
    EXPECT_EQ(
        Count(LineLevel::kInfo, L"Error in ::shutdown call. Err msg =" + SystemText(WSAENOTSOCK)),
        1u)
        << ReadLog().Describe();
}

TEST_F(StreamSocketCloseTest, ALostUnconnectedSocketCannotBeClosed) {
    LoopbackPrinter printer({.answer = PrinterBehavior::Answer::kRefuse});
    CSLStreamSocket socket(AddressOf(printer.address()), printer.port());
    ASSERT_EQ(socket.connect(), static_cast<DWORD>(WSAECONNREFUSED));
    Invalidate(socket);
    EXPECT_EQ(socket.close(), static_cast<DWORD>(WSAENOTSOCK));
    EXPECT_EQ(Count(LineLevel::kInfo, L"Error in ::closesocket call."), 1u);
    EXPECT_EQ(socket.close(), 0u) << "the handle is forgotten";
}

// Two sayings a second, none of them the last: it reads slowly what came before the end. The wait
// for its silence ends all the same.
TEST_F(StreamSocketCloseTest, APrinterThatTalksForEverIsLeft) {
    LoopbackPrinter printer({.read_size = 1,
                             .read_pause = 500,
                             .responder = [](const std::vector<uint8_t>&) { return "paper?"; }});
    CSLStreamSocket socket(AddressOf(printer.address()), printer.port());
    ASSERT_EQ(socket.connect(), 0u);
    const std::vector<char> document(4096, 'D');
    ASSERT_EQ(socket.send(document.data(), 4096, 1), 4096);
    EXPECT_EQ(socket.close(), 0u);
    EXPECT_EQ(socket.Get(), INVALID_SOCKET);
    EXPECT_LT(printer.received().size(), document.size()) << "the printer was done and ended it";
}

}  // namespace
}  // namespace ksp::test
