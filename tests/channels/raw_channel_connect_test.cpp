#include <gtest/gtest.h>

#include "tests/channels/raw_channel_test.h"

namespace ksp::test {
namespace {

// The ways of a job's first write: states 0, 1, 2, 5 and what leads out of them.
class RawChannelConnectTest : public RawChannelTest {
  protected:
    static constexpr wchar_t kUnknownState[] =
        L"RawPrintChannel::unknown state in the writeport call";
};

TEST_F(RawChannelConnectTest, ANewChannelIsIdle) {
    Start();
    EXPECT_EQ(state(), ChannelState::kIdle);
    EXPECT_FALSE(channel().IsOpen());
    EXPECT_EQ(channel().GetProtocolInfo()->GetProtocolType(), CProtocolInfo::kRaw);
    EXPECT_THAT(ports_.TakeCalls(), IsEmpty());
}

TEST_F(RawChannelConnectTest, AWriteBeforeStartDocFails) {
    Start();
    EXPECT_EQ(Write("data"), -1);
    EXPECT_EQ(Count(LineLevel::kError, kUnknownState), 1u);
    EXPECT_EQ(WriteWithHeader("header", "data"), -1);
    EXPECT_EQ(Count(LineLevel::kError, kUnknownState), 2u);
    EXPECT_EQ(state(), ChannelState::kIdle);
    EXPECT_EQ(TakeConnects(), 0u);
    EXPECT_THAT(ports_.TakeCalls(), IsEmpty());
}

TEST_F(RawChannelConnectTest, StartDocConnectsNothingYet) {
    Start();
    EXPECT_EQ(channel().StartDoc(kPort, nullptr), 0);
    EXPECT_EQ(state(), ChannelState::kStarted);
    EXPECT_TRUE(channel().IsOpen());
    EXPECT_THAT(ports_.TakeCalls(), ElementsAre("GetPrinterStatus 7"));
    EXPECT_EQ(TakeConnects(), 0u);
}

TEST_F(RawChannelConnectTest, AJobStartsWithoutThePrintersStatus) {
    Start();
    ports_.knows_printer = false;
    EXPECT_EQ(channel().StartDoc(kPort, L"Document"), 0);
    EXPECT_EQ(Count(LineLevel::kError, L"Getting the print status failed"), 1u);
    EXPECT_EQ(state(), ChannelState::kStarted);
    EXPECT_EQ(Write("data"), 4);
}

TEST_F(RawChannelConnectTest, TheFirstWriteConnectsAndSends) {
    Start();
    StartDoc();
    EXPECT_EQ(Write("data"), 4);
    EXPECT_EQ(state(), ChannelState::kSending);
    EXPECT_THAT(ports_.TakeCalls(), ElementsAre(kWell));
    EXPECT_EQ(Received(4), Bytes("data"));
    EXPECT_EQ(Count(LineLevel::kTrace, L"Host name = " + printer_->wide_address()), 1u);
}

TEST_F(RawChannelConnectTest, TheFirstWriteFindsAPrinterThatTakesNothing) {
    Start();
    StartDoc();
    // Whatever there is to send, the send takes nothing of it.
    EXPECT_EQ(Write(""), 0);
    EXPECT_EQ(state(), ChannelState::kNothingSent);
    EXPECT_THAT(ports_.TakeCalls(), ElementsAre(kTroubled));
    EXPECT_EQ(Write("data"), 4);
    EXPECT_EQ(state(), ChannelState::kSending);
    EXPECT_EQ(TakeConnects(), 1u);
}

TEST_F(RawChannelConnectTest, AnUnknownNameLeavesTheStateForAnotherTry) {
    Start();
    StartDoc();
    channel().GetProtocolInfo()->SetHostName(kNoHost);
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(Write("data"), -1);
        EXPECT_EQ(state(), ChannelState::kStarted);
    }
    EXPECT_THAT(ports_.TakeCalls(), IsEmpty());
    EXPECT_EQ(TakeConnects(), 0u);
    EXPECT_EQ(ReadLog().Messages(LineLevel::kError), std::vector<std::wstring>());

