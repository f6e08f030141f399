#pragma once

#include <string_view>

namespace ksp::ctl {

// Where a command writes: lines for the user or the script, and messages about what went wrong.
class Output {
  public:
    virtual ~Output() = default;

    virtual void Line(std::wstring_view text) = 0;
    virtual void ErrorLine(std::wstring_view text) = 0;
};

// The program's standard output and standard error, in UTF-8.
class ConsoleOutput : public Output {
  public:
    void Line(std::wstring_view text) override;
    void ErrorLine(std::wstring_view text) override;
};

// A text of several lines, line by line.
void WriteLines(std::wstring_view text, void (Output::*line)(std::wstring_view), Output& output);

}  // namespace ksp::ctl
