// Which lines the minimum level lets through, and what a filtered call costs.

#include <gmock/gmock.h>

#include <string>

#include "support/log.h"
#include "support/logger.h"
#include "tests/support/log_setup.h"

namespace ksp {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// Formatting it as a text ends the program.
const wchar_t* Unreadable() {
    return reinterpret_cast<const wchar_t*>(std::uintptr_t{2});
}

class LogFilterTest : public ::testing::Test {
  protected:
    void LogEveryLevel() {
        for (const LogLevel level :
             {LogLevel::kTrace, LogLevel::kInfo, LogLevel::kError, LogLevel::kCritical}) {
            logger_.LogMessage(level, L"", 0, L"x");
        }
    }
    [[nodiscard]] bool HasFile() const { return std::filesystem::exists(log_.File()); }

    CLogger logger_;
    test::LogSetup log_{logger_};
};

TEST_F(LogFilterTest, Level1WritesEverything) {
    ASSERT_TRUE(log_.Start(1));
    LogEveryLevel();
    EXPECT_THAT(log_.Lines(), ElementsAre("TRACE: x", "INFO: x", "ERROR: x", "CRITICAL: x"));
}

TEST_F(LogFilterTest, Level2LeavesTraceOut) {
    ASSERT_TRUE(log_.Start(2));
    LogEveryLevel();
    EXPECT_THAT(log_.Lines(), ElementsAre("INFO: x", "ERROR: x", "CRITICAL: x"));
}

TEST_F(LogFilterTest, Level3WritesErrorAndCriticalOnly) {
    ASSERT_TRUE(log_.Start(3));
    LogEveryLevel();
    EXPECT_THAT(log_.Lines(), ElementsAre("ERROR: x", "CRITICAL: x"));
}

TEST_F(LogFilterTest, Level4WritesCriticalOnly) {
    ASSERT_TRUE(log_.Start(4));
    LogEveryLevel();
    EXPECT_THAT(log_.Lines(), ElementsAre("CRITICAL: x"));
}

TEST_F(LogFilterTest, LevelsOutside1To4WriteNothing) {
    for (const DWORD level : {0U, 5U, 6U, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
        ASSERT_TRUE(log_.Start(level)) << level;
        LogEveryLevel();
        EXPECT_FALSE(HasFile()) << level;
    }
}

TEST_F(LogFilterTest, MissingLevelWritesNothing) {
    ASSERT_TRUE(log_.Start());
    LogEveryLevel();
    EXPECT_FALSE(HasFile());
}

TEST_F(LogFilterTest, LevelOfAnotherTypeWritesNothing) {
    log_.Set(L"LogLevel", L"1");
    ASSERT_TRUE(log_.Start());
    LogEveryLevel();
    EXPECT_FALSE(HasFile());
}

TEST_F(LogFilterTest, LoggingOffKeepsOutEvenTheHighestNumber) {
    ASSERT_TRUE(log_.Start(5));
    for (const std::uint32_t level : {5U, 6U, 0xFFFFFFFFU}) {
        logger_.LogMessage(static_cast<LogLevel>(level), L"", 0, L"x");
        logger_.LogFormatted(static_cast<LogLevel>(level), L"", 0, L"%s", L"x");
        EXPECT_FALSE(HasFile()) << level;
    }
}

TEST_F(LogFilterTest, TellsWhatWouldBeWritten) {
    EXPECT_FALSE(logger_.IsWritten(LogLevel::kCritical));
    ASSERT_TRUE(log_.Start(3));
    EXPECT_FALSE(logger_.IsWritten(LogLevel::kInfo));
    EXPECT_TRUE(logger_.IsWritten(LogLevel::kError));
    EXPECT_TRUE(logger_.IsWritten(LogLevel::kCritical));
    logger_.Stop();
    EXPECT_FALSE(logger_.IsWritten(LogLevel::kCritical));
}

TEST_F(LogFilterTest, FormatsNothingBelowTheLevel) {
    ASSERT_TRUE(log_.Start(3));
    logger_.LogFormatted(LogLevel::kInfo, L"", 0, L"%s", Unreadable());
    EXPECT_FALSE(HasFile());
}

TEST_F(LogFilterTest, FormatsNothingWhenNotStarted) {
    logger_.LogFormatted(LogLevel::kCritical, L"", 0, L"%s", Unreadable());
    logger_.LogMessage(LogLevel::kCritical, L"", 0, Unreadable());
    EXPECT_FALSE(HasFile());
}

TEST_F(LogFilterTest, MessageBelowTheLevelIsNotRead) {
    ASSERT_TRUE(log_.Start(3));
    logger_.LogMessage(LogLevel::kInfo, Unreadable(), 0, Unreadable());
    EXPECT_FALSE(HasFile());
}

// The calls of the other rooms go to the process's logger.
class LogCallTest : public ::testing::Test {
  protected:
    test::LogSetup log_{Logger()};
};

TEST_F(LogCallTest, WritesReadyAndFormattedTextsWithoutASource) {
    ASSERT_TRUE(log_.Start(1));
    Log(LogLevel::kTrace, L"Logger terminate");
    Log(LogLevel::kInfo, L"50%d%s");
    Log(LogLevel::kError, L"error in 1st enumprinters = %d", 5);
    EXPECT_THAT(log_.Lines(), ElementsAre("TRACE: Logger terminate", "INFO: 50%d%s",
                                          "ERROR: error in 1st enumprinters = 5"));
}

TEST_F(LogCallTest, FormatsNothingBelowTheLevel) {
    ASSERT_TRUE(log_.Start(4));
    Log(LogLevel::kError, L"%s", Unreadable());
    EXPECT_THAT(log_.Lines(), IsEmpty());
}

TEST_F(LogCallTest, CarriesTheLineOfTheCall) {
    const LogText text = L"here";
    EXPECT_EQ(text.Line(), static_cast<std::uint32_t>(__LINE__) - 1);
    EXPECT_EQ(std::wstring(text.Text()), L"here");
}

}  // namespace
}  // namespace ksp
