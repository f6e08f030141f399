#include "tools/print/job_header_splitter.h"

#include <algorithm>

namespace ksp::print {
namespace {

constexpr std::string_view kFirstLine = "@EXTRAKJL START\n";
constexpr std::string_view kLastLine = "@EXTRAKJL END\n";
constexpr std::string_view kQuote = "=\"";
// The terminator inside the quotes, the closing quote and the line feed.
constexpr std::string_view kLineEnd("\0\0\"\n", 4);

std::span<const uint8_t> AsBytes(const std::string& text) {
    return {reinterpret_cast<const uint8_t*>(text.data()), text.size()};
}

// One line of the header, its length found by its form: a value may hold any character.
size_t LengthOfLine(std::string_view header) {
    const size_t plain = header.find('\n');
    const size_t quote = header.find(kQuote);
    if (quote == std::string_view::npos || plain < quote) {
        return plain == std::string_view::npos ? header.size() : plain + 1;
    }
    size_t end = header.find(kLineEnd, quote + kQuote.size());
    // Values are pairs of bytes, so the terminator begins at an even place.
    while (end != std::string_view::npos && (end - quote - kQuote.size()) % 2 != 0) {
        end = header.find(kLineEnd, end + 1);
    }
    return end == std::string_view::npos ? header.size() : end + kLineEnd.size();
}

std::wstring HexOf(std::string_view bytes) {
    constexpr wchar_t kDigits[] = L"0123456789ABCDEF";
    std::wstring text;
    for (const char c : bytes) {
        const auto byte = static_cast<uint8_t>(c);
        text += kDigits[byte >> 4];
        text += kDigits[byte & 0x0F];
        text += L' ';
    }
    return text;
}

std::wstring TextOf(std::string_view line) {
    const size_t quote = line.find(kQuote);
    if (quote == std::string_view::npos) {
        return std::wstring(line.begin(), line.end() - 1);
    }
    std::wstring text(line.begin(), line.begin() + static_cast<std::ptrdiff_t>(quote));
    text += L" = \"";
    for (size_t i = quote + kQuote.size(); i + kLineEnd.size() < line.size(); i += 2) {
        text += static_cast<wchar_t>(static_cast<uint8_t>(line[i]) |
                                     static_cast<uint8_t>(line[i + 1]) << 8);
    }
    return text + L"\"";
}

}  // namespace

void JobHeaderSplitter::Take(std::span<const uint8_t> bytes, const Sink& document) {
    if (state_ == State::kDocument) {
        document(bytes);
        return;
    }
    held_.append(bytes.begin(), bytes.end());
    if (state_ == State::kBeginning) {
        const size_t compared = std::min(held_.size(), kFirstLine.size());
        if (held_.compare(0, compared, kFirstLine.substr(0, compared)) != 0) {
            Finish(document);
            return;
        }
        if (compared < kFirstLine.size()) {
            return;
        }
        state_ = State::kHeader;
    }
    const size_t last = held_.find(kLastLine);
    if (last != std::string::npos) {
        header_ = held_.substr(0, last + kLastLine.size());
        held_.erase(0, header_.size());
        Finish(document);
    }
}

void JobHeaderSplitter::Finish(const Sink& document) {
    state_ = State::kDocument;
    if (!held_.empty()) {
        document(AsBytes(held_));
        held_.clear();
    }
}

std::vector<JobHeaderLine> DecodeJobHeader(const std::string& header) {
    std::vector<JobHeaderLine> lines;
    for (std::string_view rest = header; !rest.empty();) {
        const std::string_view line = rest.substr(0, LengthOfLine(rest));
        lines.push_back({TextOf(line), HexOf(line)});
        rest.remove_prefix(line.size());
    }
    return lines;
}

}  // namespace ksp::print
