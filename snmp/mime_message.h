#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace ksp::snmp {

// The form in which values are handed out: a multipart message (RFC 2046, section 5.1) in text. Its
// first part is the header, an XML document that names the part with the value; the parts behind it
// are the data:
//
//     MIME-Version: 1.0
//     Content-Type: multipart/mixed; boundary="..."
//
//     --...
//     Content-Type: text/xml; charset=utf-8
//     Content-Transfer-Encoding: base64
//
//     (<GetData><DataInfo><Data><Group>NAME</Group></Data></DataInfo></GetData>)
//     --...
//     Content-Type: application/octet-stream; name="NAME"
//     Content-Transfer-Encoding: base64
//
//     (the bytes)
//     --...--
//
// Lines end in CR LF; a reader takes a bare LF too.

[[nodiscard]] std::string MakeMimeReply(std::string_view bytes);

struct CMimeParts {
    std::string header;  // the first part: its fields, an empty line, its body as it was
    std::string data;    // from the second boundary on
};

// None unless the text is a multipart message whose first part ends.
[[nodiscard]] std::optional<CMimeParts> SplitMimeMessage(std::string_view message);
// The body of a part, decoded as its field Content-Transfer-Encoding says: base64, or as it is
// (none, 7bit, 8bit, binary). None when there is no body or another encoding.
[[nodiscard]] std::optional<std::string> DecodeMimePart(std::string_view part);
// The decoded body of the first part of the data whose type has the name.
[[nodiscard]] std::optional<std::string> FindMimeItem(std::string_view data, std::string_view name);

}  // namespace ksp::snmp
