#pragma once

#include <cstddef>
#include <string>
#include <variant>
#include <vector>

#include "tests/faults/fault.h"
#include "tests/idprint/confirmation_service.h"
#include "tests/lpr/lpd_printer.h"
#include "tests/standins/loopback_printer.h"

namespace ksp::test {

// One thing that a printer can do wrong.
struct PrinterFailure {
    std::string name;  // for messages: "closes behind 1 bytes"
    // Below the transport's protocol a line printer daemon and the reachability check fail as any
    // listener does.
    std::variant<standins::PrinterBehavior, standins::LpdBehavior, ConfirmationBehavior> behavior;
    // It fails at the port of the reachability check; else where the data go.
    bool at_check = false;
    // The protocol acknowledges nothing from there on: the job is lost, and nobody can know.
    bool is_unnoticed = false;

    // No connection comes to be, so that the printer itself sees nothing of it.
    [[nodiscard]] bool RefusesConnections() const;
    [[nodiscard]] bool NeverAnswersConnections() const;
};

// What a transport's printer can do wrong to a job of so many blocks of so many bytes.
std::vector<PrinterFailure> FailuresOf(Transport transport);

// How a job is offered to the library, and thus where a printer may fail.
inline constexpr size_t kJobBlock = 1024;
inline constexpr size_t kJobBlocks = 4;

}  // namespace ksp::test
