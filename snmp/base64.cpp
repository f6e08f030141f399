#include "snmp/base64.h"

#include <cstdint>

namespace ksp::snmp {

namespace {

constexpr std::string_view kDigits =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr char kPadding = '=';
constexpr std::size_t kLine = 76;

}  // namespace

std::string EncodeBase64(std::string_view bytes) {
    std::string text;
    std::size_t line = 0;
    while (!bytes.empty()) {
        const std::string_view group = bytes.substr(0, 3);
        bytes.remove_prefix(group.size());
        std::uint32_t bits = 0;
        for (std::size_t index = 0; index < 3; ++index) {
            bits =
                bits << 8 | (index < group.size() ? static_cast<std::uint8_t>(group[index]) : 0U);
        }
        for (std::size_t index = 0; index < 4; ++index) {
            text += index <= group.size() ? kDigits[bits >> (18 - 6 * index) & 0x3F] : kPadding;
        }
        line += 4;
        if (line == kLine && !bytes.empty()) {
            text += "\r\n";
            line = 0;
        }
    }
    return text;
}

std::optional<std::string> DecodeBase64(std::string_view text) {
    std::string bytes;
    std::uint32_t bits = 0;
    std::size_t digits = 0;
    std::size_t padding = 0;
    for (const char character : text) {
        if (character == '\r' || character == '\n') {
            continue;
        }
        const std::size_t digit = kDigits.find(character);
        const bool isPadding = character == kPadding;
        if ((digit == std::string_view::npos && !isPadding) || (!isPadding && padding > 0)) {
            return std::nullopt;
        }
        bits = bits << 6 | (isPadding ? 0U : static_cast<std::uint32_t>(digit));
        padding += isPadding ? 1 : 0;
        if (++digits % 4 == 0) {
            if (padding > 2) {
                return std::nullopt;
            }
            for (std::size_t index = 0; index + padding < 3; ++index) {
                bytes += static_cast<char>(bits >> (16 - 8 * index) & 0xFF);
            }
            bits = 0;
        } else if (padding > 0 && digits % 4 < 3) {
            return std::nullopt;
        }
    }
    if (digits % 4 != 0 || padding > 2) {
        return std::nullopt;
    }
    return bytes;
}

}  // namespace ksp::snmp
