#pragma once

#include <optional>

#include "support/critical_section.h"
#include "support/windows_spooler.h"

namespace ksp {

// The one way to the registry: a function per operation, each under the registry lock.
//
// A spooler that hands over its own registry functions (on a cluster they work on the cluster's
// registry) has them called, with its spooler handle as the last argument. Without them the Windows
// functions of the same names are called.
//
// Every function returns a Windows error code, 0 (ERROR_SUCCESS) for success, and leaves the lock
// also when the spooler's function throws. A null parent key is ERROR_INVALID_HANDLE (6), except
// that CreateKey takes it for the spooler's monitor root key.
class CRegistryAccess {
  public:
    CRegistryAccess() = default;
    CRegistryAccess(const CRegistryAccess&) = delete;
    CRegistryAccess& operator=(const CRegistryAccess&) = delete;

    // The lock exists from the monitor's start to the closing of the store. Before and after, calls
    // are made without it.
    void CreateLock() noexcept { m_lock.Create(); }
    void DeleteLock() noexcept { m_lock.Delete(); }
    [[nodiscard]] bool HasLock() const noexcept { return m_lock.IsCreated(); }

    // Takes copies of what the spooler handed over: some spoolers build it on their stack. Null
    // forgets what was taken.
    void SetMonitorInit(const MONITORINIT* init) noexcept;
    [[nodiscard]] bool HasSpoolerRegistry() const noexcept { return m_functions.has_value(); }
    // The monitor's root key as the spooler handed it over, or null.
    [[nodiscard]] HANDLE MonitorRoot() const noexcept { return m_root; }

    LONG CreateKey(HANDLE parent, const wchar_t* name, REGSAM access, HANDLE* key);
    LONG OpenKey(HANDLE parent, const wchar_t* name, REGSAM access, HANDLE* key);
    LONG CloseKey(HANDLE key);
    LONG DeleteKey(HANDLE parent, const wchar_t* name);
    // `length` is in characters: room for the name on entry, the name's length on return. A spooler
    // may leave the time of the subkey's last change as it was.
    LONG EnumKey(HANDLE key, DWORD index, wchar_t* name, DWORD* length, FILETIME* lastWrite);
    LONG QueryValueCount(HANDLE key, DWORD* count);
    LONG SetValue(HANDLE key, const wchar_t* name, DWORD type, const void* data, DWORD size);
    // `length` is in characters, `size` in bytes.
    LONG EnumValue(HANDLE key, DWORD index, wchar_t* name, DWORD* length, DWORD* type, void* data,
                   DWORD* size);
    LONG QueryValue(HANDLE key, const wchar_t* name, DWORD* type, void* data, DWORD* size);

  private:
    CCriticalSection m_lock;
    std::optional<MONITORREG> m_functions;
    HANDLE m_spooler = nullptr;
    HANDLE m_root = nullptr;
};

}  // namespace ksp
