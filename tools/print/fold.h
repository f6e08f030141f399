#pragma once

#include <functional>
#include <string>
#include <vector>

namespace ksp::print {

// What a line is compared by.
using LineKey = std::function<std::wstring(const std::wstring& line)>;

// The lines, where a group of neighbouring lines that comes at least three times in a row stands
// once, followed by a line that says how often it came again. Lines are the same when their keys
// are.
std::vector<std::wstring> FoldRepeats(const std::vector<std::wstring>& lines, const LineKey& key);

}  // namespace ksp::print
