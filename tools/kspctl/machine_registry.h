#pragma once

#include <windows.h>

#include <optional>
#include <string>

#include "ports/monitor_type.h"
#include "ports/registry_key.h"
#include "support/windows_handles.h"
#include "tools/print/software_key.h"

namespace ksp::ctl {

// HKEY_LOCAL_MACHINE of a computer, and the monitor's keys below it. Every call returns a Windows
// code.
class MachineRegistry {
  public:
    MachineRegistry() = default;
    MachineRegistry(const MachineRegistry&) = delete;
    MachineRegistry& operator=(const MachineRegistry&) = delete;

    // "\\NAME", or empty for this computer. Nothing else may be called before it succeeded.
    [[nodiscard]] LONG Connect(const std::wstring& unc_name);

    [[nodiscard]] LONG Open(const std::wstring& path, REGSAM rights, CRegistryKey* key);
    // `created` tells whether the key is new; it may be null. One that cannot be read is not new.
    [[nodiscard]] LONG Create(const std::wstring& path, CRegistryKey* key, bool* created = nullptr);
    // The kind that is installed under that name; none when it is not installed.
    [[nodiscard]] std::optional<MonitorType> InstalledType(const std::wstring& monitor);
    // How many ports the monitor of that name keeps, whether it runs or not.
    [[nodiscard]] DWORD CountPorts(const std::wstring& monitor);
    // With everything below it.
    LONG DeleteTree(const std::wstring& path);

    [[nodiscard]] CRegistryAccess& access() { return access_; }

  private:
    UniqueRegistryKey remote_;
    HKEY root_ = HKEY_LOCAL_MACHINE;
    CRegistryAccess access_;
};

// The value of the monitor's key that says of which kind it is.
inline constexpr wchar_t kMonitorTypeValue[] = L"KSPRINT_SECURE";

// Where the spooler keeps what it knows of a monitor.
[[nodiscard]] std::wstring MonitorKeyPath(const std::wstring& monitor);
// Where the monitor's settings lie.
using print::SoftwareKeyPath;

}  // namespace ksp::ctl
