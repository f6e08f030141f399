#pragma once

#include <windows.h>
#include <msxml.h>

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "discovery/com_apartment.h"
#include "support/bstr.h"
#include "support/com_ptr.h"

namespace ksp {

// Reads one of the XML documents that printers send, with the system's parser (MSXML 3.0). Belongs
// to one thread, on which it initialises COM for as long as a document is held.
//
// The documents come from the network: one that is longer than kLongest or carries a document type
// definition (and with it entities, to be fetched or expanded) or a declaration with a value of
// more than 16 characters is refused like one that is not well-formed, and elements nested deeper
// than kDeepest are not looked into.
//
// Operations return a COM result code, S_OK for success; running out of memory is thrown.
class CXmlDocument {
  public:
    static constexpr std::size_t kLongest = 1024 * 1024;  // characters
    static constexpr std::size_t kDeepest = 256;

    CXmlDocument() = default;
    ~CXmlDocument() { Release(); }
    CXmlDocument(const CXmlDocument&) = delete;
    CXmlDocument& operator=(const CXmlDocument&) = delete;

    // Parses the text; an earlier document is released first. S_FALSE for a text that does not
    // parse.
    HRESULT Load(UniqueBstr text);
    // The text (that of all descendants) of the first element of this name below the document
    // element, in document order. Names are compared exactly. Not found: a failure, and an empty
    // text.
    HRESULT FindElementText(UniqueBstr name, UniqueBstr& text);
    // The same for an element that also has an attribute with this value.
    HRESULT FindElementByAttribute(UniqueBstr name, UniqueBstr attribute, UniqueBstr value,
                                   UniqueBstr& text);
    void Release() noexcept;

  private:
    using Matcher = std::function<bool(IXMLDOMElement*)>;

    HRESULT Create();
    // Logs why the text did not parse.
    void LogParseError(HRESULT result);
    HRESULT FindFirst(const Matcher& matches, UniqueBstr& text);

    std::optional<CComApartment> m_apartment;  // before the document: released after it
    UniqueCom<IXMLDOMDocument> m_document;
};

// What the discovery library hands over as text, converted with the ANSI code page. Null gives an
// empty text; a text over the reader's limit is cut just behind it, so that the reader refuses it
// without the rest having been converted.
[[nodiscard]] std::wstring DocumentText(const char* document);

// The shorter form for readers: the text of the element, empty when there is none.
[[nodiscard]] std::wstring ElementText(CXmlDocument& document, std::wstring_view name);

}  // namespace ksp
