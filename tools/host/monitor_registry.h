#pragma once

#include <windows.h>
#include <winspool.h>
#include <winsplp.h>

namespace ksp::host {

// The registry as a print monitor sees it: the ten operations of MONITORREG, behind an interface so
// that a host can lend a monitor the machine's registry, one in memory, or one that fails on
// demand.
//
// Arguments, sizes and results are those of the Windows registry function of the same purpose:
// every operation returns a Win32 error code, name sizes count characters, data sizes count bytes.
// A key handle is either Root(), a predefined HKEY, or one that CreateKey or OpenKey handed out.
class MonitorRegistry {
  public:
    virtual ~MonitorRegistry() = default;

    // The monitor's own key, handed over as hckRegistryRoot. The host owns it: monitors do not
    // close it.
    [[nodiscard]] virtual HANDLE Root() const = 0;

    virtual LONG CreateKey(HANDLE parent, LPCWSTR subkey, DWORD options, REGSAM access,
                           PSECURITY_ATTRIBUTES security, PHANDLE result, PDWORD disposition) = 0;
    virtual LONG OpenKey(HANDLE parent, LPCWSTR subkey, REGSAM access, PHANDLE result) = 0;
    virtual LONG CloseKey(HANDLE key) = 0;
    virtual LONG DeleteKey(HANDLE parent, LPCWSTR subkey) = 0;
    virtual LONG EnumKey(HANDLE key, DWORD index, LPWSTR name, PDWORD name_size,
                         PFILETIME last_write) = 0;
    virtual LONG QueryInfoKey(HANDLE key, PDWORD subkeys, PDWORD longest_subkey, PDWORD values,
                              PDWORD longest_value_name, PDWORD longest_data,
                              PDWORD security_descriptor_size, PFILETIME last_write) = 0;
    virtual LONG SetValue(HANDLE key, LPCWSTR name, DWORD type, const BYTE* data, DWORD size) = 0;
    virtual LONG DeleteValue(HANDLE key, LPCWSTR name) = 0;
    virtual LONG EnumValue(HANDLE key, DWORD index, LPWSTR name, PDWORD name_size, PDWORD type,
                           PBYTE data, PDWORD size) = 0;
    virtual LONG QueryValue(HANDLE key, LPCWSTR name, PDWORD type, PBYTE data, PDWORD size) = 0;
};

// A MONITORREG whose functions forward to the MonitorRegistry passed as hSpooler: the value given
// to the monitor as hSpooler is SpoolerHandle(registry). An exception that leaves a registry
// becomes ERROR_OUTOFMEMORY; a null hSpooler is ERROR_INVALID_HANDLE.
[[nodiscard]] MONITORREG MonitorRegFunctions();
[[nodiscard]] HANDLE SpoolerHandle(MonitorRegistry& registry);

}  // namespace ksp::host
