#include "net/reply_timeout.h"

#include <gtest/gtest.h>

#include <thread>

#include "net/stream_socket.h"
#include "tests/net/net_test.h"

namespace ksp::test {
namespace {

using standins::LoopbackPrinter;
using standins::PrinterBehavior;

class ReplyTimeoutTest : public NetTest {
  protected:
    // A printer that answers only after `milliseconds`; what connect says to it.
    static std::uint32_t ConnectToLatePrinter(DWORD milliseconds) {
        LoopbackPrinter printer({.answer = PrinterBehavior::Answer::kNeverAnswer});
        EXPECT_TRUE(printer.ready());
        CSLStreamSocket socket(AddressOf(printer.address()), printer.port());
        std::thread late([&] {
            Sleep(milliseconds);
            printer.StartAnswering();
        });
        const std::uint32_t result = socket.connect();
        late.join();
        return result;
    }
};

TEST_F(ReplyTimeoutTest, IsTheSetting) {
    SetReplyTimeout(7);
    EXPECT_EQ(GetWaitServerReplyTimeout(), 7u);
    SetReplyTimeout(8);
    EXPECT_EQ(GetWaitServerReplyTimeout(), 8u) << "not read afresh";
    SetReplyTimeout(0xFFFFFFFF);
    EXPECT_EQ(GetWaitServerReplyTimeout(), 0xFFFFFFFFu);
}

TEST_F(ReplyTimeoutTest, IsTwentySecondsByDefault) {
    SetReplyTimeout(0);
    EXPECT_EQ(GetWaitServerReplyTimeout(), 20u);
    RemoveReplyTimeout();
    EXPECT_EQ(GetWaitServerReplyTimeout(), 20u);
    registry().SetText(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Kestrel\\Kestrel Print",
                       L"WaitServerReplyTimeout", L"30");
    EXPECT_EQ(GetWaitServerReplyTimeout(), 20u);
}

// The longest setting there is still waits, and does not become a time before now.
TEST_F(ReplyTimeoutTest, AHugeSettingWaits) {
    SetReplyTimeout(0xFFFFFFFF);
    EXPECT_EQ(ConnectToLatePrinter(500), 0u) << ReadLog().Describe();
}

TEST_F(ReplyTimeoutTest, ASettingOfZeroWaitsForAConnection) {
    SetReplyTimeout(0);
    EXPECT_EQ(ConnectToLatePrinter(2000), 0u) << ReadLog().Describe();
}

TEST_F(ReplyTimeoutTest, AMissingSettingWaitsForAConnection) {
    RemoveReplyTimeout();
    EXPECT_EQ(ConnectToLatePrinter(2000), 0u) << ReadLog().Describe();
}

}  // namespace
}  // namespace ksp::test
