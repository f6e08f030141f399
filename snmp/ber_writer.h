#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "snmp/ber_reader.h"

namespace ksp::snmp {

using Bytes = std::vector<std::uint8_t>;

// Appends elements to a piece of BER, lengths in the shortest form.

void AppendElement(Bytes& bytes, BerTag tag, ByteView content);
void AppendInteger(Bytes& bytes, std::int32_t value);
void AppendOctets(Bytes& bytes, std::string_view octets);
void AppendNull(Bytes& bytes);
void AppendObjectId(Bytes& bytes, const CObjectId& id);

}  // namespace ksp::snmp
