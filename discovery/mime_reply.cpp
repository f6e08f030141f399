#include "discovery/mime_reply.h"

#include "discovery/library_owners.h"
#include "discovery/status_values.h"
#include "discovery/xml_document.h"
#include "support/text.h"

namespace ksp {

namespace {

std::wstring NameOfPart(const char* header) {
    CXmlDocument document;
    if (document.Load(MakeBstr(DocumentText(header))) != S_OK) {
        return std::wstring();
    }
    return ElementText(document, L"Group");
}

}  // namespace

std::optional<std::uint32_t> ReadMimeValue(const OryxFunctions& library, const char* reply,
                                           SnmpType type) {
    const CMimeUtil util(library);
    if (util.Get() == nullptr) {
        return std::nullopt;
    }
    CMimeBuffer<char> data(library, util);
    CMimeBuffer<char> header(library, util);
    int headerLength = 0;
    int dataLength = 0;
    if (library.KSMIMESplitData(util.Get(), reply, header.Receive(), &headerLength, data.Receive(),
                                &dataLength) != 0 ||
        header.Get() == nullptr || data.Get() == nullptr) {
        return std::nullopt;
    }
    if (library.KSMIMEDecode(util.Get(), header.Get()) != 0) {
        return std::nullopt;
    }
    const std::wstring name = NameOfPart(header.Get());
    if (name.empty()) {
        return std::nullopt;
    }
    CMimeBuffer<MIMEItem> item(library, util);
    if (library.KSMIMEGetData(util.Get(), data.Get(), ToAnsi(name).c_str(), item.Receive()) != 0 ||
        item.Get() == nullptr) {
        return std::nullopt;
    }
    const MIMEItem& value = *item.Get();
    return type == SnmpType::kOctetString ? OctetStringValue(value.bytes, value.count)
                                          : IntegerValue(value.bytes, value.count);
}

}  // namespace ksp
