#include "snmp/search.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <map>

#include "snmp/search_range.h"

namespace ksp::test {
namespace {

using snmp::Bytes;
using snmp::ByteView;
using snmp::CNetwork;
using snmp::CSearch;
using snmp::CSearchRange;
using snmp::Ipv4;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

TEST(SearchRangeTest, IsTheHostsOfTheNetworksInTurn) {
    const auto range = snmp::RangeOf(
        {{0x0A000001, 0xFFFFFFFC}, {0x0A010007, 0xFFFFFFFF}, {0x0A020000, 0xFFFFFFFE}});
    EXPECT_EQ(range.narrowed, 0);
    EXPECT_THAT(range.addresses,
                ElementsAre(0x0A000001U, 0x0A010007U, 0x0A020000U, 0x0A000002U, 0x0A020001U));
}

TEST(SearchRangeTest, EachAddressIsAskedOnce) {
    EXPECT_THAT(snmp::RangeOf({{0x0A000001, 0xFFFFFF00}, {0x0A000000, 0xFFFFFF00}}).addresses,
                SizeIs(254));
}

TEST(SearchRangeTest, ALargeNetworkIsNarrowedAroundItsAddress) {
    const auto range = snmp::RangeOf({{0xAC10557B, 0xFFFF0000}});
    EXPECT_EQ(range.narrowed, 1);
    ASSERT_THAT(range.addresses, SizeIs(4096));
    EXPECT_EQ(range.addresses.front(), 0xAC105000U);
    EXPECT_EQ(range.addresses.back(), 0xAC105FFFU);
    EXPECT_THAT(snmp::RangeOf({{0xAC100000, 0xFFFF0000}}).addresses.front(), 0xAC100001U);
    EXPECT_THAT(snmp::RangeOf({{0xAC10F001, 0xFFFF0000}}).addresses.back(), 0xAC10FFFEU);
    EXPECT_EQ(snmp::RangeOf({{0xAC105001, 0xFFFFF000}}).narrowed, 0);
}

TEST(SearchRangeTest, HasALimit) {
    std::vector<CNetwork> networks;
    for (Ipv4 network = 0; network < 5; ++network) {
        networks.push_back({0x0A000000 + (network << 12), 0xFFFFF000});
    }
    const auto range = snmp::RangeOf(networks);
    EXPECT_THAT(range.addresses, SizeIs(16384));
    EXPECT_EQ(range.narrowed, 1);
}

TEST(SearchRangeTest, WhatIsNoHostIsLeftOut) {
    EXPECT_THAT(snmp::RangeOf({{0, 0xFFFFFFFF}}).addresses, IsEmpty());
    EXPECT_THAT(snmp::RangeOf({{0xE0000001, 0xFFFFFF00}}).addresses, IsEmpty());
    EXPECT_THAT(snmp::RangeOf({{0xFFFFFFFF, 0xFFFFFFFF}}).addresses, IsEmpty());
    const auto noMask = snmp::RangeOf({{0x0A000001, 0xFFFF00FF}, {0x0A000001, 0x000000FF}});
    EXPECT_THAT(noMask.addresses, IsEmpty());
    EXPECT_EQ(noMask.narrowed, 2);
    EXPECT_THAT(snmp::RangeOf({}).addresses, IsEmpty());
}

// Plays the network and the clock of a search.
class SearchTest : public ::testing::Test, protected CSearch::IOutput {
  protected:
    struct Sent {
        std::uint64_t time;
        Ipv4 address;
        Bytes message;
    };

    bool Send(Ipv4 address, const Bytes& message) override {
        ++offered_;
        if (now_ >= refuses_from_ && now_ < refuses_until_) {
            return false;
        }
        sent_.push_back({now_, address, message});
        answers_.emplace_back(address, message);
        return true;
    }
    void Found(const snmp::CDeviceIdentity& identity) override {
        found_.push_back(identity.address);
    }

