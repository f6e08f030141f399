#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace ksp::agent {

// An object identifier, arc by arc. Vectors of arcs compare in the order in which SNMP walks rows.
using Oid = std::vector<uint32_t>;

// Of "1.3.6.1.2.1.1.1.0". Empty when the text is none.
Oid OidOf(std::string_view text);

std::string TextOf(const Oid& oid);

bool StartsWith(const Oid& oid, const Oid& prefix);

// A row of a column: the column's identifier and the row's index behind it.
Oid Row(std::string_view column, const Oid& index);

}  // namespace ksp::agent
