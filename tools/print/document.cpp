#include "tools/print/document.h"

#include <filesystem>
#include <fstream>
#include <sstream>
#include <system_error>

#include "tools/print/sample_document.h"

namespace ksp::print {

Document Document::Sample() {
    const std::string page = SamplePage();
    return {L"Sample page", std::make_unique<std::istringstream>(page), page.size()};
}

std::optional<Document> Document::Open(const std::wstring& path) {
    const std::filesystem::path file(path);
    std::error_code error;
    if (!std::filesystem::is_regular_file(file, error)) {
        return std::nullopt;
    }
    const uintmax_t size = std::filesystem::file_size(file, error);
    auto stream = std::make_unique<std::ifstream>(file, std::ios::binary);
    if (error || !stream->is_open()) {
        return std::nullopt;
    }
    return Document(file.filename().wstring(), std::move(stream), size);
}

size_t Document::Read(std::span<uint8_t> buffer) {
    stream_->read(reinterpret_cast<char*>(buffer.data()),
                  static_cast<std::streamsize>(buffer.size()));
    const auto count = static_cast<size_t>(stream_->gcount());
    sha256_.Add(buffer.first(count));
    bytes_read_ += count;
    return count;
}

}  // namespace ksp::print
