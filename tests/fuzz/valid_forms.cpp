#include "tests/fuzz/valid_forms.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "ports/xcv_port_info.h"

namespace ksp::test {

namespace {

constexpr const wchar_t* kNames[] = {L"Port", L"10.1.2.3:Kestrel", L"a", L"Printer of the 2nd floor"};
constexpr const wchar_t* kAddresses[] = {L"127.0.0.1", L"127.1.2.3", L"printer", L"http://127.0.0.1/ipp"};
constexpr const wchar_t* kMasks[] = {L"255.255.255.0", L"255.0.0.0", L"NONE", L""};
constexpr const wchar_t* kMacs[] = {L"0026AB123456", L"0026ab123456", L"NONE", L"", L"FFFFFFFFFFFF"};
constexpr const wchar_t* kIdentities[] = {L"", L"user", L"%USER%"};
constexpr const char* kModels[] = {"Kestrel 1", "Test Printer", ""};
constexpr char kXml[] = R"(<?xml version="1.0" encoding="utf-8"?>)";

std::wstring Number(Random& random, std::size_t below) {
    return std::to_wstring(random.Below(below));
}

std::string Narrow(const std::wstring& text) {
    std::string narrow;
    for (const wchar_t c : text) {
        narrow += static_cast<char>(c);
    }
    return narrow;
}

void FillSlot(XcvPortInfo::Text& slot, const std::wstring& text) {
    std::transform(text.begin(), text.end(), std::begin(slot),
                   [](wchar_t c) { return static_cast<char16_t>(c); });
}

}  // namespace

std::wstring MacForm(Random& random) {
    return random.Of(kMacs);
}

std::wstring AddPortForm(Random& random) {
    std::wstring form = random.Of(kNames);
    form += L"," + Number(random, 3) + L"," + random.Of(kAddresses) + L"," + random.Of(kNames);
    form += std::wstring(L",") + random.Of(kAddresses) + L"," + random.Of(kMasks) + L"," + MacForm(random);
    form += L"," + Number(random, 5) + L"," + Number(random, 2) + L"," + Number(random, 65536) + L"," +
            Number(random, 65536) + L"," + random.Of(kIdentities);
    return random.OneIn(4) ? form + L",more" : form;
}

std::string SilentAddForm(Random& random) {
    constexpr const char* kProtocols[] = {"RAW", "LPR", "XLPR"};
    std::string form = "AR=" + Narrow(random.Of(kAddresses)) + ":PR=" + random.Of(kProtocols);
    if (random.OneIn(2)) {
        form += std::string(":MN=") + random.Of(kModels);
    }
    if (random.OneIn(2)) {
        form += ":PN=" + Narrow(random.Of(kNames));
    }
    if (random.OneIn(4)) {
        form += ":DP=dhcp\\:name:SN=255.255.255.0:MA=0026AB123456";
    }
    return form + ":XX=127.0.0.1:";
}

std::string PortRecordForm(Random& random) {
    XcvPortInfo record{};
    FillSlot(record.PortName, random.Of(kNames));
    FillSlot(record.PrinterAddress, random.Of(kAddresses));
    FillSlot(record.QueueName, L"queue");
    record.ProtocolID = static_cast<std::uint32_t>(random.Below(4));
    record.PortNumber = static_cast<std::uint32_t>(random.Below(65536));
    record.PrinterAddressType = static_cast<std::uint32_t>(random.Below(6));
    FillSlot(record.IpAddress, random.Of(kAddresses));
    FillSlot(record.SubnetMask, random.Of(kMasks));
    FillSlot(record.MacAddress, MacForm(random));
    FillSlot(record.UserIdentityName, random.Of(kIdentities));
    record.CheckPortNo = static_cast<std::uint32_t>(random.Below(65536));
    std::string bytes(sizeof(record), '\0');
    std::memcpy(bytes.data(), &record, sizeof(record));
    return bytes;
}

std::string CapabilityForm(Random& random) {
    return std::string(kXml) +
           "<DeviceCapability><Identity><Device_ID>MFG:Kestrel;MDL:Test;</Device_ID><Device_Name>" +
           random.Of(kModels) + "</Device_Name></Identity><Network><MAC_Address>" +
           Narrow(MacForm(random)) +
           "</MAC_Address><IPV4_Address>127.0.0.1</IPV4_Address></Network></DeviceCapability>";
}

std::string MacReplyForm(Random& random) {
    return std::string(kXml) +
           R"(<GetData><DataInfo><Data><Group id="GetData"><d id="Name">Test</d><d id="MACAddress">)" +
           Narrow(MacForm(random)) + "</d></Group></Data></DataInfo></GetData>";
}

std::string MimeHeaderForm(Random& random) {
    constexpr const char* kParts[] = {"value", "other", ""};
    return std::string(kXml) + "<GetData><DataInfo><Data><Group>" + random.Of(kParts) +
           "</Group></Data></DataInfo></GetData>";
}

const std::vector<std::wstring>& PortWords() {
    static const std::vector<std::wstring> words = {
        L",",  L",,,,,,,,,,,,", L"NONE",  L"\\",         L"-2147483648", L"2147483648", L"4294967296",
        L"%s", L"%n",           L"http://", L"ipp://",   L"255.255.255.255", L"0.0.0.0", L"0026AB123456"};
    return words;
}

const std::vector<std::string>& SilentWords() {
    static const std::vector<std::string> words = {"AR=", "PR=", "MN=", "PN=",  "DP=",  "SN=", "MA=",
                                                   "XX=", ":",   "\\:", "=",    "RAW",  "LPR", "XLPR",
                                                   "%s",  "%n",  "::",  "\\\\", "http://"};
    return words;
}

const std::vector<std::string>& XmlWords() {
    static const std::vector<std::string> words = {
        "<",       ">",     "</",     "/>",      "<!--",        "-->",
        "<![CDATA[", "]]>", "&amp;",  "&#0;",    "&#x10FFFF;",  "&undefined;",
        "<?xml",   "?>",    "\"",     "'",       "<Group>",     "</Group>",
        "<MAC_Address>", "<Device_Name>", "encoding=\"utf-16\"", "xmlns=\"a\"", "<a:b>", "\xEF\xBB\xBF",
        "\xC0\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80",
        "<!DOCTYPE a [<!ENTITY b \"c\"><!ENTITY d \"&b;&b;&b;&b;\">]>", "<d id=\"MACAddress\">", "-1"};
    return words;
}

}  // namespace ksp::test
