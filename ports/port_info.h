#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace ksp {

// How a port's data reach the printer (`ProtocolID`). Values beyond are invalid.
enum class ProtocolId : std::uint32_t { kLpr = 0, kXlpr = 1, kRaw = 2, kIpp = 3 };

// What a port's `PrinterAddress` is (`PrinterAddressType`).
enum class AddressType : std::uint32_t {
    kIpAddress = 1,  // a dotted IPv4 address
    kHostName = 2,
    kUrl = 3,      // contains "http://" or "ipp://"
    kTracked = 4,  // the printer is followed by its MAC address when its IP address changes
};

// TCP ports of the printer.
inline constexpr std::uint32_t kLprPort = 515;
inline constexpr std::uint32_t kRawPort = 9100;
inline constexpr std::uint32_t kSecureRawPort = 59200;  // raw printing of the ID-print monitor

// The configuration of one port, as it is kept in the registry under the port's name. Members are
// named after their registry values; a plain record, owned by whoever holds it.
struct CPortInfo {
    std::wstring PortName;        // the registry subkey's name
    std::wstring PrinterAddress;  // as entered: dotted address, host name or URL
    std::wstring QueueName;       // LPR queue
    std::uint32_t ProtocolID = 0;
    std::uint32_t PortNumber = 0;  // TCP port; derived from the protocol when loaded, never stored
    std::uint32_t PrinterAddressType = static_cast<std::uint32_t>(AddressType::kTracked);
    std::wstring IpAddress;   // the printer's last known address, dotted
    std::wstring SubnetMask;  // dotted
    std::wstring MacAddress;  // finds the printer again when its address has changed
    std::wstring ProxyServer;
    std::uint32_t ProxyPort = 0;
    std::uint32_t SecureUserMode = 0;   // ID print; 1: a user identity name is required
    std::uint32_t SecureRawPortNo = 0;  // ID print: TCP port for raw printing
    std::wstring UserIdentityName;      // ID print
    std::uint32_t CheckPortNo = 0;      // ID print: TCP port of the reachability check

    // Part of the record that the configuration interface knows; neither stored nor exchanged.
    std::uint32_t Reserved1 = 0;
    std::wstring Reserved2;
    std::wstring Reserved3;
    std::wstring Reserved4;
    std::uint32_t Reserved5 = 0;

    [[nodiscard]] bool IsTracked() const noexcept {
        return PrinterAddressType == static_cast<std::uint32_t>(AddressType::kTracked);
    }
};

// Ports in the order of the registry.
using CPortInfoList = std::vector<std::unique_ptr<CPortInfo>>;

}  // namespace ksp
