#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "tools/snmp_agent/oid.h"

namespace ksp::agent {

// The Basic Encoding Rules (X.690) as far as SNMP uses them (RFC 3417, section 8): definite
// lengths, tags of one octet. Written for the agent alone: what the discovery library makes of the
// rules is to be measured against other code than its own.

using Bytes = std::vector<uint8_t>;
using ByteView = std::span<const uint8_t>;

// Tags, RFC 2578 section 7.1 and RFC 3416 section 3.
enum Tag : uint8_t {
    kInteger = 0x02,
    kOctetString = 0x04,
    kNull = 0x05,
    kObjectIdentifier = 0x06,
    kSequence = 0x30,
    kIpAddress = 0x40,
    kCounter = 0x41,
    kGauge = 0x42,
    kTimeTicks = 0x43,
    kNoSuchObject = 0x80,
    kNoSuchInstance = 0x81,
    kEndOfMibView = 0x82,
};

struct BerElement {
    uint8_t tag = 0;
    ByteView content;
};

// Takes the elements that lie one behind the other in some bytes, which must outlive it.
class BerReader {
  public:
    explicit BerReader(ByteView bytes) : rest_(bytes) {}

    // None at the end, and none when what follows is no whole element.
    std::optional<BerElement> Next();
    // None also when the next element has another tag.
    std::optional<ByteView> Next(uint8_t tag);
    [[nodiscard]] bool AtEnd() const { return rest_.empty(); }

  private:
    ByteView rest_;
};

// None when the content is none of that type, or is too large for the result.
std::optional<int32_t> IntegerOf(ByteView content);
std::optional<Oid> OidOf(ByteView content);

// Contents of elements.
Bytes IntegerContent(int64_t number);
Bytes OidContent(const Oid& oid);
Bytes TextContent(std::string_view text);

// An element around a content.
Bytes Element(uint8_t tag, ByteView content);
void Append(Bytes* bytes, ByteView more);

}  // namespace ksp::agent
