// Deaths in the middle of a job.

#include "tests/reliability/death_test.h"

namespace ksp::test {
namespace {

TEST_F(DeathTest, InARawJob) {
    PrepareWorld();
    ASSERT_EQ(KillAt(L"half a job"), Fate::kKilled);
    ASSERT_TRUE(raw_->WaitForEndings(1)) << "the printer learns that the job has ended";
    EXPECT_LE(raw_->received().size(), 300'000u);
    Resurrect();
}

// Job numbers begin anew with every life, so the next job comes to the file that was left.
TEST_F(DeathTest, InASpooledJob) {
    PrepareWorld();
    ASSERT_EQ(KillAt(L"half a spooled job"), Fate::kKilled);
    EXPECT_EQ(std::filesystem::file_size(directory() + L"\\ksp000"), 300'000u);
    Resurrect();
    EXPECT_EQ(lpd_->connections().size(), 1u) << "of the former life nothing is delivered";
    EXPECT_EQ(std::filesystem::file_size(directory() + L"\\ksp000"), 50'000u);
}

TEST_F(DeathTest, InTheDeliveryOfASpooledJob) {
    standins::LpdBehavior slow;
    slow.answers[standins::LpdStep::kDataCommand].is_held = true;
    lpd_.emplace(slow);
    ASSERT_TRUE(lpd_->ready());
    PrepareWorld();
    ASSERT_EQ(KillAt(L"delivery", 0,
                     [this] {
                         return lpd_->connections().size() == 1 &&
                                lpd_->connections()[0].commands.size() == 3;
                     }),
              Fate::kKilled);
    ASSERT_TRUE(std::filesystem::exists(directory() + L"\\ksp000"));
    lpd_->ReleaseAnswers();
    ASSERT_TRUE(lpd_->WaitForEndings(1));
    EXPECT_FALSE(lpd_->connections()[0].has_whole_data);
    Resurrect();
}

}  // namespace
}  // namespace ksp::test
