#include "discovery/xml_document.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "support/log.h"
#include "support/text.h"

namespace ksp {

namespace {

// The class of the system's DOM document and the interfaces asked for. Spelled out so that no
// import library is needed.
constexpr CLSID kDomDocument = {
    0xF6D90F11, 0x9C73, 0x11D3, {0xB3, 0x2E, 0x00, 0xC0, 0x4F, 0x99, 0x0B, 0xB4}};
constexpr IID kXmlDomDocument = {
    0x2933BF81, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};
constexpr IID kXmlDomElement = {
    0x2933BF86, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};

bool IsEqual(BSTR left, BSTR right) {
    return ::VarBstrCmp(left, right, LOCALE_USER_DEFAULT, 0) == static_cast<HRESULT>(VARCMP_EQ);
}

bool HasDocumentType(BSTR text) {
    return std::wstring_view(text, ::SysStringLen(text)).find(L"<!DOCTYPE") !=
           std::wstring_view::npos;
}

bool HasLongValue(std::wstring_view declaration) {
    constexpr std::size_t kLongestValue = 16;
    for (auto quote = declaration.find_first_of(L"\"'"); quote != std::wstring_view::npos;
         quote = declaration.find_first_of(L"\"'")) {
        const wchar_t mark = declaration[quote];
        declaration.remove_prefix(quote + 1);
        const std::size_t length = std::min(declaration.find(mark), declaration.size());
        if (length > kLongestValue) {
            return true;
        }
        declaration.remove_prefix(std::min(length + 1, declaration.size()));
    }
    return false;
}

// Whether an XML declaration holds a value longer than a version number or the name of an encoding
// is. The parser itself need not be made for one: Wine's ends the process at a version number
// of 62.
bool HasLongDeclaration(BSTR text) {
    constexpr std::wstring_view kStart = L"<?xml";
    std::wstring_view rest(text, ::SysStringLen(text));
    for (auto at = rest.find(kStart); at != std::wstring_view::npos; at = rest.find(kStart)) {
        rest.remove_prefix(at + kStart.size());
        if (rest.empty() || rest.front() > L' ') {
            continue;  // another instruction, whose name only begins like that
        }
        const std::size_t end = rest.find(L"?>");
        // One without an end is of no document.
        if (end == std::wstring_view::npos || HasLongValue(rest.substr(0, end))) {
            return true;
        }
        rest.remove_prefix(end);
    }
    return false;
}

bool HasName(IXMLDOMElement* element, BSTR name) {
    UniqueBstr present;
    return element->get_nodeName(present.Receive()) == S_OK && IsEqual(present.Get(), name);
}

bool HasAttribute(IXMLDOMElement* element, BSTR name, BSTR value) {
    UniqueCom<IXMLDOMNamedNodeMap> attributes;
    UniqueCom<IXMLDOMNode> attribute;
    UniqueBstr present;
    return element->get_attributes(attributes.Receive()) == S_OK && attributes &&
           attributes.Get()->getNamedItem(name, attribute.Receive()) == S_OK && attribute &&
           attribute.Get()->get_text(present.Receive()) == S_OK && IsEqual(present.Get(), value);
}

// The children of a node, walked in order.
class CChildren {
  public:
    explicit CChildren(IXMLDOMNode* parent) {
        static_cast<void>(parent->get_childNodes(m_list.Receive()));
    }

    // The next child that is an element; none at the end.
    [[nodiscard]] UniqueCom<IXMLDOMElement> NextElement() {
        UniqueCom<IXMLDOMElement> element;
        UniqueCom<IXMLDOMNode> node;
        // From one to the next: an index may be looked up from the front each time, and a document
        // from the network has as many children as its sender likes.
        while (!element && m_list && m_list.Get()->nextNode(node.Receive()) == S_OK && node) {
            // A node that is no element leaves the slot empty.
            void* found = nullptr;
            if (node.Get()->QueryInterface(kXmlDomElement, &found) == S_OK) {
                element.Reset(static_cast<IXMLDOMElement*>(found));
            }
        }
        return element;
    }

