#include "support/text.h"

#include <windows.h>

#include <algorithm>
#include <limits>

namespace ksp {

namespace {

// The conversion calls count in int; a longer text is cut rather than wrapped.
int LengthOf(std::size_t length) {
    constexpr auto kMost = static_cast<std::size_t>(std::numeric_limits<int>::max());
    return static_cast<int>(std::min(length, kMost));
}

}  // namespace

std::string ToAnsi(std::wstring_view text) {
    const int length = LengthOf(text.size());
    const int size =
        ::WideCharToMultiByte(CP_ACP, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
    std::string result(static_cast<std::size_t>(std::max(size, 0)), '\0');
    const int converted = ::WideCharToMultiByte(CP_ACP, 0, text.data(), length, result.data(), size,
                                                nullptr, nullptr);
    // A text that could not be converted is none, and not one of terminators.
    result.resize(static_cast<std::size_t>(std::max(converted, 0)));
    return result;
}

std::wstring FromAnsi(std::string_view text) {
    const int length = LengthOf(text.size());
    const int size = ::MultiByteToWideChar(CP_ACP, 0, text.data(), length, nullptr, 0);
    std::wstring result(static_cast<std::size_t>(std::max(size, 0)), L'\0');
    const int converted =
        ::MultiByteToWideChar(CP_ACP, 0, text.data(), length, result.data(), size);
    result.resize(static_cast<std::size_t>(std::max(converted, 0)));
    return result;
}

}  // namespace ksp
