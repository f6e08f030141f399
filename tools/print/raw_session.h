#pragma once

#include "tools/print/protocol.h"

namespace ksp::print {

// Raw printing has no frame: every byte of the connection is the document's, and the printer says
// nothing.
class RawSession : public PrinterSession {
  public:
    std::string Receive(std::span<const uint8_t> bytes, const Sink& document) override {
        document(bytes);
        return {};
    }
};

}  // namespace ksp::print