  private:
    UniqueCom<IXMLDOMNodeList> m_list;
};

}  // namespace

HRESULT CXmlDocument::Load(UniqueBstr text) {
    Release();
    m_apartment.emplace();
    if (const HRESULT created = Create(); FAILED(created)) {
        return created;
    }
    IXMLDOMDocument* const document = m_document.Get();
    document->put_async(VARIANT_FALSE);
    // Nothing that a printer says may make the print server fetch something.
    document->put_resolveExternals(VARIANT_FALSE);
    document->put_validateOnParse(VARIANT_FALSE);
    if (::SysStringLen(text.Get()) > kLongest || HasDocumentType(text.Get())) {
        Log(LogLevel::kTrace, L"error loadXML : %d", S_FALSE);
        Log(LogLevel::kTrace, L"The document is too long or has a document type definition.");
        return S_FALSE;
    }
    if (HasLongDeclaration(text.Get())) {
        Log(LogLevel::kTrace, L"error loadXML : %d", S_FALSE);
        Log(LogLevel::kTrace, L"The document's declaration has no end or holds too long a value.");
        return S_FALSE;
    }
    VARIANT_BOOL parsed = VARIANT_FALSE;
    const HRESULT result = document->loadXML(text.Get(), &parsed);
    if (result != S_OK) {
        LogParseError(result);
    }
    return result;
}

HRESULT CXmlDocument::Create() {
    void* created = nullptr;
    const HRESULT result =
        ::CoCreateInstance(kDomDocument, nullptr, CLSCTX_ALL, kXmlDomDocument, &created);
    if (FAILED(result)) {
        Log(LogLevel::kTrace, L"error XMLParseCreateDocument : %d", result);
        return result;
    }
    m_document.Reset(static_cast<IXMLDOMDocument*>(created));
    return S_OK;
}

void CXmlDocument::LogParseError(HRESULT result) {
    Log(LogLevel::kTrace, L"error loadXML : %d", result);
    UniqueCom<IXMLDOMParseError> error;
    UniqueBstr reason;
    if (m_document.Get()->get_parseError(error.Receive()) == S_OK && error &&
        error.Get()->get_reason(reason.Receive()) == S_OK && reason) {
        Logger().LogMessage(LogLevel::kTrace, L"", __LINE__, reason.Get());
    }
}

HRESULT CXmlDocument::FindElementText(UniqueBstr name, UniqueBstr& text) {
    return FindFirst([&name](IXMLDOMElement* element) { return HasName(element, name.Get()); },
                     text);
}

HRESULT CXmlDocument::FindElementByAttribute(UniqueBstr name, UniqueBstr attribute,
                                             UniqueBstr value, UniqueBstr& text) {
    return FindFirst(
        [&](IXMLDOMElement* element) {
            return HasName(element, name.Get()) &&
                   HasAttribute(element, attribute.Get(), value.Get());
        },
        text);
}

HRESULT CXmlDocument::FindFirst(const Matcher& matches, UniqueBstr& text) {
    text.Reset();
    UniqueCom<IXMLDOMElement> top;
    if (!m_document || m_document.Get()->get_documentElement(top.Receive()) != S_OK || !top) {
        return E_FAIL;
    }
    // Depth-first without recursion: the depth of a document from the network must not decide over
    // the stack of a spooler thread.
    std::vector<CChildren> path;
    path.emplace_back(top.Get());
    while (!path.empty()) {
        const UniqueCom<IXMLDOMElement> element = path.back().NextElement();
        if (!element) {
            path.pop_back();
        } else if (matches(element.Get())) {
            return element.Get()->get_text(text.Receive());
        } else if (path.size() < kDeepest) {
            path.emplace_back(element.Get());
        }
    }
    return E_FAIL;
}

void CXmlDocument::Release() noexcept {
    m_document.Reset();
    m_apartment.reset();
}

std::wstring DocumentText(const char* document) {
    if (document == nullptr) {
        return std::wstring();
    }
    return FromAnsi(std::string_view(document, ::strnlen(document, CXmlDocument::kLongest + 1)));
}

std::wstring ElementText(CXmlDocument& document, std::wstring_view name) {
    UniqueBstr text;
    if (document.FindElementText(MakeBstr(name), text) != S_OK || !text) {
        return std::wstring();
    }
    return std::wstring(text.Get(), ::SysStringLen(text.Get()));
}

}  // namespace ksp
