#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace ksp {

// The values of a job header. Texts are UTF-16; a value is written as it is, nothing in it is
// escaped.
struct CJobHeaderValues {
    std::wstring Identifier;
    std::wstring Document;
    std::wstring Driver;
    std::wstring User;
    std::uint32_t JobId = 0;
    std::wstring Printer;
    std::wstring Machine;
    std::wstring StartTime;
    std::uint32_t Priority = 0;
    std::uint32_t TotalPages = 0;
    std::uint32_t DataSize = 0;  // bytes
    std::wstring DataType;
    std::wstring Processor;
};

// When a job was submitted, taken as the spooler gives it.
struct CHeaderTime {
    unsigned year = 0;
    unsigned month = 0;
    unsigned day = 0;
    unsigned hour = 0;
    unsigned minute = 0;
    unsigned second = 0;
};

// "2024/3/5/7:8:9": only the year is padded, to four places with blanks.
[[nodiscard]] std::wstring HeaderTimeText(const CHeaderTime& time);
// "NO_PRIORITY", "MIN_PRIORITY", "MAX_PRIORITY", or the number.
[[nodiscard]] std::wstring HeaderPriorityText(std::uint32_t priority);

// The header that tells an ID-print printer whose job follows: 17 lines. The first and the last are
//     @EXTRAKJL START<LF>        @EXTRAKJL END<LF>
// and each other one is
//     @EXTRAKJL KEYWORD="value<00 00>"<LF>
// where keyword and punctuation are single bytes and the value is UTF-16LE with its terminator
// inside the quotes. Plain computation.
[[nodiscard]] std::string JobHeaderText(const CJobHeaderValues& values);

}  // namespace ksp
