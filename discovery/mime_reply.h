#pragma once

#include <cstdint>
#include <optional>

#include "discovery/discovery_library.h"

namespace ksp {

// How the bytes of an SNMP value are read.
enum class SnmpType { kInteger, kOctetString };

// The value that a MIME-formatted reply of the discovery library carries: the reply is split into
// its header, an XML document whose first "Group" element names the part with the value, and its
// data. None when the reply cannot be taken apart. Everything that the library allocates for it is
// given back.
[[nodiscard]] std::optional<std::uint32_t> ReadMimeValue(const OryxFunctions& library,
                                                         const char* reply, SnmpType type);

}  // namespace ksp
