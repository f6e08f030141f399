#include <gtest/gtest.h>

#include <array>
#include <thread>

#include "tests/net/stream_socket_test.h"

namespace ksp::test {
namespace {

class StreamSocketTransferTest : public StreamSocketTest {
  protected:
    // Connected to the printer.
    static std::unique_ptr<CSLStreamSocket> Connect(const LoopbackPrinter& printer) {
        EXPECT_TRUE(printer.ready());
        auto socket =
            std::make_unique<CSLStreamSocket>(AddressOf(printer.address()), printer.port());
        EXPECT_EQ(socket->connect(), 0u);
        return socket;
    }

    std::array<char, 64> buffer_{};
    static constexpr std::int32_t kBufferSize = 64;
};

TEST_F(StreamSocketTransferTest, SendsBytes) {
    LoopbackPrinter printer;
    const auto socket = Connect(printer);
    EXPECT_EQ(socket->send("document", 8, 1), 8);
    ASSERT_TRUE(printer.WaitForBytes(8));
    EXPECT_EQ(printer.received(), std::vector<uint8_t>({'d', 'o', 'c', 'u', 'm', 'e', 'n', 't'}));
}

TEST_F(StreamSocketTransferTest, SendingNothingDoesNotTouchTheSocket) {
    CSLStreamSocket socket(AddressOf("127.0.0.1"), 9100);
    EXPECT_EQ(socket.send("x", 0, 1), 0);
    EXPECT_EQ(socket.send("x", 1, 1), -1) << "there is a socket where there should be none";
}

TEST_F(StreamSocketTransferTest, APrinterThatTakesNothingMoreTakesNothing) {
    LoopbackPrinter printer({.reads = false, .receive_buffer = 4096});
    const auto socket = Connect(printer);
    const size_t taken = Fill(*socket);
    EXPECT_GT(taken, 0u);
    EXPECT_EQ(socket->send("x", 1, 0), 0) << "a time-out of 0 looks and does not wait";
    EXPECT_EQ(socket->send("x", 1, 1), 0);
    printer.StartReading();
    EXPECT_TRUE(printer.WaitForBytes(taken));
    EXPECT_EQ(socket->send("x", 1, 20), 1);
}

// What does not fit is the caller's to offer again.
TEST_F(StreamSocketTransferTest, ABigBlockIsTakenInPart) {
    LoopbackPrinter printer({.reads = false, .receive_buffer = 4096});
    const auto socket = Connect(printer);
    const std::vector<char> block(32 * 1024 * 1024, 'B');
    const std::int32_t sent =
        socket->send(block.data(), static_cast<std::int32_t>(block.size()), 1);
    EXPECT_GT(sent, 0);
    EXPECT_LT(sent, static_cast<std::int32_t>(block.size()));
    printer.StartReading();
    EXPECT_EQ(socket->close(), 0u);
    ASSERT_TRUE(printer.WaitForEndings(1));
    EXPECT_EQ(printer.received().size(), static_cast<size_t>(sent));
}

TEST_F(StreamSocketTransferTest, SendingWaitsForAPrinterThatReadsLater) {
    LoopbackPrinter printer({.reads = false, .receive_buffer = 4096});
    const auto socket = Connect(printer);
    Fill(*socket);
    std::thread late([&] {
        Sleep(300);
        printer.StartReading();
    });
    EXPECT_EQ(socket->send("x", 1, 20), 1);
    late.join();
}

TEST_F(StreamSocketTransferTest, SendingToAResetConnectionFails) {
    LoopbackPrinter printer({.reset_after = 0});
    const auto socket = Connect(printer);
    ASSERT_TRUE(printer.WaitForEndings(1));
    EXPECT_EQ(socket->send("x", 1, 1), -1);
}

TEST_F(StreamSocketTransferTest, ReceivesWhatThePrinterSends) {
    LoopbackPrinter printer({.greeting = kGreeting});
    const auto socket = Connect(printer);
    ASSERT_EQ(socket->recv(buffer_.data(), kBufferSize, 20), 5);
    EXPECT_EQ(std::string(buffer_.data(), 5), kGreeting);
}

TEST_F(StreamSocketTransferTest, ReceivesNoMoreThanThereIsRoomFor) {
    LoopbackPrinter printer({.greeting = kGreeting});
    const auto socket = Connect(printer);
    EXPECT_EQ(socket->recv(buffer_.data(), 2, 20), 2);
    EXPECT_EQ(socket->recv(buffer_.data(), kBufferSize, 20), 3);
    EXPECT_EQ(std::string(buffer_.data(), 3), "ADY");
}

TEST_F(StreamSocketTransferTest, ASilentPrinterTimesOut) {
    LoopbackPrinter printer;
    const auto socket = Connect(printer);
    EXPECT_EQ(socket->recv(buffer_.data(), kBufferSize, 0), 0);
    EXPECT_EQ(socket->recv(buffer_.data(), kBufferSize, 1), 0);
}

TEST_F(StreamSocketTransferTest, APrinterThatHasClosedSendsNothing) {
    LoopbackPrinter printer({.close_after = 0});
    const auto socket = Connect(printer);
    ASSERT_TRUE(printer.WaitForEndings(1));
    EXPECT_EQ(socket->recv(buffer_.data(), kBufferSize, 20), 0);
}

TEST_F(StreamSocketTransferTest, ReceivingOnAClosedSideFails) {
    LoopbackPrinter printer({.greeting = kGreeting});
    const auto socket = Connect(printer);
    ASSERT_EQ(shutdown(socket->Get(), SD_RECEIVE), 0);
    EXPECT_EQ(socket->recv(buffer_.data(), kBufferSize, 20), -1);
}

TEST_F(StreamSocketTransferTest, ReceivingWithoutASocketFails) {
    CSLStreamSocket socket(AddressOf("127.0.0.1"), 9100);
    EXPECT_EQ(socket.recv(buffer_.data(), kBufferSize, 1), -1);
}

}  // namespace
}  // namespace ksp::test
