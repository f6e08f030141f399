#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "tests/channels/raw_channel_test.h"

namespace ksp::test {
namespace {

// A printer of its own for every channel, and the channels' writes side by side: only the system's
// TCP itself says that a connection timed out (10060), and it takes its minutes.
class Trial {
  public:
    Trial() : printer({.answer = standins::PrinterBehavior::Answer::kNeverAnswer}) {
        EXPECT_TRUE(printer.ready());
        CRawProtocolInfo info(printer.wide_address());
        info.SetPortNumber(printer.port());
        channel = std::make_unique<CRawPrintChannel>(info, ports);
        EXPECT_EQ(channel->StartDoc(7, L"Document"), 0);
        ports.TakeCalls();
    }
    std::int32_t Write() { return last_result = channel->WritePort(&kData, 1); }

    static constexpr BYTE kData = 'x';
    standins::LoopbackPrinter printer;
    RecordingPorts ports;
    std::unique_ptr<CRawPrintChannel> channel;
    std::int32_t last_result = -1;
};

class ConnectTimedOutTest : public NetTest {
  protected:
    static constexpr DWORD kLongerThanTcp = 600;  // seconds
    static constexpr char kTroubled[] = "SetPortStatus 7 0x800000";

    static void ExpectTimedOut(Trial& trial) {
        EXPECT_EQ(trial.last_result, 0);
        EXPECT_EQ(trial.channel->State(), ChannelState::kConnectTimedOut);
        EXPECT_THAT(trial.ports.TakeCalls(), ElementsAre(kTroubled));
    }
};

TEST_F(ConnectTimedOutTest, TheNextWriteConnectsAfresh) {
    Trial connecting;
    Trial pending;
    Trial with_header;
    Trial ended;
    ASSERT_EQ(pending.Write(), 0);
    ASSERT_EQ(pending.channel->State(), ChannelState::kConnectPending);
    pending.ports.TakeCalls();

    SetReplyTimeout(kLongerThanTcp);
    {
        std::vector<std::jthread> writers;
        for (Trial* trial : {&connecting, &pending, &with_header, &ended}) {
            writers.emplace_back([trial] { trial->Write(); });
        }
    }
    for (Trial* trial : {&connecting, &pending, &with_header, &ended}) {
        ExpectTimedOut(*trial);
        trial->printer.StartAnswering();
    }
    EXPECT_EQ(Count(LineLevel::kInfo, L"The connect -> getsockopt returned : 10060"), 3u);
    EXPECT_EQ(Count(LineLevel::kInfo, L"The selectforconnect -> getsockopt returned : 10060"), 1u);

    for (Trial* trial : {&connecting, &pending}) {
        EXPECT_EQ(trial->Write(), 1);
        EXPECT_EQ(trial->channel->State(), ChannelState::kSending);
        EXPECT_TRUE(trial->printer.WaitForBytes(1));
    }
    const std::string both = "header and data";
    EXPECT_EQ(with_header.channel->WritePortWithHeader(
                  &Trial::kData, 4, reinterpret_cast<const BYTE*>(both.data()), 15),
              4);
    EXPECT_TRUE(with_header.printer.WaitForBytes(15));

    EXPECT_EQ(ended.channel->EndDoc(), 0);
    EXPECT_THAT(ended.ports.TakeCalls(), ElementsAre("SetPortStatus 7 0x0", "ClearPortStatus 7"));
    EXPECT_EQ(ended.channel->EndDoc(), 0);
    EXPECT_THAT(ended.ports.TakeCalls(), IsEmpty());
    EXPECT_EQ(ended.channel->SetProtocolInfo(*ended.channel->GetProtocolInfo()), 0);
    EXPECT_EQ(ended.channel->State(), ChannelState::kIdle);
}

}  // namespace
}  // namespace ksp::test
