#pragma once

#include <string>
#include <vector>

#include "tools/kspctl/session.h"

namespace ksp::ctl {

// The names of the ports that are this monitor's, in the spooler's order.
[[nodiscard]] Problem ListOurPorts(const Request& request, const XcvHandle& monitor,
                                   std::vector<std::wstring>* names);

}  // namespace ksp::ctl
