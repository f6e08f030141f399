#pragma once

#include <cstdint>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "tests/lpr/lpd_printer.h"
#include "tests/standins/loopback_printer.h"

namespace ksp::test {

// A printer that goes from one trouble to the next at its address: each time a stand-in of another
// behaviour takes the place of the last. What came is remembered over all of them.
//
// Driven by one thread; the stand-ins serve their connections on threads of their own.
class TroubledPrinter {
  public:
    // A stand-in that takes plain bytes, or a line printer daemon.
    using Behavior = std::variant<standins::PrinterBehavior, standins::LpdBehavior>;

    // Nobody is there until Become. Without an address the printer takes a new one of its own.
    explicit TroubledPrinter(std::uint16_t port, std::string address = {});

    // Ends every connection of the stand-in before. False when the port could not be taken.
    [[nodiscard]] bool Become(const Behavior& behavior);
    // Accepts, reads and hurries from now on, on the connections that there are.
    void Recover();

    [[nodiscard]] const std::string& address() const { return endpoint_.address; }
    [[nodiscard]] std::wstring wide_address() const {
        return {endpoint_.address.begin(), endpoint_.address.end()};
    }

    // The document bytes of each connection, in their order: all bytes of a plain one, the data
    // file of one to a daemon. Waits until every connection has ended, and for so many to the
    // present stand-in: a job may be over before its connection was accepted.
    [[nodiscard]] std::vector<std::vector<std::uint8_t>> Documents(size_t expected);
    // A daemon's complaint about its peer; empty when there is none.
    [[nodiscard]] std::string Violations() const { return violations_; }

  private:
    void Collect();

    standins::Endpoint endpoint_;
    std::unique_ptr<standins::LoopbackPrinter> plain_;
    std::unique_ptr<standins::LpdPrinter> daemon_;
    std::vector<std::vector<std::uint8_t>> documents_;
    std::string violations_;
};

}  // namespace ksp::test
