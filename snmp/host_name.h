#pragma once

#include <optional>
#include <string>

#include "snmp/device_query.h"

namespace ksp::snmp {

// The first IPv4 address of a host name, as the system resolves it (hosts file, DNS); none when
// the text cannot be a host name or nobody knows it. Windows Sockets are started. How long the
// system looks for it is the system's own affair: seconds, when its name server says nothing.
[[nodiscard]] std::optional<Ipv4> ResolveHostName(const std::string& name);

}  // namespace ksp::snmp
