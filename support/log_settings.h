#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace ksp {

// What the logger asks of whoever keeps the settings. The settings are kept in a higher room, so
// the logger sees only this.
class ILogSettings {
  public:
    virtual ~ILogSettings() = default;

    [[nodiscard]] virtual std::wstring GetLogDirectory() = 0;
    [[nodiscard]] virtual std::wstring GetLogFileName() = 0;
    // None when the value is missing or unreadable.
    [[nodiscard]] virtual std::optional<std::uint32_t> ReadSetting(const wchar_t* name) = 0;
    virtual bool WriteSetting(const wchar_t* name, std::uint32_t value) = 0;
};

}  // namespace ksp
