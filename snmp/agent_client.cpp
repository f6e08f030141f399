#include "snmp/agent_client.h"

#include <algorithm>
#include <random>

namespace ksp::snmp {

namespace {

// So many datagrams are looked at before the clock is again.
constexpr int kMostAtOnce = 64;

}  // namespace

std::uint32_t RandomId() {
    return static_cast<std::uint32_t>(std::random_device()());
}

CAgentClient::CAgentClient(Ipv4 address, const CAgentAccess& access, const CTiming& timing,
                           HANDLE cancel)
    : m_address(address),
      m_access(access),
      m_timing(timing),
      m_cancel(cancel),
      m_end(Now() + timing.timeout) {}

AskResult CAgentClient::Ask(const CQuestion& question, CAnswer& answer) {
    if (!m_socket.IsOpen()) {
        return AskResult::kFailed;
    }
    CExchange exchange(question, static_cast<std::int32_t>(RandomId() & 0x7FFFFFFF),
                       m_access.versions);
    const std::uint64_t asked = Now();
    for (std::uint64_t sendings = 0;;) {
        // An answer that came in time counts, however late it is looked at.
        if (ReceiveAnswer(exchange, answer)) {
            m_access.versions = exchange.Versions();
            return AskResult::kAnswered;
        }
        const std::uint64_t now = Now();
        if (now >= m_end) {
            return AskResult::kNoAnswer;
        }
        auto sending = SendingOf(sendings, m_timing, m_access.versions);
        if (sending && now >= asked + sending->after) {
            // One question at a time does not fill the socket: what is not taken is lost.
            static_cast<void>(m_socket.Send(
                m_address, m_access.port, exchange.Request(sending->version, m_access.community)));
            sending = SendingOf(++sendings, m_timing, m_access.versions);
        }
        const std::uint64_t next = sending ? std::min(asked + sending->after, m_end) : m_end;
        if (m_socket.WaitOr(m_cancel, next > now ? next - now : 0)) {
            return AskResult::kCancelled;
        }
    }
}

bool CAgentClient::ReceiveAnswer(CExchange& exchange, CAnswer& answer) {
    for (int count = 0; count < kMostAtOnce; ++count) {
        const auto datagram = m_socket.Receive();
        if (!datagram) {
            return false;
        }
        if (datagram->address != m_address || datagram->port != m_access.port) {
            continue;
        }
        if (auto taken = exchange.Accept(datagram->bytes); taken) {
            answer = std::move(*taken);
            return true;
        }
    }
    return false;
}

}  // namespace ksp::snmp
