#include "channels/print_channel.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/channels/bare_channel.h"
#include "tests/channels/recording_ports.h"
#include "tests/net/net_test.h"

namespace ksp::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::uint32_t kServerUnknown = 0x800000;
constexpr wchar_t kPrinter[] = L"127.0.0.1";

class PrintChannelTest : public NetTest {
  protected:
    // Every query tries to start the discovery library, which is not there.
    size_t Queries() const { return Count(LineLevel::kError, L"Failed Initialized Oryx."); }
    void PolledBefore(std::uint32_t milliseconds) {
        channel_.SetLastPoll(GetTickCount() - milliseconds);
    }

    RecordingPorts ports_;
    BareChannel channel_{ports_};
};

TEST_F(PrintChannelTest, IsOpenBetweenStartAndEnd) {
    EXPECT_FALSE(channel_.IsOpen());
    EXPECT_EQ(Count(LineLevel::kTrace, L"print channel is  CLOSE"), 1u);
    ASSERT_EQ(channel_.StartDoc(7, nullptr), 0);
    EXPECT_TRUE(channel_.IsOpen());
    EXPECT_EQ(Count(LineLevel::kTrace, L"print channel is  OPEN"), 1u);
    ASSERT_EQ(channel_.EndDoc(), 0);
    EXPECT_FALSE(channel_.IsOpen());
    EXPECT_EQ(Count(LineLevel::kTrace, L"print channel is  CLOSE"), 2u);
}

TEST_F(PrintChannelTest, IsAlwaysReachable) {
    EXPECT_TRUE(channel_.IsReachable());
    EXPECT_EQ(Count(LineLevel::kInfo, L"The reachable should be done through SNMP/KSPC calls"), 1u);
}

TEST_F(PrintChannelTest, HasNoSettingsOfItsOwn) {
    EXPECT_EQ(channel_.GetProtocolInfo(), nullptr);
    CRawProtocolInfo info(kPrinter);
    channel_.UseProtocolInfo(&info);
    EXPECT_EQ(channel_.GetProtocolInfo(), &info);
    EXPECT_EQ(std::as_const(channel_).GetProtocolInfo(), &info);
}

TEST_F(PrintChannelTest, ANewChannelAsksThePrinterAtOnce) {
    if (GetTickCount() < 11000) {
        GTEST_SKIP() << "the computer has just started";
    }
    EXPECT_EQ(channel_.PollPrinterStatus(kPrinter), kServerUnknown);
    EXPECT_EQ(Queries(), 1u);
}

TEST_F(PrintChannelTest, TheAnswerIsKept) {
    PolledBefore(11000);
    ASSERT_EQ(channel_.PollPrinterStatus(kPrinter), kServerUnknown);
    EXPECT_EQ(channel_.PollPrinterStatus(kPrinter), kServerUnknown);
    EXPECT_EQ(Queries(), 1u);
}

TEST_F(PrintChannelTest, AfterElevenSecondsThePrinterIsAskedAgain) {
    PolledBefore(11000);
    channel_.SetPrinterStatus(0x10);
    EXPECT_EQ(channel_.PollPrinterStatus(kPrinter), kServerUnknown);
    EXPECT_EQ(Queries(), 1u);
}

// Half a second less: whole seconds count, and 10 of them are not enough.
TEST_F(PrintChannelTest, BeforeElevenSecondsThePrinterIsNotAsked) {
    PolledBefore(10500);
    channel_.SetPrinterStatus(0x10);
    EXPECT_EQ(channel_.PollPrinterStatus(kPrinter), 0x10u);
    EXPECT_EQ(Queries(), 0u);
}

TEST_F(PrintChannelTest, ATickCountThatWrappedAroundIsNoHindrance) {
    // A poll at the last tick before the count began anew.
    channel_.SetLastPoll(0xFFFFFFFF);
    if (GetTickCount() < 11000) {
        GTEST_SKIP() << "the computer has just started";
    }
    EXPECT_EQ(channel_.PollPrinterStatus(kPrinter), kServerUnknown);
    EXPECT_EQ(Queries(), 1u);
}

TEST_F(PrintChannelTest, WhatThePortWritesIsTheLastStatus) {
    PolledBefore(0);
    channel_.SetPrinterStatus(0x80);
    EXPECT_EQ(channel_.PollPrinterStatus(kPrinter), 0x80u);
    channel_.SetPrinterStatus(0);
    EXPECT_EQ(channel_.PollPrinterStatus(kPrinter), 0u);
}

TEST_F(PrintChannelTest, APrinterThatCannotBeFoundIsUnknown) {
    PolledBefore(11000);
    EXPECT_EQ(channel_.PollPrinterStatus(kNoHost), kServerUnknown);
    EXPECT_EQ(Count(LineLevel::kInfo, L"Status server Unknown"), 1u);
    EXPECT_EQ(Queries(), 0u);
}

TEST_F(PrintChannelTest, TheIdPrintMonitorNeverAsks) {
    BecomeMonitor(MonitorType::kIdPrint);
    channel_.SetPrinterStatus(0x80);
    const std::uint32_t before = GetTickCount() - 11000;
    channel_.SetLastPoll(before);
    EXPECT_EQ(channel_.PollPrinterStatus(kPrinter), 0u);
    EXPECT_EQ(Queries(), 0u);
    EXPECT_EQ(channel_.last_poll(), before);
    EXPECT_EQ(channel_.cached_status(), 0x80u);
}

TEST_F(PrintChannelTest, ThePollsAnswerBecomesThePortsStatus) {
    CRawProtocolInfo info(kPrinter);
    channel_.UseProtocolInfo(&info);
    ASSERT_EQ(channel_.StartDoc(7, nullptr), 0);
    ports_.TakeCalls();
    PolledBefore(0);
    channel_.SetPrinterStatus(0x210);
    channel_.UpdatePortStatus();
    EXPECT_THAT(ports_.TakeCalls(), ElementsAre("SetPortStatus 7 0x210"));
    PolledBefore(11000);
    channel_.UpdatePortStatus();
    EXPECT_THAT(ports_.TakeCalls(), ElementsAre("SetPortStatus 7 0x800000"));
    EXPECT_EQ(Count(LineLevel::kTrace, L"Host name = 127.0.0.1"), 1u);
}

TEST_F(PrintChannelTest, WithoutSettingsThereIsNobodyToAsk) {
    PolledBefore(11000);
    channel_.UpdatePortStatus();
    EXPECT_THAT(ports_.TakeCalls(), IsEmpty());
    EXPECT_EQ(Queries(), 0u);
}

// With nothing but the clock.
TEST_F(PrintChannelTest, TimePassesBetweenTwoQueries) {
    PolledBefore(11000);
    channel_.PollPrinterStatus(kPrinter);
    const DWORD polled = GetTickCount();
    ASSERT_EQ(Queries(), 1u);
    channel_.PollPrinterStatus(kPrinter);
    EXPECT_EQ(Queries(), 1u);
    while (GetTickCount() - polled < 11000) {
        Sleep(100);
    }
    channel_.PollPrinterStatus(kPrinter);
    EXPECT_EQ(Queries(), 2u);
}

}  // namespace
}  // namespace ksp::test
