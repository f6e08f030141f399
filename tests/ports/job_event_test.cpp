// The event that keeps the end of a job behind its last write.

#include "ports/job_event.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace ksp {
namespace {

constexpr DWORD kMoment = 50;  // milliseconds in which a thread would have come through

TEST(JobEventTest, IsNoneBeforeCreate) {
    CJobEvent event;
    EXPECT_FALSE(event.Signal());
    EXPECT_FALSE(event.Reset());
    EXPECT_FALSE(event.Wait());
    EXPECT_TRUE(event.Create());
    EXPECT_TRUE(event.Create());
    EXPECT_TRUE(event.Wait()) << "signalled at first";
}

TEST(JobEventTest, HoldsEverybodyUntilItIsSignalled) {
    CJobEvent event;
    ASSERT_TRUE(event.Create());
    for (int round = 0; round < 3; ++round) {
        ASSERT_TRUE(event.Reset());
        std::atomic<int> through{0};
        std::vector<std::thread> threads;
        for (int thread = 0; thread < 3; ++thread) {
            threads.emplace_back([&] {
                EXPECT_TRUE(event.Wait());
                ++through;
            });
        }
        ::Sleep(kMoment);
        EXPECT_EQ(through, 0) << round;
        EXPECT_TRUE(event.Signal());
        for (std::thread& thread : threads) {
            thread.join();
        }
        EXPECT_EQ(through, 3);
        EXPECT_TRUE(event.Wait()) << "stays signalled";
    }
}

TEST(JobEventTest, LosesNoWaiterWhileWritesComeAndGo) {
    CJobEvent event;
    ASSERT_TRUE(event.Create());
    std::atomic<bool> stop{false};
    std::thread writer([&] {
        while (!stop) {
            event.Reset();
            event.Signal();
        }
    });
    for (int wait = 0; wait < 2000; ++wait) {
        ASSERT_TRUE(event.Wait());
    }
    stop = true;
    writer.join();
}

}  // namespace
}  // namespace ksp
