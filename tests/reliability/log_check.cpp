#include "tests/reliability/log_check.h"

#include <filesystem>
#include <fstream>
#include <iterator>

namespace ksp::test {
namespace {

constexpr std::string_view kLineEnd = "\r\n";

// "[11/21/26: 18:06:36 PID(32) TID(36)] TRACE   ..." with nothing of another line in it.
bool IsWholeLine(std::string_view line) {
    constexpr size_t kDateAndTime = 19;
    if (line.size() < kDateAndTime || line[0] != '[' || line[kDateAndTime] != ' ') {
        return false;
    }
    const size_t process = line.find(" PID(");
    return process == kDateAndTime && line.find(" PID(", process + 1) == std::string_view::npos &&
           line.find(")] ") != std::string_view::npos;
}

}  // namespace

::testing::AssertionResult HasWholeLines(const std::wstring& path) {
    std::ifstream file(std::filesystem::path(path), std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    if (bytes.empty())
        return ::testing::AssertionFailure() << "no line is there";
    std::string_view rest = bytes;
    while (!rest.empty()) {
        const size_t end = rest.find(kLineEnd);
        const std::string_view line = rest.substr(0, end);
        if (end == std::string_view::npos || (!line.empty() && !IsWholeLine(line))) {
            return ::testing::AssertionFailure()
                   << "at byte " << bytes.size() - rest.size() << " of " << bytes.size() << ": "
                   << ::testing::PrintToString(std::string(line.substr(0, 200)));
        }
        rest.remove_prefix(end + kLineEnd.size());
    }
    return ::testing::AssertionSuccess();
}

void ExpectWholeLogs(const std::wstring& directory) {
    for (const wchar_t* name : {L"log.txt", L"log1.txt", L"log2.txt", L"log3.txt"}) {
        const std::wstring path = directory + L"\\" + name;
        const bool is_backup = name != std::wstring_view(L"log.txt");
        EXPECT_TRUE((is_backup && !std::filesystem::exists(path)) || HasWholeLines(path))
            << ::testing::PrintToString(name);
    }
}

}  // namespace ksp::test
