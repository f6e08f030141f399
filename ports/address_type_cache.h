#pragma once

#include <windows.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "ports/registry_key.h"

namespace ksp {

// The `PrinterAddressType` of the ports' subkeys as they were read last, for as long as nobody writes
// to a subkey. Every write of a job looks for its port among all of them, and needs nothing else of
// those that it passes.
//
// A type is trusted while the enumeration tells the same last-write time as when it was read, and
// only when that time was safely in the past then: a write that came after the reading has a later
// time, however coarse the registry's clock is. So a change is always seen, whoever makes it.
//
// By place in the enumeration; a subkey that comes or goes makes those behind it be read once more.
// Any thread may call it. Memory that runs out costs nothing but time.
class CAddressTypeCache {
  public:
    // None when the type must be read.
    [[nodiscard]] std::optional<std::uint32_t> Find(DWORD index, const CSubkey& subkey) const;
    // `readAt` is a time before the type was read, as Now tells it.
    void Note(DWORD index, const CSubkey& subkey, std::uint64_t readAt,
              std::uint32_t type) noexcept;
    void Clear() noexcept;

    // The system's time in the unit of CSubkey::lastWrite.
    [[nodiscard]] static std::uint64_t Now() noexcept;

  private:
    struct Entry {
        std::wstring name;
        std::uint64_t lastWrite = 0;  // 0 matches nothing
        std::uint32_t type = 0;
    };

    mutable SRWLOCK m_lock{};
    std::vector<Entry> m_entries;
};

}  // namespace ksp
