#include "tools/print/printer_troubles.h"

namespace ksp::print {
namespace {

constexpr std::chrono::milliseconds kHandling{500};  // from noticing a trouble to the next step
constexpr std::chrono::seconds kUnnoticed{30};       // then somebody passes by

}  // namespace

PrinterTroubles::PrinterTroubles(agent::SnmpAgent& agent) : agent_(agent) {
    Enter(Stage::kNoPaper, agent::PrinterState::kOther, agent::kNoPaper);
}

bool PrinterTroubles::AreOver() {
    if (stage_ == Stage::kNoPaper && IsDealtWith()) {
        Enter(Stage::kDoorOpen, agent::PrinterState::kOther, agent::kDoorOpen);
    } else if (stage_ == Stage::kDoorOpen && IsDealtWith()) {
        Enter(Stage::kOver, agent::PrinterState::kIdle, agent::kNoTrouble);
    }
    return stage_ == Stage::kOver;
}

void PrinterTroubles::Enter(Stage stage, agent::PrinterState state, uint8_t trouble) {
    stage_ = stage;
    agent_.Put(agent::kPrinterStateRow, agent::StateValue(state));
    agent_.Put(agent::kPrinterTroubleRow, agent::TroubleValue(trouble));
    told_before_ = agent_.TimesTold(agent::kPrinterTroubleRow);
    since_ = Clock::now();
    noticed_.reset();
}

bool PrinterTroubles::IsDealtWith() {
    const Clock::time_point now = Clock::now();
    if (!noticed_ && (agent_.TimesTold(agent::kPrinterTroubleRow) > told_before_ ||
                      now - since_ >= kUnnoticed)) {
        noticed_ = now;
    }
    return noticed_ && now - *noticed_ >= kHandling;
}

}  // namespace ksp::print
