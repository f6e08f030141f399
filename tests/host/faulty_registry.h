#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "tools/host/monitor_registry.h"
#include "tools/host/slim_mutex.h"

namespace ksp::test {

enum class RegistryOperation {
    kCreateKey,
    kOpenKey,
    kCloseKey,
    kDeleteKey,
    kEnumKey,
    kQueryInfoKey,
    kSetValue,
    kDeleteValue,
    kEnumValue,
    kQueryValue,
};

// One call as it reached the registry.
struct RegistryCall {
    RegistryOperation operation = RegistryOperation::kCreateKey;
    // Where the key given lies: "root", "HKLM" or "HKCU" and what was opened below it, for example
    // L"root\\Ports"; L"?" for a handle that is not open.
    std::wstring key;
    // The subkey or value named; empty for operations that name none.
    std::wstring name;
    LONG result = ERROR_SUCCESS;
};

// Makes calls fail without reaching the registry behind.
struct RegistryFault {
    RegistryOperation operation = RegistryOperation::kCreateKey;
    LONG code = ERROR_ACCESS_DENIED;
    size_t nth = 1;          // 1: the next call that fits, counted from when the fault was set
    bool and_later = false;  // also every fitting call after the nth
    std::optional<std::wstring> name = {};  // only calls that name exactly this subkey or value
};

// A registry that notes every call, fails on demand, and counts the keys that stay open. Everything
// else is answered by the registry behind it, which must outlive it. Thread-safe.
class FaultyRegistry : public host::MonitorRegistry {
  public:
    explicit FaultyRegistry(host::MonitorRegistry& inner) : inner_(inner) {}

    void AddFault(const RegistryFault& fault);
    void ClearFaults();

    [[nodiscard]] std::vector<RegistryCall> Calls() const;
    // How often an operation was called, with that name when one is given.
    [[nodiscard]] size_t CountCalls(RegistryOperation operation,
                                    const std::optional<std::wstring>& name = std::nullopt) const;
    void ClearCalls();

    // Where the keys lie that were handed out and not closed yet.
    [[nodiscard]] std::vector<std::wstring> OpenKeys() const;

    [[nodiscard]] HANDLE Root() const override { return inner_.Root(); }
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
    struct Countdown {
        RegistryFault fault;
        size_t calls_seen = 0;
    };

    template <typename Action>
    LONG Carry(RegistryOperation operation, HANDLE key, LPCWSTR name, Action action);
    std::optional<LONG> Strike(RegistryOperation operation, const std::wstring& name);
    std::wstring PathOf(HANDLE key) const;
    void NoteOpened(HANDLE parent, LPCWSTR subkey, HANDLE key);

    host::MonitorRegistry& inner_;
    mutable host::SlimMutex mutex_;
    std::vector<Countdown> faults_;
    std::vector<RegistryCall> calls_;
    std::map<HANDLE, std::wstring> open_keys_;
};

}  // namespace ksp::test
