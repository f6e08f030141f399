#include "support/critical_section.h"

#include <gtest/gtest.h>

#include <thread>
#include <type_traits>

namespace ksp {
namespace {

static_assert(std::has_virtual_destructor_v<CAutoLogCritSec>);

TEST(CriticalSectionTest, ExistsBetweenCreateAndDelete) {
    CCriticalSection section;
    EXPECT_FALSE(section.IsCreated());
    EXPECT_FALSE(section.Enter());
    section.Create();
    EXPECT_TRUE(section.IsCreated());
    ASSERT_TRUE(section.Enter());
    section.Leave();
    section.Delete();
    EXPECT_FALSE(section.IsCreated());
    EXPECT_FALSE(section.Enter());
}

TEST(CriticalSectionTest, CreatingOrDeletingTwiceChangesNothing) {
    CCriticalSection section;
    section.Delete();
    section.Create();
    ASSERT_TRUE(section.Enter());
    // Were it made anew, the owner would have lost it and the leave below would be one too many.
    section.Create();
    section.Leave();
    section.Delete();
    section.Delete();
    EXPECT_FALSE(section.IsCreated());
}

TEST(CriticalSectionTest, CanBeCreatedAgain) {
    CCriticalSection section;
    section.Create();
    section.Delete();
    section.Create();
    EXPECT_TRUE(CAutoLogCritSec(&section).IsHeld());
}

TEST(AutoLogCritSecTest, HoldsNothingWithoutASection) {
    const CAutoLogCritSec guard(nullptr);
    EXPECT_FALSE(guard.IsHeld());
}

TEST(AutoLogCritSecTest, HoldsNothingOfASectionThatDoesNotExist) {
    CCriticalSection section;
    const CAutoLogCritSec guard(&section);
    EXPECT_FALSE(guard.IsHeld());
}

TEST(AutoLogCritSecTest, IsReEntrantOnOneThread) {
    CCriticalSection section;
    section.Create();
    const CAutoLogCritSec outer(&section);
    const CAutoLogCritSec inner(&section);
    EXPECT_TRUE(outer.IsHeld());
    EXPECT_TRUE(inner.IsHeld());
}

TEST(AutoLogCritSecTest, LeavesTheSectionAsOftenAsItEnteredIt) {
    CCriticalSection section;
    section.Create();
    {
        const CAutoLogCritSec outer(&section);
        const CAutoLogCritSec inner(&section);
    }
    bool held = false;
    std::thread([&] { held = CAutoLogCritSec(&section).IsHeld(); }).join();
    EXPECT_TRUE(held);
}

TEST(AutoLogCritSecTest, LetsOneThreadInAtATime) {
    CCriticalSection section;
    section.Create();
    constexpr int kRounds = 20000;
    volatile int count = 0;
    const auto work = [&] {
        for (int round = 0; round < kRounds; ++round) {
            const CAutoLogCritSec guard(&section);
            const int seen = count;
            if (round % 64 == 0) {
                ::SwitchToThread();
            }
            count = seen + 1;
        }
    };
    std::thread first(work);
    std::thread second(work);
    first.join();
    second.join();
    EXPECT_EQ(count, 2 * kRounds);
}

}  // namespace
}  // namespace ksp
