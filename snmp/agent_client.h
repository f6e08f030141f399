#pragma once

#include <windows.h>

#include <cstdint>

#include "snmp/exchange.h"
#include "snmp/udp_socket.h"

namespace ksp::snmp {

enum class AskResult {
    kAnswered,
    kNoAnswer,   // within the time
    kCancelled,  // the event was signalled
    kFailed      // no socket
};

// Asks one agent, one question after the other. The time-out is that of all questions together, and
// runs from the making of the client: what it is made for takes no longer.
class CAgentClient {
  public:
    // The event outlives the client.
    CAgentClient(Ipv4 address, const CAgentAccess& access, const CTiming& timing, HANDLE cancel);

    [[nodiscard]] AskResult Ask(const CQuestion& question, CAnswer& answer);

  private:
    [[nodiscard]] bool ReceiveAnswer(CExchange& exchange, CAnswer& answer);

    Ipv4 m_address;
    CAgentAccess m_access;
    CTiming m_timing;
    HANDLE m_cancel;
    std::uint64_t m_end;
    CUdpSocket m_socket;
};

// A clock for waiting: milliseconds.
[[nodiscard]] inline std::uint64_t Now() noexcept {
    return ::GetTickCount64();
}

// A request id that nobody can guess.
[[nodiscard]] std::uint32_t RandomId();

}  // namespace ksp::snmp
