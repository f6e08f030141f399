#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace ksp::snmp {

// Base64, RFC 4648 section 4.

// In lines of 76 characters, as RFC 2045 section 6.8 asks for; the last one has no end.
[[nodiscard]] std::string EncodeBase64(std::string_view bytes);
// Line ends are passed over. None for any other character, and when the end is missing.
[[nodiscard]] std::optional<std::string> DecodeBase64(std::string_view text);

}  // namespace ksp::snmp
