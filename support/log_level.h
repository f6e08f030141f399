#pragma once

#include <cstdint>

namespace ksp {

enum class LogLevel : std::uint32_t { kTrace = 1, kInfo = 2, kError = 3, kCritical = 4 };

// As `LogLevel` in the settings: nothing is logged.
inline constexpr std::uint32_t kLoggingOff = 5;

// The level's name as it stands in a line, always 8 characters: "TRACE   ", "INFO    ", "ERROR   ",
// "CRITICAL", and "Unknown " for any other number.
[[nodiscard]] constexpr const wchar_t* LevelName(LogLevel level) noexcept {
    switch (level) {
        case LogLevel::kTrace:
            return L"TRACE   ";
        case LogLevel::kInfo:
            return L"INFO    ";
        case LogLevel::kError:
            return L"ERROR   ";
        case LogLevel::kCritical:
            return L"CRITICAL";
    }
    return L"Unknown ";
}

}  // namespace ksp
