#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace ksp::print {

// Makes standard output and error UTF-8 and line ends "\n" while it lives, and puts the console's
// code page back afterwards.
class ConsoleText {
  public:
    ConsoleText();
    ~ConsoleText();
    ConsoleText(const ConsoleText&) = delete;
    ConsoleText& operator=(const ConsoleText&) = delete;

  private:
    unsigned code_page_;
};

// One line each, visible at once also through a pipe. Control characters, which could move the
// cursor or end the line, are shown as '?'.
void PrintLine(std::wstring_view text = {});
void PrintErrorLine(std::wstring_view text);

// A line that opens a section of the output, with an empty one before it.
void PrintHeading(std::wstring_view text);

// A name in a column of its own, then what belongs to it.
void PrintField(std::wstring_view name, std::wstring_view text);

// "389,120"
std::wstring Grouped(uint64_t number);
// "1 connection", "2 connections"
std::wstring Counted(uint64_t number, std::wstring_view noun);
// "0x00800000"
std::wstring Hex(uint32_t number);
// "12.34 s"
std::wstring Seconds(double seconds);
// With blanks on the right, or on the left, up to a width.
std::wstring PadRight(std::wstring_view text, size_t width);
std::wstring PadLeft(std::wstring_view text, size_t width);

}  // namespace ksp::print
