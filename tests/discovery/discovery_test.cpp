#include "tests/discovery/discovery_test.h"

#include <algorithm>

#include "discovery/com_apartment.h"
#include "discovery/oryx_dll.h"
#include "discovery/xml_document.h"
#include "support/logger.h"
#include "support/text.h"
#include "tests/support/spooler_start.h"

namespace ksp::test {

namespace {

constexpr char kXml[] = "<?xml version=\"1.0\" encoding=\"utf-8\"?>";

// DOMDocument of MSXML 3.0 and IXMLDOMDocument.
constexpr CLSID kDomDocument = {
    0xF6D90F11, 0x9C73, 0x11D3, {0xB3, 0x2E, 0x00, 0xC0, 0x4F, 0x99, 0x0B, 0xB4}};
constexpr IID kXmlDomDocument = {
    0x2933BF81, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};

}  // namespace

DiscoveryTest::DiscoveryTest() : log_(Logger()) {
    RegistryStore().CreateLock();
    GiveRegistry(RegistryStore(), registry_);
}

void DiscoveryTest::SetUp() {
    memory_.SetText(HKEY_LOCAL_MACHINE, kSoftwareKey, L"ExeDirectory",
                    DiscoveryControl::FullDirectory());
    SetSetting(L"WaitPrinterValueTimeout", 1);
    ASSERT_EQ(RegistryStore().OpenPortsKey(), ERROR_SUCCESS);
    ASSERT_EQ(RegistryStore().OpenSoftwareKey(MonitorType::kOrdinary), ERROR_SUCCESS);
    registry_.ClearCalls();
    ASSERT_TRUE(log_.Start(1));
    ASSERT_TRUE(library_.Connect());
    library_.Reset();
    ASSERT_TRUE(COryxDLL::PrepareLibraryPath());
}

void DiscoveryTest::TearDown() {
    EXPECT_EQ(library_.Leftovers(), "");
    library_.Reset();
    RegistryStore().CloseStore();
    EXPECT_EQ(memory_.OpenKeyCount(), 0U);
}

void DiscoveryTest::SetSetting(const std::wstring& name, DWORD number) {
    memory_.SetDword(HKEY_LOCAL_MACHINE, kSoftwareKey, name, number);
}

void DiscoveryTest::RemoveSetting(const std::wstring& name) {
    memory_.RemoveValue(HKEY_LOCAL_MACHINE, kSoftwareKey, name);
}

void DiscoveryTest::SetSubnets(DWORD subnet_segment, const std::vector<std::wstring>& subnets) {
    SetSetting(L"SubnetSegment", subnet_segment);
    const std::wstring key = std::wstring(kSoftwareKey) + L"\\subnet";
    memory_.MakeKey(HKEY_LOCAL_MACHINE, key);
    for (size_t index = 0; index < subnets.size(); ++index) {
        memory_.SetText(HKEY_LOCAL_MACHINE, key, L"subnet" + std::to_wstring(index),
                        subnets[index]);
    }
}

std::vector<std::string> DiscoveryTest::NewLines() {
    std::vector<std::string> lines = log_.Lines();
    lines.erase(lines.begin(), lines.begin() + static_cast<std::ptrdiff_t>(seen_));
    seen_ += lines.size();
    return lines;
}

size_t DiscoveryTest::CountLines(const std::string& line) const {
    const std::vector<std::string> lines = log_.Lines();
    return static_cast<size_t>(std::count(lines.begin(), lines.end(), line));
}

std::vector<std::string> DiscoveryTest::CallNames() const {
    std::vector<std::string> names;
    for (const DiscoveryControl::Call& call : library_.Calls()) {
        names.emplace_back(ExportName(call.function));
    }
    return names;
}

std::string CapabilityDocument(const std::string& elements) {
    return kXml + ("<DeviceCapability>" + elements) + "</DeviceCapability>";
}

std::string MacReplyDocument(const std::string& elements) {
    return kXml + ("<GetData><DataInfo><Data><Group id=\"GetData\">" + elements) +
           "</Group></Data></DataInfo></GetData>";
}

std::string ParserReason(const std::wstring& text) {
    const CComApartment apartment;
    void* created = nullptr;
    if (FAILED(::CoCreateInstance(kDomDocument, nullptr, CLSCTX_ALL, kXmlDomDocument, &created))) {
        return "no parser";
    }
    UniqueCom<IXMLDOMDocument> document;
    document.Reset(static_cast<IXMLDOMDocument*>(created));
    const UniqueBstr source = MakeBstr(text);
    VARIANT_BOOL parsed = VARIANT_FALSE;
    document.Get()->loadXML(source.Get(), &parsed);
    UniqueCom<IXMLDOMParseError> error;
    UniqueBstr reason;
    if (document.Get()->get_parseError(error.Receive()) != S_OK ||
        error.Get()->get_reason(reason.Receive()) != S_OK) {
        return "no reason";
    }
    return ToAnsi(std::wstring(reason.Get(), ::SysStringLen(reason.Get())));
}

}  // namespace ksp::test