    channel().GetProtocolInfo()->SetHostName(printer_->wide_address());
    EXPECT_EQ(Write("data"), 4);
    EXPECT_EQ(state(), ChannelState::kSending);
}

TEST_F(RawChannelConnectTest, ARefusedConnectionFailsAndIsTriedAfresh) {
    Start(Refuses());
    StartDoc();
    EXPECT_EQ(Write("data"), -1);
    EXPECT_EQ(state(), ChannelState::kConnectFailed);
    EXPECT_THAT(ports_.TakeCalls(), ElementsAre(kTroubled));
    EXPECT_EQ(TakeConnects(), 1u);

    EXPECT_EQ(Write("data"), -1);
    EXPECT_EQ(state(), ChannelState::kConnectFailed);
    EXPECT_EQ(TakeConnects(), 1u);
    ports_.TakeCalls();

    Replace();
    EXPECT_EQ(Write("data"), 4);
    EXPECT_EQ(state(), ChannelState::kSending);
    EXPECT_THAT(ports_.TakeCalls(), ElementsAre(kWell));
    EXPECT_EQ(TakeConnects(), 1u);
    EXPECT_EQ(Received(4), Bytes("data"));
}

TEST_F(RawChannelConnectTest, AnUnknownNameAfterARefusalLeavesTheRefusal) {
    Start(Refuses());
    StartDoc();
    ASSERT_EQ(Write("data"), -1);
    ports_.TakeCalls();
    channel().GetProtocolInfo()->SetHostName(kNoHost);
    EXPECT_EQ(Write("data"), -1);
    EXPECT_EQ(state(), ChannelState::kConnectFailed);
    EXPECT_THAT(ports_.TakeCalls(), IsEmpty());
}

TEST_F(RawChannelConnectTest, APendingConnectionIsWaitedForAndThenUsed) {
    Start(NeverAnswers());
    StartDoc();
    EXPECT_EQ(Write("data"), 0);
    EXPECT_EQ(state(), ChannelState::kConnectPending);
    EXPECT_THAT(ports_.TakeCalls(), ElementsAre(kTroubled));
    EXPECT_EQ(Count(LineLevel::kInfo, L"The connect -> select timed out.."), 1u);

    EXPECT_EQ(Write("data"), 0);
    EXPECT_EQ(state(), ChannelState::kConnectPending);
    EXPECT_THAT(ports_.TakeCalls(), ElementsAre(kTroubled));
    EXPECT_EQ(Count(LineLevel::kInfo, L"The selectforconnect -> select timed out.."), 1u);

    SetReplyTimeout(20);
    printer_->StartAnswering();
    EXPECT_EQ(Write("data"), 4);
    EXPECT_EQ(state(), ChannelState::kSending);
    EXPECT_THAT(ports_.TakeCalls(), ElementsAre(kWell));
    EXPECT_EQ(TakeConnects(), 1u) << "a pending connection is not made anew";
    EXPECT_EQ(Received(4), Bytes("data"));
}

TEST_F(RawChannelConnectTest, APendingConnectionThatIsRefusedIsTriedAfresh) {
    Start(NeverAnswers());
    StartDoc();
    ASSERT_EQ(Write("data"), 0);
    ports_.TakeCalls();
    Replace(Refuses());
    SetReplyTimeout(20);
    EXPECT_EQ(Write("data"), -1);
    EXPECT_EQ(state(), ChannelState::kConnectFailed);
    EXPECT_THAT(ports_.TakeCalls(), ElementsAre(kTroubled));
    EXPECT_EQ(Count(LineLevel::kInfo, L"The selectforconnect -> getsockopt returned : 10061"), 1u);

    Replace();
    EXPECT_EQ(Write("data"), 4);
    EXPECT_EQ(state(), ChannelState::kSending);
    EXPECT_EQ(TakeConnects(), 2u);
}

// EndDoc leaves the state as it was; the job that comes begins with StartDoc.
TEST_F(RawChannelConnectTest, APendingConnectionThatIsGoneCannotBeWaitedFor) {
    Start(NeverAnswers());
    StartDoc();
    ASSERT_EQ(Write("data"), 0);
    ASSERT_EQ(channel().EndDoc(), 0);
    ports_.TakeCalls();
    EXPECT_EQ(Write("data"), -1);
    EXPECT_EQ(Count(LineLevel::kError, L"severe error, the m_pStreamSocket should be not be NULL "),
              1u);
    EXPECT_EQ(WriteWithHeader("header", "data"), -1);
    EXPECT_EQ(Count(LineLevel::kError, L"severe error, the m_pStreamSocket should be not be NULL "),
              2u);
    EXPECT_EQ(state(), ChannelState::kConnectPending);
    EXPECT_THAT(ports_.TakeCalls(), IsEmpty());
}

TEST_F(RawChannelConnectTest, AJobThatStartsOnAnOldConnectionFails) {
    Start();
    StartDoc();
    ASSERT_EQ(Write("data"), 4);
    StartDoc();
    ASSERT_EQ(state(), ChannelState::kStarted);
    EXPECT_EQ(Write("more"), -1);
    EXPECT_EQ(Count(LineLevel::kError, L"severe error, the m_pStreamSocket should be NULL "), 1u);
    EXPECT_EQ(WriteWithHeader("header", "more"), -1);
    EXPECT_EQ(Count(LineLevel::kError, L"severe error, the m_pStreamSocket should be NULL "), 2u);
    EXPECT_EQ(state(), ChannelState::kStarted);
    EXPECT_THAT(ports_.TakeCalls(), IsEmpty());
    EXPECT_EQ(Received(4), Bytes("data"));
}

}  // namespace
}  // namespace ksp::test
