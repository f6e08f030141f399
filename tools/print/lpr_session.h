#pragma once

#include <cstdint>
#include <string>

#include "tools/print/protocol.h"

namespace ksp::print {

// The daemon's end of an LPR connection (RFC 1179): acknowledges the receive-job command, the
// control file and the data file, and passes on what the data file holds. XLPR speaks the same
// commands and announces more data than come: the connection's end is theirs.
class LprSession : public PrinterSession {
  public:
    std::string Receive(std::span<const uint8_t> bytes, const Sink& document) override;

  private:
    enum class Expect { kJobCommand, kFileCommand, kControlFile, kDataFile, kEndOfFile };

    // Takes some of the bytes and returns how many; adds what is to be answered.
    size_t Take(std::span<const uint8_t> bytes, const Sink& document, std::string* answer);
    size_t TakeLine(std::span<const uint8_t> bytes, std::string* answer);
    void RunFileCommand();

    Expect expect_ = Expect::kJobCommand;
    std::string line_;   // of a command that is not whole yet
    uint64_t rest_ = 0;  // bytes of the file that are still to come
};

}  // namespace ksp::print