    void Begin(const std::vector<CNetwork>& networks, const snmp::CTiming& timing,
               snmp::VersionChoice versions = snmp::VersionChoice::k2c) {
        search_.emplace(
            snmp::RangeOf(networks).addresses, snmp::CAgentAccess{.versions = versions}, timing,
            [this] { return ids_ += 0x01234567; }, now_);
    }
    // The answer "no such variable" to a request that this library wrote: another PDU type, the
    // error status 2.
    static Bytes Refusal(Bytes request) {
        const auto pdu = std::find_if(request.begin(), request.end(), [](std::uint8_t byte) {
            return byte == 0xA0 || byte == 0xA1;
        });
        *pdu = 0xA2;
        const auto id = static_cast<std::size_t>(pdu[3]);
        *(pdu + 4 + static_cast<int>(id) + 2) = 2;
        return request;
    }
    // Runs the search to its end; the devices at these addresses answer every question so often.
    void Run(const std::map<Ipv4, int>& devices, int most = 100000) {
        std::map<Ipv4, int> left = devices;
        while (!search_->IsOver() && --most > 0) {
            search_->Advance(now_, *this);
            auto answers = std::exchange(answers_, {});
            for (const auto& [address, request] : answers) {
                if (left[address]-- > 0) {
                    search_->Receive(address, Refusal(request), *this);
                }
            }
            if (!search_->IsOver()) {
                now_ = std::max(now_, search_->NextTime());
                now_ = (now_ + tick_ - 1) / tick_ * tick_;
            }
        }
        EXPECT_GT(most, 0) << "the search does not end";
    }

