#pragma once

#include <string>

namespace ksp::print {

// Four numbers from 0 to 255 with dots between them.
bool IsDottedAddress(const std::wstring& text);

// What is wrong with the text as the address of a printer: empty for a dotted IPv4 address or a
// host name.
[[nodiscard]] std::wstring CheckPrinterAddress(const std::wstring& text);

}  // namespace ksp::print
