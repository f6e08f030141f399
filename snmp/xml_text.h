#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace ksp::snmp {

// Writing and reading the documents that are exchanged with the library's user. All text is UTF-8.

inline constexpr std::string_view kXmlDeclaration = "<?xml version=\"1.0\" encoding=\"utf-8\"?>";

// `text` as the content of an element, in ASCII, so that it is the same in whatever code page it is
// read: marks are escaped, other characters become references (&#xe4;), and what no document may
// hold (control characters, bytes that are not UTF-8) a question mark. Devices say what they like.
[[nodiscard]] std::string EscapeXml(std::string_view text);
// <name>text</name>
[[nodiscard]] std::string XmlElement(std::string_view name, std::string_view text);

// A tag of a document, with the text behind it up to the next tag.
struct CXmlTag {
    enum class Kind { kStart, kEnd, kEmpty };
    Kind kind = Kind::kStart;
    std::string name;
    std::map<std::string, std::string, std::less<>> attributes;
    std::string text;  // without the white space around it

    // The attribute's value; empty when there is none.
    [[nodiscard]] std::string Attribute(std::string_view name) const;
};

// Goes through the tags of a document, in order. For documents of settings, small and without
// surprises: no more than kLongest bytes, no document type, no entities but the five of XML itself
// and references to characters by their number. Declarations and comments are passed over. Whether
// every tag is closed is not looked at.
class CXmlTags {
  public:
    static constexpr std::size_t kLongest = 256 * 1024;

    // The document outlives this.
    explicit CXmlTags(std::string_view document);

    // The next tag; none at the end and from the first malformed one on.
    [[nodiscard]] std::optional<CXmlTag> Next();
    [[nodiscard]] bool IsMalformed() const noexcept { return m_malformed; }

  private:
    [[nodiscard]] std::nullopt_t Refuse() noexcept;
    [[nodiscard]] bool SkipAside();
    [[nodiscard]] bool ReadAttributes(std::string_view inside, CXmlTag& tag);

    std::string_view m_rest;
    bool m_malformed = false;
};

}  // namespace ksp::snmp
