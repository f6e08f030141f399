#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "tests/standins/loopback_socket.h"

namespace ksp::standins {

// What a printer does with connections. The default accepts every one, reads all that comes and
// says nothing.
struct PrinterBehavior {
    enum class Answer {
        kAccept,
        kRefuse,       // the port is taken and nobody listens on it
        kNeverAnswer,  // connections stay pending until StartAnswering
    };

    Answer answer = Answer::kAccept;

    // False: accepts and reads nothing until StartReading.
    bool reads = true;
    // At most so many bytes a read, and milliseconds of rest after each.
    size_t read_size = size_t{64} * 1024;
    int read_pause = 0;
    // Bytes that the system takes on the printer's behalf (SO_RCVBUF); 0 leaves the system's own.
    int receive_buffer = 0;

    // Ends the connection, orderly or with a reset, when exactly so many bytes were read. 0 ends it
    // as soon as it stands.
    std::optional<size_t> close_after = {};
    std::optional<size_t> reset_after = {};

    // Sent as soon as the connection stands.
    std::string greeting = {};
    // Called after every read with all bytes of the connection so far; what it returns is sent.
    std::function<std::string(const std::vector<uint8_t>& received)> responder = {};
    // Sends without end.
    bool sends_forever = false;
};

// One connection as the printer saw it.
struct PrinterConnection {
    enum class Ending { kOpen, kByPeer, kResetByPeer, kByPrinter };

    std::vector<uint8_t> received;
    uint16_t peer_port = 0;  // the port that the peer connected from
    Ending ending = Ending::kOpen;
};

// A network printer on a loopback address, served by threads of its own from construction to
// destruction. Every function may be called from any thread; every wait is bounded.
class LoopbackPrinter {
  public:
    static constexpr uint16_t kRawPort = 9100;
    static constexpr int kPatience = 20000;  // milliseconds

    // Without an address the printer takes a new one of its own.
    explicit LoopbackPrinter(PrinterBehavior behavior = {}, Endpoint endpoint = {"", kRawPort});
    ~LoopbackPrinter();
    LoopbackPrinter(const LoopbackPrinter&) = delete;
    LoopbackPrinter& operator=(const LoopbackPrinter&) = delete;

    // False when the address or port could not be taken, or a queue could not be filled.
    [[nodiscard]] bool ready() const { return ready_; }
    [[nodiscard]] const std::string& address() const { return endpoint_.address; }
    [[nodiscard]] std::wstring wide_address() const;
    [[nodiscard]] uint16_t port() const { return endpoint_.port; }

    // Lets a printer that never answered take its pending connections and those to come.
    void StartAnswering() { answering_ = true; }
    void StartReading() { reading_ = true; }
    // Reads without rest from now on, and as much as there is.
    void Hurry() { hurrying_ = true; }
    // Ends every open connection from the printer's side; the printer goes on accepting.
    void HangUp() { ++hang_ups_; }

    // False when it has not come true after that many milliseconds.
    [[nodiscard]] bool WaitForConnections(size_t count, int milliseconds = kPatience);
    [[nodiscard]] bool WaitForBytes(size_t total, int milliseconds = kPatience);
    // So many connections have ended, on whichever side.
    [[nodiscard]] bool WaitForEndings(size_t count, int milliseconds = kPatience);

    // In the order in which they were accepted.
    [[nodiscard]] std::vector<PrinterConnection> connections() const;
    // The bytes of all connections, one after the other.
    [[nodiscard]] std::vector<uint8_t> received() const;

  private:
    bool Open();
    bool FillQueue();
    bool IsFiller(uint16_t peer_port) const;
    void AcceptUntilStopped();
    void Serve(Socket socket, size_t index, unsigned hang_ups_before);
    PrinterConnection::Ending Converse(const Socket& socket, size_t index,
                                       unsigned hang_ups_before);
    bool WaitFor(const std::function<bool()>& condition, int milliseconds);
    void Note(size_t index, const std::function<void(PrinterConnection&)>& change);

    const PrinterBehavior behavior_;
    Endpoint endpoint_;
    SocketLibrary sockets_;
    Socket listener_;
    std::vector<Socket> fillers_;  // connections that keep the queue full
    std::vector<uint16_t> filler_ports_;
    bool ready_ = false;

    std::atomic<bool> answering_;
    std::atomic<bool> reading_;
    std::atomic<bool> hurrying_ = false;
    std::atomic<unsigned> hang_ups_ = 0;
    std::atomic<bool> stopping_ = false;

    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<PrinterConnection> connections_;

    std::thread acceptor_;
    std::vector<std::thread> servers_;  // touched by the acceptor only, until it has ended
};

}  // namespace ksp::standins
