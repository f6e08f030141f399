#include "tools/print/monitor_log.h"

#include <windows.h>

#include <filesystem>
#include <fstream>

namespace ksp::print {
namespace {

std::wstring FromAnsi(const std::string& bytes) {
    const int size = static_cast<int>(bytes.size());
    const int length = MultiByteToWideChar(CP_ACP, 0, bytes.data(), size, nullptr, 0);
    std::wstring text(static_cast<size_t>(length), L'\0');
    MultiByteToWideChar(CP_ACP, 0, bytes.data(), size, text.data(), length);
    return text;
}

}  // namespace

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
