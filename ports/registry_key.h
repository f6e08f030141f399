#pragma once

#include <windows.h>

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include "ports/registry_access.h"

namespace ksp {

// A subkey as an enumeration tells it.
struct CSubkey {
    static constexpr DWORD kRoom = 261;  // characters; the longest name of a key has 255

    wchar_t name[kRoom];
    std::uint64_t lastWrite;  // in units of 100 ns since 1601; 0 when it is not known
};

// The owner of one open registry key. Closed by its destructor, through the access layer that
// opened it; that layer must outlive it.
//
// What a reader gets of a value: a DWORD must be a REG_DWORD of four bytes; a text must be a
// REG_SZ, with or without a terminator or with an odd byte at its end, and is what stands before
// its first terminator. A value of another type counts as unreadable.
class CRegistryKey {
  public:
    CRegistryKey() = default;
    CRegistryKey(CRegistryKey&& other) noexcept
        : m_access(std::exchange(other.m_access, nullptr)),
          m_key(std::exchange(other.m_key, nullptr)) {}
    CRegistryKey& operator=(CRegistryKey&& other) noexcept;
    CRegistryKey(const CRegistryKey&) = delete;
    CRegistryKey& operator=(const CRegistryKey&) = delete;
    ~CRegistryKey() { Close(); }

    // Both leave the key closed when they fail, and return a Windows error code.
    LONG Create(CRegistryAccess& access, HANDLE parent, const wchar_t* name, REGSAM rights);
    LONG Open(CRegistryAccess& access, HANDLE parent, const wchar_t* name, REGSAM rights);
    // The key is forgotten even when closing it fails.
    LONG Close() noexcept;
    // Leaves the key open and to the system, for the end of the process.
    void Forget() noexcept { m_key = nullptr; }

    [[nodiscard]] bool IsOpen() const noexcept { return m_key != nullptr; }
    [[nodiscard]] HANDLE Get() const noexcept { return m_key; }

    [[nodiscard]] std::optional<std::uint32_t> ReadDword(const wchar_t* name) const;
    [[nodiscard]] std::optional<std::wstring> ReadText(const wchar_t* name) const;
    // The subkey at the index; ERROR_NO_MORE_ITEMS at the end.
    [[nodiscard]] LONG EnumSubkey(DWORD index, CSubkey& subkey) const;
    // The same: false at the end, and at any failure.
    [[nodiscard]] bool ReadSubkey(DWORD index, CSubkey& subkey) const {
        return EnumSubkey(index, subkey) == ERROR_SUCCESS;
    }

    LONG WriteDword(const wchar_t* name, std::uint32_t value) const;
    // REG_SZ of exactly two bytes a character, without a terminator.
    LONG WriteText(const wchar_t* name, const std::wstring& text) const;
    LONG WriteBinary(const wchar_t* name, const void* data, DWORD size) const;

  private:
    CRegistryAccess* m_access = nullptr;
    HANDLE m_key = nullptr;
};

[[nodiscard]] std::uint64_t NumberOf(const FILETIME& time) noexcept;

// What a REG_SZ of these bytes says.
[[nodiscard]] std::wstring TextOfValue(const void* bytes, std::size_t size);

}  // namespace ksp
