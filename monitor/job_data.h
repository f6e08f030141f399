#pragma once

#include <windows.h>

#include <cstdint>

#include "ports/port.h"
#include "ports/port_info.h"

namespace ksp {

// Hands one buffer of a job to the port's channel: as it is, or on the ID-print monitor with a
// freshly built job header to go in front of the job's first bytes. The record is the port's, as
// the registry has it now; the port has a channel. The channel's write result.
[[nodiscard]] std::int32_t WriteJobData(const CPort& port, const CPortInfo& info, const BYTE* data,
                                        DWORD size);

}  // namespace ksp
