#pragma once

#include <windows.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace ksp::print {

// The printer's end of one connection.
class PrinterSession {
  public:
    // Takes the next bytes of the document.
    using Sink = std::function<void(std::span<const uint8_t> document)>;

    virtual ~PrinterSession() = default;

    // Takes what arrived, passes on what of it belongs to the document, and returns what the
    // printer answers.
    virtual std::string Receive(std::span<const uint8_t> bytes, const Sink& document) = 0;
};

// A way to bring a job to a printer.
struct Protocol {
    std::wstring_view name;   // on the command line
    std::wstring_view title;  // in a sentence
    DWORD id;                 // ProtocolID of a port in the registry
    uint16_t port;            // TCP port of the printer
    const wchar_t* queue;     // QueueName of the port
    bool delivers_at_end;     // the job is spooled, and connects when it has ended
    bool has_answers;         // the printer says something
    std::unique_ptr<PrinterSession> (*new_session)();
};

std::span<const Protocol> Protocols();
// Null when there is none of that name.
const Protocol* FindProtocol(std::wstring_view name);

}  // namespace ksp::print
