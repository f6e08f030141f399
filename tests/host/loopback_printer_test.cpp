#include "tests/standins/loopback_printer.h"

#include <gtest/gtest.h>

#include <windows.h>

namespace ksp::standins {
namespace {

using Answer = PrinterBehavior::Answer;
using Ending = PrinterConnection::Ending;

constexpr int kSoon = 10000;   // milliseconds that something may take that is to come
constexpr int kAWhile = 1000;  // milliseconds without something that is not to come

// The peer's side of a connection, as a monitor holds it.
class Peer {
  public:
    explicit Peer(const LoopbackPrinter& printer)
        : socket_(StartConnecting({printer.address(), printer.port()})) {}

    [[nodiscard]] bool started() const { return socket_.valid(); }
    [[nodiscard]] bool WaitForConnection(int milliseconds) const {
        return WaitUntilReady(socket_, Readiness::kWritable, milliseconds);
    }
    [[nodiscard]] int Send(const std::string& bytes) const {
        return send(socket_.get(), bytes.data(), static_cast<int>(bytes.size()), 0);
    }
    // -2 when nothing comes, else what recv answers.
    int Receive(std::string* bytes) const {
        if (!WaitUntilReady(socket_, Readiness::kReadable, kSoon)) {
            return -2;
        }
        char buffer[4096];
        const int count = recv(socket_.get(), buffer, sizeof(buffer), 0);
        if (count > 0) {
            bytes->append(buffer, static_cast<size_t>(count));
        }
        return count;
    }
    // Sends until the system takes no more; how much that was.
    [[nodiscard]] size_t SendUntilFull() const {
        const std::string block(16384, 'x');
        size_t total = 0;
        while (total < (64u << 20) && WaitUntilReady(socket_, Readiness::kWritable, 300)) {
            const int count = Send(block);
            if (count <= 0) {
                break;
            }
            total += static_cast<size_t>(count);
        }
        return total;
    }
    [[nodiscard]] uint16_t port() const { return BoundPort(socket_); }
    void Close() { socket_.Close(); }

