#include "snmp/udp_socket.h"

#include <winsock2.h>

#include <algorithm>

namespace ksp::snmp {

namespace {

// The largest datagram there is.
constexpr std::size_t kLargest = 65535;
// The answers of many agents wait here while one of them is worked on.
constexpr int kSystemBuffer = 1024 * 1024;
// How many reports of the network are passed over in a row.
constexpr int kMostReports = 64;

}  // namespace

CUdpSocket::CUdpSocket()
    : m_arrived(::CreateEventW(nullptr, FALSE, FALSE, nullptr)),
      m_socket(::socket(AF_INET, SOCK_DGRAM, IPPROTO_UDP)),
      m_buffer(kLargest) {
    // Receiving, which comes before the first sending, wants a port. The event also makes the
    // socket one that does not block.
    sockaddr_in any{};
    any.sin_family = AF_INET;
    if (!m_arrived || !m_socket ||
        ::bind(m_socket.Get(), reinterpret_cast<const sockaddr*>(&any), sizeof(any)) != 0 ||
        ::WSAEventSelect(m_socket.Get(), m_arrived.Get(), FD_READ) != 0) {
        m_socket.Reset();
        return;
    }
    // Where the system does not give so much, it stays with its own.
    ::setsockopt(m_socket.Get(), SOL_SOCKET, SO_RCVBUF,
                 reinterpret_cast<const char*>(&kSystemBuffer), sizeof(kSystemBuffer));
}

bool CUdpSocket::Send(Ipv4 address, std::uint16_t port, const Bytes& bytes) noexcept {
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_port = ::htons(port);
    to.sin_addr.s_addr = ::htonl(address);
    if (::sendto(m_socket.Get(), reinterpret_cast<const char*>(bytes.data()),
                 static_cast<int>(bytes.size()), 0, reinterpret_cast<const sockaddr*>(&to),
                 sizeof(to)) >= 0) {
        return true;
    }
    const int error = ::WSAGetLastError();
    return error != WSAEWOULDBLOCK && error != WSAENOBUFS;
}

std::optional<CUdpSocket::Datagram> CUdpSocket::Receive() noexcept {
    for (int reports = 0; reports < kMostReports; ++reports) {
        sockaddr_in from{};
        int size = sizeof(from);
        const int received = ::recvfrom(m_socket.Get(), reinterpret_cast<char*>(m_buffer.data()),
                                        static_cast<int>(m_buffer.size()), 0,
                                        reinterpret_cast<sockaddr*>(&from), &size);
        if (received >= 0) {
            return Datagram{::ntohl(from.sin_addr.s_addr), ::ntohs(from.sin_port),
                            ByteView(m_buffer).first(static_cast<std::size_t>(received))};
        }
        // An address where nobody listens (WSAECONNRESET, WSAENETRESET), or a datagram cut short
        // (WSAEMSGSIZE), says nothing about the ones behind it.
        if (::WSAGetLastError() == WSAEWOULDBLOCK) {
            break;
        }
    }
    return std::nullopt;
}

bool CUdpSocket::WaitOr(HANDLE event, std::uint64_t milliseconds) const noexcept {
    constexpr std::uint64_t kMost = INFINITE - 1;
    const HANDLE events[] = {event, m_arrived.Get()};
    return ::WaitForMultipleObjects(2, events, FALSE,
                                    static_cast<DWORD>(std::min(milliseconds, kMost))) ==
           WAIT_OBJECT_0;
}

}  // namespace ksp::snmp
