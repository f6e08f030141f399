#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ksp::standins {

// The stand-in's form of a MIME reply: NUL-terminated text with a header document and one part,
// both in hexadecimal digits, so that a header which nobody decoded is no XML. Its lines:
//
//     MIME-Version: 1.0
//     <the header>
//     <name of the part> <count> <bytes of the part, or - for none at all>

// A value as the MIME item tells it. No bytes at all is not the same as 0 bytes.
struct MimeValue {
    std::optional<std::vector<uint8_t>> bytes;
    int count = 0;
};

struct MimeParts {
    std::string header;  // encoded
    std::string data;
};

std::string MakeMimeReply(std::string_view header, std::string_view part_name,
                          const MimeValue& value);

// None when the reply is not of this form.
std::optional<MimeParts> SplitMimeReply(std::string_view reply);

// Decodes a header in place and terminates it. False when it is not encoded; it is left alone then.
bool DecodeMimeText(char* text);

// The value of the part of that name, if the data has it.
std::optional<MimeValue> FindMimeValue(std::string_view data, std::string_view name);

}  // namespace ksp::standins
