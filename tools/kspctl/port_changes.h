#pragma once

#include <string>

#include "tools/kspctl/session.h"

namespace ksp::ctl {

// What `add` and `set` share.

// A record that the text of the command which adds a port can carry, with every text short enough
// for the record that configures one.
[[nodiscard]] Problem CheckRecord(const CPortInfo& info, MonitorType type);

// A port that follows its printer must know whom to follow.
[[nodiscard]] Problem CheckTracking(const CPortInfo& info);

// Stores and uses the record for a port that exists. Configuring alone does not store the address
// values, adding again does not take the queue: where both are needed, both are done.
[[nodiscard]] Problem ChangePort(const XcvHandle& monitor, const CPortInfo& info,
                                 bool address_values);

// The queue that an LPR port has when nobody names one.
[[nodiscard]] std::wstring DefaultQueue(std::uint32_t protocol);

}  // namespace ksp::ctl
