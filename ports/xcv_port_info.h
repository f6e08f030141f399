#pragma once

#include <cstddef>
#include <cstdint>

namespace ksp {

// A port's configuration as one fixed-size binary record: what the commands `ConfigurePort` and
// `GetPortConfig` exchange. Little-endian; every text slot is 1024 UTF-16 code units,
// zero-terminated inside the slot, the rest zero. The members are those of CPortInfo.
struct XcvPortInfo {
    static constexpr std::size_t kSlot = 1024;  // code units, the terminator included
    using Text = char16_t[kSlot];

    Text PortName;
    Text PrinterAddress;
    Text QueueName;
    std::uint32_t ProtocolID;
    std::uint32_t PortNumber;
    std::uint32_t PrinterAddressType;
    Text IpAddress;
    Text SubnetMask;
    Text MacAddress;
    Text ProxyServer;
    std::uint32_t ProxyPort;
    std::uint32_t SecureUserMode;
    std::uint32_t SecureRawPortNo;
    Text UserIdentityName;
    std::uint32_t CheckPortNo;
};

static_assert(sizeof(XcvPortInfo) == 16412);
static_assert(offsetof(XcvPortInfo, ProtocolID) == 6144);
static_assert(offsetof(XcvPortInfo, IpAddress) == 6156);
static_assert(offsetof(XcvPortInfo, ProxyPort) == 14348);
static_assert(offsetof(XcvPortInfo, UserIdentityName) == 14360);
static_assert(offsetof(XcvPortInfo, CheckPortNo) == 16408);

}  // namespace ksp
