#pragma once

#include <cstdint>

namespace ksp {

// The next job number, for spool files and for the file names of RFC 1179: 0, 1, ..., 999, 0, ...
// One counter for all channels; two threads never take the same number at the same time.
[[nodiscard]] std::uint32_t TakeJobNumber() noexcept;

}  // namespace ksp
