#include "tests/support/files.h"

#include <fstream>
#include <iterator>

namespace ksp::test {

std::string BytesOf(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

void WriteFile(const std::filesystem::path& file, std::string_view bytes) {
    std::ofstream stream(file, std::ios::binary);
    stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

void WriteZeros(const std::filesystem::path& file, std::uintmax_t size) {
    WriteFile(file, {});
    std::filesystem::resize_file(file, size);
}

}  // namespace ksp::test
