// Probes: who answers, on which thread and when.

#include "tests/standins/discovery/standin_test.h"

#include <atomic>
#include <set>

namespace ksp::test {
namespace {

class DiscoveryProbeTest : public DiscoveryStandinTest {
  protected:
    void SetUp() override {
        DiscoveryStandinTest::SetUp();
        control_.AddDevice({.address = "127.0.0.2", .mac = "000000000002"});
        control_.AddDevice({.address = "127.0.0.3", .mac = "000000000003"});
        control_.AddDevice({.address = "127.0.0.4", .mac = "000000000004", .silent = true});
        stream_ = BeginStream();
    }

    void TearDown() override {
        EndStream(stream_);
        DiscoveryStandinTest::TearDown();
    }

    bool Probe() {
        return library_.KSProbe(stream_, ProbeWitness::Receive, &witness_, nullptr) != 0;
    }

    // Probes, waits for so many callbacks and stops. False when there were fewer or more.
    bool ProbeFor(size_t count) {
        if (!Probe()) {
            return false;
        }
        const bool came = witness_.WaitFor(count);
        EXPECT_EQ(library_.KSStopProbe(stream_), 0);
        EXPECT_EQ(witness_.callbacks().size(), count);
        return came && witness_.callbacks().size() == count;
    }

    // Whose devices called back, in order; "" for the device handle 0.
    std::vector<std::string> Answered() const {
        std::vector<std::string> addresses;
        for (const auto& call : control_.Calls(DiscoveryProbeCallback)) {
            addresses.push_back(call.address);
        }
        return addresses;
    }

