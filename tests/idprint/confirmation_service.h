#pragma once

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "tests/standins/loopback_socket.h"

namespace ksp::test {

// A part of an answer, and how many milliseconds pass before it is sent.
struct ReplyPiece {
    std::string bytes;
    int pause = 0;
};

// How a printer answers the reachability check.
struct ConfirmationBehavior {
    std::vector<ReplyPiece> reply = {};
    // Ends the connection behind the reply; else it stays until the peer ends it.
    bool closes = false;
};

// The four bytes of a reply code.
std::string ReplyCode(unsigned code);
// What a printer that is ready answers.
ConfirmationBehavior Ready();

// The ID-print service of a printer on a loopback address: waits for the eight bytes of a request
// and answers it, one connection after the other, on a thread of its own from construction to
// destruction. Every wait is bounded.
class ConfirmationService {
  public:
    static constexpr int kPatience = 60000;  // milliseconds; beyond this something hangs

    ConfirmationService(ConfirmationBehavior behavior, const standins::Endpoint& endpoint);
    ~ConfirmationService();
    ConfirmationService(const ConfirmationService&) = delete;
    ConfirmationService& operator=(const ConfirmationService&) = delete;

    // False when the address or port could not be taken.
    [[nodiscard]] bool ready() const { return listener_.valid(); }
    // How the connections that come from now on are answered.
    void SetBehavior(ConfirmationBehavior behavior);
    // Everything that each connection brought, in their order; a connection counts when it is over.
    // Waits until there are so many.
    [[nodiscard]] std::vector<std::string> Requests(size_t count);

  private:
    void ServeUntilStopped();
    [[nodiscard]] std::string Serve(const standins::Socket& socket,
                                    const ConfirmationBehavior& behavior) const;
    // False when the peer sent no more, or the service is to stop.
    bool Receive(const standins::Socket& socket, std::string* received) const;
    void Reply(const standins::Socket& socket, const ConfirmationBehavior& behavior) const;

    standins::SocketLibrary sockets_;
    standins::Socket listener_;
    std::atomic<bool> stopping_ = false;
    std::mutex mutex_;
    std::condition_variable changed_;
    ConfirmationBehavior behavior_;
    std::vector<std::string> requests_;
    std::thread thread_;  // last: it uses the others
};

}  // namespace ksp::test
