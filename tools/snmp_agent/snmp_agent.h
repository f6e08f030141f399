#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "tools/host/socket.h"
#include "tools/snmp_agent/datagram_socket.h"
#include "tools/snmp_agent/snmp_message.h"
#include "tools/snmp_agent/snmp_table.h"

namespace ksp::agent {

struct SnmpAgentSettings {
    std::string address = {};  // empty: a random loopback address
    uint16_t port = 161;
    std::string community = "public";
    bool speaks_v1 = true;
    bool speaks_v2c = true;
};

// What goes wrong with the answer to one request. The default is that nothing does.
struct SnmpFault {
    bool drop = false;
    std::chrono::milliseconds delay{0};  // others that are due sooner overtake it
    int copies = 1;
    int32_t id_offset = 0;                // added to the request's id
    std::optional<UdpEndpoint> source{};  // where the answer comes from, in place of the agent
    std::optional<size_t> keep{};         // only so many bytes of the answer
    std::optional<Bytes> instead{};       // sent in place of the answer
};

// A request that arrived.
struct SnmpRequest {
    SnmpMessage message;
    UdpEndpoint sender;
    bool answered = false;  // false also when a fault kept the answer back
};

// An SNMP agent on a UDP port, served by a thread of its own. Requests of the wrong community, of a
// version that it does not speak and those that it does not understand it passes over in silence,
// as agents do. Stop and MoveTo are for the thread that owns it, all else is for any; every wait is
// bounded.
class SnmpAgent {
  public:
    static constexpr std::chrono::milliseconds kPatience{20000};
    static constexpr size_t kAlways = SIZE_MAX;

    explicit SnmpAgent(SnmpAgentSettings settings = {}, SnmpRows rows = {});
    ~SnmpAgent();
    SnmpAgent(const SnmpAgent&) = delete;
    SnmpAgent& operator=(const SnmpAgent&) = delete;

    // False when the address or port could not be taken, and after Stop.
    [[nodiscard]] bool ready() const { return static_cast<bool>(socket_); }
    [[nodiscard]] const std::string& address() const { return settings_.address; }
    [[nodiscard]] std::wstring wide_address() const;

    // Leaves the address; who asks there finds nobody. Answers that are still delayed are lost.
    void Stop();
    // Leaves the address for another one, with rows, faults and journal as they are. False when
    // that cannot be taken.
    bool MoveTo(const std::string& address);

    void Put(const Oid& oid, SnmpValue value);
    void Put(std::string_view oid, SnmpValue value) { Put(OidOf(oid), std::move(value)); }
    void Remove(std::string_view oid);
    void SetRows(SnmpRows rows);

    // The next so many requests that would be answered meet the fault. Faults that were planned
    // before come first.
    void Misbehave(SnmpFault fault, size_t requests = kAlways);
    void Behave();

    // In the order of their arrival, with those that were passed over for their community or
    // version.
    [[nodiscard]] std::vector<SnmpRequest> requests() const;
    // Packets that are no SNMP message.
    [[nodiscard]] size_t not_understood() const;
    // How often the row was given away.
    [[nodiscard]] size_t TimesTold(std::string_view oid) const;
    // False when so many have not arrived after that time.
    [[nodiscard]] bool WaitForRequests(size_t count,
                                       std::chrono::milliseconds patience = kPatience);

  private:
    using Clock = std::chrono::steady_clock;

    struct Reply {
        Clock::time_point due;
        Bytes bytes;
        std::optional<UdpEndpoint> source;
        UdpEndpoint receiver;
    };
    struct PlannedFault {
        SnmpFault fault;
        size_t requests;
    };

    bool Start();
    void Serve();
    void Take(const Datagram& datagram);
    bool Accepts(const SnmpMessage& message) const;
    // These want the lock.
    bool PlanReplies(const SnmpMessage& request, const UdpEndpoint& receiver);
    SnmpFault NextFault();

    void SendDue();
    void Send(const Reply& reply) const;

    SnmpAgentSettings settings_;
    host::SocketLibrary sockets_;
    DatagramSocket socket_;
    std::atomic<bool> stopping_ = false;
    std::vector<Reply> replies_;  // the server's, until it has ended

    mutable std::mutex mutex_;
    std::condition_variable changed_;
    SnmpRows rows_;
    std::deque<PlannedFault> faults_;
    std::vector<SnmpRequest> requests_;
    size_t not_understood_ = 0;
    std::map<Oid, size_t> told_;

    std::thread server_;
};

}  // namespace ksp::agent
