#pragma once

#include <windows.h>

#include <cstdint>
#include <optional>
#include <vector>

#include "snmp/ber_writer.h"
#include "snmp/device_query.h"
#include "support/unique_socket.h"
#include "support/windows_handles.h"

namespace ksp::snmp {

// An IPv4 UDP socket at a port of the system's choice, that never blocks.
class CUdpSocket {
  public:
    struct Datagram {
        Ipv4 address;  // whom it came from
        std::uint16_t port;
        ByteView bytes;  // good until the next Receive
    };

    // Windows Sockets are started, and stay so.
    CUdpSocket();

    [[nodiscard]] bool IsOpen() const noexcept { return static_cast<bool>(m_socket); }

    // False: the system has no room for it now, because those before it have not left yet;
    // datagrams for hosts that do not answer on the own network are held for seconds. One that
    // cannot be sent for another reason is one that was lost.
    [[nodiscard]] bool Send(Ipv4 address, std::uint16_t port, const Bytes& bytes) noexcept;
    // The next datagram; none when no other is there. What the network reports about datagrams that
    // were sent is passed over.
    [[nodiscard]] std::optional<Datagram> Receive() noexcept;

    // Waits until a datagram may have come, the event is signalled, or the time (milliseconds) is
    // over. True: the event is signalled. To be called when Receive has none.
    [[nodiscard]] bool WaitOr(HANDLE event, std::uint64_t milliseconds) const noexcept;

  private:
    UniqueHandle m_arrived;  // auto-reset
    UniqueSocket m_socket;
    std::vector<std::uint8_t> m_buffer;
};

}  // namespace ksp::snmp
