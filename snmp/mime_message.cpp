#include "snmp/mime_message.h"

#include <algorithm>

#include "snmp/base64.h"
#include "snmp/xml_text.h"

namespace ksp::snmp {

namespace {

constexpr std::string_view kBoundary = "=_ksp_part";  // no line of base64 begins so
constexpr std::string_view kItemName = "value";
constexpr std::string_view kMultipart = "multipart/";
constexpr std::string_view kDashes = "--";

char Lower(char character) {
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a')
                                                : character;
}

bool BeginsWithFolded(std::string_view text, std::string_view beginning) {
    return text.size() >= beginning.size() &&
           std::equal(beginning.begin(), beginning.end(), text.begin(),
                      [](char left, char right) { return Lower(left) == Lower(right); });
}

std::string_view Trim(std::string_view text) {
    while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) {
        text.remove_prefix(1);
    }
    while (!text.empty() && (text.back() == ' ' || text.back() == '\t' || text.back() == '\r')) {
        text.remove_suffix(1);
    }
    return text;
}

// Cuts off and returns the first line, without its end.
std::string_view TakeLine(std::string_view& text) {
    const std::size_t end = text.find('\n');
    std::string_view line = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    if (line.ends_with('\r')) {
        line.remove_suffix(1);
    }
    return line;
}

struct Entity {
    std::string_view type;
    std::string_view encoding;
    std::string_view body;
};

// The fields up to the empty line, and what is behind it; none without an empty line.
std::optional<Entity> ReadEntity(std::string_view text) {
    constexpr std::string_view kType = "Content-Type:";
    constexpr std::string_view kEncoding = "Content-Transfer-Encoding:";
    Entity entity;
    while (!text.empty()) {
        const std::string_view line = TakeLine(text);
        if (line.empty()) {
            entity.body = text;
            return entity;
        }
        if (BeginsWithFolded(line, kType)) {
            entity.type = Trim(line.substr(kType.size()));
        } else if (BeginsWithFolded(line, kEncoding)) {
            entity.encoding = Trim(line.substr(kEncoding.size()));
        }
    }
    return std::nullopt;
}

// A parameter of a type: boundary="..."; empty when it is not there.
std::string_view Parameter(std::string_view type, std::string_view name) {
    for (std::size_t at = type.find(';'); at != std::string_view::npos; at = type.find(';')) {
        type = Trim(type.substr(at + 1));
        if (BeginsWithFolded(type, name) && type.substr(name.size()).starts_with('=')) {
            type.remove_prefix(name.size() + 1);
            if (type.starts_with('"')) {
                return type.substr(1, type.find('"', 1) - 1);
            }
            return Trim(type.substr(0, type.find(';')));
        }
    }
    return {};
}

// Where a line begins that is the delimiter, from a place on; npos when there is none.
std::size_t FindDelimiter(std::string_view text, std::string_view delimiter, std::size_t from) {
    for (std::size_t at = text.find(delimiter, from); at != std::string_view::npos;
         at = text.find(delimiter, at + 1)) {
        if (at == 0 || text[at - 1] == '\n') {
            return at;
        }
    }
    return std::string_view::npos;
}

// A part ends before the line end that belongs to the delimiter behind it.
std::string_view WithoutLineEnd(std::string_view text) {
    if (text.ends_with('\n')) {
        text.remove_suffix(1);
    }
    if (text.ends_with('\r')) {
        text.remove_suffix(1);
    }
    return text;
}

std::string Part(std::string_view type, std::string_view body) {
    std::string part(kDashes);
    part.append(kBoundary).append("\r\nContent-Type: ").append(type);
    part.append("\r\nContent-Transfer-Encoding: base64\r\n\r\n");
    return part.append(EncodeBase64(body)).append("\r\n");
}

}  // namespace

std::string MakeMimeReply(std::string_view bytes) {
    const std::string header = std::string(kXmlDeclaration) + "<GetData><DataInfo><Data>" +
                               XmlElement("Group", kItemName) + "</Data></DataInfo></GetData>";
    std::string message = "MIME-Version: 1.0\r\nContent-Type: multipart/mixed; boundary=\"";
    message.append(kBoundary).append("\"\r\n\r\n");
    message.append(Part("text/xml; charset=utf-8", header));
    message.append(
        Part("application/octet-stream; name=\"" + std::string(kItemName) + "\"", bytes));
    return message.append(kDashes).append(kBoundary).append(kDashes).append("\r\n");
}

std::optional<CMimeParts> SplitMimeMessage(std::string_view message) {
    const auto entity = ReadEntity(message);
    if (!entity || !BeginsWithFolded(entity->type, kMultipart)) {
        return std::nullopt;
    }
    const std::string_view boundary = Parameter(entity->type, "boundary");
    if (boundary.empty()) {
        return std::nullopt;
    }
    const std::string delimiter = std::string(kDashes).append(boundary);
    const std::string_view body = entity->body;
    const std::size_t first = FindDelimiter(body, delimiter, 0);
    if (first == std::string_view::npos) {
        return std::nullopt;
    }
    std::string_view behind = body.substr(first);
    TakeLine(behind);
    const std::size_t begin = body.size() - behind.size();
    const std::size_t second = FindDelimiter(body, delimiter, begin);
    if (second == std::string_view::npos) {
        return std::nullopt;
    }
    return CMimeParts{std::string(WithoutLineEnd(body.substr(begin, second - begin))),
                      std::string(body.substr(second))};
}

std::optional<std::string> DecodeMimePart(std::string_view part) {
    const auto entity = ReadEntity(part);
    if (!entity) {
        return std::nullopt;
    }
    const auto is = [&entity](std::string_view encoding) {
        return entity->encoding.size() == encoding.size() &&
               BeginsWithFolded(entity->encoding, encoding);
    };
    if (is("base64")) {
        return DecodeBase64(entity->body);
    }
    if (is("") || is("7bit") || is("8bit") || is("binary")) {
        return std::string(entity->body);
    }
    return std::nullopt;
}

std::optional<std::string> FindMimeItem(std::string_view data, std::string_view name) {
    // The data begin with a delimiter, which tells the boundary.
    std::string_view rest = data;
    const std::string delimiter(TakeLine(rest));
    if (!delimiter.starts_with(kDashes) || delimiter.size() == kDashes.size()) {
        return std::nullopt;
    }
    for (std::size_t begin = data.size() - rest.size(); begin < data.size();) {
        const std::size_t end = FindDelimiter(data, delimiter, begin);
        if (end == std::string_view::npos) {
            return std::nullopt;
        }
        const std::string_view part = WithoutLineEnd(data.substr(begin, end - begin));
        const auto entity = ReadEntity(part);
        if (entity && Parameter(entity->type, "name") == name) {
            return DecodeMimePart(part);
        }
        rest = data.substr(end);
        TakeLine(rest);
        begin = data.size() - rest.size();
    }
    return std::nullopt;
}

}  // namespace ksp::snmp
