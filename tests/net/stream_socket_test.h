#pragma once

#include "net/stream_socket.h"
#include "tests/net/net_test.h"

namespace ksp::test {

// Connections to a loopback printer.
class StreamSocketTest : public NetTest {
  protected:
    using LoopbackPrinter = standins::LoopbackPrinter;
    using PrinterBehavior = standins::PrinterBehavior;
    using PrinterConnection = standins::PrinterConnection;

    // Takes the handle away, so that whatever the socket does next fails with WSAENOTSOCK.
    static void Invalidate(CSLStreamSocket& socket) { ASSERT_EQ(closesocket(socket.Get()), 0); }

    // Sends until nothing more is taken; the bytes taken.
    static size_t Fill(CSLStreamSocket& socket) {
        const std::vector<char> block(256 * 1024, 'F');
        size_t total = 0;
        for (std::int32_t sent = 1; sent > 0;) {
            sent = socket.send(block.data(), static_cast<std::int32_t>(block.size()), 1);
            EXPECT_GE(sent, 0);
            total += sent > 0 ? static_cast<size_t>(sent) : 0;
        }
        return total;
    }

    static PrinterConnection::Ending EndingOf(LoopbackPrinter& printer) {
        EXPECT_TRUE(printer.WaitForEndings(1));
        return printer.connections().at(0).ending;
    }

    static constexpr char kGreeting[] = "READY";
};

}  // namespace ksp::test
