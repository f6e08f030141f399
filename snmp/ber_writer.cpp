#include "snmp/ber_writer.h"

namespace ksp::snmp {

namespace {

void AppendLength(Bytes& bytes, std::size_t length) {
    if (length < 0x80) {
        bytes.push_back(static_cast<std::uint8_t>(length));
        return;
    }
    int octets = 1;
    while (octets < 4 && length >> (8 * octets) != 0) {
        ++octets;
    }
    bytes.push_back(static_cast<std::uint8_t>(0x80 + octets));
    while (octets-- > 0) {
        bytes.push_back(static_cast<std::uint8_t>(length >> (8 * octets)));
    }
}

void AppendNumber(Bytes& bytes, std::uint64_t number) {
    int groups = 1;
    while (number >> (7 * groups) != 0) {
        ++groups;
    }
    while (groups-- > 0) {
        const auto group = static_cast<std::uint8_t>(number >> (7 * groups) & 0x7F);
        bytes.push_back(groups > 0 ? group | 0x80 : group);
    }
}

}  // namespace

void AppendElement(Bytes& bytes, BerTag tag, ByteView content) {
    bytes.push_back(static_cast<std::uint8_t>(tag));
    AppendLength(bytes, content.size());
    bytes.insert(bytes.end(), content.begin(), content.end());
}

void AppendInteger(Bytes& bytes, std::int32_t value) {
    int octets = 1;
    while (octets < 4 && (value >> (8 * octets - 1) != 0) && (value >> (8 * octets - 1) != -1)) {
        ++octets;
    }
    Bytes content;
    while (octets-- > 0) {
        content.push_back(static_cast<std::uint8_t>(value >> (8 * octets)));
    }
    AppendElement(bytes, BerTag::kInteger, content);
}

void AppendOctets(Bytes& bytes, std::string_view octets) {
    AppendElement(bytes, BerTag::kOctetString, Bytes(octets.begin(), octets.end()));
}

void AppendNull(Bytes& bytes) {
    AppendElement(bytes, BerTag::kNull, {});
}

void AppendObjectId(Bytes& bytes, const CObjectId& id) {
    Bytes content;
    const auto& numbers = id.Numbers();
    if (numbers.size() >= 2) {
        AppendNumber(content, std::uint64_t{40} * numbers[0] + numbers[1]);
        for (std::size_t index = 2; index < numbers.size(); ++index) {
            AppendNumber(content, numbers[index]);
        }
    }
    AppendElement(bytes, BerTag::kObjectId, content);
}

}  // namespace ksp::snmp
