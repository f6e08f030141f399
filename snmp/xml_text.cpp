#include "snmp/xml_text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>

namespace ksp::snmp {

namespace {

constexpr std::string_view kBlank = " \t\r\n";
constexpr std::string_view kNotInNames = " \t\r\n=<>/\"'&";

struct Entity {
    char character;
    std::string_view text;
};

constexpr std::array<Entity, 5> kEntities = {
    {{'&', "&amp;"}, {'<', "&lt;"}, {'>', "&gt;"}, {'"', "&quot;"}, {'\'', "&apos;"}}};

std::string_view Trim(std::string_view text) {
    const std::size_t first = text.find_first_not_of(kBlank);
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(kBlank) - first + 1);
}

// How many bytes the character at the front of the text has; 0 when it is none (RFC 3629).
std::size_t CharacterLength(std::string_view text) {
    const auto byte = [&text](std::size_t index) {
        return index < text.size() ? static_cast<std::uint8_t>(text[index]) : std::uint8_t{0};
    };
    const auto follows = [&byte](std::size_t index) { return (byte(index) & 0xC0) == 0x80; };
    const std::uint8_t first = byte(0);
    if (first < 0x80) {
        return first >= 0x20 && first != 0x7F ? 1 : 0;
    }
    if (first >= 0xC2 && first <= 0xDF) {
        return follows(1) ? 2 : 0;
    }
    if (first >= 0xE0 && first <= 0xEF) {
        const bool overlong = first == 0xE0 && byte(1) < 0xA0;
        const bool surrogate = first == 0xED && byte(1) >= 0xA0;
        const bool notACharacter = first == 0xEF && byte(1) == 0xBF && byte(2) >= 0xBE;
        return follows(1) && follows(2) && !overlong && !surrogate && !notACharacter ? 3 : 0;
    }
    if (first >= 0xF0 && first <= 0xF4) {
        const bool overlong = first == 0xF0 && byte(1) < 0x90;
        const bool beyond = first == 0xF4 && byte(1) >= 0x90;
        return follows(1) && follows(2) && follows(3) && !overlong && !beyond ? 4 : 0;
    }
    return 0;
}

// A UTF-8 character of several bytes as a reference to its number.
std::string CharacterReference(std::string_view character) {
    // The first byte holds that many bits less, the more bytes follow.
    std::uint32_t number = static_cast<std::uint8_t>(character[0]) & (0x7FU >> character.size());
    for (const char byte : character.substr(1)) {
        number = number << 6 | (static_cast<std::uint8_t>(byte) & 0x3FU);
    }
    std::array<char, 8> digits{};
    const auto written = std::to_chars(digits.data(), digits.data() + digits.size(), number, 16);
    return "&#x" + std::string(digits.data(), written.ptr) + ";";
}

// Empty beyond the last character.
std::string Utf8Of(std::uint32_t number) {
    const auto following = [number](unsigned shift) {
        return static_cast<char>(0x80U | ((number >> shift) & 0x3FU));
    };
    if (number < 0x80) {
        return {static_cast<char>(number)};
    }
    if (number < 0x800) {
        return {static_cast<char>(0xC0U | number >> 6), following(0)};
    }
    if (number < 0x10000) {
        return {static_cast<char>(0xE0U | number >> 12), following(6), following(0)};
    }
    if (number < 0x110000) {
        return {static_cast<char>(0xF0U | number >> 18), following(12), following(6), following(0)};
    }
    return {};
}

// Takes a reference to a character off the front. None when it is malformed, or when no document
// may hold that character.
std::optional<std::string> TakeReference(std::string_view& text) {
    for (const Entity& entity : kEntities) {
        if (text.starts_with(entity.text)) {
            text.remove_prefix(entity.text.size());
            return std::string(1, entity.character);
        }
    }
    const std::size_t end = text.find(';');
    if (!text.starts_with("&#") || end == std::string_view::npos) {
        return std::nullopt;
    }
    const bool hexadecimal = text[2] == 'x';
    const std::string_view digits = text.substr(2, end - 2).substr(hexadecimal ? 1 : 0);
    std::uint32_t number = 0;
    const auto [last, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number,
                                               hexadecimal ? 16 : 10);
    std::string character = Utf8Of(number);
    if (error != std::errc() || last != digits.data() + digits.size() || character.empty() ||
        CharacterLength(character) != character.size()) {
        return std::nullopt;
    }
    text.remove_prefix(end + 1);
    return character;
}

// None when a reference is malformed.
std::optional<std::string> Unescape(std::string_view text) {
    std::string plain;
    while (!text.empty()) {
        const std::size_t run = std::min(text.find('&'), text.size());
        plain += text.substr(0, run);
        text.remove_prefix(run);
        if (!text.empty()) {
            const auto character = TakeReference(text);
            if (!character) {
                return std::nullopt;
            }
            plain += *character;
        }
    }
    return plain;
}

}  // namespace

