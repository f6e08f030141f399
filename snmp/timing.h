#pragma once

#include <cstdint>
#include <optional>

#include "snmp/snmp_message.h"

namespace ksp::snmp {

// How long a device is waited for, as a settings document says it; milliseconds.
struct CTiming {
    std::uint32_t timeout = 20000;  // from the first question to giving up, repeats and all
    std::uint32_t retry = 2;        // how often a question is asked again
    std::uint32_t retryInterval = 5000;
};

// Which versions of SNMP a device is spoken to in.
enum class VersionChoice : std::uint8_t { kEither, k1, k2c };

struct CSending {
    std::uint32_t after;  // milliseconds after the question was first asked
    SnmpVersion version;
};

// The n-th time, from 0, that a question without an answer goes out; none when it does not any
// more.
//
// The time-out is the whole time there is, so the interval is shortened where the repeats would not
// fit into it; it is never below 100 ms, which bounds the traffic whatever a document says. A
// device whose version is not known is asked in 2c, and a moment later in 1: agents that know only
// version 1 say nothing to the other.
[[nodiscard]] std::optional<CSending> SendingOf(std::uint64_t n, const CTiming& timing,
                                                VersionChoice versions) noexcept;

}  // namespace ksp::snmp
