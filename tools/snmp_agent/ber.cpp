#include "tools/snmp_agent/ber.h"

#include <algorithm>
#include <limits>

namespace ksp::agent {
namespace {

constexpr uint8_t kLongForm = 0x80;  // the other bits count the octets of the length
constexpr size_t kLongestLength = sizeof(uint32_t);
constexpr uint8_t kMoreFollows = 0x80;  // of an arc's octets
constexpr int kArcBits = 7;
constexpr uint32_t kFirstArcs = 40;  // the first two arcs are one number: 40 * first + second
constexpr uint32_t kLastFirstArc = 2;

// Appends the number in base 128.
void AppendArc(Bytes* content, uint32_t arc) {
    int shift = kArcBits * 4;
    while (shift > 0 && (arc >> shift) == 0) {
        shift -= kArcBits;
    }
    for (; shift >= 0; shift -= kArcBits) {
        const uint32_t digit = (arc >> shift) & (kMoreFollows - 1u);
        content->push_back(static_cast<uint8_t>(shift > 0 ? digit | kMoreFollows : digit));
    }
}

}  // namespace

std::optional<BerElement> BerReader::Next() {
    if (rest_.size() < 2) {
        return std::nullopt;
    }
    const uint8_t tag = rest_[0];
    size_t length = rest_[1];
    size_t header = 2;
    if ((length & kLongForm) != 0) {
        const size_t octets = length - kLongForm;
        header += octets;
        if (octets == 0 || octets > kLongestLength || rest_.size() < header) {
            return std::nullopt;
        }
        length = 0;
        for (const uint8_t octet : rest_.subspan(2, octets)) {
            length = length << 8 | octet;
        }
    }
    if (length > rest_.size() - header) {
        return std::nullopt;
    }
    const BerElement element = {tag, rest_.subspan(header, length)};
    rest_ = rest_.subspan(header + length);
    return element;
}

std::optional<ByteView> BerReader::Next(uint8_t tag) {
    const std::optional<BerElement> element = Next();
    return element && element->tag == tag ? std::optional(element->content) : std::nullopt;
}

std::optional<int32_t> IntegerOf(ByteView content) {
    if (content.empty() || content.size() > sizeof(int32_t)) {
        return std::nullopt;
    }
    uint32_t number = (content[0] & 0x80) != 0 ? std::numeric_limits<uint32_t>::max() : 0;
    for (const uint8_t octet : content) {
        number = number << 8 | octet;
    }
    return static_cast<int32_t>(number);
}

std::optional<Oid> OidOf(ByteView content) {
    Oid arcs;
    uint64_t arc = 0;
    for (const uint8_t octet : content) {
        arc = arc << kArcBits | (octet & (kMoreFollows - 1u));
        if (arc > std::numeric_limits<uint32_t>::max()) {
            return std::nullopt;
        }
        if ((octet & kMoreFollows) == 0) {
            arcs.push_back(static_cast<uint32_t>(arc));
            arc = 0;
        }
    }
    if (arcs.empty() || (content.back() & kMoreFollows) != 0) {
        return std::nullopt;
    }
    const uint32_t first = std::min(arcs[0] / kFirstArcs, kLastFirstArc);
    arcs[0] -= first * kFirstArcs;
    arcs.insert(arcs.begin(), first);
    return arcs;
}

// As short as the sign allows.
Bytes IntegerContent(int64_t number) {
    Bytes content;
    int shift = 56;
    while (shift > 0 && number >> (shift - 1) == number >> 63) {
        shift -= 8;
    }
    for (; shift >= 0; shift -= 8) {
        content.push_back(static_cast<uint8_t>(number >> shift));
    }
    return content;
}

Bytes OidContent(const Oid& oid) {
    Bytes content;
    AppendArc(&content, oid.at(0) * kFirstArcs + oid.at(1));
    for (size_t i = 2; i < oid.size(); ++i) {
        AppendArc(&content, oid[i]);
    }
    return content;
}

Bytes TextContent(std::string_view text) {
    return {text.begin(), text.end()};
}

Bytes Element(uint8_t tag, ByteView content) {
    Bytes element = {tag};
    if (content.size() < kLongForm) {
        element.push_back(static_cast<uint8_t>(content.size()));
    } else if (content.size() <= std::numeric_limits<uint8_t>::max()) {
        element.insert(element.end(), {kLongForm | 1, static_cast<uint8_t>(content.size())});
    } else {
        element.insert(element.end(), {kLongForm | 2, static_cast<uint8_t>(content.size() >> 8),
                                       static_cast<uint8_t>(content.size())});
    }
    Append(&element, content);
    return element;
}

void Append(Bytes* bytes, ByteView more) {
    bytes->insert(bytes->end(), more.begin(), more.end());
}

}  // namespace ksp::agent
