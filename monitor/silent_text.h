#pragma once

#include <string>
#include <string_view>

namespace ksp {

// The value of a key in a text of KEY=value pairs separated by ":"; empty when the key does not
// occur. The key followed by "=" is searched anywhere in the text. The value runs to the first ":"
// that has no backslash before it, but has at least one character, whatever that is; backslashes
// stay in it. Plain computation.
[[nodiscard]] std::wstring SilentValue(std::wstring_view text, std::wstring_view key);

}  // namespace ksp
