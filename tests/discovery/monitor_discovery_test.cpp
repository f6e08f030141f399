#include "tests/discovery/monitor_discovery_test.h"

#include <objbase.h>

namespace ksp::test {

namespace {

// DOMDocument of MSXML 3.0 and IXMLDOMDocument.
constexpr CLSID kDomDocument = {
    0xF6D90F11, 0x9C73, 0x11D3, {0xB3, 0x2E, 0x00, 0xC0, 0x4F, 0x99, 0x0B, 0xB4}};
constexpr IID kXmlDomDocument = {
    0x2933BF81, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};

// What COM and the parser open at first use and keep is no leak of a test's.
void UseParserOnce() {
    if (FAILED(::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))) {
        return;
    }
    void* document = nullptr;
    if (SUCCEEDED(
            ::CoCreateInstance(kDomDocument, nullptr, CLSCTX_ALL, kXmlDomDocument, &document))) {
        static_cast<IUnknown*>(document)->Release();
    }
    ::CoUninitialize();
}

}  // namespace

void MonitorDiscoveryTest::SetUpTestSuite() {
    MonitorTest::SetUpTestSuite();
    UseParserOnce();
}

void MonitorDiscoveryTest::SetUp() {
    ASSERT_TRUE(discovery_.Connect());
    discovery_.Reset();
    MonitorTest::SetUp();
    SetSetting(L"ExeDirectory", DiscoveryControl::FullDirectory());
    SetSetting(L"WaitPrinterValueTimeout", 1);
}

void MonitorDiscoveryTest::TearDown() {
    MonitorTest::TearDown();
    EXPECT_EQ(discovery_.Leftovers(), "");
    discovery_.Reset();
}

void MonitorDiscoveryTest::UseBuild(const std::wstring& directory) {
    ASSERT_TRUE(discovery_.Connect(directory));
    discovery_.Reset();
    SetSetting(L"ExeDirectory", directory);
}

std::vector<std::wstring> MonitorDiscoveryTest::Messages(LineLevel level,
                                                         const std::wstring& beginning) const {
    std::vector<std::wstring> messages = ReadLog().Messages(level);
    std::erase_if(messages,
                  [&](const std::wstring& message) { return !message.starts_with(beginning); });
    return messages;
}

std::vector<std::wstring> MonitorDiscoveryTest::PortWrites() {
    const std::wstring ports = L"root\\Ports\\";
    std::vector<std::wstring> writes;
    for (const RegistryCall& call : registry().Calls()) {
        if (call.operation == RegistryOperation::kSetValue && call.key.starts_with(ports)) {
            writes.push_back(call.key.substr(ports.size()) + L"\\" + call.name);
        }
    }
    return writes;
}

std::vector<DWORD> MonitorDiscoveryTest::StatusWords() {
    std::vector<DWORD> words;
    for (const WinspoolCall& call : spooler().Calls(WinspoolSetPrinter)) {
        if (call.command == PRINTER_CONTROL_SET_STATUS) {
            words.push_back(call.status);
        }
    }
    return words;
}

}  // namespace ksp::test
