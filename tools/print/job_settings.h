#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace ksp::print {

// The monitor's settings that change what it does with a job, as the command line gives them.
struct JobSettings {
    std::map<std::wstring, std::uint32_t> numbers;  // by name; 0 means the monitor's default
    // Searched for a printer that moved: "network address;subnet mask", both dotted.
    std::vector<std::wstring> networks;
};

// The names that `numbers` may have, which are those of the registry.
[[nodiscard]] std::span<const std::wstring_view> JobSettingNames();

// Take one more of them: "NAME=NUMBER", and a network. An empty result means success; otherwise it
// says what is wrong, and the settings are as they were.
[[nodiscard]] std::wstring TakeSetting(const std::wstring& text, JobSettings* settings);
[[nodiscard]] std::wstring TakeNetwork(const std::wstring& text, JobSettings* settings);

}  // namespace ksp::print
