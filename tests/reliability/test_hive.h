#pragma once

#include <set>
#include <string>

#include "tools/host/real_registry.h"

namespace ksp::test {

// A part of the machine's registry that is a monitor's whole registry: its root key, and a key that
// stands for HKEY_LOCAL_MACHINE. Both lie in the current user's hive under the name given, and stay
// there, also beyond the process, until Remove.
class TestHive : public host::RealRegistry {
  public:
    // Opens what there is under that name, or makes it.
    explicit TestHive(const std::wstring& name);
    ~TestHive() override;
    TestHive(const TestHive&) = delete;
    TestHive& operator=(const TestHive&) = delete;

    static void Remove(const std::wstring& name);

    // The settings of a monitor: its type (1 ordinary, 2 ID print), and the log at TRACE into that
    // directory.
    void SetUpMonitor(const std::wstring& directory, DWORD type = 1);
    void SetSetting(const wchar_t* value, DWORD number);
    void SetSetting(const wchar_t* value, const std::wstring& text);
    // A DWORD of a port.
    void SetPortValue(const std::wstring& name, const wchar_t* value, DWORD number);
    // The names of the ports' keys.
    [[nodiscard]] std::multiset<std::wstring> StoredPorts() const;
    // A port as the monitor stores it.
    void AddPort(const std::wstring& name, DWORD protocol, const std::wstring& address);

    LONG CreateKey(HANDLE parent, LPCWSTR subkey, DWORD options, REGSAM access,
                   PSECURITY_ATTRIBUTES security, PHANDLE result, PDWORD disposition) override;
    LONG OpenKey(HANDLE parent, LPCWSTR subkey, REGSAM access, PHANDLE result) override;

  private:
    [[nodiscard]] HANDLE Redirected(HANDLE parent) const {
        return parent == HKEY_LOCAL_MACHINE ? machine_ : parent;
    }

    HKEY machine_;
    std::wstring software_;  // the key of the settings
};

}  // namespace ksp::test
