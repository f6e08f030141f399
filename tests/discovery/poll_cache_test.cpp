// How often a channel asks for its printer's status.

#include "channels/port_services.h"
#include "channels/raw_print_channel.h"
#include "tests/discovery/status_test.h"

namespace ksp::test {
namespace {

using ::testing::IsEmpty;

// Nobody above the channel: these tests start no document.
class NoPorts final : public IPortServices {
  public:
    bool GetPrinterStatus(std::uint32_t, std::uint32_t&) override { return false; }
    bool SetPortStatus(std::uint32_t, std::uint32_t) override { return false; }
    bool ClearPortStatus(std::uint32_t) override { return false; }
    bool IsJobEnded(std::uint32_t) override { return false; }
    bool SetJobError(std::uint32_t) override { return false; }
};

class PollCacheTest : public StatusTest {
  protected:
    std::uint32_t Poll() { return channel_.PollPrinterStatus(L"127.0.0.2"); }
    size_t Queries() const { return library_.Calls(DiscoveryCreateStream).size(); }

    NoPorts ports_;
    CRawPrintChannel channel_{CRawProtocolInfo(L"127.0.0.2"), ports_};
};

TEST_F(PollCacheTest, TheFirstPollAsks) {
    SetValues({4}, {0x40});
    EXPECT_EQ(Poll(), 0x210U);
    EXPECT_EQ(Queries(), 1U);
}

// Whatever the machine does meanwhile: polls that are over before 11 seconds have passed since the
// query began ask nobody, polls that begin 11 seconds after it was over ask again.
TEST_F(PollCacheTest, AnAnswerIsGoodForElevenWholeSeconds) {
    constexpr DWORD kGood = 11000;
    SetValues({3}, {0x40});
    const DWORD before = ::GetTickCount();
    ASSERT_EQ(Poll(), 0x10U);
    const DWORD after = ::GetTickCount();
    SetValues({3}, {0x04});

    bool asked_again = false;
    for (int polls = 0; polls < 1000 && !asked_again; ++polls) {
        ::Sleep(100);
        const DWORD poll = ::GetTickCount();
        const std::uint32_t status = Poll();
        const DWORD polled = ::GetTickCount();
        asked_again = Queries() == 2;
        EXPECT_EQ(status, asked_again ? 0x8U : 0x10U);
        if (polled - before < kGood) {
            EXPECT_FALSE(asked_again) << "an answer of " << polled - before << " ms ago";
        }
        if (poll - after >= kGood) {
            EXPECT_TRUE(asked_again) << "an answer of " << poll - after << " ms ago";
        }
    }
    EXPECT_TRUE(asked_again);
    EXPECT_EQ(Queries(), 2U);
}

TEST_F(PollCacheTest, AStatusThatThePortSetsIsTheAnswer) {
    SetValues({3}, {0x40});
    EXPECT_EQ(Poll(), 0x10U);
    channel_.SetPrinterStatus(0x400);
    EXPECT_EQ(Poll(), 0x400U);
    channel_.SetPrinterStatus(0);
    EXPECT_EQ(Poll(), 0U);
    EXPECT_EQ(Queries(), 1U);
}

TEST_F(PollCacheTest, AFailureIsKeptLikeAnyAnswer) {
    library_.FailNth(DiscoverySendRecvStream, 1);
    EXPECT_EQ(Poll(), kUnknown);
    EXPECT_EQ(Poll(), kUnknown);
    EXPECT_EQ(Queries(), 1U);
}

TEST_F(PollCacheTest, EveryChannelHasItsOwn) {
    CRawPrintChannel other(CRawProtocolInfo(L"127.0.0.2"), ports_);
    EXPECT_EQ(Poll(), 0U);
    SetValues({4}, {0x00});
    EXPECT_EQ(other.PollPrinterStatus(L"127.0.0.2"), 0x200U);
    EXPECT_EQ(Poll(), 0U);
}

TEST_F(PollCacheTest, TheIdPrintMonitorAsksNobodyAndKeepsNothing) {
    SetValues({4}, {0x40});
    ASSERT_EQ(RegistryStore().OpenSoftwareKey(MonitorType::kIdPrint), ERROR_SUCCESS);
    channel_.SetPrinterStatus(0x400);
    EXPECT_EQ(Poll(), 0U);
    EXPECT_THAT(CallNames(), IsEmpty());
    ASSERT_EQ(RegistryStore().OpenSoftwareKey(MonitorType::kOrdinary), ERROR_SUCCESS);
    EXPECT_EQ(Poll(), 0x210U) << "the time of the poll was not touched";
}

}  // namespace
}  // namespace ksp::test
