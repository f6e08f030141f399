#include "tools/snmp_agent/datagram_socket.h"

#include <ws2tcpip.h>

#include <algorithm>
#include <iterator>

namespace ksp::agent {
namespace {

constexpr size_t kLargestDatagram = 65536;
constexpr uint8_t kMappedPrefix[] = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF};  // RFC 4291

sockaddr_in6 MappedAddress(const UdpEndpoint& endpoint) {
    const in_addr dotted = host::SocketAddress(endpoint.address, 0).sin_addr;
    sockaddr_in6 name = {};
    name.sin6_family = AF_INET6;
    name.sin6_port = htons(endpoint.port);
    uint8_t* const rest = std::copy(std::begin(kMappedPrefix), std::end(kMappedPrefix),
                                    std::begin(name.sin6_addr.s6_addr));
    std::copy_n(reinterpret_cast<const uint8_t*>(&dotted), sizeof(dotted), rest);
    return name;
}

UdpEndpoint EndpointOf(const sockaddr_in6& name) {
    UdpEndpoint endpoint;
    const auto* const octets = std::begin(name.sin6_addr.s6_addr);
    for (size_t i = std::size(kMappedPrefix); i < sizeof(name.sin6_addr); ++i) {
        endpoint.address += (endpoint.address.empty() ? "" : ".") + std::to_string(octets[i]);
    }
    endpoint.port = ntohs(name.sin6_port);
    return endpoint;
}

}  // namespace

DatagramSocket::DatagramSocket(const UdpEndpoint& endpoint) {
    const sockaddr_in6 name = MappedAddress(endpoint);
    const DWORD only_ipv6 = FALSE;
    UniqueSocket socket(::socket(AF_INET6, SOCK_DGRAM, IPPROTO_UDP));
    if (socket &&
        setsockopt(socket.Get(), IPPROTO_IPV6, IPV6_V6ONLY,
                   reinterpret_cast<const char*>(&only_ipv6), sizeof(only_ipv6)) == 0 &&
        bind(socket.Get(), reinterpret_cast<const sockaddr*>(&name), sizeof(name)) == 0) {
        socket_ = std::move(socket);
    }
}

bool DatagramSocket::Send(ByteView bytes, const UdpEndpoint& receiver) const {
    const sockaddr_in6 name = MappedAddress(receiver);
    const int size = static_cast<int>(bytes.size());
    return sendto(socket_.Get(), reinterpret_cast<const char*>(bytes.data()), size, 0,
                  reinterpret_cast<const sockaddr*>(&name), sizeof(name)) == size;
}

std::optional<Datagram> DatagramSocket::Receive(std::chrono::microseconds patience) const {
    if (!host::WaitReadable(socket_, patience)) {
        return std::nullopt;
    }
    Datagram datagram = {Bytes(kLargestDatagram), {}};
    sockaddr_in6 sender = {};
    int size = sizeof(sender);
    const int count = recvfrom(socket_.Get(), reinterpret_cast<char*>(datagram.bytes.data()),
                               static_cast<int>(kLargestDatagram), 0,
                               reinterpret_cast<sockaddr*>(&sender), &size);
    if (count < 0) {
        return std::nullopt;
    }
    datagram.bytes.resize(static_cast<size_t>(count));
    datagram.sender = EndpointOf(sender);
    return datagram;
}

}  // namespace ksp::agent
