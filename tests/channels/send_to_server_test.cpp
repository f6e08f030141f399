#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "tests/channels/bare_channel.h"
#include "tests/channels/recording_ports.h"
#include "tests/net/net_test.h"

namespace ksp::test {
namespace {

using standins::LoopbackPrinter;
using standins::PrinterBehavior;

class SendToServerTest : public NetTest {
  protected:
    void Connect(LoopbackPrinter& printer) {
        ASSERT_TRUE(printer.ready());
        channel_.UseSocket(
            std::make_unique<CSLStreamSocket>(AddressOf(printer.address()), printer.port()));
        ASSERT_EQ(channel_.socket().connect(), 0u);
    }
    // The system then takes little more than what the printer has read.
    void SetSendBuffer(int bytes) {
        ASSERT_EQ(setsockopt(channel_.socket().Get(), SOL_SOCKET, SO_SNDBUF,
                             reinterpret_cast<const char*>(&bytes), sizeof(bytes)),
                  0);
    }
    std::int32_t Send(const std::vector<char>& data) {
        return channel_.SendToServer(data.data(), static_cast<std::int32_t>(data.size()));
    }
    size_t GivenUp() const {
        return Count(LineLevel::kTrace, L"send to server : over retry count");
    }
    size_t Failed() const { return Count(LineLevel::kTrace, L"send to server : send error"); }

    RecordingPorts ports_;
    BareChannel channel_{ports_};
};

TEST_F(SendToServerTest, NoBufferIsAFailure) {
    EXPECT_EQ(channel_.SendToServer(nullptr, 100), -1);
    EXPECT_EQ(channel_.SendToServer(nullptr, 0), -1);
    EXPECT_EQ(Failed(), 0u);
}

TEST_F(SendToServerTest, NothingToSendIsSent) {
    const char data = 'x';
    EXPECT_EQ(channel_.SendToServer(&data, 0), 0);
    EXPECT_EQ(channel_.SendToServer(&data, -1), 0);
    EXPECT_EQ(Failed(), 0u) << "a channel without a connection tried to send";
}

TEST_F(SendToServerTest, WithoutAConnectionNothingIsSent) {
    EXPECT_EQ(Send({'x'}), -1);
    EXPECT_EQ(Failed(), 1u);
}

TEST_F(SendToServerTest, EverythingIsSentHoweverLittleThePrinterTakesAtOnce) {
    LoopbackPrinter printer({.read_size = 64 * 1024, .read_pause = 1, .receive_buffer = 16384});
    Connect(printer);
    SetSendBuffer(16384);
    std::vector<char> data(1024 * 1024);
    for (size_t i = 0; i < data.size(); ++i) {
        data[i] = static_cast<char>(i * 7 + i / 256);
    }
    ASSERT_EQ(Send(data), static_cast<std::int32_t>(data.size()));
    ASSERT_TRUE(printer.WaitForBytes(data.size()));
    const std::vector<uint8_t> received = printer.received();
    EXPECT_TRUE(
        std::equal(received.begin(), received.end(), data.begin(), data.end(),
                   [](uint8_t left, char right) { return left == static_cast<uint8_t>(right); }));
    EXPECT_EQ(GivenUp(), 0u);
}

TEST_F(SendToServerTest, ALostConnectionIsAFailure) {
    LoopbackPrinter printer({.reset_after = 0});
    Connect(printer);
    ASSERT_TRUE(printer.WaitForEndings(1));
    EXPECT_EQ(Send({'x'}), -1);
    EXPECT_EQ(Failed(), 1u);
}

TEST_F(SendToServerTest, APrinterThatTakesNoMoreIsGivenUpWithWhatItTook) {
    LoopbackPrinter printer({.reads = false, .receive_buffer = 4096});
    Connect(printer);
    const std::vector<char> data(32 * 1024 * 1024, 'D');
    const std::int32_t sent = Send(data);
    EXPECT_GT(sent, 0);
    EXPECT_LT(sent, static_cast<std::int32_t>(data.size()));
    EXPECT_EQ(GivenUp(), 1u);
    EXPECT_EQ(Failed(), 0u);
    printer.StartReading();
    channel_.UseSocket(nullptr);
    ASSERT_TRUE(printer.WaitForEndings(1));
    EXPECT_EQ(printer.received().size(), static_cast<size_t>(sent));
}

// The printer reads every second and a half, the channel waits for one second: each of its waits
// fails and is followed by a success, and the second failure is the last.
TEST_F(SendToServerTest, TimeOutsCountOverTheWholeCall) {
    LoopbackPrinter printer({.read_size = 1024 * 1024, .read_pause = 1500, .receive_buffer = 8192});
    Connect(printer);
    SetSendBuffer(8192);
    const std::vector<char> data(512 * 1024, 'D');
    const std::int32_t sent = Send(data);
    EXPECT_GT(sent, 0);
    EXPECT_LT(sent, static_cast<std::int32_t>(data.size()));
    EXPECT_EQ(GivenUp(), 1u);
}

// One time-out is none too many.
TEST_F(SendToServerTest, ATimeOutInBetweenIsForgiven) {
    LoopbackPrinter printer({.reads = false, .receive_buffer = 8192});
    Connect(printer);
    SetSendBuffer(8192);
    SetReplyTimeout(3);
    const std::vector<char> data(512 * 1024, 'D');
    std::thread late([&] {
        Sleep(4500);
        printer.StartReading();
    });
    EXPECT_EQ(Send(data), static_cast<std::int32_t>(data.size()));
    late.join();
    EXPECT_EQ(GivenUp(), 0u);
}

TEST_F(SendToServerTest, AReplyTimeoutOfZeroWaitsForThePrinter) {
    LoopbackPrinter printer({.reads = false, .receive_buffer = 8192});
    Connect(printer);
    SetSendBuffer(8192);
    SetReplyTimeout(0);
    const std::vector<char> data(512 * 1024, 'D');
    std::thread late([&] {
        Sleep(500);
        printer.StartReading();
    });
    EXPECT_EQ(Send(data), static_cast<std::int32_t>(data.size()));
    late.join();
}

}  // namespace
}  // namespace ksp::test