    void* stream_ = nullptr;
    ProbeWitness witness_;
};

TEST_F(DiscoveryProbeTest, WithoutAScriptTheDevicesAnswerInOrderOnOneThread) {
    std::vector<std::string> documents;
    witness_.set_action([&](const ProbeWitness::Callback& callback) {
        documents.push_back(ReadCapability(stream_, callback.device));
    });
    ASSERT_TRUE(ProbeFor(2));
    EXPECT_EQ(Answered(), (std::vector<std::string>{"127.0.0.2", "127.0.0.3"}));
    ASSERT_EQ(documents.size(), 2u);
    EXPECT_NE(documents[0].find("000000000002"), std::string::npos);
    EXPECT_NE(documents[1].find("000000000003"), std::string::npos);
    const auto callbacks = witness_.callbacks();
    EXPECT_EQ(callbacks[0].code, 0);
    EXPECT_EQ(callbacks[0].thread_id, callbacks[1].thread_id);
    EXPECT_NE(callbacks[0].thread_id, GetCurrentThreadId());
    EXPECT_NE(callbacks[0].device, callbacks[1].device);
}

TEST_F(DiscoveryProbeTest, AScriptDecidesWhoAnswersWithWhat) {
    control_.SetAnswers({{.code = -1},
                         {.address = "127.0.0.3"},
                         {.address = "127.0.0.3"},
                         {.code = 99},
                         {.address = "127.0.0.4", .code = -3}});
    ASSERT_TRUE(ProbeFor(5));
    EXPECT_EQ(Answered(),
              (std::vector<std::string>{"", "127.0.0.3", "127.0.0.3", "", "127.0.0.4"}));
    const auto callbacks = witness_.callbacks();
    EXPECT_EQ(callbacks[0].device, 0);
    EXPECT_EQ(callbacks[0].code, -1);
    EXPECT_EQ(callbacks[1].device, callbacks[2].device);
    EXPECT_EQ(callbacks[3].code, 99);
    EXPECT_EQ(callbacks[4].code, -3);
}

TEST_F(DiscoveryProbeTest, TheScriptServesEveryProbeUntilItIsTakenAway) {
    control_.SetAnswers({{.address = "127.0.0.4"}});
    ASSERT_TRUE(ProbeFor(1));
    ASSERT_TRUE(Probe());
    EXPECT_TRUE(witness_.WaitFor(2));
    library_.KSStopProbe(stream_);
    control_.ClearAnswers();
    ASSERT_TRUE(Probe());
    EXPECT_TRUE(witness_.WaitFor(4));
    library_.KSStopProbe(stream_);
    EXPECT_EQ(Answered(),
              (std::vector<std::string>{"127.0.0.4", "127.0.0.4", "127.0.0.2", "127.0.0.3"}));
}

TEST_F(DiscoveryProbeTest, ASilentDeviceAnswersOnlyToAScript) {
    control_.AddDevice({.address = "127.0.0.2", .silent = true});
    control_.AddDevice({.address = "127.0.0.3", .silent = true});
    control_.AddDevice({.address = "127.0.0.5"});
    ASSERT_TRUE(ProbeFor(1));
    EXPECT_EQ(Answered(), std::vector<std::string>{"127.0.0.5"});
}

TEST_F(DiscoveryProbeTest, AnEmptyScriptIsSilence) {
    control_.SetAnswers({});
    ASSERT_TRUE(Probe());
    EXPECT_EQ(control_.Held().probes, 1u);
    library_.KSStopProbe(stream_);
    EXPECT_EQ(control_.Held().probes, 0u);
    EXPECT_TRUE(witness_.callbacks().empty());
}

// Each callback waits for the other: it only ends when both run at once.
TEST_F(DiscoveryProbeTest, SeveralThreadsAnswerAtOnce) {
    std::atomic<bool> met = true;
    witness_.set_action([&](const ProbeWitness::Callback&) {
        if (!witness_.WaitFor(2)) {
            met = false;
        }
    });
    control_.SetAnswers(
        {{.address = "127.0.0.2", .thread = 1}, {.address = "127.0.0.3", .thread = 2}});
    ASSERT_TRUE(ProbeFor(2));
    EXPECT_TRUE(met);
    EXPECT_NE(witness_.callbacks()[0].thread_id, witness_.callbacks()[1].thread_id);
}

TEST_F(DiscoveryProbeTest, StoppingDropsWhatIsStillDelayed) {
    control_.SetAnswers(
        {{.address = "127.0.0.2"}, {.address = "127.0.0.3", .delay_ms = INFINITE - 1}});
    ASSERT_TRUE(ProbeFor(1));
    EXPECT_EQ(Answered(), std::vector<std::string>{"127.0.0.2"});
}

// The answer during the probe is delayed to let the others come too early, if they do.
TEST_F(DiscoveryProbeTest, StoppingWaitsForTheAnswersThatComeWhileStopping) {
    control_.SetAnswers(
        {{.address = "127.0.0.2", .delay_ms = 50},
         {.address = "127.0.0.3", .thread = 1, .moment = DiscoveryWhileStopping},
         {.address = "127.0.0.4", .thread = 1, .delay_ms = 50, .moment = DiscoveryWhileStopping}});
    control_.ClearCalls();
    ASSERT_TRUE(Probe());
    EXPECT_TRUE(witness_.WaitFor(1));
    library_.KSStopProbe(stream_);
    EXPECT_EQ(witness_.callbacks().size(), 3u);
    std::vector<DiscoveryFunction> order;
    for (const auto& call : control_.Calls()) {
        order.push_back(call.function);
    }
    EXPECT_EQ(order, (std::vector<DiscoveryFunction>{DiscoveryProbe, DiscoveryProbeCallback,
                                                     DiscoveryStopProbe, DiscoveryProbeCallback,
                                                     DiscoveryProbeCallback}));
    EXPECT_EQ(Answered(), (std::vector<std::string>{"127.0.0.2", "127.0.0.3", "127.0.0.4"}));
    EXPECT_EQ(control_.GiveLateAnswers(), 0u);
}

TEST_F(DiscoveryProbeTest, AnswersAfterTheStopComeWhenTheyAreCalledFor) {
    control_.SetAnswers({{.address = "127.0.0.2", .moment = DiscoveryAfterStop},
                         {.code = -2, .thread = 1, .moment = DiscoveryAfterStop}});
    ASSERT_TRUE(Probe());
    EXPECT_EQ(control_.GiveLateAnswers(), 0u) << "the probe still runs";
    library_.KSStopProbe(stream_);
    EXPECT_TRUE(witness_.callbacks().empty());
    EXPECT_EQ(control_.GiveLateAnswers(), 2u);
    EXPECT_EQ(witness_.callbacks().size(), 2u);
    EXPECT_EQ(control_.GiveLateAnswers(), 0u);
}

TEST_F(DiscoveryProbeTest, AHookRunsBeforeTheCallbackOnItsThread) {
    DWORD thread_id = 0;
    size_t seen = 99;
    control_.SetHook(DiscoveryProbeCallback, [&] {
        thread_id = GetCurrentThreadId();
        seen = witness_.callbacks().size();
    });
    control_.SetAnswers({{.address = "127.0.0.2"}});
    ASSERT_TRUE(ProbeFor(1));
    EXPECT_EQ(seen, 0u);
    EXPECT_EQ(thread_id, witness_.callbacks()[0].thread_id);
}

TEST_F(DiscoveryProbeTest, AResetEndsAProbeWithoutFurtherAnswers) {
    std::atomic<bool> over = false;
    witness_.set_action([&](const ProbeWitness::Callback&) {
        Sleep(50);
        over = true;
    });
    control_.SetAnswers(
        {{.address = "127.0.0.2"}, {.address = "127.0.0.2", .moment = DiscoveryWhileStopping}});
    ASSERT_TRUE(Probe());
    EXPECT_TRUE(witness_.WaitFor(1));
    control_.Reset();
    EXPECT_TRUE(over) << "the callback still ran";
    EXPECT_EQ(witness_.callbacks().size(), 1u);
    EXPECT_EQ(control_.Leftovers(), "");
    stream_ = BeginStream();
}

TEST_F(DiscoveryProbeTest, ProbesLeaveNoHandleBehind) {
    DWORD before = 0;
    DWORD after = 0;
    ASSERT_TRUE(ProbeFor(2));
    GetProcessHandleCount(GetCurrentProcess(), &before);
    for (size_t round = 0; round < 10; ++round) {
        ASSERT_TRUE(Probe());
        EXPECT_TRUE(witness_.WaitFor(2 * (round + 2)));
        library_.KSStopProbe(stream_);
    }
    GetProcessHandleCount(GetCurrentProcess(), &after);
    EXPECT_LE(after, before);
}

}  // namespace
}  // namespace ksp::test
