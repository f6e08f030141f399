#include "discovery/device_record.h"

#include "discovery/xml_document.h"

namespace ksp {

CDeviceRecord ReadDeviceRecord(std::wstring_view capability, bool ipv4, bool ipv6) {
    CDeviceRecord record;
    CXmlDocument document;
    if (document.Load(MakeBstr(capability)) != S_OK) {
        return record;
    }
    record.DeviceId = ElementText(document, L"Device_ID");
    record.DeviceName = ElementText(document, L"Device_Name");
    record.MacAddress = ElementText(document, L"MAC_Address");
    if (ipv6 && !ipv4) {
        record.IPv6Address = ElementText(document, L"IPAddress");
    } else {
        record.IPv4Address = ElementText(document, L"IPV4_Address");
    }
    return record;
}

CMacAddressReply ReadMacAddressReply(std::wstring_view reply) {
    CXmlDocument document;
    if (const HRESULT result = document.Load(MakeBstr(reply)); result != S_OK) {
        return {result, std::wstring()};
    }
    UniqueBstr text;
    if (document.FindElementByAttribute(MakeBstr(L"d"), MakeBstr(L"id"), MakeBstr(L"MACAddress"),
                                        text) != S_OK ||
        !text) {
        return {S_OK, std::wstring()};
    }
    std::wstring macAddress(text.Get(), ::SysStringLen(text.Get()));
    // Devices without one say "-1".
    return {S_OK, macAddress == L"-1" ? std::wstring() : std::move(macAddress)};
}

}  // namespace ksp
