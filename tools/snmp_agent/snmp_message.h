#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/snmp_agent/ber.h"
#include "tools/snmp_agent/oid.h"

namespace ksp::agent {

// A value as it travels: any tag, any content, so that a test can also send what no agent would.
struct SnmpValue {
    uint8_t tag = kNull;
    Bytes content = {};

    static SnmpValue Integer(int32_t number);
    static SnmpValue Octets(std::string_view octets);
    static SnmpValue Identifier(std::string_view oid);
    static SnmpValue Counter(uint32_t count);
    static SnmpValue Gauge(uint32_t level);
    static SnmpValue Ticks(uint32_t hundredths_of_a_second);
    static SnmpValue Address(std::string_view dotted);

    bool operator==(const SnmpValue&) const = default;
};

struct SnmpBinding {
    Oid oid;
    SnmpValue value = {};

    bool operator==(const SnmpBinding&) const = default;
};

enum class SnmpVersion : int32_t { kV1 = 0, kV2c = 1 };

enum class SnmpOperation : uint8_t {
    kGet = 0xA0,
    kGetNext = 0xA1,
    kResponse = 0xA2,
    kSet = 0xA3,
    kGetBulk = 0xA5,
};

// RFC 3416, section 3.
enum class SnmpError : int32_t { kNone = 0, kNoSuchName = 2, kNotWritable = 17 };

// A request or a response (RFC 1157 section 4, RFC 3416 section 3).
struct SnmpMessage {
    SnmpVersion version = SnmpVersion::kV1;
    std::string community = "public";
    SnmpOperation operation = SnmpOperation::kGet;
    int32_t id = 0;
    int32_t error = 0;        // of get-bulk: how many variables are asked for once
    int32_t error_index = 0;  // counted from 1; of get-bulk: rows wanted of each other variable
    std::vector<SnmpBinding> bindings = {};
};

// None when the bytes are no such message, or another one follows in them.
std::optional<SnmpMessage> DecodeSnmp(ByteView packet);
Bytes EncodeSnmp(const SnmpMessage& message);

}  // namespace ksp::agent
