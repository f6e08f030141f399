#include "tests/standins/discovery/mime_reply.h"

#include <charconv>
#include <cstring>

namespace ksp::standins {
namespace {

constexpr std::string_view kFirstLine = "MIME-Version: 1.0\r\n";
constexpr std::string_view kLineEnd = "\r\n";
constexpr std::string_view kDigits = "0123456789ABCDEF";
constexpr std::string_view kNoBytes = "-";

template <typename Bytes>
std::string Encode(const Bytes& bytes) {
    std::string digits;
    digits.reserve(bytes.size() * 2);
    for (const auto byte : bytes) {
        const auto value = static_cast<uint8_t>(byte);
        digits += kDigits[value >> 4];
        digits += kDigits[value & 0x0F];
    }
    return digits;
}

std::optional<std::vector<uint8_t>> Decode(std::string_view digits) {
    if (digits.size() % 2 != 0 || digits.find_first_not_of(kDigits) != std::string_view::npos) {
        return std::nullopt;
    }
    std::vector<uint8_t> bytes;
    bytes.reserve(digits.size() / 2);
    for (size_t i = 0; i < digits.size(); i += 2) {
        const size_t value = kDigits.find(digits[i]) * 16 + kDigits.find(digits[i + 1]);
        bytes.push_back(static_cast<uint8_t>(value));
    }
    return bytes;
}

// Cuts off and returns what comes before the delimiter; everything when there is none.
std::string_view TakeUntil(std::string_view& text, std::string_view delimiter) {
    const size_t length = std::min(text.find(delimiter), text.size());
    const std::string_view taken = text.substr(0, length);
    text.remove_prefix(std::min(length + delimiter.size(), text.size()));
    return taken;
}

}  // namespace

std::string MakeMimeReply(std::string_view header, std::string_view part_name,
                          const MimeValue& value) {
    std::string reply(kFirstLine);
    reply.append(Encode(header)).append(kLineEnd);
    reply.append(Encode(part_name)).append(" ").append(std::to_string(value.count)).append(" ");
    reply.append(value.bytes ? Encode(*value.bytes) : std::string(kNoBytes)).append(kLineEnd);
    return reply;
}

std::optional<MimeParts> SplitMimeReply(std::string_view reply) {
    if (!reply.starts_with(kFirstLine)) {
        return std::nullopt;
    }
    reply.remove_prefix(kFirstLine.size());
    const std::string_view header = TakeUntil(reply, kLineEnd);
    return MimeParts{std::string(header), std::string(reply)};
}

bool DecodeMimeText(char* text) {
    const auto bytes = Decode(text);
    if (!bytes) {
        return false;
    }
    if (!bytes->empty()) {
        std::memcpy(text, bytes->data(), bytes->size());
    }
    text[bytes->size()] = '\0';
    return true;
}

std::optional<MimeValue> FindMimeValue(std::string_view data, std::string_view name) {
    std::string_view line = TakeUntil(data, kLineEnd);
    if (TakeUntil(line, " ") != Encode(name)) {
        return std::nullopt;
    }
    const std::string_view count = TakeUntil(line, " ");
    MimeValue value;
    std::from_chars(count.data(), count.data() + count.size(), value.count);
    if (line != kNoBytes) {
        value.bytes = Decode(line);
    }
    return value;
}

}  // namespace ksp::standins
