#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <queue>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "snmp/device_query.h"
#include "snmp/exchange.h"

namespace ksp::snmp {

// A search over many addresses at once: what to send when, and who answered what. It does not wait
// and knows no sockets; times are milliseconds of a clock that never goes back.
//
// Every address is asked who is there, in the order given. One that answers is asked the rest of
// what a device is known by, beside the others, and reported once: when everything is known, or
// with what is known when its time is over. An address has its time from when it was first asked.
//
// While the system takes no messages, the search waits with all of them, but no longer than the
// time of an address: then those it does not take count as lost.
class CSearch {
  public:
    class IOutput {
      public:
        // False: the system takes no message now; it is offered again a moment later.
        virtual bool Send(Ipv4 address, const Bytes& message) = 0;
        virtual void Found(const CDeviceIdentity& identity) = 0;

      protected:
        ~IOutput() = default;
    };

    // So many messages leave in a millisecond on average, and at most so many at once: as many as
    // come together between two ticks of a clock that the system moves on every 16 milliseconds.
    static constexpr std::uint64_t kRate = 2;
    static constexpr std::uint64_t kBurst = 64;

    // Gives a request id that nobody can guess from others that it gave.
    using RequestIds = std::function<std::uint32_t()>;

    CSearch(std::vector<Ipv4> addresses, CAgentAccess access, const CTiming& timing,
            RequestIds newId, std::uint64_t now);

    // Works on a datagram that came from the agent's port of that address.
    void Receive(Ipv4 address, ByteView datagram, IOutput& output);
    // Sends what is due and gives up those whose time is over.
    void Advance(std::uint64_t now, IOutput& output);

    // When Advance is to be called at the latest.
    [[nodiscard]] std::uint64_t NextTime() const;
    [[nodiscard]] bool IsOver() const noexcept { return m_waiting.empty(); }

  private:
    struct Target {
        Ipv4 address = 0;
        bool isOver = false;
        std::uint64_t end = 0;                // of its time; 0 before it was first asked
        std::uint64_t asked = 0;              // when the current question first went out
        std::uint64_t sendings = 0;           // of the current question
        std::uint64_t due = 0;                // of the next step
        std::optional<CExchange> exchange;    // the current question, once it was sent
        std::unique_ptr<CDeviceQuery> query;  // from the first answer on
    };
    using Waiting = std::pair<std::uint64_t, std::size_t>;  // when, which target

    void Schedule(std::size_t index, std::uint64_t when);
    void DropStale();
    enum class StepResult : std::uint8_t { kNothingToSend, kSent, kRefused };
    StepResult Step(std::size_t index, std::uint64_t now, IOutput& output);
    // False: it is to be offered again.
    [[nodiscard]] bool Send(const Target& target, const CSending& sending, std::uint64_t now,
                            IOutput& output);
    void End(Target& target, IOutput& output);
    // Puts the next question to the target; false when there is none.
    [[nodiscard]] bool NextQuestion(Target& target, VersionChoice versions);

    CAgentAccess m_access;
    CTiming m_timing;
    RequestIds m_newId;
    std::vector<Target> m_targets;
    std::unordered_map<Ipv4, std::size_t> m_byAddress;
    // Entries that are no longer true are dropped when they come to the front.
    std::priority_queue<Waiting, std::vector<Waiting>, std::greater<>> m_waiting;
    std::uint64_t m_budget = kBurst;  // how many messages may leave, as of then:
    std::uint64_t m_counted;
    std::optional<std::uint64_t> m_refusedSince;  // none: the system took the last message
};

}  // namespace ksp::snmp
