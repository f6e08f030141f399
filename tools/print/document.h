#pragma once

#include <cstdint>
#include <istream>
#include <memory>
#include <optional>
#include <span>
#include <string>

#include "tools/print/sha256.h"

namespace ksp::print {

// What is printed, read from front to back, once.
class Document {
  public:
    static Document Sample();
    // Empty when the file cannot be read.
    static std::optional<Document> Open(const std::wstring& path);

    // The next bytes; 0 at the end, and after a failure.
    size_t Read(std::span<uint8_t> buffer);
    // The file could not be read to its end.
    [[nodiscard]] bool failed() const { return stream_->bad(); }

    [[nodiscard]] const std::wstring& name() const { return name_; }
    // In bytes, as it was before reading began.
    [[nodiscard]] uint64_t size() const { return size_; }

    // What was read so far.
    [[nodiscard]] uint64_t bytes_read() const { return bytes_read_; }
    // See Sha256::Finish.
    std::wstring FinishSha256() { return sha256_.Finish(); }

  private:
    Document(std::wstring name, std::unique_ptr<std::istream> stream, uint64_t size)
        : name_(std::move(name)), stream_(std::move(stream)), size_(size) {}

    std::wstring name_;
    std::unique_ptr<std::istream> stream_;
    uint64_t size_;
    uint64_t bytes_read_ = 0;
    Sha256 sha256_;
};

}  // namespace ksp::print
