// The logger from its start to its stop, and the disk and the threads in between.

#include <gmock/gmock.h>

#include <algorithm>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "support/logger.h"
#include "tests/support/files.h"
#include "tests/support/log_setup.h"

namespace ksp {
namespace {

using ::testing::ElementsAre;
using ::testing::StartsWith;

class LogLifecycleTest : public ::testing::Test {
  protected:
    void Line(const wchar_t* message) { logger_.LogMessage(LogLevel::kInfo, L"", 0, message); }

    CLogger logger_;
    test::LogSetup log_{logger_};
};

TEST_F(LogLifecycleTest, WritesNothingBeforeTheStart) {
    Line(L"lost");
    EXPECT_FALSE(logger_.IsStarted());
    EXPECT_FALSE(std::filesystem::exists(log_.File()));
}

TEST_F(LogLifecycleTest, StartOpensNoFile) {
    ASSERT_TRUE(log_.Start(1));
    EXPECT_TRUE(logger_.IsStarted());
    EXPECT_FALSE(std::filesystem::exists(log_.File()));
}

TEST_F(LogLifecycleTest, StopEndsTheLogUntilTheNextStart) {
    ASSERT_TRUE(log_.Start(1));
    logger_.LogMessage(LogLevel::kTrace, L"", 0, L"Logger terminate");
    logger_.Stop();
    EXPECT_FALSE(logger_.IsStarted());
    Line(L"lost");
    logger_.LogFormatted(LogLevel::kCritical, L"", 0, L"%s", L"lost");
    EXPECT_THAT(log_.Lines(), ElementsAre("TRACE: Logger terminate"));
    ASSERT_TRUE(log_.Start());
    Line(L"again");
    EXPECT_THAT(log_.Lines(), ElementsAre("TRACE: Logger terminate", "INFO: again"));
}

TEST_F(LogLifecycleTest, StopClosesTheFileAndCanBeRepeated) {
    ASSERT_TRUE(log_.Start(1));
    Line(L"one");
    EXPECT_FALSE(::DeleteFileW(log_.File().c_str()));
    logger_.Stop();
    logger_.Stop();
    EXPECT_TRUE(::DeleteFileW(log_.File().c_str()));
}

TEST_F(LogLifecycleTest, SecondStartClosesTheFileAndTakesTheNewSettings) {
    ASSERT_TRUE(log_.Start(1));
    Line(L"one");
    log_.Set(L"LogFileName", L"other.txt");
    ASSERT_TRUE(log_.Start(2));
    EXPECT_TRUE(::DeleteFileW(log_.File().c_str())) << "the first file is closed";
    logger_.LogMessage(LogLevel::kTrace, L"", 0, L"below the new level");
    Line(L"two");
    EXPECT_THAT(log_.Lines(L"other.txt"), ElementsAre("INFO: two"));
}

TEST_F(LogLifecycleTest, FileIsAppendedToAcrossRuns) {
    test::WriteFile(log_.File(), "from an earlier run\r\n");
    ASSERT_TRUE(log_.Start(1));
    Line(L"one");
    EXPECT_THAT(test::BytesOf(log_.File()), StartsWith("from an earlier run\r\n["));
    EXPECT_THAT(log_.Lines(), ElementsAre("INFO: one"));
}

TEST_F(LogLifecycleTest, LinesFollowWhatAnotherWriterAppended) {
    ASSERT_TRUE(log_.Start(1));
    Line(L"one");
    {
        CFileStream other;
        other.SetPath(log_.File().c_str());
        ASSERT_TRUE(other.Open(FileMode::kAppend));
        ASSERT_TRUE(other.WriteText(L"from another process\r\n"));
    }
    Line(L"two");
    EXPECT_THAT(log_.Lines(), ElementsAre("INFO: one\r\nfrom another process", "INFO: two"));
}

TEST_F(LogLifecycleTest, StartCreatesTheLastStepOfTheDirectory) {
    const auto directory = log_.directory() / L"new";
    log_.Set(L"LogDirectory", directory.wstring());
    ASSERT_TRUE(log_.Start(1));
    Line(L"one");
    EXPECT_THAT(log_.Lines(L"new\\log.txt"), ElementsAre("INFO: one"));
}

TEST_F(LogLifecycleTest, StartFailsWhenTheParentOfTheDirectoryIsMissing) {
    const auto directory = log_.directory() / L"missing" / L"new";
    log_.Set(L"LogDirectory", directory.wstring());
    EXPECT_FALSE(log_.Start(1));
    EXPECT_FALSE(logger_.IsStarted());
    Line(L"lost");
    EXPECT_FALSE(std::filesystem::exists(log_.directory() / L"missing"));
}

TEST_F(LogLifecycleTest, FailedStartEndsARunningLog) {
    ASSERT_TRUE(log_.Start(1));
    Line(L"one");
    log_.Set(L"LogDirectory", (log_.directory() / L"missing" / L"new").wstring());
    EXPECT_FALSE(log_.Start());
    Line(L"lost");
    EXPECT_THAT(log_.Lines(), ElementsAre("INFO: one"));
    EXPECT_TRUE(::DeleteFileW(log_.File().c_str()));
}

TEST_F(LogLifecycleTest, StartCanSucceedAfterAFailure) {
    const auto parent = log_.directory() / L"parent";
    log_.Set(L"LogDirectory", (parent / L"new").wstring());
    EXPECT_FALSE(log_.Start(1));
    std::filesystem::create_directory(parent);
    ASSERT_TRUE(log_.Start());
    Line(L"one");
    EXPECT_THAT(log_.Lines(L"parent\\new\\log.txt"), ElementsAre("INFO: one"));
}

TEST_F(LogLifecycleTest, StartGoesOnWhenTheDirectoryCannotBeCreatedForAnotherReason) {
    const auto file = log_.directory() / L"file";
    test::WriteFile(file, "in the directory's place");
    log_.Set(L"LogDirectory", file.wstring());
    EXPECT_TRUE(log_.Start(1));
    Line(L"dropped");
    EXPECT_EQ(test::BytesOf(file), "in the directory's place");
}

TEST_F(LogLifecycleTest, LineIsDroppedWhileTheFileCannotBeOpened) {
    ASSERT_TRUE(log_.Start(1));
    std::filesystem::create_directory(log_.File());
    Line(L"dropped");
    std::filesystem::remove(log_.File());
    Line(L"written");
    EXPECT_THAT(log_.Lines(), ElementsAre("INFO: written"));
}

TEST_F(LogLifecycleTest, LeavesTheThreadsLastErrorAlone) {
    constexpr DWORD kError = 12345;
    ASSERT_TRUE(log_.Start(1));
    ::SetLastError(kError);
    Line(L"opens the file");
    EXPECT_EQ(::GetLastError(), kError);
    logger_.LogFormatted(LogLevel::kInfo, L"", 0, L"%s", L"formatted");
    EXPECT_EQ(::GetLastError(), kError);
    logger_.LogFormatted(LogLevel::kInfo, L"", 0, L"%s", std::wstring(2000, L'x').c_str());
    EXPECT_EQ(::GetLastError(), kError);

    test::WriteZeros(log_.File(), 1048576);
    ::SetLastError(kError);
    Line(L"rotates");
    EXPECT_EQ(::GetLastError(), kError);
}

TEST_F(LogLifecycleTest, LeavesTheLastErrorAloneWhenTheLineIsDropped) {
    constexpr DWORD kError = 12345;
    ASSERT_TRUE(log_.Start(1));
    std::filesystem::create_directory(log_.File());
    ::SetLastError(kError);
    Line(L"dropped");
    EXPECT_EQ(::GetLastError(), kError);
}

TEST_F(LogLifecycleTest, LinesOfSeveralThreadsStayWholeAndInTheOrderOfEachThread) {
    constexpr int kThreads = 4;
    constexpr int kLines = 100;
    // The threads also meet at a rotation.
    test::WriteZeros(log_.File(), 1048576 - 8000);
    ASSERT_TRUE(log_.Start(1));
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([this, thread] {
            for (int line = 0; line < kLines; ++line) {
                logger_.LogFormatted(LogLevel::kInfo, L"", 0, L"thread %d line %d.", thread, line);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }

    std::string bytes = test::BytesOf(log_.File(L"log1.txt")) + test::BytesOf(log_.File());
    bytes.erase(0, bytes.find('['));
    test::WriteFile(log_.File(L"all.txt"), bytes);
    std::vector<std::vector<std::string>> expected(kThreads);
    std::vector<std::vector<std::string>> found(kThreads);
    const std::vector<std::string> lines = log_.Lines(L"all.txt");
    for (std::size_t thread = 0; thread < kThreads; ++thread) {
        const std::string begin = "INFO: thread " + std::to_string(thread) + " line ";
        for (int line = 0; line < kLines; ++line) {
            expected[thread].push_back(begin + std::to_string(line) + ".");
        }
        std::copy_if(lines.begin(), lines.end(), std::back_inserter(found[thread]),
                     [&](const std::string& line) { return line.starts_with(begin); });
    }
    EXPECT_EQ(found, expected);
    EXPECT_EQ(lines.size(), std::size_t{kThreads * kLines}) << "and nothing else";
}

TEST_F(LogLifecycleTest, DefaultDirectoryAndNameComeFromTheStore) {
    log_.registry().RemoveValue(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Kestrel\\Kestrel Print",
                                L"LogDirectory");
    const bool existed = std::filesystem::exists(L"C:\\Kestrel Print");
    ASSERT_TRUE(log_.Start(5));
    EXPECT_TRUE(std::filesystem::is_directory(L"C:\\Kestrel Print"));
    if (!existed) {
        ::RemoveDirectoryW(L"C:\\Kestrel Print");
    }
}

TEST(ProcessLoggerTest, IsOneForTheProcess) {
    EXPECT_EQ(&Logger(), &Logger());
}

}  // namespace
}  // namespace ksp
