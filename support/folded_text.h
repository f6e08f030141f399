#pragma once

#include <algorithm>
#include <string_view>

namespace ksp {

// Whether two texts are the same but for the case of the letters A to Z.
[[nodiscard]] inline bool IsEqualFolded(std::wstring_view left, std::wstring_view right) noexcept {
    const auto folded = [](wchar_t c) {
        return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c - L'A' + L'a') : c;
    };
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [folded](wchar_t a, wchar_t b) { return folded(a) == folded(b); });
}

}  // namespace ksp
