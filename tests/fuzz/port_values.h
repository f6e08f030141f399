#pragma once

#include <windows.h>

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ports/xcv_port_info.h"

namespace ksp::test {

// What a port must be once a command was taken, read from the command's own input and not by the
// code under test.
struct PortValues {
    std::wstring PortName = {};
    std::wstring PrinterAddress = {};
    std::wstring QueueName = {};
    DWORD ProtocolID = 0;
    DWORD PrinterAddressType = 0;
    std::wstring IpAddress = {};
    std::wstring SubnetMask = {};
    std::wstring MacAddress = {};
    std::wstring ProxyServer = {};
    DWORD ProxyPort = 0;
    // Stored by the ID-print monitor alone.
    DWORD SecureUserMode = 0;
    DWORD SecureRawPortNo = 0;
    DWORD CheckPortNo = 0;
    std::wstring UserIdentityName = {};
};

// How silent addition finds the printer at its address.
struct ProbedPrinter {
    std::wstring address;
    std::wstring mac;
    std::wstring name;
};

// A text as the commands take it: up to its first zero.
[[nodiscard]] std::wstring CommandText(std::string_view bytes);

// Whether the system reads the text as an address 127.x.x.x, so that nothing sent there leaves the
// machine.
[[nodiscard]] bool IsLoopbackAddress(const std::wstring& text);

// The port of an AddPort string; none when it must be refused.
[[nodiscard]] std::optional<PortValues> AddPortValues(const std::wstring& text, DWORD monitor_type);
// The port of a silent-add text, in the system's 8-bit code; none when it must be refused, and then
// `code` says how.
[[nodiscard]] std::optional<PortValues> SilentValues(const std::string& text,
                                                     const ProbedPrinter& printer, DWORD& code);
// What a record makes of a port that there is: the address stays as it was found. None when no
// channel can be made from it.
[[nodiscard]] std::optional<PortValues> ConfiguredValues(PortValues port, const XcvPortInfo& record,
                                                         DWORD monitor_type);

// The port's values in the registry as a command writes them, numbers as 8 hexadecimal digits
// behind '#'.
using StoredValues = std::map<std::wstring, std::wstring>;
[[nodiscard]] StoredValues InRegistry(const PortValues& port, DWORD monitor_type);
[[nodiscard]] std::wstring NumberText(DWORD number);

// The record of a port; none when a text has no room in it.
[[nodiscard]] std::optional<XcvPortInfo> InRecord(const PortValues& port, DWORD monitor_type);

}  // namespace ksp::test
