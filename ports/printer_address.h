#pragma once

#include <cstdint>
#include <string>

namespace ksp {

// What a printer address text is, as an AddressType number: 3 when it contains "http://" or
// "ipp://", 1 for a dotted IPv4 address, 2 otherwise.
[[nodiscard]] std::uint32_t GetPrinterAddressType(const std::wstring& address);

// Whether the sockets library takes the text for an IPv4 address other than 0.0.0.0 and
// 255.255.255.255.
[[nodiscard]] bool IsIpAddressString(const std::wstring& text);

}  // namespace ksp
