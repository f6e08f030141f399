#pragma once

#include <string_view>

#include "discovery/discovery_library.h"

namespace ksp::snmp {

// The memory that the library hands out. Its users give it back through the library, so that both
// may have a heap of their own.

// The text with a NUL behind it; null when there is no memory.
[[nodiscard]] char* NewText(std::string_view text) noexcept;
// An item with its bytes in the same block; null when there is no memory.
[[nodiscard]] MIMEItem* NewItem(std::string_view bytes) noexcept;
// Null is allowed.
void FreeBuffer(void* buffer) noexcept;

}  // namespace ksp::snmp