    std::uint64_t now_ = 1000;
    std::uint64_t tick_ = 1;  // of the clock
    std::uint64_t refuses_from_ = UINT64_MAX;
    std::uint64_t refuses_until_ = UINT64_MAX;
    std::size_t offered_ = 0;
    std::uint32_t ids_ = 0x70000000;
    std::optional<CSearch> search_;
    std::vector<Sent> sent_;
    std::vector<std::pair<Ipv4, Bytes>> answers_;
    std::vector<Ipv4> found_;
};

constexpr CNetwork kSmall{0x7F000500, 0xFFFFFF00};

TEST_F(SearchTest, FindsWhoAnswersAndEndsAfterOneTimeout) {
    Begin({kSmall}, {2000, 1, 500});
    Run({{0x7F000507, 100}, {0x7F0005FE, 100}});
    EXPECT_THAT(found_, ElementsAre(0x7F000507U, 0x7F0005FEU));
    EXPECT_EQ(sent_.size(), 252U * 2 + 2 * 5);
    EXPECT_LE(now_ - 1000, 2000U + 254 / CSearch::kRate + 16);
}

TEST_F(SearchTest, SendsNoMoreThanTheBurst) {
    Begin({{0x7F000000, 0xFFFFF000}}, {20000, 2, 5000}, snmp::VersionChoice::kEither);
    Run({});
    EXPECT_EQ(sent_.size(), 4094U * 6);
    for (const std::size_t count : {64U, 96U, 160U, 1000U, 4000U}) {
        for (std::size_t index = count; index < sent_.size(); ++index) {
            const std::uint64_t time = sent_[index].time - sent_[index - count].time;
            ASSERT_LE(count + 1, CSearch::kBurst + CSearch::kRate * time) << index;
        }
    }
}

TEST_F(SearchTest, ACoarseClockDoesNotSlowItDown) {
    for (const std::uint64_t tick : {1U, 10U, 15U, 16U}) {
        tick_ = tick;
        sent_.clear();
        Begin({{0x7F000000, 0xFFFFF000}}, {20000, 0, 5000});
        const std::uint64_t begin = now_;
        Run({});
        ASSERT_EQ(sent_.size(), 4094U);
        EXPECT_LE(sent_.back().time - begin, 4094U / CSearch::kRate + 32) << tick;
    }
}

TEST_F(SearchTest, ReportsADeviceThatFallsSilentOnce) {
    Begin({kSmall}, {2000, 1, 500});
    Run({{0x7F000507, 2}});
    EXPECT_THAT(found_, ElementsAre(0x7F000507U));
    EXPECT_GE(now_ - 1000, 2000U);
}

TEST_F(SearchTest, TakesAnAnswerOnlyFromItsAddressAndOnce) {
    Begin({{0x7F000507, 0xFFFFFFFF}, {0x7F000508, 0xFFFFFFFF}}, {2000, 0, 500});
    search_->Advance(now_, *this);
    ASSERT_EQ(sent_.size(), 2U);
    const Bytes first = Refusal(sent_[0].message);
    search_->Receive(0x7F000508, first, *this);
    search_->Receive(0x7F000509, first, *this);
    search_->Advance(now_, *this);
    EXPECT_EQ(sent_.size(), 2U) << "an answer from somebody else leads to no other question";
    search_->Receive(0x7F000507, first, *this);
    search_->Receive(0x7F000507, first, *this);
    search_->Advance(now_, *this);
    ASSERT_EQ(sent_.size(), 3U);
    EXPECT_EQ(sent_[2].address, 0x7F000507U);
    EXPECT_THAT(found_, IsEmpty());
}

TEST_F(SearchTest, AfterTheFirstAnswerOneVersionIsSpoken) {
    Begin({{0x7F000507, 0xFFFFFFFF}}, {2000, 0, 500}, snmp::VersionChoice::kEither);
    search_->Advance(now_, *this);
    now_ = search_->NextTime();
    search_->Advance(now_, *this);
    ASSERT_EQ(sent_.size(), 2U);
    EXPECT_EQ(sent_[0].message[4], 1);
    EXPECT_EQ(sent_[1].message[4], 0);
    search_->Receive(0x7F000507, Refusal(sent_[1].message), *this);
    search_->Advance(now_, *this);
    ASSERT_EQ(sent_.size(), 3U);
    EXPECT_EQ(sent_[2].message[4], 0);
    now_ = search_->NextTime();
    search_->Advance(now_, *this);
    EXPECT_EQ(sent_.size(), 3U);
}

TEST_F(SearchTest, EveryQuestionHasAnIdOfItsOwn) {
    Begin({{0x7F000507, 0xFFFFFFFF}, {0x7F000508, 0xFFFFFFFF}}, {2000, 1, 500});
    search_->Advance(now_, *this);
    search_->Receive(0x7F000507, Refusal(sent_.at(0).message), *this);
    search_->Advance(now_, *this);
    std::vector<Bytes> ids;
    for (const Sent& sent : sent_) {
        const auto pdu = std::find_if(sent.message.begin(), sent.message.end(),
                                      [](std::uint8_t byte) { return byte == 0xA0; });
        ids.emplace_back(pdu + 4, pdu + 8);
    }
    EXPECT_THAT(ids, ElementsAre(Bytes{0x71, 0x23, 0x45, 0x67}, Bytes{0x72, 0x46, 0x8A, 0xCE},
                                 Bytes{0x73, 0x69, 0xD0, 0x35}));
}

TEST_F(SearchTest, AMessageThatTheSystemDoesNotTakeIsOfferedAgain) {
    // All of one version is refused, for longer than its sendings are apart.
    refuses_from_ = 1300;
    refuses_until_ = 4400;
    Begin({kSmall}, {20000, 0, 1000}, snmp::VersionChoice::kEither);
    Run({});
    std::map<Ipv4, std::vector<int>> versions;
    for (const Sent& sent : sent_) {
        versions[sent.address].push_back(sent.message[4]);
    }
    EXPECT_THAT(versions, SizeIs(254));
    for (const auto& [address, asked] : versions) {
        EXPECT_THAT(asked, ElementsAre(1, 0)) << address;
    }
    // It is not tried at every address meanwhile.
    EXPECT_LE(offered_ - sent_.size(), (refuses_until_ - refuses_from_) / 16 + 1);
}

TEST_F(SearchTest, AnAddressHasItsWholeTimeFromWhenItWasAsked) {
    refuses_from_ = 1000;
    refuses_until_ = 2900;
    Begin({{0x7F000507, 0xFFFFFFFF}}, {2000, 1, 500});
    Run({});
    ASSERT_THAT(sent_, SizeIs(2));
    EXPECT_GE(sent_[0].time, 2900U);
    EXPECT_GE(now_, sent_[0].time + 2000);
}

TEST_F(SearchTest, EndsAlsoWhenTheSystemTakesNothing) {
    for (const std::uint64_t from : {1000U, 1100U}) {
        now_ = 1000;
        refuses_from_ = from;
        Begin({kSmall}, {2000, 1, 500});
        Run({{0x7F000507, 1}});
        EXPECT_LE(now_, from + 3 * 2000U) << from;
    }
    EXPECT_THAT(found_, ElementsAre(0x7F000507U)) << "it had answered once, in the second search";
}

TEST_F(SearchTest, WithoutAddressesItIsOver) {
    Begin({}, {2000, 0, 500});
    EXPECT_TRUE(search_->IsOver());
}

}  // namespace
}  // namespace ksp::test
