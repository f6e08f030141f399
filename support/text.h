#pragma once

#include <string>
#include <string_view>

namespace ksp {

// Conversions between the UTF-16 texts of the library and 8-bit texts. A character that the target
// code page lacks becomes that code page's default character.

// To and from the system's ANSI code page.
[[nodiscard]] std::string ToAnsi(std::wstring_view text);
[[nodiscard]] std::wstring FromAnsi(std::string_view text);

}  // namespace ksp
