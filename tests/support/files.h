#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

namespace ksp::test {

// Every byte of the file; empty when there is no such file.
[[nodiscard]] std::string BytesOf(const std::filesystem::path& file);
void WriteFile(const std::filesystem::path& file, std::string_view bytes);
// A file of that many zero bytes.
void WriteZeros(const std::filesystem::path& file, std::uintmax_t size);

}  // namespace ksp::test
