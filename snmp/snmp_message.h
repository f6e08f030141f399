#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "snmp/ber_writer.h"

namespace ksp::snmp {

// SNMP messages of the versions 1 (RFC 1157) and 2c (RFC 1901, PDUs of RFC 3416). A request asks
// for one variable: printers answer small messages even when they refuse large ones, and an agent
// of version 1 that lacks one of several variables answers none of them.

enum class SnmpVersion : std::int32_t { k1 = 0, k2c = 1 };

enum class QuestionKind : std::uint8_t {
    kGet,     // the variable itself
    kGetNext  // the first variable behind it
};

struct CQuestion {
    QuestionKind kind = QuestionKind::kGet;
    CObjectId id;
};

enum class ValueKind : std::uint8_t {
    kNone,      // a variable that the agent does not have, or a type that nobody here reads
    kInteger,   // INTEGER
    kUnsigned,  // Counter32, Gauge32, TimeTicks
    kOctets     // OCTET STRING
};

// What a variable holds. `number` is set for integers (two's complement) and unsigned numbers.
struct CValue {
    ValueKind kind = ValueKind::kNone;
    std::uint32_t number = 0;
    std::string octets;
};

// The agent's word on a question.
struct CAnswer {
    bool found = false;  // false: there is no such variable, or it is not shown to us
    CObjectId id;
    CValue value;
};

struct CResponse {
    SnmpVersion version;
    std::int32_t requestId;
    CAnswer answer;
};

[[nodiscard]] Bytes EncodeRequest(SnmpVersion version, const std::string& community,
                                  std::int32_t requestId, const CQuestion& question);

// None unless the bytes are exactly one response: well-formed, of a known version, with one
// variable or with an error. Whose response it is, and to what, is the caller's to compare.
[[nodiscard]] std::optional<CResponse> DecodeResponse(ByteView bytes);

// Whether the response can belong to the question: a get is answered by the variable itself, a
// get-next by one that comes behind it. An agent that goes back would be asked for ever.
[[nodiscard]] bool Answers(const CAnswer& answer, const CQuestion& question);

}  // namespace ksp::snmp
