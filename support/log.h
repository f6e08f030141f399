#pragma once

#include <cstdint>
#include <source_location>
#include <type_traits>

#include "support/logger.h"

namespace ksp {

// A fixed text or printf-style format, together with the line of the call that logs it. The formats
// are the Windows runtime's: in them %s is a wide string.
class LogText {
  public:
    template <std::size_t N>
    // NOLINTNEXTLINE(google-explicit-constructor): call sites pass plain literals.
    consteval LogText(const wchar_t (&text)[N],
                      std::source_location where = std::source_location::current()) noexcept
        : m_text(text), m_line(where.line()) {}

    [[nodiscard]] const wchar_t* Text() const noexcept { return m_text; }
    [[nodiscard]] std::uint32_t Line() const noexcept { return m_line; }

  private:
    const wchar_t* m_text;
    std::uint32_t m_line;
};

// How the library logs: Log(LogLevel::kError, L"port not found"), or with a format and its
// arguments (numbers and zero-terminated wide strings). Below the configured level a call costs one
// comparison.
template <class... Arguments>
void Log(LogLevel level, LogText text, Arguments... arguments) noexcept {
    static_assert((std::is_trivially_copyable_v<Arguments> && ...),
                  "pass .c_str(), the arguments go through a C variadic call");
    CLogger& logger = Logger();
    if (!logger.IsWritten(level)) {
        return;
    }
    if constexpr (sizeof...(arguments) == 0) {
        logger.LogMessage(level, L"", text.Line(), text.Text());
    } else {
        logger.LogFormatted(level, L"", text.Line(), text.Text(), arguments...);
    }
}

}  // namespace ksp
