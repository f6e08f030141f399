#pragma once

#include <windows.h>

#include <cstdint>

#include "support/windows_spooler.h"

namespace ksp {

// The size that says that there is no header; the data are then sent without one.
inline constexpr std::uint32_t kNoJobHeader = 0xFFFFFFFF;

// Builds the header of a job from what the spooler knows of it: 1 when it was written, else 0.
//
// Called with too small a size (a null buffer and 0, say) it stores the exact length in bytes;
// called with at least that size it writes the header and leaves the size as it is. When the job
// cannot be read the size becomes kNoJobHeader. The identity stands for the user's name in the
// IDENTIFIER line; null takes the user's name.
[[nodiscard]] int BuildJobHeader(HANDLE printer, DWORD jobId, BYTE* buffer, std::uint32_t& size,
                                 const wchar_t* identity);

}  // namespace ksp
