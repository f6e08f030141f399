#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "tools/host/socket.h"
#include "tools/print/job_header_splitter.h"
#include "tools/print/printer_troubles.h"
#include "tools/print/protocol.h"
#include "tools/print/sha256.h"
#include "tools/snmp_agent/printer_rows.h"
#include "tools/snmp_agent/snmp_agent.h"

namespace ksp::print {

// What a printer received: the bytes of all connections, one after the other.
struct Delivery {
    uint64_t bytes = 0;
    std::wstring sha256;  // see Sha256::Finish
    size_t connections = 0;
    std::string job_header;  // of an ID-print job; not counted as bytes
};

struct DemoPrinterOptions {
    uint64_t bytes_per_second = 100'000'000;
    bool troubled = false;  // see PrinterTroubles
};

// A printer on a loopback address of its own, at the protocol's usual port, and its SNMP agent on
// the same address. It reads no faster than a printer prints, and takes one connection after the
// other.
//
// Threads of its own serve it from construction to Finish.
class DemoPrinter {
  public:
    DemoPrinter(const Protocol& protocol, DemoPrinterOptions options);
    ~DemoPrinter();
    DemoPrinter(const DemoPrinter&) = delete;
    DemoPrinter& operator=(const DemoPrinter&) = delete;

    // False when no loopback address could be taken; nothing else works then.
    [[nodiscard]] bool ready() const { return static_cast<bool>(listener_); }
    [[nodiscard]] const std::wstring& address() const { return address_; }
    // Its MAC address, in 12 digits.
    [[nodiscard]] std::wstring mac() const;
    // False when UDP port 161 could not be taken. Without SNMP it has no troubles.
    [[nodiscard]] bool speaks_snmp() const { return agent_->ready(); }

    // Waits until so many bytes have arrived and the connection has ended, but no longer than
    // `patience`; then switches the printer off and tells what it got.
    Delivery Finish(uint64_t expected_bytes, std::chrono::milliseconds patience);

  private:
    using Clock = std::chrono::steady_clock;

    bool TakeAddress();
    void Serve();
    void Talk(const UniqueSocket& socket);
    void Listen(const UniqueSocket& socket, PrinterSession& session,
                const PrinterSession::Sink& document);
    void Take(std::span<const uint8_t> document);
    // Both are false when the printer is switched off meanwhile.
    bool PauseUntil(Clock::time_point due);
    bool WaitUntilReady();
    bool Stopping();
    void SwitchOff();

    const Protocol& protocol_;
    const DemoPrinterOptions options_;
    host::SocketLibrary sockets_;
    UniqueSocket listener_;
    std::wstring address_;
    agent::PrinterFacts facts_;
    std::unique_ptr<agent::SnmpAgent> agent_;  // there from the constructor on
    std::optional<PrinterTroubles> troubles_;  // the server's; none without troubles

    std::mutex mutex_;
    std::condition_variable changed_;
    bool stopping_ = false;
    bool talking_ = false;
    Delivery delivery_;  // without its digest
    Sha256 sha256_;      // the server's, until it has ended

    std::thread server_;
};

}  // namespace ksp::print
