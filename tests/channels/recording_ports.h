#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "channels/port_services.h"

namespace ksp::test {

// The ports above a channel: notes what it asks, as "SetPortStatus 7 0x0", and answers what a test
// chose. The channel lives on one thread, and so does this.
class RecordingPorts final : public IPortServices {
  public:
    bool GetPrinterStatus(std::uint32_t port_id, std::uint32_t& status) override {
        calls_.push_back("GetPrinterStatus " + std::to_string(port_id));
        if (knows_printer) {
            status = printer_status;
        }
        return knows_printer;
    }
    bool SetPortStatus(std::uint32_t port_id, std::uint32_t status) override {
        char text[64] = {};
        static_cast<void>(
            std::snprintf(text, sizeof(text), "SetPortStatus %u 0x%X", port_id, status));
        calls_.emplace_back(text);
        return true;
    }
    bool ClearPortStatus(std::uint32_t port_id) override {
        calls_.push_back("ClearPortStatus " + std::to_string(port_id));
        return knows_port;
    }
    bool IsJobEnded(std::uint32_t port_id) override {
        calls_.push_back("IsJobEnded " + std::to_string(port_id));
        return false;
    }
    bool SetJobError(std::uint32_t port_id) override {
        calls_.push_back("SetJobError " + std::to_string(port_id));
        return true;
    }

    // What was asked since the last call of this.
    std::vector<std::string> TakeCalls() {
        std::vector<std::string> calls;
        calls.swap(calls_);
        return calls;
    }

    bool knows_port = true;
    bool knows_printer = true;
    std::uint32_t printer_status = 0;

  private:
    std::vector<std::string> calls_;
};

}  // namespace ksp::test
