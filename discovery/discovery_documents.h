#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "ports/subnet.h"

namespace ksp {

// The documents that the discovery library is sent: one line each, here as wide text; they go to
// the library in UTF-8.

struct CProbeSettings {
    bool overRouter = true;
    bool ipv4 = true;
    bool ipv6 = false;
    std::uint32_t timeout = 0;  // milliseconds
    std::uint32_t retry = 0;
    std::uint32_t retryInterval = 0;  // milliseconds
};

// The part of the probe-mode document that names the networks; empty without any.
[[nodiscard]] std::wstring SubnetListDocument(const std::vector<CSubnet>& networks);
// How a search goes over the network. The subnet list is put into it as it is.
[[nodiscard]] std::wstring ProbeModeDocument(const CProbeSettings& settings,
                                             std::wstring_view subnetList);
// How a device is talked to; times in milliseconds.
[[nodiscard]] std::wstring DeviceHandleDocument(std::uint32_t timeout, std::uint32_t retry,
                                                std::uint32_t retryInterval);
// Asks a device for its MAC address.
[[nodiscard]] std::wstring MacAddressRequest();
// Asks a device for the first value behind an object id (SNMP get-next), as a MIME-formatted reply.
[[nodiscard]] std::wstring MibRequest(std::wstring_view oid, std::wstring_view type);

}  // namespace ksp
