#include "tools/print/monitor_log.h"

#include <filesystem>
#include <fstream>

#include "support/text.h"

namespace ksp::print {

std::vector<std::wstring> ReadMonitorLog(const std::wstring& path) {
    std::ifstream file(std::filesystem::path(path), std::ios::binary);
    std::vector<std::wstring> lines;
    for (std::string line; std::getline(file, line);) {
        if (line.ends_with('\r')) {
            line.pop_back();
        }
        lines.push_back(FromAnsi(line));
    }
    return lines;
}

std::wstring LogLineKey(const std::wstring& line) {
    const size_t prefix_end = line.find(L"] ");
    std::wstring key;
    for (const wchar_t character : line.substr(prefix_end == std::wstring::npos ? 0 : prefix_end)) {
        if (character < L'0' || character > L'9') {
            key += character;
        } else if (!key.ends_with(L'#')) {
            key += L'#';
        }
    }
    return key;
}

}  // namespace ksp::print
