// Where the channel connects from. The reserved ports belong to the whole machine, so these tests
// run while no other job does.

#include "tests/lpr/lpr_channel_test.h"
#include "tests/standins/held_port.h"

namespace ksp::test {
namespace {

constexpr std::uint16_t kFirst = 721;
constexpr std::uint16_t kLast = 731;

class LprSourcePortTest : public LprChannelTest {
  protected:
    void SetUp() override {
        LprChannelTest::SetUp();
        CSLIpAddr local;
        ASSERT_EQ(local.getLocalHost(), 0u);
        const std::wstring text = local.Text();
        local_.assign(text.begin(), text.end());
        for (std::uint16_t port = kFirst; port <= kLast; ++port) {
            ASSERT_NO_FATAL_FAILURE(Take(port));
        }
    }

    void Take(std::uint16_t port) {
        standins::Socket socket = standins::HoldPort({local_, port});
        ASSERT_TRUE(socket.valid()) << "port " << port << " stays busy";
        taken_.emplace_back(port, std::move(socket));
    }
    void Free(std::uint16_t port) {
        std::erase_if(taken_, [port](const auto& taken) { return taken.first == port; });
    }

    // The port that a whole job came from.
    std::uint16_t PrintFrom() {
        Start();
        Spool("data");
        EXPECT_EQ(channel().EndDoc(), 0);
        const LpdConnection seen = OnlyConnection();
        EXPECT_TRUE(seen.has_whole_data);
        return seen.peer_port;
    }
    // The ports that were found busy, in the order in which they were tried.
    std::vector<int> BusyPorts() const {
        std::vector<int> ports;
        const std::wstring before = L"Error in ::bind call. LocalPort =";
        const std::wstring after = L". Error Code =10048. ";
        for (const std::wstring& message : ReadLog().Messages(LineLevel::kInfo)) {
            if (message.starts_with(before) && message.find(after) != std::wstring::npos) {
                ports.push_back(std::stoi(message.substr(before.size())));
            }
        }
        return ports;
    }

  private:
    std::string local_;
    std::vector<std::pair<std::uint16_t, standins::Socket>> taken_;
};

TEST_F(LprSourcePortTest, TheFirstIsTakenFirst) {
    Free(kFirst);
    Free(kFirst + 1);
    EXPECT_EQ(PrintFrom(), kFirst);
    EXPECT_THAT(BusyPorts(), IsEmpty());
}

TEST_F(LprSourcePortTest, BusyOnesAreSkippedInOrder) {
    Free(724);
    Free(726);
    EXPECT_EQ(PrintFrom(), 724);
    EXPECT_THAT(BusyPorts(), ElementsAre(721, 722, 723));
}

TEST_F(LprSourcePortTest, TheLastIsTaken) {
    Free(kLast);
    EXPECT_EQ(PrintFrom(), kLast);
    EXPECT_THAT(BusyPorts(), ElementsAre(721, 722, 723, 724, 725, 726, 727, 728, 729, 730));
}

TEST_F(LprSourcePortTest, AnOrdinaryOneServesWhenAllAreBusy) {
    EXPECT_GE(PrintFrom(), 1024);
    EXPECT_THAT(BusyPorts(), ElementsAre(721, 722, 723, 724, 725, 726, 727, 728, 729, 730, 731));
}

}  // namespace
}  // namespace ksp::test
