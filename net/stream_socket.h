#pragma once

#include <winsock2.h>

#include <cstdint>
#include <optional>

#include "net/ip_address.h"
#include "support/unique_socket.h"

namespace ksp {

// Base of the sockets.
class CSLSocket {
  public:
    CSLSocket() = default;
    virtual ~CSLSocket() = default;
    CSLSocket(const CSLSocket&) = delete;
    CSLSocket& operator=(const CSLSocket&) = delete;
};

// One TCP connection to a printer, with every wait bounded. Owned by the channel or check that made
// it, which uses it from one thread at a time; the destructor closes it.
//
// connect, selectforconnect and close return Windows Sockets codes, 0 for success; the two waits
// return 1460 (ERROR_TIMEOUT) when `WaitServerReplyTimeout` seconds passed while the connection was
// still being made: it may be waited for again. A failed connect leaves the socket as it is until
// close.
//
// send and recv return the bytes moved, 0 when nothing could be moved within the time-out (recv:
// also when the printer closed its side), -1 on an error.
class CSLStreamSocket : public CSLSocket {
  public:
    enum class Mode : std::int32_t { kBlocking = 0, kNonBlocking = 1, kNotSet = 2 };

    // The local address is looked up here; the system's choice stands in for one that cannot be
    // found.
    CSLStreamSocket(const CSLIpAddr& remoteAddress, std::uint16_t remotePort);
    ~CSLStreamSocket() override;

    // For callers that need a source port of their own; before connect. The port is then kept over
    // connect and close.
    void SetLocalAddress(const CSLIpAddr& address) noexcept { m_localAddress = address; }
    void KeepLocalPort(std::uint16_t port) noexcept;

    [[nodiscard]] std::uint32_t connect();
    [[nodiscard]] std::uint32_t selectforconnect();
    [[nodiscard]] std::int32_t send(const void* data, std::int32_t length, std::uint32_t seconds);
    // What goes out at once, as send would answer; none when send might have to wait first. Spares a
    // printer that keeps up the question whether it can be sent to. One that did not take the last
    // bytes whole is asked: systems call a socket writable only when there is room for a good deal.
    [[nodiscard]] std::optional<std::int32_t> SendNow(const void* data, std::int32_t length);
    [[nodiscard]] std::int32_t recv(void* data, std::int32_t length, std::uint32_t seconds);
    // Lets small sends go out at once instead of waiting for the printer's acknowledgement of the
    // ones before them.
    void SendAtOnce() noexcept;
    // Graceful: what was sent still arrives, and what the printer still says is read and dropped,
    // for at most as long as the connection may linger (100 seconds).
    virtual std::uint32_t close();
    // Closes without waiting for the printer. The system goes on delivering what it has taken.
    void Abandon();

    // The port bound by the last connect; 0 before it and after close, unless a port is kept.
    [[nodiscard]] std::uint16_t LocalPort() const noexcept { return m_localPort; }
    // Set by a connection that was waited for; one that was made at once leaves it unset.
    [[nodiscard]] bool IsConnected() const noexcept { return m_connected; }
    // For exchanges that need one plain call of the sockets library.
    [[nodiscard]] SOCKET Get() const noexcept { return m_socket.Get(); }

  private:
    [[nodiscard]] std::uint32_t BindLocal();
    // A mode that cannot be set is logged; the calls then work in the mode the socket has.
    void SetMode(Mode mode);
    [[nodiscard]] std::uint32_t WaitForConnect(std::uint32_t seconds);
    [[nodiscard]] std::uint32_t RecordLocalPort();
    // Reads and drops until the printer closes or is silent for a second. False on an error.
    [[nodiscard]] bool Drain();
    void Reset() noexcept;
    std::uint32_t CloseHandle();

    CSLIpAddr m_localAddress;
    std::uint16_t m_localPort = 0;
    CSLIpAddr m_remoteAddress;
    std::uint16_t m_remotePort;
    UniqueSocket m_socket;
    bool m_connected = false;
    bool m_keepLocalPort = false;
    bool m_behind = false;  // the last send was not taken whole
    Mode m_mode = Mode::kNotSet;
};

}  // namespace ksp
