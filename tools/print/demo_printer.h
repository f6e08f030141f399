#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>

#include "tools/print/job_header_splitter.h"
#include "tools/print/protocol.h"
#include "tools/print/sha256.h"
#include "tools/print/socket.h"

namespace ksp::print {

// What a printer received: the bytes of all connections, one after the other.
struct Delivery {
    uint64_t bytes = 0;
    std::wstring sha256;  // see Sha256::Finish
    size_t connections = 0;
    std::string job_header;  // of an ID-print job; not counted as bytes
};

// A printer on a loopback address of its own, at the protocol's usual port. It sleeps at first and
// refuses connections; somebody who was refused has knocked, and about a second later it listens.
// It reads no faster than a printer prints, and takes one connection after the other.
//
// A thread of its own serves it from construction to Finish.
class DemoPrinter {
  public:
    DemoPrinter(const Protocol& protocol, uint64_t bytes_per_second);
    ~DemoPrinter();
    DemoPrinter(const DemoPrinter&) = delete;
    DemoPrinter& operator=(const DemoPrinter&) = delete;

    // False when no loopback address could be taken; nothing else works then.
    [[nodiscard]] bool ready() const { return static_cast<bool>(listener_); }
    [[nodiscard]] const std::wstring& address() const { return address_; }

    void Knock();

    // Waits until so many bytes have arrived and the connection has ended, but no longer than
    // `patience`; then switches the printer off and tells what it got.
    Delivery Finish(uint64_t expected_bytes, std::chrono::milliseconds patience);

  private:
    using Clock = std::chrono::steady_clock;

    bool TakeAddress();
    void Serve();
    bool WakeUp();
    void Talk(const UniqueSocket& socket);
    void Listen(const UniqueSocket& socket, PrinterSession& session,
                const PrinterSession::Sink& document);
    void Take(std::span<const uint8_t> document);
    // False when the printer is switched off meanwhile.
    bool PauseUntil(Clock::time_point due);
    bool Stopping();
    void SwitchOff();

    const Protocol& protocol_;
    const uint64_t bytes_per_second_;
    SocketLibrary sockets_;
    UniqueSocket listener_;
    std::wstring address_;

    std::mutex mutex_;
    std::condition_variable changed_;
    bool knocked_ = false;
    bool stopping_ = false;
    bool talking_ = false;
    Delivery delivery_;  // without its digest
    Sha256 sha256_;      // the server's, until it has ended

    std::thread server_;
};

}  // namespace ksp::print
