#pragma once

#include <vector>

#include "snmp/search_range.h"

namespace ksp::snmp {

// The IPv4 networks that the computer's interfaces are in, as far as they are up; each with the
// computer's own address in it. The loopback interface only when asked for.
[[nodiscard]] std::vector<CNetwork> LocalNetworks(bool loopback);

}  // namespace ksp::snmp
