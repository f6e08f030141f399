#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace ksp {

// The text in UTF-8, as the discovery library takes it; none when it is not valid UTF-16 or memory
// runs out (which is logged).
[[nodiscard]] std::optional<std::string> ToUtf8(std::wstring_view text);

}  // namespace ksp