  private:
    SocketLibrary library_;
    Socket socket_;
};

std::string Text(const std::vector<uint8_t>& bytes) {
    return {bytes.begin(), bytes.end()};
}

TEST(LoopbackPrinterTest, RecordsEveryConnection) {
    LoopbackPrinter printer;
    ASSERT_TRUE(printer.ready());
    EXPECT_EQ(printer.port(), LoopbackPrinter::kRawPort);
    for (const char* text : {"first", "second"}) {
        Peer peer(printer);
        ASSERT_TRUE(peer.WaitForConnection(kSoon));
        EXPECT_EQ(peer.Send(text), static_cast<int>(strlen(text)));
        ASSERT_TRUE(printer.WaitForConnections(text[0] == 'f' ? 1 : 2));
        EXPECT_EQ(printer.connections().back().peer_port, peer.port());
        EXPECT_EQ(printer.connections().back().ending, Ending::kOpen);
        peer.Close();
        ASSERT_TRUE(printer.WaitForEndings(text[0] == 'f' ? 1 : 2));
    }
    const auto connections = printer.connections();
    ASSERT_EQ(connections.size(), 2u);
    EXPECT_EQ(Text(connections[0].received), "first");
    EXPECT_EQ(Text(connections[1].received), "second");
    EXPECT_EQ(connections[0].ending, Ending::kByPeer);
    EXPECT_EQ(Text(printer.received()), "firstsecond");
}

TEST(LoopbackPrinterTest, TwoPrintersShareAPortOnTheirOwnAddresses) {
    LoopbackPrinter one;
    LoopbackPrinter two;
    ASSERT_TRUE(one.ready());
    ASSERT_TRUE(two.ready());
    EXPECT_NE(one.address(), two.address());
    EXPECT_EQ(one.port(), two.port());
    const LoopbackPrinter third({}, {one.address(), one.port()});
    EXPECT_FALSE(third.ready()) << "the address was taken twice";
}

TEST(LoopbackPrinterTest, RefusesConnections) {
    LoopbackPrinter printer({.answer = Answer::kRefuse});
    ASSERT_TRUE(printer.ready());
    const Peer peer(printer);
    EXPECT_FALSE(peer.WaitForConnection(kAWhile));
    EXPECT_TRUE(printer.connections().empty());
}

TEST(LoopbackPrinterTest, NeverAnswersUntilItIsLetTo) {
    LoopbackPrinter printer({.answer = Answer::kNeverAnswer});
    ASSERT_TRUE(printer.ready());
    const Peer peer(printer);
    ASSERT_TRUE(peer.started());
    EXPECT_FALSE(peer.WaitForConnection(kAWhile));

    printer.StartAnswering();
    ASSERT_TRUE(peer.WaitForConnection(LoopbackPrinter::kPatience));
    EXPECT_EQ(peer.Send("late"), 4);
    ASSERT_TRUE(printer.WaitForBytes(4));
    ASSERT_EQ(printer.connections().size(), 1u) << "what fills the queue is no connection";
    EXPECT_EQ(Text(printer.received()), "late");
}

TEST(LoopbackPrinterTest, ReadsNothingUntilItIsLetTo) {
    LoopbackPrinter printer({.reads = false, .receive_buffer = 4096});
    ASSERT_TRUE(printer.ready());
    Peer peer(printer);
    ASSERT_TRUE(peer.WaitForConnection(kSoon));
    const size_t sent = peer.SendUntilFull();
    EXPECT_LT(sent, 64u << 20) << "the connection never filled up";
    EXPECT_TRUE(printer.received().empty());

    printer.StartReading();
    ASSERT_TRUE(printer.WaitForBytes(sent));
    EXPECT_TRUE(peer.WaitForConnection(kSoon)) << "the connection takes bytes again";
}

TEST(LoopbackPrinterTest, ReadsInSmallPortions) {
    size_t reads = 0;
    PrinterBehavior behavior{.read_size = 3, .read_pause = 1};
    behavior.responder = [&](const std::vector<uint8_t>&) {
        ++reads;
        return std::string();
    };
    {
        LoopbackPrinter printer(behavior);
        ASSERT_TRUE(printer.ready());
        const Peer peer(printer);
        ASSERT_TRUE(peer.WaitForConnection(kSoon));
        EXPECT_EQ(peer.Send("0123456789"), 10);
        ASSERT_TRUE(printer.WaitForBytes(10));
        EXPECT_EQ(Text(printer.received()), "0123456789");
    }
    EXPECT_GE(reads, 4u);
}

TEST(LoopbackPrinterTest, ClosesAfterSoManyBytes) {
    LoopbackPrinter printer({.close_after = 4});
    ASSERT_TRUE(printer.ready());
    const Peer peer(printer);
    ASSERT_TRUE(peer.WaitForConnection(kSoon));
    EXPECT_EQ(peer.Send("1234"), 4);
    std::string bytes;
    EXPECT_EQ(peer.Receive(&bytes), 0) << "an orderly end";
    EXPECT_EQ(peer.Send("5"), 1) << "of the printer's half only";
    ASSERT_TRUE(printer.WaitForEndings(1));
    EXPECT_EQ(printer.connections()[0].ending, Ending::kByPrinter);
    EXPECT_EQ(Text(printer.received()), "1234");
}

TEST(LoopbackPrinterTest, ResetsAfterSoManyBytes) {
    LoopbackPrinter printer({.reset_after = 4});
    ASSERT_TRUE(printer.ready());
    const Peer peer(printer);
    ASSERT_TRUE(peer.WaitForConnection(kSoon));
    EXPECT_EQ(peer.Send("1234"), 4);
    // The reset itself may already have been taken note of on the peer's behalf, in which case
    // reading tells no more than the end; sending tells an end and a reset apart.
    std::string bytes;
    ASSERT_NE(peer.Receive(&bytes), -2);
    EXPECT_EQ(peer.Send("7"), SOCKET_ERROR);
    EXPECT_EQ(Text(printer.received()), "1234");
}

TEST(LoopbackPrinterTest, HangsUpWhenToldTo) {
    LoopbackPrinter printer;
    ASSERT_TRUE(printer.ready());
    const Peer peer(printer);
    ASSERT_TRUE(printer.WaitForConnections(1));
    printer.HangUp();
    std::string bytes;
    EXPECT_EQ(peer.Receive(&bytes), 0);
    const Peer next(printer);
    EXPECT_TRUE(printer.WaitForConnections(2)) << "it accepts on";
}

TEST(LoopbackPrinterTest, GreetsAndAnswers) {
    PrinterBehavior behavior{.greeting = "hello"};
    behavior.responder = [](const std::vector<uint8_t>& received) {
        return received.size() >= 3 ? std::string("done") : std::string();
    };
    LoopbackPrinter printer(behavior);
    ASSERT_TRUE(printer.ready());
    const Peer peer(printer);
    std::string bytes;
    ASSERT_GT(peer.Receive(&bytes), 0);
    EXPECT_EQ(bytes, "hello");
    EXPECT_EQ(peer.Send("ab"), 2);
    ASSERT_TRUE(printer.WaitForBytes(2));
    EXPECT_EQ(peer.Send("c"), 1);
    ASSERT_GT(peer.Receive(&bytes), 0);
    EXPECT_EQ(bytes, "hellodone");
}

TEST(LoopbackPrinterTest, SendsForEver) {
    LoopbackPrinter printer({.sends_forever = true});
    ASSERT_TRUE(printer.ready());
    const Peer peer(printer);
    std::string bytes;
    while (bytes.size() < 100000) {
        ASSERT_GT(peer.Receive(&bytes), 0);
    }
}

TEST(LoopbackPrinterTest, EndsWhateverIsUnderWay) {
    Socket socket;
    SocketLibrary library;
    {
        LoopbackPrinter printer({.reads = false});
        ASSERT_TRUE(printer.ready());
        socket = StartConnecting({printer.address(), printer.port()});
        ASSERT_TRUE(printer.WaitForConnections(1));
    }
    EXPECT_TRUE(WaitUntilReady(socket, Readiness::kReadable, kSoon)) << "the end of the connection";
}

}  // namespace
}  // namespace ksp::standins
