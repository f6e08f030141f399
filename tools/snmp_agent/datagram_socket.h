#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "tools/host/socket.h"
#include "tools/snmp_agent/ber.h"

namespace ksp::agent {

// The address dotted, the port in host order.
struct UdpEndpoint {
    std::string address = {};
    uint16_t port = 0;

    bool operator==(const UdpEndpoint&) const = default;
};

struct Datagram {
    Bytes bytes;
    UdpEndpoint sender;
};

// A UDP socket on one address, from which also its own datagrams come. It is an IPv6 socket that
// speaks IPv4: under Wine an IPv4 one that is bound to a loopback address takes that port of every
// address and sends from 127.0.0.1, and nobody believes an answer from there.
class DatagramSocket {
  public:
    DatagramSocket() = default;
    // Empty when the address or port cannot be taken. Port 0 is one that the system chooses.
    explicit DatagramSocket(const UdpEndpoint& endpoint);

    explicit operator bool() const { return static_cast<bool>(socket_); }
    void Close() { socket_.Reset(); }

    // False when it was not sent.
    [[nodiscard]] bool Send(ByteView bytes, const UdpEndpoint& receiver) const;
    // None when nothing has come after that time, and for the news that a datagram did not arrive.
    [[nodiscard]] std::optional<Datagram> Receive(std::chrono::microseconds patience) const;

  private:
    UniqueSocket socket_;
};

}  // namespace ksp::agent
