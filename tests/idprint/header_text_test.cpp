// The job header as text: every byte of it, from values that are given.

#include <gmock/gmock.h>

#include <limits>
#include <string>

#include "channels/header_text.h"
#include "tests/idprint/header_bytes.h"

namespace ksp {
namespace {

// A text with zeros inside.
template <size_t N>
std::string Raw(const char (&bytes)[N]) {
    return {bytes, N - 1};
}

bool Holds(const std::string& header, const std::string& line) {
    return header.find("\n" + line) != std::string::npos;
}

TEST(HeaderTextTest, EmptyValuesLeaveTheTerminatorBetweenTheQuotes) {
    CJobHeaderValues values;
    const std::string expected =
        Raw("@EXTRAKJL START\n"
            "@EXTRAKJL VERSION=\"1\0.\0000\0000\0\0\0\"\n"
            "@EXTRAKJL IDENTIFIER=\"\0\0\"\n"
            "@EXTRAKJL DOCUMENT=\"\0\0\"\n"
            "@EXTRAKJL DRIVER=\"\0\0\"\n"
            "@EXTRAKJL PWD=\"\0\0\"\n"
            "@EXTRAKJL USER=\"\0\0\"\n"
            "@EXTRAKJL JOBID=\"0\0\0\0\"\n"
            "@EXTRAKJL PRINTER=\"\0\0\"\n"
            "@EXTRAKJL MACHINE=\"\0\0\"\n"
            "@EXTRAKJL STARTTIME=\"\0\0\"\n"
            "@EXTRAKJL PRIORITY=\"N\0O\0_\0P\0R\0I\0O\0R\0I\0T\0Y\0\0\0\"\n"
            "@EXTRAKJL TOTALPAGES=\"0\0\0\0\"\n"
            "@EXTRAKJL DATASIZE=\"0\0\0\0\"\n"
            "@EXTRAKJL DATATYPE=\"\0\0\"\n"
            "@EXTRAKJL PROCESSOR=\"\0\0\"\n"
            "@EXTRAKJL END\n");
    EXPECT_EQ(JobHeaderText(values), expected)
        << test::Printable(JobHeaderText(values)) << "\nin place of\n"
        << test::Printable(expected);
}

TEST(HeaderTextTest, EveryValueStandsInItsLine) {
    CJobHeaderValues values;
    values.Identifier = L"I";
    values.Document = L"D";
    values.Driver = L"R";
    values.User = L"U";
    values.JobId = 12;
    values.Printer = L"P";
    values.Machine = L"M";
    values.StartTime = L"S";
    values.Priority = 99;
    values.TotalPages = 34;
    values.DataSize = 56;
    values.DataType = L"T";
    values.Processor = L"W";
    const std::string expected =
        Raw("@EXTRAKJL START\n"
            "@EXTRAKJL VERSION=\"1\0.\0000\0000\0\0\0\"\n"
            "@EXTRAKJL IDENTIFIER=\"I\0\0\0\"\n"
            "@EXTRAKJL DOCUMENT=\"D\0\0\0\"\n"
            "@EXTRAKJL DRIVER=\"R\0\0\0\"\n"
            "@EXTRAKJL PWD=\"\0\0\"\n"
            "@EXTRAKJL USER=\"U\0\0\0\"\n"
            "@EXTRAKJL JOBID=\"1\0002\0\0\0\"\n"
            "@EXTRAKJL PRINTER=\"P\0\0\0\"\n"
            "@EXTRAKJL MACHINE=\"M\0\0\0\"\n"
            "@EXTRAKJL STARTTIME=\"S\0\0\0\"\n"
            "@EXTRAKJL PRIORITY=\"M\0A\0X\0_\0P\0R\0I\0O\0R\0I\0T\0Y\0\0\0\"\n"
            "@EXTRAKJL TOTALPAGES=\"3\0004\0\0\0\"\n"
            "@EXTRAKJL DATASIZE=\"5\0006\0\0\0\"\n"
            "@EXTRAKJL DATATYPE=\"T\0\0\0\"\n"
            "@EXTRAKJL PROCESSOR=\"W\0\0\0\"\n"
            "@EXTRAKJL END\n");
    EXPECT_EQ(JobHeaderText(values), expected)
        << test::Printable(JobHeaderText(values)) << "\nin place of\n"
        << test::Printable(expected);
}

TEST(HeaderTextTest, TheVersionLineHasThirtyOneBytes) {
    const unsigned char line[] = {'@', 'E',  'X', 'T',  'R', 'A', 'K',  'J',  'L',  ' ', 'V',
                                  'E', 'R',  'S', 'I',  'O', 'N', 0x3D, 0x22, 0x31, 0,   0x2E,
                                  0,   0x30, 0,   0x30, 0,   0,   0,    0x22, 0x0A};
    static_assert(sizeof(line) == 31);
    const std::string header = JobHeaderText({});
    EXPECT_EQ(header.substr(0, 16), "@EXTRAKJL START\n");
    EXPECT_EQ(header.substr(16, 31), std::string(std::begin(line), std::end(line)));
    EXPECT_EQ(header.substr(header.size() - 14), "@EXTRAKJL END\n");
}

TEST(HeaderTextTest, NothingInAValueIsEscaped) {
    CJobHeaderValues values;
    values.Document = L"a \"quote\"\nand \\ % @EXTRAKJL END";
    // A character outside the first plane, one of its halves alone, and one with two bytes of use.
    values.User = L"\xD83D\xDCC4\xDC00\x4E2D";
    const std::string header = JobHeaderText(values);
    EXPECT_TRUE(Holds(header, "@EXTRAKJL DOCUMENT=\"" + test::WideBytes(values.Document) +
                                  Raw("\0\0\"\n@EXTRAKJL DRIVER")));
    EXPECT_TRUE(Holds(
        header, Raw("@EXTRAKJL USER=\"\x3D\xD8\xC4\xDC\x00\xDC\x2D\x4E\0\0\"\n@EXTRAKJL JOBID")));
}

TEST(HeaderTextTest, NumbersAreUnsigned) {
    CJobHeaderValues values;
    values.JobId = values.TotalPages = values.DataSize = values.Priority =
        std::numeric_limits<std::uint32_t>::max();
    const std::string header = JobHeaderText(values);
    const std::string most = test::WideBytes(L"4294967295") + Raw("\0\0\"\n");
    for (const char* keyword : {"JOBID", "TOTALPAGES", "DATASIZE", "PRIORITY"}) {
        EXPECT_TRUE(Holds(header, std::string("@EXTRAKJL ") + keyword + "=\"" + most)) << keyword;
    }
}

TEST(HeaderTextTest, ThreePrioritiesHaveNames) {
    EXPECT_EQ(HeaderPriorityText(0), L"NO_PRIORITY");
    EXPECT_EQ(HeaderPriorityText(1), L"MIN_PRIORITY");
    EXPECT_EQ(HeaderPriorityText(2), L"2");
    EXPECT_EQ(HeaderPriorityText(50), L"50");
    EXPECT_EQ(HeaderPriorityText(98), L"98");
    EXPECT_EQ(HeaderPriorityText(99), L"MAX_PRIORITY");
    EXPECT_EQ(HeaderPriorityText(100), L"100");
}

TEST(HeaderTextTest, OnlyTheYearIsPadded) {
    EXPECT_EQ(HeaderTimeText({2024, 3, 5, 7, 8, 9}), L"2024/3/5/7:8:9");
    EXPECT_EQ(HeaderTimeText({2024, 12, 31, 23, 59, 58}), L"2024/12/31/23:59:58");
    EXPECT_EQ(HeaderTimeText({}), L"   0/0/0/0:0:0");
    EXPECT_EQ(HeaderTimeText({987, 1, 1, 0, 0, 0}), L" 987/1/1/0:0:0");
    EXPECT_EQ(HeaderTimeText({65535, 1, 1, 0, 0, 0}), L"65535/1/1/0:0:0");
}

}  // namespace
}  // namespace ksp
