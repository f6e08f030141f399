#pragma once

#include <string>

namespace ksp::print {

// Where the running program lies, without a trailing backslash.
[[nodiscard]] std::wstring ProgramDirectory();

}  // namespace ksp::print
