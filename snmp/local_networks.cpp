#include "snmp/local_networks.h"

// These three in this order.
#include <winsock2.h>
#include <ws2tcpip.h>
#include <iphlpapi.h>

#include <memory>

namespace ksp::snmp {

namespace {

constexpr ULONG kFlags = GAA_FLAG_SKIP_ANYCAST | GAA_FLAG_SKIP_MULTICAST |
                         GAA_FLAG_SKIP_DNS_SERVER | GAA_FLAG_SKIP_FRIENDLY_NAME;

// Empty when the system does not tell.
std::vector<std::uint64_t> ReadAdapters() {
    std::vector<std::uint64_t> block;  // aligned for what is read into it
    ULONG size = 16 * 1024;
    // It grows when an interface comes up in between.
    for (int attempt = 0; attempt < 5; ++attempt) {
        block.assign(size / sizeof(std::uint64_t) + 1, 0);
        const ULONG error = ::GetAdaptersAddresses(
            AF_INET, kFlags, nullptr, reinterpret_cast<IP_ADAPTER_ADDRESSES*>(block.data()), &size);
        if (error == ERROR_SUCCESS) {
            return block;
        }
        if (error != ERROR_BUFFER_OVERFLOW) {
            break;
        }
    }
    return {};
}

Ipv4 MaskOf(unsigned prefixLength) {
    if (prefixLength == 0) {
        return 0;
    }
    return prefixLength < 32 ? ~(0xFFFFFFFFU >> prefixLength) : 0xFFFFFFFFU;
}

}  // namespace

std::vector<CNetwork> LocalNetworks(bool loopback) {
    std::vector<CNetwork> networks;
    const std::vector<std::uint64_t> block = ReadAdapters();
    if (block.empty()) {
        return networks;
    }
    for (auto adapter = reinterpret_cast<const IP_ADAPTER_ADDRESSES*>(block.data());
         adapter != nullptr; adapter = adapter->Next) {
        if (adapter->OperStatus != IfOperStatusUp ||
            (adapter->IfType == IF_TYPE_SOFTWARE_LOOPBACK && !loopback)) {
            continue;
        }
        for (auto unicast = adapter->FirstUnicastAddress; unicast != nullptr;
             unicast = unicast->Next) {
            const sockaddr* address = unicast->Address.lpSockaddr;
            if (address != nullptr && address->sa_family == AF_INET) {
                const auto& ipv4 = *reinterpret_cast<const sockaddr_in*>(address);
                networks.push_back(
                    {::ntohl(ipv4.sin_addr.s_addr), MaskOf(unicast->OnLinkPrefixLength)});
            }
        }
    }
    return networks;
}

}  // namespace ksp::snmp
