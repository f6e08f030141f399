#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tests/faults/fault.h"
#include "tests/idprint/confirmation_service.h"
#include "tests/lpr/lpd_printer.h"
#include "tests/standins/loopback_printer.h"

namespace ksp::test {

// The two places of one printer of a transport, on loopback addresses of their own: where it is at
// first, which may be a place where it fails, and where it moves to. A third address has nobody.
class Printers {
  public:
    // The ports of an ID-print printer.
    static constexpr WORD kRawPort = 9200;
    static constexpr WORD kCheckPort = 9101;
    // Bytes that a job offers in one write: where a printer may fail.
    static constexpr size_t kChunk = 1024;

    // What the printer at its first place can do wrong, numbered from 1; 0 does nothing wrong.
    Printers(Transport transport, size_t failure);
    // In how many ways a printer of a transport can fail.
    static size_t FailureCount(Transport transport);

    [[nodiscard]] bool ready() const;
    [[nodiscard]] const std::string& first() const { return first_; }
    [[nodiscard]] const std::string& second() const { return second_; }
    [[nodiscard]] const std::string& nobody() const { return nobody_; }
    // Only LPR has one: a daemon that takes the job command and refuses what follows.
    [[nodiscard]] const std::string& refusing() const { return refusing_; }

    // What each connection brought of a job's data, when it is over. LPR data count when they have
    // come in their announced length, with the octet that ends them or, if allowed, without it.
    [[nodiscard]] std::vector<std::string> Payloads(bool without_end = false);

  private:
    void Add(const std::string& address, standins::PrinterBehavior behavior);
    void Add(const std::string& address, standins::LpdBehavior behavior);
    void AddChecks(const std::string& address, ConfirmationBehavior behavior);

    Transport transport_;
    std::string first_;
    std::string second_;
    std::string nobody_;
    std::string refusing_;
    std::vector<std::unique_ptr<standins::LoopbackPrinter>> raw_;
    std::vector<std::unique_ptr<standins::LpdPrinter>> daemons_;
    std::vector<std::unique_ptr<ConfirmationService>> checks_;
};

}  // namespace ksp::test
