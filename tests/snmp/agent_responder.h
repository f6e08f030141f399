#pragma once

#include <winsock2.h>
#include <ws2tcpip.h>

#include <atomic>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "snmp/snmp_message.h"
#include "tests/standins/loopback_socket.h"

namespace ksp::test {

// A request as an agent received it.
struct AgentRequest {
    snmp::Bytes bytes;
    snmp::SnmpVersion version = snmp::SnmpVersion::k2c;
    std::string community;
    std::int32_t id = 0;
    snmp::CQuestion question;
    sockaddr_in6 asker{};
};

// An SNMP agent on a loopback address, port and thread of its own. It answers from its variables;
// a test may have it do anything else. For the tests' use of a library that must stand any answer.
class AgentResponder {
  public:
    using Datagrams = std::vector<snmp::Bytes>;
    // What is sent in place of the answer, in order. Runs on the agent's thread.
    using Twist = std::function<Datagrams(const AgentRequest& request, const snmp::Bytes& answer)>;

    // At the same port as another one, on another address.
    explicit AgentResponder(std::uint16_t port = 0);
    AgentResponder(const std::string& address, std::uint16_t port);
    ~AgentResponder();
    AgentResponder(const AgentResponder&) = delete;
    AgentResponder& operator=(const AgentResponder&) = delete;

    [[nodiscard]] bool ready() const { return socket_.valid(); }
    [[nodiscard]] const std::string& address() const { return address_; }
    [[nodiscard]] std::uint16_t port() const { return port_; }

    // Before the first request, or between requests.
    void Set(const snmp::CObjectId& id, const snmp::Bytes& value);
    void SetText(const snmp::CObjectId& id, const std::string& text);
    void SetNumber(const snmp::CObjectId& id, std::int32_t number);
    // The variables of a printer with that MAC address and that description; the computer in it is
    // called "host" and says "firmware".
    void BePrinter(const std::string& name, const std::string& mac);
    void SetTwist(Twist twist);
    // Says nothing to the other version.
    void SpeakOnly(snmp::SnmpVersion version);

    [[nodiscard]] std::vector<AgentRequest> requests() const;

  private:
    void Run();
    [[nodiscard]] snmp::Bytes Answer(const AgentRequest& request) const;

    standins::SocketLibrary sockets_;
    std::string address_;
    std::uint16_t port_ = 0;
    standins::Socket socket_;
    std::atomic<bool> ending_ = false;
    mutable std::mutex mutex_;
    std::map<snmp::CObjectId, snmp::Bytes> variables_;
    Twist twist_;
    std::vector<snmp::SnmpVersion> versions_ = {snmp::SnmpVersion::k1, snmp::SnmpVersion::k2c};
    std::vector<AgentRequest> requests_;
    std::thread thread_;
};

// A UDP socket at that loopback address; invalid when the system refuses.
standins::Socket BindAgentSocket(const std::string& address, std::uint16_t port);

// A response to the request with that variable and value, or with an error.
snmp::Bytes MakeResponse(const AgentRequest& request, const snmp::CObjectId& id,
                         const snmp::Bytes& value, std::int32_t error = 0);

}  // namespace ksp::test
