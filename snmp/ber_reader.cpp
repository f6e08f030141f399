#include "snmp/ber_reader.h"

#include <utility>

namespace ksp::snmp {

namespace {

constexpr std::uint8_t kLongForm = 0x80;
constexpr std::size_t kMostLengthOctets = 4;
// The low bits of a tag that goes on in the next octet.
constexpr std::uint8_t kLongTag = 0x1F;

// Numbers of object ids: seven bits an octet, the high bit set on all but the last.
constexpr std::uint8_t kMoreOctets = 0x80;

struct Length {
    std::size_t value;
    std::size_t octets;  // that say it
};

std::optional<Length> LengthOf(ByteView bytes) noexcept {
    if (bytes.empty()) {
        return std::nullopt;
    }
    if (bytes[0] < kLongForm) {
        return Length{bytes[0], 1};
    }
    const std::size_t count = bytes[0] - kLongForm;
    if (count == 0 || count > kMostLengthOctets || count >= bytes.size()) {
        return std::nullopt;
    }
    std::size_t value = 0;
    for (const std::uint8_t octet : bytes.subspan(1, count)) {
        value = value << 8 | octet;
    }
    return Length{value, count + 1};
}

}  // namespace

std::optional<CBerElement> CBerReader::Next() noexcept {
    if (m_rest.empty() || (m_rest[0] & kLongTag) == kLongTag) {
        return std::nullopt;
    }
    const ByteView behindTag = m_rest.subspan(1);
    const auto length = LengthOf(behindTag);
    if (!length || length->value > behindTag.size() - length->octets) {
        return std::nullopt;
    }
    const CBerElement element{static_cast<BerTag>(m_rest[0]),
                              behindTag.subspan(length->octets, length->value)};
    m_rest = behindTag.subspan(length->octets + length->value);
    return element;
}

std::optional<ByteView> CBerReader::Next(BerTag tag) noexcept {
    const ByteView before = m_rest;
    const auto element = Next();
    if (!element) {
        return std::nullopt;
    }
    if (element->tag != tag) {
        m_rest = before;
        return std::nullopt;
    }
    return element->content;
}

std::optional<std::int32_t> CBerReader::NextInteger() noexcept {
    const auto content = Next(BerTag::kInteger);
    return content ? IntegerOf(*content) : std::nullopt;
}

std::optional<std::int32_t> IntegerOf(ByteView content) noexcept {
    if (content.empty() || content.size() > 4) {
        return std::nullopt;
    }
    std::uint32_t value = (content[0] & 0x80) != 0 ? 0xFFFFFFFF : 0;
    for (const std::uint8_t octet : content) {
        value = value << 8 | octet;
    }
    return static_cast<std::int32_t>(value);
}

std::optional<std::uint32_t> UnsignedOf(ByteView content) noexcept {
    if (content.size() == 5 && content[0] == 0) {
        content = content.subspan(1);
    }
    if (content.empty() || content.size() > 4) {
        return std::nullopt;
    }
    std::uint32_t value = 0;
    for (const std::uint8_t octet : content) {
        value = value << 8 | octet;
    }
    return value;
}

std::optional<CObjectId> ObjectIdOf(ByteView content) {
    // The first octets hold the first two numbers as 40 * first + second.
    constexpr std::uint32_t kSecondNumbers = 40;
    std::vector<std::uint32_t> numbers;
    std::uint64_t number = 0;
    bool within = false;
    for (const std::uint8_t octet : content) {
        if (!within && octet == kMoreOctets) {
            return std::nullopt;  // a leading zero
        }
        number = number << 7 | (octet & 0x7FU);
        const bool isFirst = numbers.empty();
        if (number > 0xFFFFFFFFU + (isFirst ? 2ULL * kSecondNumbers : 0ULL)) {
            return std::nullopt;
        }
        within = (octet & kMoreOctets) != 0;
        if (within) {
            continue;
        }
        if (numbers.size() >= CObjectId::kMost) {
            return std::nullopt;
        }
        if (isFirst) {
            const std::uint64_t first = number < 2 * kSecondNumbers ? number / kSecondNumbers : 2;
            numbers.push_back(static_cast<std::uint32_t>(first));
            number -= first * kSecondNumbers;
        }
        numbers.push_back(static_cast<std::uint32_t>(number));
        number = 0;
    }
    if (within) {
        return std::nullopt;
    }
    return CObjectId::From(std::move(numbers));
}

}  // namespace ksp::snmp
