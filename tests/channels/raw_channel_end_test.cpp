#include <gtest/gtest.h>

#include <functional>
#include <ostream>

#include "tests/channels/raw_channel_test.h"

namespace ksp::test {
namespace {

// A way to bring a job to a state.
struct JobState {
    const char* name;
    ChannelState state;
    // How the printer behaves, and what else it takes.
    std::function<standins::PrinterBehavior()> printer;
    bool writes = true;
    bool writes_until_full = false;
    bool writes_after_reset = false;
};

void PrintTo(const JobState& state, std::ostream* out) {
    *out << state.name;
}

class RawChannelEndTest : public RawChannelTest, public ::testing::WithParamInterface<JobState> {
  protected:
    void Reach() {
        const JobState& wanted = GetParam();
        Start(wanted.printer());
        ports_.printer_status = 0x400;
        StartDoc();
        if (wanted.writes_until_full) {
            Fill();
        } else if (wanted.writes) {
            static_cast<void>(Write("data"));
        }
        if (wanted.writes_after_reset) {
            ASSERT_TRUE(printer_->WaitForEndings(1));
            static_cast<void>(Write("more"));
        }
        ASSERT_EQ(state(), wanted.state);
        ports_.TakeCalls();
        // What a full printer has not read would be waited for.
        printer_->StartReading();
    }
    bool IsConnectedState() const {
        return GetParam().state == ChannelState::kSending ||
               GetParam().state == ChannelState::kNothingSent;
    }
    void ExpectConnectionEnded() {
        if (IsConnectedState()) {
            ASSERT_TRUE(printer_->WaitForEndings(1));
            EXPECT_EQ(printer_->connections().at(0).ending, Ending::kByPeer);
        }
    }
};

INSTANTIATE_TEST_SUITE_P(
    , RawChannelEndTest,
    ::testing::Values(
        JobState{.name = "Started",
                 .state = ChannelState::kStarted,
                 .printer = [] { return standins::PrinterBehavior{}; },
                 .writes = false},
        JobState{.name = "ConnectPending",
                 .state = ChannelState::kConnectPending,
                 .printer =
                     [] {
                         return standins::PrinterBehavior{
                             .answer = standins::PrinterBehavior::Answer::kNeverAnswer};
                     }},
        JobState{.name = "ConnectFailed",
                 .state = ChannelState::kConnectFailed,
                 .printer =
                     [] {
                         return standins::PrinterBehavior{
                             .answer = standins::PrinterBehavior::Answer::kRefuse};
                     }},
        JobState{.name = "Sending",
                 .state = ChannelState::kSending,
                 .printer = [] { return standins::PrinterBehavior{}; }},
        JobState{
            .name = "NothingSent",
            .state = ChannelState::kNothingSent,
            .printer =
                [] { return standins::PrinterBehavior{.reads = false, .receive_buffer = 4096}; },
            .writes_until_full = true},
        JobState{.name = "SendFailed",
                 .state = ChannelState::kSendFailed,
                 .printer = [] { return standins::PrinterBehavior{.reset_after = 4}; },
                 .writes_after_reset = true}),
    [](const auto& test) { return std::string(test.param.name); });

TEST_P(RawChannelEndTest, TheJobEndsOnce) {
    Reach();
    EXPECT_EQ(channel().EndDoc(), 0);
    EXPECT_THAT(ports_.TakeCalls(), ElementsAre("SetPortStatus 7 0x400", "ClearPortStatus 7"));
    EXPECT_FALSE(channel().IsOpen());
    EXPECT_EQ(state(), GetParam().state) << "the next StartDoc sets it";
    ExpectConnectionEnded();

    EXPECT_EQ(channel().EndDoc(), 0);
    EXPECT_THAT(ports_.TakeCalls(), IsEmpty());
}

TEST_P(RawChannelEndTest, AnotherJobFollows) {
    Reach();
    ASSERT_EQ(channel().EndDoc(), 0);
    ExpectConnectionEnded();
    Replace();
    StartDoc();
    EXPECT_EQ(state(), ChannelState::kStarted);
    EXPECT_EQ(Write("next job"), 8);
    EXPECT_EQ(state(), ChannelState::kSending);
    EXPECT_EQ(Received(8), Bytes("next job"));
}

TEST_P(RawChannelEndTest, NewSettingsEndTheJobWithoutAWord) {
    Reach();
    LoopbackPrinter other({}, {"", 0});
    CRawProtocolInfo info(other.wide_address());
    info.SetPortNumber(other.port());
    EXPECT_EQ(channel().SetProtocolInfo(info), 0);
    EXPECT_EQ(state(), ChannelState::kIdle);
    EXPECT_FALSE(channel().IsOpen());
    EXPECT_EQ(channel().GetProtocolInfo()->GetHostName(), other.wide_address());
    EXPECT_EQ(channel().GetProtocolInfo()->GetPortNumber(), other.port());
    EXPECT_EQ(channel().GetProtocolInfo()->GetProtocolType(), CProtocolInfo::kRaw);
    EXPECT_THAT(ports_.TakeCalls(), IsEmpty());
    ExpectConnectionEnded();

    EXPECT_EQ(channel().EndDoc(), 0);
    EXPECT_THAT(ports_.TakeCalls(), IsEmpty());
    StartDoc();
    EXPECT_EQ(Write("to the other"), 12);
    EXPECT_TRUE(other.WaitForConnections(1));
}

TEST_P(RawChannelEndTest, AChannelThatGoesLeavesNoConnection) {
    Reach();
    channel().GetProtocolInfo()->SetHostName(L"gone");
    DropChannel();
    ExpectConnectionEnded();
    EXPECT_THAT(ports_.TakeCalls(), IsEmpty());
}

using RawChannelJobTest = RawChannelTest;

TEST_F(RawChannelJobTest, AnIdleChannelHasNothingToEnd) {
    Start();
    EXPECT_EQ(channel().EndDoc(), 0);
    EXPECT_THAT(ports_.TakeCalls(), IsEmpty());
    EXPECT_EQ(channel().SetProtocolInfo(CRawProtocolInfo(L"192.0.2.1")), 0);
    EXPECT_EQ(state(), ChannelState::kIdle);
    EXPECT_EQ(Count(LineLevel::kTrace, L"protocol : set host name = 192.0.2.1"), 1u);
}

TEST_F(RawChannelJobTest, ItsOwnSettingsStayAsTheyAre) {
    Start();
    StartDoc();
    ASSERT_EQ(Write("data"), 4);
    EXPECT_EQ(channel().SetProtocolInfo(*channel().GetProtocolInfo()), 0);
    EXPECT_EQ(state(), ChannelState::kIdle);
    EXPECT_FALSE(channel().IsOpen());
    EXPECT_TRUE(printer_->WaitForEndings(1));
    EXPECT_EQ(channel().GetProtocolInfo()->GetHostName(), printer_->wide_address());
    EXPECT_EQ(channel().GetProtocolInfo()->GetPortNumber(), printer_->port());
    EXPECT_EQ(Count(LineLevel::kTrace, L"protocol : set host name = " + printer_->wide_address()),
              0u);
}

TEST_F(RawChannelJobTest, TheEndOfAJobOfAnUnknownPortIsLogged) {
    Start();
    StartDoc();
    ports_.knows_port = false;
    EXPECT_EQ(channel().EndDoc(), 0);
    EXPECT_EQ(Count(LineLevel::kError, L"Invalide Port Handle"), 1u);
    EXPECT_FALSE(channel().IsOpen());
}

TEST_F(RawChannelJobTest, EveryJobSavesTheStatusAnewAndNoneWhenItCannot) {
    Start();
    ports_.printer_status = 0x10;
    StartDoc();
    ASSERT_EQ(channel().EndDoc(), 0);
    EXPECT_THAT(ports_.TakeCalls(), ElementsAre("SetPortStatus 7 0x10", "ClearPortStatus 7"));
    ports_.printer_status = 0x20;
    StartDoc();
    ASSERT_EQ(channel().EndDoc(), 0);
    EXPECT_THAT(ports_.TakeCalls(), ElementsAre("SetPortStatus 7 0x20", "ClearPortStatus 7"));
    ports_.knows_printer = false;
    StartDoc();
    ASSERT_EQ(channel().EndDoc(), 0);
    EXPECT_THAT(ports_.TakeCalls(), ElementsAre("SetPortStatus 7 0x0", "ClearPortStatus 7"));
}

TEST_F(RawChannelJobTest, EveryJobHasItsOwnPortHandle) {
    Start();
    ASSERT_EQ(channel().StartDoc(7, L"one"), 0);
    ASSERT_EQ(channel().EndDoc(), 0);
    ports_.TakeCalls();
    ASSERT_EQ(channel().StartDoc(8, L"two"), 0);
    ASSERT_EQ(Write("data"), 4);
    ASSERT_EQ(channel().EndDoc(), 0);
    EXPECT_THAT(ports_.TakeCalls(), ElementsAre("GetPrinterStatus 8", "SetPortStatus 8 0x0",
                                                "SetPortStatus 8 0x0", "ClearPortStatus 8"));
}

}  // namespace
}  // namespace ksp::test
