// Deaths around a rotation of the log: no line that was logged before is lost.

#include <iterator>

#include "tests/reliability/death_test.h"
#include "tests/reliability/still_rotation.h"

namespace ksp::test {
namespace {

constexpr size_t kFull = size_t{1024} * 1024;

class DeathOfTheLogTest : public DeathTest {
  protected:
    // Lets the log grow until so many bytes are missing to a full one. Every line is another.
    void FillLog(size_t missing) {
        size_t size = ReadFile(L"log.txt").size();
        std::ofstream file(std::filesystem::path(log_path()), std::ios::binary | std::ios::app);
        while (size + missing < kFull) {
            const std::string line = "[11/21/26: 18:06:36 PID(32) TID(36)] TRACE    line " +
                                     std::to_string(++lines_) + " of a former life\r\n";
            file << line;
            size += line.size();
        }
    }
    void PrepareLog(size_t missing) {
        PrepareWorld();
        for (const wchar_t* name : {L"log.txt", L"log1.txt", L"log2.txt", L"log3.txt"})
            std::filesystem::remove(directory() + L"\\" + name);
        FillLog(missing);
    }
    // Empty when it does not exist.
    std::string ReadFile(const std::wstring& name) const {
        std::ifstream file(std::filesystem::path(directory() + L"\\" + name), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    std::string ReadBackup(int index) const {
        return ReadFile(L"log" + std::to_wstring(index) + L".txt");
    }
    void ExpectWholeFile(const std::wstring& name) const {
        EXPECT_TRUE(HasWholeLines(directory() + L"\\" + name)) << testing::PrintToString(name);
    }
    // A life that only logs.
    void LiveShortly() {
        ASSERT_TRUE(library().Load(MonitorLibraryPath()));
        ASSERT_TRUE(library().Initialize(*hive_));
        Unload();
    }

  private:
    int lines_ = 0;
};

class DeathInARotationTest : public DeathOfTheLogTest,
                             public ::testing::WithParamInterface<RotationMoment> {
  protected:
    static bool IsEmptied() { return GetParam() == RotationMoment::kBehindEmptying; }

    // What the dead one left, and the text that it was about to move.
    std::string LookAtRemains() const {
        const std::string log = ReadFile(L"log.txt");
        const std::string backup = ReadBackup(1);
        switch (GetParam()) {
            case RotationMoment::kInCopying:
                EXPECT_TRUE(backup == log.substr(0, log.size() / 2));
                break;
            case RotationMoment::kBehindCopying:
            case RotationMoment::kBeforeEmptying:
                EXPECT_TRUE(backup == log);
                break;
            case RotationMoment::kBehindEmptying:
                EXPECT_EQ(log, "");
                return backup;
            default:
                EXPECT_EQ(backup.size(), 0u);
                break;
        }
        return log;
    }
    // A spooler that rotates a log to which so much is missing dies, and two others live.
    void DieAndLive(const std::wstring& scenario, size_t missing) {
        PrepareLog(missing);
        const std::string former = ReadFile(L"log.txt");
        ASSERT_EQ(KillAt(scenario, static_cast<int>(GetParam())), Fate::kKilled);
        const std::string text = LookAtRemains();
        EXPECT_TRUE(text.starts_with(former)) << "the former lives' lines are lost";
        EXPECT_GE(text.size(), kFull);
        ExpectWholeFile(IsEmptied() ? L"log1.txt" : L"log.txt");

        Live();
        Unload();
        // A stored index is not used a second time, and only a full log rotates.
        const bool is_index_used = GetParam() != RotationMoment::kBeforeIndex && !IsEmptied();
        const int index = is_index_used ? 2 : 1;
        EXPECT_TRUE(ReadBackup(index) == text) << "the dead one's lines are lost";
        ExpectWholeFile(L"log.txt");
        EXPECT_LT(ReadFile(L"log.txt").size(), kFull);

        FillLog(0);
        const std::string second = ReadFile(L"log.txt");
        LiveShortly();
        EXPECT_TRUE(ReadBackup(index + 1) == second) << "the next life does not rotate";
        EXPECT_TRUE(ReadBackup(index) == text);
        ExpectWholeFile(L"log.txt");
        EXPECT_LT(ReadFile(L"log.txt").size(), kFull);
    }
};

std::string NameOfMoment(const ::testing::TestParamInfo<RotationMoment>& test) {
    switch (test.param) {
        case RotationMoment::kBeforeIndex:
            return "BeforeIndex";
        case RotationMoment::kBeforeCopying:
            return "BeforeCopying";
        case RotationMoment::kInCopying:
            return "InCopying";
        case RotationMoment::kBehindCopying:
            return "BehindCopying";
        case RotationMoment::kBeforeEmptying:
            return "BeforeEmptying";
        default:
            return "BehindEmptying";
    }
}

INSTANTIATE_TEST_SUITE_P(
    , DeathInARotationTest,
    ::testing::Values(RotationMoment::kBeforeIndex, RotationMoment::kBeforeCopying,
                      RotationMoment::kInCopying, RotationMoment::kBehindCopying,
                      RotationMoment::kBeforeEmptying, RotationMoment::kBehindEmptying),
    NameOfMoment);

TEST_P(DeathInARotationTest, AtTheStart) {
    DieAndLive(L"rotate", 0);
}

// Others wait for the rotation with their lines.
TEST_P(DeathInARotationTest, WhileThreadsLog) {
    DieAndLive(L"log", 30'000);
}

// Before, around and behind a rotation, as far as the threads have come.
TEST_F(DeathOfTheLogTest, WhileThreadsLog) {
    constexpr size_t kMissing = 30'000;
    for (size_t logged = 10'000; logged <= 60'000; logged += 10'000) {
        SCOPED_TRACE("behind " + std::to_string(logged) + " bytes");
        PrepareLog(kMissing);
        const std::string former = ReadFile(L"log.txt");
        const auto is_time = [&] {
            const size_t backup = ReadBackup(1).size();
            const size_t log = ReadFile(L"log.txt").size();
            const bool is_rotated = backup >= kFull && log < former.size();
            return IsThere() && log + (is_rotated ? backup : 0) >= former.size() + logged;
        };
        ASSERT_EQ(KillAt(L"log", 0, is_time), Fate::kKilled);
        const std::string log = ReadFile(L"log.txt");
        const std::string backup = ReadBackup(1);
        const bool is_rotated = !log.starts_with(former);
        if (is_rotated) {
            EXPECT_TRUE(backup.starts_with(former)) << "the former lives' lines are lost";
            ExpectWholeFile(L"log1.txt");
        } else {
            EXPECT_TRUE(log.starts_with(backup)) << "what was copied is still in the log";
        }
        if (!log.empty())
            ExpectWholeFile(L"log.txt");
        EXPECT_TRUE(is_rotated || logged <= kMissing);
        Live();
        Unload();
        ExpectWholeFile(L"log.txt");
        if (HasFatalFailure())
            return;
    }
}

}  // namespace
}  // namespace ksp::test
