// Callbacks in unexpected numbers, on several threads and at unexpected times.

#include "tests/discovery/search_test.h"

namespace ksp::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// Longer than any test runs.
constexpr DWORD kForAges = 100;

class SearchCallbackTest : public SearchTest {};

TEST_F(SearchCallbackTest, TheFirstMatchEndsTheSearchAtOnce) {
    AddTwoDevices();
    Restart(kForAges);
    library_.SetAnswers({{.address = kFirst}, {.address = kSecond, .delay_ms = kForAges * 500}});
    ASSERT_TRUE(Find({L"0026AB000001"}));
    EXPECT_THAT(Answered(), ElementsAre(kFirst)) << "the search went on to the second device";
    EXPECT_EQ(library_.Calls(DiscoveryStopProbe).size(), 1U);
}

TEST_F(SearchCallbackTest, ADeviceMayAnswerTwice) {
    AddTwoDevices();
    library_.SetAnswers({{.address = kSecond},
                         {.address = kSecond},
                         {.address = kFirst},
                         {.address = kFirst, .moment = DiscoveryWhileStopping}});
    ASSERT_TRUE(Find({L"0026AB000001"}));
    EXPECT_EQ(address_, L"127.0.0.2");
    EXPECT_THAT(Answered(), ElementsAre(kSecond, kSecond, kFirst, kFirst));
}

TEST_F(SearchCallbackTest, ALaterMatchNeverReplacesTheFirst) {
    AddTwoDevices();
    library_.SetAnswers(
        {{.address = kSecond}, {.address = kFirst, .moment = DiscoveryWhileStopping}});
    ASSERT_TRUE(Find({L"0026AB000001", L"0026AB000002"}));
    EXPECT_THAT(Answered(), ElementsAre(kSecond, kFirst));
    EXPECT_EQ(address_, L"127.0.0.3");
    EXPECT_EQ(mac_, L"0026AB000002");
}

TEST_F(SearchCallbackTest, AnAnswerWhileTheSearchEndsCounts) {
    AddTwoDevices();
    library_.SetAnswers({{.address = kFirst, .moment = DiscoveryWhileStopping}});
    ASSERT_TRUE(Find({L"0026AB000001"}));
    EXPECT_EQ(address_, L"127.0.0.2");
}

TEST_F(SearchCallbackTest, ManyThreadsAnswerAtOnce) {
    constexpr DWORD kThreads = 8;
    std::vector<DiscoveryControl::Answer> answers;
    std::vector<std::wstring> macs;
    for (DWORD thread = 0; thread < kThreads; ++thread) {
        const std::string number = std::to_string(thread);
        library_.AddDevice({.address = "127.0.1." + number, .mac = "0026AB00000" + number});
        macs.push_back(L"0026AB00000" + std::to_wstring(thread));
        for (int again = 0; again < 3; ++again) {
            answers.push_back({.address = "127.0.1." + number, .thread = thread});
        }
        answers.push_back({.code = -1, .thread = thread});
    }
    library_.SetAnswers(answers);
    for (int round = 0; round < 20; ++round) {
        ASSERT_TRUE(Find(macs));
        ASSERT_EQ(address_.substr(0, 8), L"127.0.1.");
        EXPECT_EQ(mac_.back(), address_.back()) << "address and MAC address of one device";
        EXPECT_EQ(mac_.size(), 12U);
    }
}

TEST_F(SearchCallbackTest, AnAnswerAfterTheSearchTouchesNothing) {
    AddTwoDevices();
    library_.SetAnswers({{.address = kSecond},
                         {.address = kFirst, .moment = DiscoveryAfterStop},
                         {.code = -1, .moment = DiscoveryAfterStop},
                         {.address = kFirst, .thread = 1, .moment = DiscoveryAfterStop}});
    ASSERT_TRUE(Find({L"0026AB000001", L"0026AB000002"}));
    library_.ClearCalls();
    EXPECT_EQ(library_.GiveLateAnswers(), 3U);
    EXPECT_THAT(library_.Calls(DiscoveryGetDeviceCapability), IsEmpty());
    EXPECT_EQ(address_, L"127.0.0.3");
    EXPECT_EQ(mac_, L"0026AB000002");
}

TEST_F(SearchCallbackTest, AnAnswerAfterTheWrapperIsGoneTouchesNothing) {
    AddTwoDevices();
    library_.SetAnswers({{.address = kFirst, .moment = DiscoveryAfterStop}});
    {
        CKspOryxWrapper wrapper;
        ASSERT_TRUE(wrapper.StartUp());
        EXPECT_FALSE(wrapper.FindDeviceByMac({L"0026AB000001"}, address_, mac_));
    }
    library_.ClearCalls();
    EXPECT_EQ(library_.GiveLateAnswers(), 1U);
    EXPECT_THAT(CallNames(), ElementsAre("ProbeCallback"));
    ExpectNothingFound();
}

// The callback of a search that is over is not one of the search that runs.
TEST_F(SearchCallbackTest, ALateAnswerIsNotTakenForTheNextSearchs) {
    AddTwoDevices();
    library_.SetAnswers({{.address = kFirst, .moment = DiscoveryAfterStop}});
    EXPECT_FALSE(Find({L"0026AB000001"}));
    library_.SetAnswers({{.address = kSecond}});
    library_.SetHook(DiscoveryStopProbe, [this] {
        // The second search still runs.
        EXPECT_EQ(library_.GiveLateAnswers(), 1U);
    });
    EXPECT_FALSE(Find({L"0026AB000001"}));
    library_.SetHook(DiscoveryStopProbe, {});
    EXPECT_THAT(Answered(), ElementsAre(kSecond, kFirst));
    EXPECT_EQ(library_.Calls(DiscoveryGetDeviceCapability).size(), 1U);
    ExpectNothingFound();
}

// A device that answers once more while a search ends leaves no signal behind.
TEST_F(SearchCallbackTest, ASearchIsNotEndedByTheOneBefore) {
    AddTwoDevices();
    Restart(kForAges);
    library_.SetAnswers(
        {{.address = kFirst}, {.address = kFirst, .moment = DiscoveryWhileStopping}});
    ASSERT_TRUE(Find({L"0026AB000001"}));
    library_.SetAnswers({{.address = kFirst}, {.address = kSecond, .delay_ms = 500}});
    ASSERT_TRUE(Find({L"0026AB000002"}));
    EXPECT_EQ(address_, L"127.0.0.3");
}

TEST_F(SearchCallbackTest, OneWrapperSearchesAgainAndAgain) {
    AddTwoDevices();
    for (int round = 0; round < 5; ++round) {
        ASSERT_TRUE(Find({L"0026AB000001"}));
        EXPECT_EQ(address_, L"127.0.0.2");
        ASSERT_TRUE(Find({L"0026AB000002"}));
        EXPECT_EQ(address_, L"127.0.0.3");
    }
}

}  // namespace
}  // namespace ksp::test
