#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

#include "tools/snmp_agent/printer_rows.h"
#include "tools/snmp_agent/snmp_agent.h"

namespace ksp::print {

// What happens to a printer before it takes a job: it is out of paper, somebody opens the door to
// put some in, closes it, and the printer is ready. Each trouble stands in the agent's rows and
// lasts until it was asked for, so that nobody who asks seldom misses it. Used by one thread.
class PrinterTroubles {
  public:
    // `agent` must outlive it.
    explicit PrinterTroubles(agent::SnmpAgent& agent);

    // Whether the printer is ready by now; to be asked often.
    bool AreOver();

  private:
    using Clock = std::chrono::steady_clock;
    enum class Stage { kNoPaper, kDoorOpen, kOver };

    void Enter(Stage stage, agent::PrinterState state, uint8_t trouble);
    bool IsDealtWith();

    agent::SnmpAgent& agent_;
    Stage stage_ = Stage::kNoPaper;
    size_t told_before_ = 0;  // by the agent, of troubles
    Clock::time_point since_;
    std::optional<Clock::time_point> noticed_;
};

}  // namespace ksp::print
