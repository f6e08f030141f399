#include "net/mac_candidates.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>

#include "support/folded_text.h"

namespace ksp {

namespace {

using MacBytes = std::array<std::uint8_t, 6>;

constexpr std::uint8_t kFirstByteBit = 0x02;
constexpr std::uint8_t kFifthByteBit = 0x80;

std::optional<unsigned> DigitValue(wchar_t digit) {
    if (digit >= L'0' && digit <= L'9') {
        return static_cast<unsigned>(digit - L'0');
    }
    if (digit >= L'a' && digit <= L'f') {
        return static_cast<unsigned>(digit - L'a') + 10;
    }
    if (digit >= L'A' && digit <= L'F') {
        return static_cast<unsigned>(digit - L'A') + 10;
    }
    return std::nullopt;
}

std::optional<MacBytes> Parse(const std::wstring& text) {
    MacBytes bytes{};
    if (text.size() < 2 * bytes.size()) {
        return std::nullopt;
    }
    for (std::size_t index = 0; index < bytes.size(); ++index) {
        const auto high = DigitValue(text[2 * index]);
        const auto low = DigitValue(text[2 * index + 1]);
        if (!high || !low) {
            return std::nullopt;
        }
        bytes[index] = static_cast<std::uint8_t>(*high * 16 + *low);
    }
    return bytes;
}

std::wstring Format(MacBytes bytes, std::uint8_t first, std::uint8_t fifth) {
    constexpr wchar_t kDigits[] = L"0123456789ABCDEF";
    bytes[0] = static_cast<std::uint8_t>(bytes[0] ^ first);
    bytes[4] = static_cast<std::uint8_t>(bytes[4] ^ fifth);
    std::wstring text;
    for (const std::uint8_t byte : bytes) {
        text += kDigits[byte >> 4];
        text += kDigits[byte & 0x0F];
    }
    return text;
}

}  // namespace

std::vector<std::wstring> MacCandidates(const std::wstring& stored) {
    std::vector<std::wstring> candidates{stored};
    if (const auto bytes = Parse(stored); bytes) {
        candidates.push_back(Format(*bytes, kFirstByteBit, 0));
        candidates.push_back(Format(*bytes, 0, kFifthByteBit));
        candidates.push_back(Format(*bytes, kFirstByteBit, kFifthByteBit));
    }
    return candidates;
}

const std::wstring* FindMacCandidate(const std::vector<std::wstring>& candidates,
                                     const std::wstring& reported) {
    if (reported.empty()) {
        return nullptr;
    }
    const auto found = std::find_if(
        candidates.begin(), candidates.end(),
        [&reported](const std::wstring& candidate) { return IsEqualFolded(candidate, reported); });
    return found != candidates.end() ? &*found : nullptr;
}

}  // namespace ksp
