// The bytes of the commands, and the numbers that stand in them.

#include "channels/lpr_commands.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "channels/job_counter.h"
#include "channels/spool_file.h"
#include "tests/lpr/lpr_channel_test.h"
#include "tests/monitor/background.h"

namespace ksp::test {
namespace {

TEST(LprCommandsTest, AreThoseOfTheProtocol) {
    EXPECT_EQ(LprReceiveJobCommand("text"), "\x02text\n");
    EXPECT_EQ(LprReceiveJobCommand(""), "\x02\n");
    EXPECT_EQ(LprControlFileCommand(123, 7, "host"),
              "\x02"
              "123 cfA007host\n");
    EXPECT_EQ(LprDataFileCommand("2048", 999, "host"),
              "\x03"
              "2048 dfA999host\n");
    EXPECT_EQ(LprControlFile({"host", "user", "a job"}, 42),
              "Hhost\nPuser\nJa job\nNa job\nldfA042host\nUdfA042host\n");
}

TEST(LprCommandsTest, ALineHoldsNoControlCharacter) {
    std::string all;
    std::string expected;
    for (int byte = 1; byte < 256; ++byte) {
        all += static_cast<char>(byte);
        expected += byte < 0x20 || byte == 0x7F ? ' ' : static_cast<char>(byte);
    }
    EXPECT_EQ(LprLineText(all), expected);
    EXPECT_EQ(LprLineText(std::string("a\0b", 3)), "a b");
}

TEST(LprCommandsTest, ALineIsCut) {
    EXPECT_EQ(LprLineText("abcdef", 5), "abcde");
    EXPECT_EQ(LprLineText("abcde", 5), "abcde");
    EXPECT_EQ(LprLineText("abcd", 5), "abcd");
    EXPECT_EQ(LprLineText("", 5), "");
}

TEST(JobCounterTest, ComesRoundAfterAThousand) {
    const std::uint32_t first = TakeJobNumber();
    ASSERT_LT(first, 1000u);
    for (std::uint32_t i = 1; i <= 2000; ++i) {
        ASSERT_EQ(TakeJobNumber(), (first + i) % 1000);
    }
}

// Whole rounds of the counter: as often as one number is taken twice at once, another is left out
// or comes once more than the rest.
TEST(JobCounterTest, ThreadsNeverTakeTheSameNumber) {
    constexpr size_t kThreads = 4;
    constexpr size_t kEach = 250000;
    std::vector<std::vector<std::uint32_t>> taken(kThreads);
    {
        Gate start;
        std::vector<std::jthread> threads;
        for (auto& numbers : taken) {
            numbers.reserve(kEach);
            threads.emplace_back([&numbers, &start] {
                start.Wait();
                for (size_t i = 0; i < kEach; ++i) {
                    numbers.push_back(TakeJobNumber());
                }
            });
        }
        start.Open();
        threads.clear();
    }
    std::vector<size_t> times(1000, 0);
    for (const auto& numbers : taken) {
        for (const std::uint32_t number : numbers) {
            ASSERT_LT(number, times.size());
            ++times[number];
        }
    }
    EXPECT_THAT(times, ::testing::Each(kThreads * kEach / 1000));
}

// What goes into the control file, as a daemon receives it.
class LprNamesTest : public LprChannelTest {
  protected:
    // The control file of a job of that name.
    void ExpectNames(const wchar_t* document, const JobText& expected) {
        SetNextNumber(100);
        Start();
        ASSERT_NO_FATAL_FAILURE(Spool("data", document));
        ASSERT_EQ(channel().EndDoc(), 0);
        JobText text = expected;
        text.number = 101;
        const LpdConnection seen = OnlyConnection();
        EXPECT_EQ(seen.control, text.Control());
        EXPECT_EQ(seen.announced_control, std::to_string(text.Control().size()));
        EXPECT_TRUE(seen.has_whole_data);
    }
};

TEST_F(LprNamesTest, ADocumentWithoutANameGetsOne) {
    ExpectNames(nullptr, {.job = "TEMP.TXT"});
}

TEST_F(LprNamesTest, AnEmptyNameStaysEmpty) {
    ExpectNames(L"", {.job = ""});
}

TEST_F(LprNamesTest, ALongDocumentNameIsCutTo99) {
    const std::wstring name = std::wstring(98, L'd') + L"ef" + std::wstring(20, L'x');
    ExpectNames(name.c_str(), {.job = std::string(98, 'd') + "e"});
}

TEST_F(LprNamesTest, ADocumentNameAddsNoLine) {
    ExpectNames(L"a\nUdfA000victim\r\tb\x7F", {.job = "a UdfA000victim  b "});
}

TEST_F(LprNamesTest, CharactersThatDoNotConvertAreThePlatformsAffair) {
    const std::wstring name = L"Gr\x00FC\x00DF \x65E5\x672C";
    ExpectNames(name.c_str(), {.job = Ansi(name)});
}

TEST_F(LprNamesTest, TheQueueIsConvertedToo) {
    const std::wstring queue = L"B\x00FCro \x65E5";
    Start({}, queue);
    ASSERT_NO_FATAL_FAILURE(Spool("data"));
    ASSERT_EQ(channel().EndDoc(), 0);
    EXPECT_EQ(OnlyConnection().commands.at(0), "\x02" + Ansi(queue));
}

}  // namespace
}  // namespace ksp::test
