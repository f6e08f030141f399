// What one line of the log looks like, byte for byte.

#include <gmock/gmock.h>

#include <cstdio>
#include <regex>
#include <string>
#include <vector>

#include "support/logger.h"
#include "support/text.h"
#include "tests/support/files.h"
#include "tests/support/log_setup.h"

namespace ksp {
namespace {

using ::testing::AnyOf;
using ::testing::ElementsAre;
using ::testing::Eq;

class LogLineTest : public ::testing::Test {
  protected:
    void SetUp() override { ASSERT_TRUE(log_.Start(1)); }

    [[nodiscard]] std::string Bytes() const { return test::BytesOf(log_.File()); }

    CLogger logger_;
    test::LogSetup log_{logger_};
};

std::string DateOf(const SYSTEMTIME& time) {
    char text[16];
    std::snprintf(text, sizeof(text), "%02d/%02d/%02d", time.wMonth, time.wDay, time.wYear % 100);
    return text;
}

std::string HourOf(const SYSTEMTIME& time) {
    char text[16];
    std::snprintf(text, sizeof(text), "%02d", time.wHour);
    return text;
}

TEST_F(LogLineTest, ALevelThatIsNoneIsNamedSo) {
    // The number comes from where a compiler cannot see it, so that it stays what it is.
    volatile std::uint32_t number = 9;
    logger_.LogMessage(static_cast<LogLevel>(number), L"", 0, L"odd");
    EXPECT_TRUE(Bytes().ends_with(" Unknown  odd\r\n")) << Bytes();
}

TEST_F(LogLineTest, HasDateTimeProcessThreadLevelAndMessage) {
    SYSTEMTIME before{};
    SYSTEMTIME after{};
    ::GetLocalTime(&before);
    logger_.LogMessage(LogLevel::kError, L"", 7, L"printer not found !!");
    ::GetLocalTime(&after);

    const std::string bytes = Bytes();
    const std::regex layout(
        R"(\[(\d\d/\d\d/\d\d): (\d\d):[0-5]\d:[0-5]\d PID\((\d+)\) TID\((\d+)\)\])"
        " ERROR    printer not found !!\r\n");
    std::smatch parts;
    ASSERT_TRUE(std::regex_match(bytes, parts, layout)) << bytes;
    EXPECT_THAT(parts.str(1), AnyOf(DateOf(before), DateOf(after)));
    EXPECT_THAT(parts.str(2), AnyOf(HourOf(before), HourOf(after)));
    EXPECT_EQ(parts.str(3), std::to_string(::GetCurrentProcessId()));
    EXPECT_EQ(parts.str(4), std::to_string(::GetCurrentThreadId()));
}

TEST_F(LogLineTest, NamesEveryLevelInEightCharacters) {
    for (const std::uint32_t level : {1U, 2U, 3U, 4U, 6U, 0x80000000U}) {
        logger_.LogMessage(static_cast<LogLevel>(level), L"", 0, L"-");
    }
    const std::string bytes = Bytes();
    std::vector<std::string> endings;
    for (std::size_t at = bytes.find(")] "); at != std::string::npos;
         at = bytes.find(")] ", at + 1)) {
        endings.push_back(bytes.substr(at + 3, bytes.find("\r\n", at) - at - 3));
    }
    EXPECT_THAT(endings, ElementsAre("TRACE    -", "INFO     -", "ERROR    -", "CRITICAL -",
                                     "Unknown  -", "Unknown  -"));
}

TEST(LogLevelTest, CallsAnyOtherNumberUnknown) {
    for (const std::uint32_t level : {0U, 5U, 6U, 0xFFFFFFFFU}) {
        EXPECT_EQ(std::wstring(LevelName(static_cast<LogLevel>(level))), L"Unknown ") << level;
    }
}

TEST_F(LogLineTest, EndsWithTheLastPathComponentOfTheSourceAndItsLine) {
    logger_.LogMessage(LogLevel::kInfo, L"C:\\src\\ports\\port.cpp", 42, L"one");
    logger_.LogMessage(LogLevel::kInfo, L"port.cpp", 0, L"two");
    logger_.LogMessage(LogLevel::kInfo, L"src/ports/port.cpp", 1, L"three");
    logger_.LogMessage(LogLevel::kInfo, L"C:\\src\\", 0xFFFFFFFF, L"four");
    EXPECT_THAT(log_.Lines(), ElementsAre("INFO: one port.cpp(42)", "INFO: two port.cpp(0)",
                                          "INFO: three src/ports/port.cpp(1)", "INFO: four (-1)"));
}

TEST_F(LogLineTest, HasNoSourceWhenNoneWasGiven) {
    logger_.LogMessage(LogLevel::kInfo, L"", 42, L"empty source");
    logger_.LogMessage(LogLevel::kInfo, nullptr, 42, L"null source");
    logger_.LogFormatted(LogLevel::kInfo, L"", 42, L"%s source", L"formatted, empty");
    EXPECT_THAT(log_.Lines(), ElementsAre("INFO: empty source", "INFO: null source",
                                          "INFO: formatted, empty source"));
}

TEST_F(LogLineTest, TakesNoMessageForAnEmptyOne) {
    logger_.LogMessage(LogLevel::kInfo, L"", 0, nullptr);
    logger_.LogMessage(LogLevel::kInfo, L"", 0, L"");
    logger_.LogFormatted(LogLevel::kInfo, L"x.cpp", 3, nullptr);
    EXPECT_THAT(log_.Lines(), ElementsAre("INFO: ", "INFO: ", "INFO:  x.cpp(3)"));
}

TEST_F(LogLineTest, LeavesAReadyMessageUnformatted) {
    logger_.LogMessage(LogLevel::kInfo, L"", 0, L"100%s %d %n%%");
    EXPECT_THAT(log_.Lines(), ElementsAre("INFO: 100%s %d %n%%"));
}

TEST_F(LogLineTest, FormatsNumbersAndWideTexts) {
    logger_.LogFormatted(LogLevel::kInfo, L"a\\b.cpp", 9, L"%s=%d (%u, %ld, %x)", L"port", -1,
                         4000000000U, -2L, 0x1Fu);
    EXPECT_THAT(log_.Lines(), ElementsAre("INFO: port=-1 (4000000000, -2, 1f) b.cpp(9)"));
}

TEST_F(LogLineTest, WritesTheAnsiCodePage) {
    const std::wstring text = FromAnsi("caf\xE9 ") + L"\u4E2D";
    logger_.LogMessage(LogLevel::kInfo, L"", 0, text.c_str());
    logger_.LogFormatted(LogLevel::kInfo, L"", 0, L"<%s>", text.c_str());
    EXPECT_THAT(log_.Lines(), ElementsAre("INFO: " + ToAnsi(text), "INFO: <" + ToAnsi(text) + ">"));
}

TEST_F(LogLineTest, WritesAReadyMessageOfAnyLength) {
    const std::wstring text(5000, L'm');
    logger_.LogMessage(LogLevel::kInfo, L"", 0, text.c_str());
    EXPECT_THAT(log_.Lines(), ElementsAre("INFO: " + std::string(5000, 'm')));
}

TEST_F(LogLineTest, CutsAFormattedMessageAt1023Characters) {
    for (const std::size_t length : {1022U, 1023U, 1024U, 1025U, 5000U}) {
        const std::wstring text(length - 1, L'm');
        logger_.LogFormatted(LogLevel::kInfo, L"", 0, L"%s%c", text.c_str(), L'e');
    }
    const std::string cut(1023, 'm');
    EXPECT_THAT(log_.Lines(), ElementsAre("INFO: " + std::string(1021, 'm') + 'e',
                                          "INFO: " + std::string(1022, 'm') + 'e', "INFO: " + cut,
                                          "INFO: " + cut, "INFO: " + cut));
}

TEST_F(LogLineTest, IsInTheFileWhenTheCallReturns) {
    logger_.LogMessage(LogLevel::kInfo, L"", 0, L"one");
    EXPECT_THAT(log_.Lines(), ElementsAre("INFO: one"));
    logger_.LogMessage(LogLevel::kInfo, L"", 0, L"two");
    EXPECT_THAT(log_.Lines(), ElementsAre("INFO: one", "INFO: two"));
}

}  // namespace
}  // namespace ksp
