#include "tools/print/lpr_session.h"

#include <algorithm>
#include <cstdlib>

namespace ksp::print {
namespace {

constexpr char kDataFileCommand = '\x03';  // RFC 1179 section 6.3
constexpr char kAcknowledgement = '\0';

}  // namespace

std::string LprSession::Receive(std::span<const uint8_t> bytes, const Sink& document) {
    std::string answer;
    while (!bytes.empty()) {
        bytes = bytes.subspan(Take(bytes, document, &answer));
    }
    return answer;
}

size_t LprSession::Take(std::span<const uint8_t> bytes, const Sink& document, std::string* answer) {
    switch (expect_) {
        case Expect::kJobCommand:
        case Expect::kFileCommand:
            return TakeLine(bytes, answer);
        case Expect::kControlFile:
        case Expect::kDataFile: {
            const auto count = static_cast<size_t>(std::min<uint64_t>(rest_, bytes.size()));
            if (expect_ == Expect::kDataFile) {
                document(bytes.first(count));
            }
            rest_ -= count;
            if (rest_ == 0) {
                expect_ = Expect::kEndOfFile;
            }
            return count;
        }
        case Expect::kEndOfFile:
            break;
    }
    // The octet of zero that ends a file.
    *answer += kAcknowledgement;
    expect_ = Expect::kFileCommand;
    return 1;
}

size_t LprSession::TakeLine(std::span<const uint8_t> bytes, std::string* answer) {
    const auto end = std::find(bytes.begin(), bytes.end(), static_cast<uint8_t>('\n'));
    line_.append(bytes.begin(), end);
    const auto count = static_cast<size_t>(end - bytes.begin());
    if (end == bytes.end()) {
        return count;
    }
    *answer += kAcknowledgement;
    if (expect_ == Expect::kJobCommand) {
        expect_ = Expect::kFileCommand;
    } else {
        RunFileCommand();
    }
    line_.clear();
    return count + 1;
}

// "<command byte><count> <name>"
void LprSession::RunFileCommand() {
    if (line_.empty()) {
        return;
    }
    rest_ = std::strtoull(line_.c_str() + 1, nullptr, 10);
    expect_ = line_.front() == kDataFileCommand ? Expect::kDataFile : Expect::kControlFile;
    if (rest_ == 0) {
        expect_ = Expect::kEndOfFile;
    }
}

}  // namespace ksp::print
