#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

namespace ksp::print {

// Takes the job header of an ID-print job off the front of what a printer receives: its lines go
// into a text of their own, everything behind the last one is passed on. What does not begin like a
// header is passed on whole.
class JobHeaderSplitter {
  public:
    using Sink = std::function<void(std::span<const uint8_t> document)>;

    void Take(std::span<const uint8_t> bytes, const Sink& document);
    // At the end of the connection: passes on what was held back.
    void Finish(const Sink& document);

    [[nodiscard]] const std::string& header() const { return header_; }

  private:
    enum class State { kBeginning, kHeader, kDocument };

    State state_ = State::kBeginning;
    std::string held_;  // not known yet to belong to a header
    std::string header_;
};

// A header line for a reader: keyword and value, and its bytes in hexadecimal digits.
struct JobHeaderLine {
    std::wstring text;
    std::wstring bytes;
};
std::vector<JobHeaderLine> DecodeJobHeader(const std::string& header);

}  // namespace ksp::print
