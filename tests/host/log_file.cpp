#include "tests/host/log_file.h"

#include <windows.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <regex>
#include <sstream>

namespace ksp::test {
namespace {

struct LevelText {
    LineLevel level;
    std::string_view text;
};

constexpr LevelText kLevels[] = {
    {LineLevel::kTrace, "TRACE   "},
    {LineLevel::kInfo, "INFO    "},
    {LineLevel::kError, "ERROR   "},
    {LineLevel::kCritical, "CRITICAL"},
};

constexpr std::string_view kLineEnd = "\r\n";

// How every line begins: [07/14/25: 09:03:27 PID(4412) TID(5120)] ERROR
const std::regex& LineStart() {
    static const std::regex pattern(
        R"(\[(\d\d/\d\d/\d\d): (\d\d:\d\d:\d\d) PID\((\d+)\) TID\((\d+)\)\] )"
        R"((TRACE   |INFO    |ERROR   |CRITICAL) )");
    return pattern;
}

LineLevel LevelFrom(std::string_view text) {
    const auto found = std::find_if(std::begin(kLevels), std::end(kLevels),
                                    [&](const LevelText& entry) { return entry.text == text; });
    return found->level;
}

std::string_view LevelTextOf(LineLevel level) {
    const auto found = std::find_if(std::begin(kLevels), std::end(kLevels),
                                    [&](const LevelText& entry) { return entry.level == level; });
    return found->text;
}

std::wstring FromAnsi(std::string_view bytes) {
    const int size = static_cast<int>(bytes.size());
    const int length = MultiByteToWideChar(CP_ACP, 0, bytes.data(), size, nullptr, 0);
    std::wstring text(static_cast<size_t>(length), L'\0');
    MultiByteToWideChar(CP_ACP, 0, bytes.data(), size, text.data(), length);
    return text;
}

std::string ToUtf8(std::wstring_view text) {
    const int size = static_cast<int>(text.size());
    const int length =
        WideCharToMultiByte(CP_UTF8, 0, text.data(), size, nullptr, 0, nullptr, nullptr);
    std::string bytes(static_cast<size_t>(length), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), size, bytes.data(), length, nullptr, nullptr);
    return bytes;
}

using Match = std::match_results<std::string_view::const_iterator>;

// The next beginning of a line at or after `from`; it stands at the start or behind a line end.
std::optional<Match> FindLineStart(std::string_view bytes, size_t from) {
    for (size_t position = from; position < bytes.size(); ++position) {
        position = bytes.find('[', position);
        if (position == std::string_view::npos) {
            return std::nullopt;
        }
        if (position > 0 && !bytes.substr(0, position).ends_with(kLineEnd)) {
            continue;
        }
        Match match;
        const auto start = bytes.begin() + static_cast<ptrdiff_t>(position);
        if (std::regex_search(start, bytes.end(), match, LineStart(),
                              std::regex_constants::match_continuous)) {
            return match;
        }
    }
    return std::nullopt;
}

LogLine MakeLine(const Match& start, std::string_view message) {
    if (message.ends_with(kLineEnd)) {
        message.remove_suffix(kLineEnd.size());
    }
    LogLine line;
    line.level = LevelFrom(start[5].str());
    line.date = start[1].str();
    line.time = start[2].str();
    line.process_id = std::stoul(start[3].str());
    line.thread_id = std::stoul(start[4].str());
    line.message = FromAnsi(message);
    return line;
}

}  // namespace

LogFile LogFile::Read(const std::wstring& path) {
    // A stream shares the file with a writer.
    std::ifstream file(std::filesystem::path(path), std::ios::binary);
    std::ostringstream bytes;
    bytes << file.rdbuf();
    return Parse(bytes.str());
}

LogFile LogFile::Parse(std::string_view bytes) {
    LogFile log;
    const auto offset = [&](const auto& position) {
        return static_cast<size_t>(position - bytes.begin());
    };
    std::optional<Match> start = FindLineStart(bytes, 0);
    log.preamble_ = bytes.substr(0, start ? offset((*start)[0].first) : bytes.size());
    while (start) {
        const size_t message = offset((*start)[0].second);
        const std::optional<Match> next = FindLineStart(bytes, message);
        const size_t end = next ? offset((*next)[0].first) : bytes.size();
        log.lines_.push_back(MakeLine(*start, bytes.substr(message, end - message)));
        start = next;
    }
    return log;
}

bool LogFile::ContainsLine(LineLevel level, std::wstring_view message) const {
    return CountLines(level, message) > 0;
}

size_t LogFile::CountLines(LineLevel level, std::wstring_view message) const {
    const auto equal = [&](const LogLine& line) {
        return line.level == level && line.message == message;
    };
    return static_cast<size_t>(std::count_if(lines_.begin(), lines_.end(), equal));
}

std::vector<std::wstring> LogFile::Messages(LineLevel level) const {
    std::vector<std::wstring> messages;
    for (const LogLine& line : lines_) {
        if (line.level == level) {
            messages.push_back(line.message);
        }
    }
    return messages;
}

std::string LogFile::Describe() const {
    std::string text = preamble_;
    for (const LogLine& line : lines_) {
        text += std::string(LevelTextOf(line.level)) + " " + ToUtf8(line.message) + "\n";
    }
    return text;
}

}  // namespace ksp::test
