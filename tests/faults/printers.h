#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tests/faults/fault.h"
#include "tests/faults/job_report.h"
#include "tests/faults/printer_failures.h"
#include "tests/idprint/confirmation_service.h"
#include "tests/lpr/lpd_printer.h"
#include "tests/standins/loopback_printer.h"

namespace ksp::test {

// An address, which is all ASCII.
std::wstring Wide(const std::string& address);

// The two places of one printer of a transport, on loopback addresses of their own: where it is at
// first, which may be a place where it fails, and where it moves to. A third address has nobody.
class Printers {
  public:
    // The ports of an ID-print printer.
    static constexpr WORD kRawPort = 9200;
    static constexpr WORD kCheckPort = 9101;

    // What the printer does wrong where it is at first; nothing without a failure.
    Printers(Transport transport, std::optional<PrinterFailure> failure);

    [[nodiscard]] bool ready() const;
    [[nodiscard]] const std::string& first() const { return first_; }
    [[nodiscard]] const std::string& second() const { return second_; }
    [[nodiscard]] const std::string& nobody() const { return nobody_; }
    // Only LPR has one: a daemon that takes the job command and refuses what follows.
    [[nodiscard]] const std::string& refusing() const { return refusing_; }
    // Where the printer's first job goes, and where it fails.
    [[nodiscard]] const std::string& beginning() const {
        return refusing_.empty() ? first_ : refusing_;
    }

    [[nodiscard]] const std::optional<PrinterFailure>& failure() const { return failure_; }
    // A printer that never answers connections ends them from now on.
    void EndSilence();
    // Once nobody talks to the printers any more: until they have noticed.
    void WaitForEndings();
    // Whether a connection met the failure. Where no connection comes to be, no printer can tell.
    [[nodiscard]] bool HaveMisbehaved();

    // What each connection brought of a job's data, when it is over. LPR data count as ended with
    // the octet that ends them or, if allowed, when they have come in their announced length
    // without it.
    [[nodiscard]] std::vector<Arrival> Arrivals(bool without_end = false);

  private:
    void Add(const std::string& address, standins::PrinterBehavior behavior);
    void Add(const std::string& address, standins::LpdBehavior behavior);
    void AddChecks(const std::string& address, ConfirmationBehavior behavior);
    void AddFailing(const std::string& address);

    Transport transport_;
    std::optional<PrinterFailure> failure_;
    std::string first_;
    std::string second_;
    std::string nobody_;
    std::string refusing_;
    // The stand-ins that fail are the first of their kind.
    std::vector<std::unique_ptr<standins::LoopbackPrinter>> raw_;
    std::vector<std::unique_ptr<standins::LpdPrinter>> daemons_;
    std::vector<std::unique_ptr<ConfirmationService>> checks_;
    std::unique_ptr<standins::LoopbackPrinter> broken_check_;
};

}  // namespace ksp::test
