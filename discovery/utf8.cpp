#include "discovery/utf8.h"

#include <windows.h>

#include <new>

#include "support/log.h"

namespace ksp {

std::optional<std::string> ToUtf8(std::wstring_view text) {
    if (text.empty()) {
        return std::string();
    }
    const int length = static_cast<int>(text.size());
    const int size = ::WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, text.data(), length,
                                           nullptr, 0, nullptr, nullptr);
    if (size <= 0) {
        return std::nullopt;
    }
    try {
        std::string utf8(static_cast<std::size_t>(size), '\0');
        if (::WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, text.data(), length, utf8.data(),
                                  size, nullptr, nullptr) != size) {
            return std::nullopt;
        }
        return utf8;
    } catch (const std::bad_alloc&) {
        Log(LogLevel::kCritical, L"memory allocate error.");
        return std::nullopt;
    }
}

}  // namespace ksp
