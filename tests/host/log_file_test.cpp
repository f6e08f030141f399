#include "tests/host/log_file.h"

#include <gtest/gtest.h>

#include <fstream>

#include "tests/host/temp_directory.h"

namespace ksp::test {
namespace {

constexpr char kStart[] = "[07/14/25: 09:03:27 PID(4412) TID(5120)] ";

std::string Line(const std::string& level, const std::string& message) {
    return kStart + level + " " + message + "\r\n";
}

TEST(LogFileTest, ReadsEveryPartOfALine) {
    const LogFile log = LogFile::Parse(Line("ERROR   ", "printer not found !!"));
    ASSERT_EQ(log.lines().size(), 1u);
    const LogLine& line = log.lines().front();
    EXPECT_EQ(line.level, LineLevel::kError);
    EXPECT_EQ(line.date, "07/14/25");
    EXPECT_EQ(line.time, "09:03:27");
    EXPECT_EQ(line.process_id, 4412u);
    EXPECT_EQ(line.thread_id, 5120u);
    EXPECT_EQ(line.message, L"printer not found !!");
    EXPECT_EQ(log.preamble(), "");
}

TEST(LogFileTest, KnowsTheFourLevels) {
    const LogFile log = LogFile::Parse(Line("TRACE   ", "a") + Line("INFO    ", "b") +
                                       Line("ERROR   ", "c") + Line("CRITICAL", "d"));
    EXPECT_TRUE(log.ContainsLine(LineLevel::kTrace, L"a"));
    EXPECT_TRUE(log.ContainsLine(LineLevel::kInfo, L"b"));
    EXPECT_TRUE(log.ContainsLine(LineLevel::kError, L"c"));
    EXPECT_TRUE(log.ContainsLine(LineLevel::kCritical, L"d"));
    EXPECT_FALSE(log.ContainsLine(LineLevel::kInfo, L"a"));
}

TEST(LogFileTest, KeepsBlanksAndLineEndsOfAMessage) {
    const LogFile log =
        LogFile::Parse(Line("INFO    ", "text = refused.\r\n") + Line("INFO    ", " blank ") +
                       Line("INFO    ", "") +
                       Line("INFO    ", std::string("[").append(kStart) + "INFO     inside"));
    EXPECT_EQ(
        log.Messages(LineLevel::kInfo),
        (std::vector<std::wstring>{L"text = refused.\r\n", L" blank ", L"",
                                   L"[[07/14/25: 09:03:27 PID(4412) TID(5120)] INFO     inside"}));
    EXPECT_FALSE(log.ContainsLine(LineLevel::kInfo, L"blank"));
}

TEST(LogFileTest, CountsEqualLinesOfOneLevel) {
    const LogFile log = LogFile::Parse(Line("INFO    ", "x") + Line("INFO    ", "x") +
                                       Line("ERROR   ", "x") + Line("INFO    ", "xx"));
    EXPECT_EQ(log.CountLines(LineLevel::kInfo, L"x"), 2u);
}

TEST(LogFileTest, SetsApartWhatStandsBeforeTheFirstLine) {
    const LogFile log =
        LogFile::Parse("Log file copy failed. (5) \r\n" + Line("INFO    ", "after"));
    EXPECT_EQ(log.preamble(), "Log file copy failed. (5) \r\n");
    EXPECT_EQ(log.Messages(LineLevel::kInfo), std::vector<std::wstring>{L"after"});
}

TEST(LogFileTest, ReadsAFileThatIsBeingWritten) {
    const TempDirectory directory;
    EXPECT_TRUE(LogFile::Read(directory.File(L"log.txt")).empty());
    std::ofstream file(directory.File(L"log.txt").c_str(), std::ios::binary);
    file << Line("INFO    ", "one") << std::flush;
    EXPECT_EQ(LogFile::Read(directory.File(L"log.txt")).lines().size(), 1u);
    file << Line("INFO    ", "two") << std::flush;
    EXPECT_EQ(LogFile::Read(directory.File(L"log.txt")).lines().size(), 2u);
}

}  // namespace
}  // namespace ksp::test
