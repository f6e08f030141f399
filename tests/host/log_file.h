#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace ksp::test {

// The monitor's log levels, by their numbers.
enum class LineLevel { kTrace = 1, kInfo = 2, kError = 3, kCritical = 4 };

// One line of the monitor's log.
struct LogLine {
    LineLevel level = LineLevel::kTrace;
    std::string date;  // MM/DD/YY
    std::string time;  // HH:MM:SS
    unsigned long process_id = 0;
    unsigned long thread_id = 0;
    // Exactly what stands between the level name's blank and the line's CR LF. A message may hold
    // line ends of its own: a line lasts until the next one begins.
    std::wstring message;

    bool operator==(const LogLine&) const = default;
};

// What stood in a log file when it was read. The file is ANSI text, and may be open for writing.
class LogFile {
  public:
    // A file that does not exist reads as an empty one.
    static LogFile Read(const std::wstring& path);
    static LogFile Parse(std::string_view bytes);

    [[nodiscard]] const std::vector<LogLine>& lines() const { return lines_; }
    // What stands in front of the first line: nothing, unless a rotation failed.
    [[nodiscard]] const std::string& preamble() const { return preamble_; }
    [[nodiscard]] bool empty() const { return lines_.empty() && preamble_.empty(); }

    // The whole message has to be equal.
    [[nodiscard]] bool ContainsLine(LineLevel level, std::wstring_view message) const;
    [[nodiscard]] size_t CountLines(LineLevel level, std::wstring_view message) const;
    // The messages of a level, in order.
    [[nodiscard]] std::vector<std::wstring> Messages(LineLevel level) const;

    // The whole log for the message of a failed test: one line each, "ERROR port not found".
    [[nodiscard]] std::string Describe() const;

  private:
    std::vector<LogLine> lines_;
    std::string preamble_;
};

}  // namespace ksp::test
