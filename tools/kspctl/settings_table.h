#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "tools/kspctl/failure.h"
#include "tools/kspctl/machine_registry.h"

namespace ksp::ctl {

enum class SettingKind { kText, kNumber, kFlag };

// One setting of the monitor, under the name of its registry value.
struct Setting {
    std::wstring_view name;
    SettingKind kind;
    std::uint32_t least;  // of a number
    std::uint32_t most;
    std::wstring_view unit;       // empty when it has none
    std::wstring_view otherwise;  // what holds when the value is missing
    bool writable;
    std::wstring_view meaning;
};

std::span<const Setting> Settings();
// By the exact name; null when there is none.
const Setting* FindSetting(std::wstring_view name);

// None when the value is missing or cannot be read as what it should be.
[[nodiscard]] std::optional<std::wstring> ReadSetting(const Setting& setting,
                                                      MachineRegistry& registry,
                                                      const CRegistryKey& key);
// What is wrong with a value from the command line, before anything is written.
[[nodiscard]] Problem CheckSetting(const Setting& setting, const std::wstring& value);
// A value that was checked. A Windows code.
[[nodiscard]] LONG WriteSetting(const Setting& setting, const CRegistryKey& key,
                                const std::wstring& value);
// Back to what holds when the value is missing. A Windows code; 0 also when it was missing.
[[nodiscard]] LONG RemoveSetting(const Setting& setting, const CRegistryKey& key);

}  // namespace ksp::ctl
