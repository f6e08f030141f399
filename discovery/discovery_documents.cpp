#include "discovery/discovery_documents.h"

namespace ksp {

namespace {

constexpr wchar_t kXml[] = L"<?xml version=\"1.0\" encoding=\"utf-8\"?>";

std::wstring Element(const wchar_t* name, std::uint32_t value) {
    return std::wstring(L"<") + name + L">" + std::to_wstring(value) + L"</" + name + L">";
}

std::wstring Timing(std::uint32_t timeout, std::uint32_t retry, std::uint32_t retryInterval) {
    return Element(L"TimeOut", timeout) + Element(L"Retry", retry) +
           Element(L"RetryInterval", retryInterval);
}

const wchar_t* AddressFamilies(const CProbeSettings& settings) {
    if (!settings.ipv6) {
        return L"IPv4";
    }
    return settings.ipv4 ? L"IPv4;IPv6" : L"IPv6";
}

}  // namespace

std::wstring SubnetListDocument(const std::vector<CSubnet>& networks) {
    if (networks.empty()) {
        return std::wstring();
    }
    std::wstring list = L"<SubnetAddressList>";
    for (const CSubnet& network : networks) {
        list += L"<Address networkAddress=\"" + network.Address + L"\" subnetMask=\"" +
                network.Mask + L"\" />";
    }
    return list + L"</SubnetAddressList>";
}

std::wstring ProbeModeDocument(const CProbeSettings& settings, std::wstring_view subnetList) {
    std::wstring document = kXml;
    document += L"<ProbeMode><Mode Type=\"IP\" OverRouter=\"";
    document += settings.overRouter ? L"TRUE" : L"FALSE";
    document += L"\" MergeNotification=\"FALSE\">";
    document += subnetList;
    document += L"</Mode><Protocol p=\"KSPC\" ip=\"";
    document += AddressFamilies(settings);
    document += L"\" />";
    document += Timing(settings.timeout, settings.retry, settings.retryInterval);
    document += L"</ProbeMode>";
    return document;
}

std::wstring DeviceHandleDocument(std::uint32_t timeout, std::uint32_t retry,
                                  std::uint32_t retryInterval) {
    return kXml + (L"<DeviceHandleSetting>" + Timing(timeout, retry, retryInterval)) +
           L"</DeviceHandleSetting>";
}

std::wstring MacAddressRequest() {
    return kXml + std::wstring(
                      L"<GetData><DataInfo><Data><Group id=\"GetData\">"
                      L"<d id=\"MACAddress\" /></Group></Data></DataInfo></GetData>");
}

std::wstring MibRequest(std::wstring_view oid, std::wstring_view type) {
    std::wstring document = kXml;
    document += L"<GetData><DataInfo><Data><Group id=\"access=MIB;oid=";
    document += oid;
    document += L";type=";
    document += type;
    document +=
        L";rtype=GetNextRequest\" recvtype=\"mime\" action=\"RW\"/></Data></DataInfo></GetData>";
    return document;
}

}  // namespace ksp
