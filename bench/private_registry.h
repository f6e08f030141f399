#pragma once

#include <atomic>
#include <cstddef>
#include <string>

#include "support/windows_handles.h"
#include "tools/host/real_registry.h"

namespace ksp::bench {

// The machine's registry below a key of this process's own: the monitor's root, and what it takes
// for HKEY_LOCAL_MACHINE. Counts the calls that the monitor makes. The key and everything in it goes
// with the object.
class PrivateRegistry : public host::RealRegistry {
  public:
    PrivateRegistry();
    ~PrivateRegistry() override;
    PrivateRegistry(const PrivateRegistry&) = delete;
    PrivateRegistry& operator=(const PrivateRegistry&) = delete;

    [[nodiscard]] bool ready() const { return root_key() != nullptr && static_cast<bool>(machine_); }
    [[nodiscard]] HKEY root_key() const { return static_cast<HKEY>(Root()); }
    // What the monitor finds as its software key.
    [[nodiscard]] bool SetSetting(const wchar_t* name, DWORD number) const;
    [[nodiscard]] bool SetSetting(const wchar_t* name, const std::wstring& text) const;

    [[nodiscard]] size_t calls() const { return calls_; }
    void ResetCalls() { calls_ = 0; }

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
    [[nodiscard]] HANDLE Redirected(HANDLE key) const;
    [[nodiscard]] UniqueRegistryKey OpenSoftwareKey() const;

    std::atomic<size_t> calls_{0};
    UniqueRegistryKey machine_;
};

// The ports key below a root, filled with so many raw (2), XLPR (1) or LPR (0) ports to one printer;
// all of them at once, replacing those that were there.
struct PortSet {
    size_t count = 1;
    DWORD protocol = 2;
    std::wstring address = {};
};
[[nodiscard]] bool WritePorts(HKEY root, const PortSet& ports);
// The name of a port of a set, by its number from 0; the order is that of the registry.
[[nodiscard]] std::wstring PortName(size_t number);

}  // namespace ksp::bench
