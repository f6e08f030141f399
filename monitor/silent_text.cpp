#include "monitor/silent_text.h"

namespace ksp {

std::wstring SilentValue(std::wstring_view text, std::wstring_view key) {
    const std::wstring wanted = std::wstring(key) + L"=";
    const auto found = text.find(wanted);
    if (found == std::wstring_view::npos) {
        return std::wstring();
    }
    const std::wstring_view value = text.substr(found + wanted.size());
    std::size_t end = value.find(L':', 1);
    while (end != std::wstring_view::npos && value[end - 1] == L'\\') {
        end = value.find(L':', end + 1);
    }
    return std::wstring(value.substr(0, end));
}

}  // namespace ksp
