#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace ksp {

// What a device says of itself in its capability document. Elements that are missing leave their
// field empty, and a document that cannot be read leaves all of them so.
struct CDeviceRecord {
    std::wstring DeviceId;
    std::wstring IPv4Address;
    std::wstring IPv6Address;
    std::wstring DeviceName;
    std::wstring MacAddress;
    std::vector<std::wstring> Others;
};

// One address is read: the IPv4 address when IPv4 is enabled or nothing is, else the IPv6 address.
[[nodiscard]] CDeviceRecord ReadDeviceRecord(std::wstring_view capability, bool ipv4, bool ipv6);

// The answer to a MAC-address request; empty when the document gives none.
struct CMacAddressReply {
    long result;  // S_OK, or why the document could not be read
    std::wstring macAddress;
};
[[nodiscard]] CMacAddressReply ReadMacAddressReply(std::wstring_view reply);

}  // namespace ksp