std::string EscapeXml(std::string_view text) {
    std::string escaped;
    while (!text.empty()) {
        const std::size_t length = CharacterLength(text);
        if (length == 0) {
            escaped += '?';
            text.remove_prefix(1);
            continue;
        }
        std::string written(text.substr(0, length));
        if (length > 1) {
            written = CharacterReference(written);
        }
        for (const Entity& entity : kEntities) {
            if (text[0] == entity.character) {
                written = entity.text;
            }
        }
        escaped += written;
        text.remove_prefix(length);
    }
    return escaped;
}

std::string XmlElement(std::string_view name, std::string_view text) {
    std::string element = "<";
    element.append(name).append(">").append(EscapeXml(text));
    return element.append("</").append(name).append(">");
}

std::string CXmlTag::Attribute(std::string_view wanted) const {
    const auto found = attributes.find(wanted);
    return found != attributes.end() ? found->second : std::string();
}

CXmlTags::CXmlTags(std::string_view document)
    : m_rest(document.substr(0, document.size() > kLongest ? 0 : document.size())),
      m_malformed(document.size() > kLongest) {}

std::nullopt_t CXmlTags::Refuse() noexcept {
    m_malformed = true;
    m_rest = {};
    return std::nullopt;
}

// Passes over a declaration or a comment at the front. False when there is none, or no end of it.
bool CXmlTags::SkipAside() {
    constexpr std::array<std::array<std::string_view, 2>, 2> kAsides = {
        {{"<?", "?>"}, {"<!--", "-->"}}};
    for (const auto& [begin, end] : kAsides) {
        if (m_rest.starts_with(begin)) {
            const std::size_t found = m_rest.find(end, begin.size());
            if (found == std::string_view::npos) {
                return false;
            }
            m_rest.remove_prefix(found + end.size());
            return true;
        }
    }
    return false;
}

bool CXmlTags::ReadAttributes(std::string_view inside, CXmlTag& tag) {
    inside = Trim(inside);
    while (!inside.empty()) {
        const std::size_t nameEnd = std::min(inside.find_first_of(kNotInNames), inside.size());
        const std::string name(inside.substr(0, nameEnd));
        inside = Trim(inside.substr(nameEnd));
        if (name.empty() || !inside.starts_with('=')) {
            return false;
        }
        inside = Trim(inside.substr(1));
        if (inside.empty() || (inside[0] != '"' && inside[0] != '\'')) {
            return false;
        }
        const std::size_t valueEnd = inside.find(inside[0], 1);
        if (valueEnd == std::string_view::npos) {
            return false;
        }
        auto value = Unescape(inside.substr(1, valueEnd - 1));
        if (!value || !tag.attributes.emplace(name, std::move(*value)).second) {
            return false;
        }
        inside = Trim(inside.substr(valueEnd + 1));
    }
    return true;
}

std::optional<CXmlTag> CXmlTags::Next() {
    m_rest.remove_prefix(std::min(m_rest.find('<'), m_rest.size()));
    while (m_rest.starts_with("<?") || m_rest.starts_with("<!")) {
        if (!SkipAside()) {
            return Refuse();
        }
        m_rest.remove_prefix(std::min(m_rest.find('<'), m_rest.size()));
    }
    if (m_rest.empty()) {
        return std::nullopt;
    }
    // A '>' inside a value does not end the tag.
    std::size_t end = 1;
    for (char quote = '\0'; end < m_rest.size() && (quote != '\0' || m_rest[end] != '>'); ++end) {
        if (m_rest[end] == '<') {
            return Refuse();
        }
        if (quote == '\0' && (m_rest[end] == '"' || m_rest[end] == '\'')) {
            quote = m_rest[end];
        } else if (quote == m_rest[end]) {
            quote = '\0';
        }
    }
    if (end == m_rest.size()) {
        return Refuse();
    }
    std::string_view inside = m_rest.substr(1, end - 1);
    m_rest.remove_prefix(end + 1);
    CXmlTag tag;
    if (inside.starts_with('/')) {
        tag.kind = CXmlTag::Kind::kEnd;
        inside.remove_prefix(1);
    } else if (inside.ends_with('/')) {
        tag.kind = CXmlTag::Kind::kEmpty;
        inside.remove_suffix(1);
    }
    const std::size_t nameEnd = std::min(inside.find_first_of(kNotInNames), inside.size());
    tag.name = inside.substr(0, nameEnd);
    if (tag.name.empty() || !ReadAttributes(inside.substr(nameEnd), tag)) {
        return Refuse();
    }
    auto text = Unescape(Trim(m_rest.substr(0, std::min(m_rest.find('<'), m_rest.size()))));
    if (!text) {
        return Refuse();
    }
    tag.text = std::move(*text);
    return tag;
}

}  // namespace ksp::snmp
