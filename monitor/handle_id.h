#pragma once

#include <windows.h>

#include <cstdint>

#include "ports/port_list.h"

namespace ksp {

// The spooler's port handle is the port's id, not a pointer: a handle that is stale or made up
// finds no port instead of foreign memory.

[[nodiscard]] inline HANDLE HandleOfId(std::uint32_t id) noexcept {
    return reinterpret_cast<HANDLE>(static_cast<std::uintptr_t>(id));
}

// CPortList::kNoId, which no port has, for a value that cannot be an id.
[[nodiscard]] inline std::uint32_t IdOfHandle(HANDLE handle) noexcept {
    const auto value = reinterpret_cast<std::uintptr_t>(handle);
    return value < CPortList::kNoId && value != 0 ? static_cast<std::uint32_t>(value)
                                                  : CPortList::kNoId;
}

}  // namespace ksp
