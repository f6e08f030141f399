#pragma once

#include "tools/host/monitor_registry.h"

namespace ksp::host {

// The machine's registry: every operation is the Windows function of the same purpose.
class RealRegistry : public MonitorRegistry {
  public:
    // `root` becomes the monitor's root key. It stays the caller's to close, after the monitor that
    // uses it has been unloaded.
    explicit RealRegistry(HKEY root) : root_(root) {}

    [[nodiscard]] HANDLE Root() const override { return root_; }

    LONG CreateKey(HANDLE parent, LPCWSTR subkey, DWORD options, REGSAM access,
                   PSECURITY_ATTRIBUTES security, PHANDLE result, PDWORD disposition) override;
    LONG OpenKey(HANDLE parent, LPCWSTR subkey, REGSAM access, PHANDLE result) override;
    LONG CloseKey(HANDLE key) override;
    LONG DeleteKey(HANDLE parent, LPCWSTR subkey) override;
    LONG EnumKey(HANDLE key, DWORD index, LPWSTR name, PDWORD name_size,
                 PFILETIME last_write) override;
    LONG QueryInfoKey(HANDLE key, PDWORD subkeys, PDWORD longest_subkey, PDWORD values,
                      PDWORD longest_value_name, PDWORD longest_data,
                      PDWORD security_descriptor_size, PFILETIME last_write) override;
    LONG SetValue(HANDLE key, LPCWSTR name, DWORD type, const BYTE* data, DWORD size) override;
    LONG DeleteValue(HANDLE key, LPCWSTR name) override;
    LONG EnumValue(HANDLE key, DWORD index, LPWSTR name, PDWORD name_size, PDWORD type, PBYTE data,
                   PDWORD size) override;
    LONG QueryValue(HANDLE key, LPCWSTR name, PDWORD type, PBYTE data, PDWORD size) override;

  private:
    HKEY root_;
};

}  // namespace ksp::host
