#include "tests/monitor/log_lines.h"

#include <iterator>

#include "tests/host/log_file.h"

namespace ksp::test {
namespace {

const char* NameOf(LineLevel level) {
    switch (level) {
        case LineLevel::kTrace:
            return "TRACE ";
        case LineLevel::kInfo:
            return "INFO ";
        case LineLevel::kError:
            return "ERROR ";
        case LineLevel::kCritical:
            return "CRITICAL ";
    }
    return "? ";
}

// The tests' texts are ASCII.
std::string Narrow(const std::wstring& text) {
    std::string result;
    for (const wchar_t character : text)
        result += character < 0x80 ? static_cast<char>(character) : '?';
    return result;
}

}  // namespace

std::vector<std::string> AllLines(const std::wstring& path) {
    std::vector<std::string> lines;
    const LogFile log = LogFile::Read(path);
    for (const LogLine& line : log.lines())
        lines.push_back(NameOf(line.level) + Narrow(line.message));
    return lines;
}

std::vector<std::string> LogLines::Next() {
    std::vector<std::string> lines = AllLines(path_);
    const size_t first = std::min(seen_, lines.size());
    seen_ = lines.size();
    lines.erase(lines.begin(), std::next(lines.begin(), static_cast<ptrdiff_t>(first)));
    return lines;
}

}  // namespace ksp::test
