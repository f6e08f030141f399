#pragma once

#include <winsock2.h>

#include <optional>
#include <string>

namespace ksp {

// Addresses as text, through the sockets library. Wide texts go to it in the ANSI code page.

// Dotted text of an address.
[[nodiscard]] std::wstring AddressToText(in_addr address);
// The address of a dotted text; INADDR_NONE (255.255.255.255) when the text is none.
[[nodiscard]] in_addr TextToAddress(const std::wstring& text);
// The first IPv4 address of a host; none on failure, with the code in WSAGetLastError.
[[nodiscard]] std::optional<in_addr> HostByName(const std::wstring& name);
// The name of this computer; none on failure, with the code in WSAGetLastError.
[[nodiscard]] std::optional<std::wstring> GetHostName();

}  // namespace ksp
