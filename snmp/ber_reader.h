#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "snmp/object_id.h"

namespace ksp::snmp {

using ByteView = std::span<const std::uint8_t>;

// The tags of SNMP messages (RFC 3417 section 8, RFC 2578, RFC 3416).
enum class BerTag : std::uint8_t {
    kInteger = 0x02,
    kOctetString = 0x04,
    kNull = 0x05,
    kObjectId = 0x06,
    kSequence = 0x30,
    kIpAddress = 0x40,
    kCounter32 = 0x41,
    kGauge32 = 0x42,
    kTimeTicks = 0x43,
    kOpaque = 0x44,
    kCounter64 = 0x46,
    kNoSuchObject = 0x80,
    kNoSuchInstance = 0x81,
    kEndOfMibView = 0x82,
    kGetRequest = 0xA0,
    kGetNextRequest = 0xA1,
    kResponse = 0xA2,
};

struct CBerElement {
    BerTag tag;
    ByteView content;
};

// Reads the elements of a piece of BER one after the other. It never looks behind the bytes that it
// was given, and it never descends by itself: whoever expects an element inside another one makes a
// reader of its content, so that nothing nests deeper than the code that reads it.
//
// Refused: a length beyond the bytes, the indefinite form, lengths of more than four octets, and
// tags of more than one octet. A length in more octets than it needs is allowed, as RFC 3417
// section 8 does: agents in use write theirs so.
class CBerReader {
  public:
    explicit CBerReader(ByteView bytes) noexcept : m_rest(bytes) {}

    [[nodiscard]] bool AtEnd() const noexcept { return m_rest.empty(); }

    // The next element; none, and the reader stays where it is, when there is no whole one.
    [[nodiscard]] std::optional<CBerElement> Next() noexcept;
    // The content of the next element; none unless it has that tag.
    [[nodiscard]] std::optional<ByteView> Next(BerTag tag) noexcept;
    // The next element's value; none unless it is an INTEGER of 32 bits.
    [[nodiscard]] std::optional<std::int32_t> NextInteger() noexcept;

  private:
    ByteView m_rest;
};

// The values of contents; none when the content is empty, too large or not in the form that BER
// asks for.

// INTEGER: 1 to 4 octets, two's complement.
[[nodiscard]] std::optional<std::int32_t> IntegerOf(ByteView content) noexcept;
// Counter32, Gauge32, TimeTicks: as an integer that is not negative, so up to 5 octets.
[[nodiscard]] std::optional<std::uint32_t> UnsignedOf(ByteView content) noexcept;
[[nodiscard]] std::optional<CObjectId> ObjectIdOf(ByteView content);

}  // namespace ksp::snmp
