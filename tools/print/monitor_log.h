#pragma once

#include <string>
#include <vector>

namespace ksp::print {

// The lines of the monitor's log file, which is text in the ANSI code page; none when there is no
// file.
std::vector<std::wstring> ReadMonitorLog(const std::wstring& path);

// The same for lines that differ in nothing but when and by whom they were written and in the
// numbers they name.
std::wstring LogLineKey(const std::wstring& line);

}  // namespace ksp::print
