#pragma once

#include <cstdint>

namespace ksp {

// How long the monitor waits for a printer to take or send something, in seconds: the setting
// `WaitServerReplyTimeout`, 20 when it is missing or 0. Read afresh at every call, so that a
// changed setting works at once.
[[nodiscard]] std::uint32_t GetWaitServerReplyTimeout();

}  // namespace ksp
