#include "tests/faults/printer_failures.h"

namespace ksp::test {
namespace {

using standins::LpdAnswer;
using standins::LpdBehavior;
using standins::LpdStep;
using standins::PrinterBehavior;
using Answer = PrinterBehavior::Answer;
using Then = LpdAnswer::Then;

// Behind the first byte of the last block.
constexpr size_t kInLastBlock = (kJobBlocks - 1) * kJobBlock + 1;
constexpr size_t kRequestSize = 8;  // of the reachability check

std::string Behind(const char* what, size_t bytes) {
    return std::string(what) + " behind " + std::to_string(bytes) + " bytes";
}

void AddConnectionFailures(bool at_check, std::vector<PrinterFailure>* failures) {
    const std::string where = at_check ? "check port: " : "";
    failures->push_back(
        {where + "refuses", PrinterBehavior{.answer = Answer::kRefuse}, at_check, false});
    failures->push_back({where + "connection never answered",
                         PrinterBehavior{.answer = Answer::kNeverAnswer, .close_after = 0},
                         at_check, false});
}

// A raw printer says nothing about what it took: one that goes with the last bytes of a job in its
// buffers, or in those of the system, is not found out by anybody.
std::vector<PrinterFailure> RawFailures() {
    std::vector<PrinterFailure> failures;
    AddConnectionFailures(false, &failures);
    for (const size_t bytes : {size_t{0}, size_t{1}, kJobBlock, kInLastBlock}) {
        const bool last = bytes == kInLastBlock;
        failures.push_back(
            {Behind("closes", bytes), PrinterBehavior{.close_after = bytes}, false, last});
        failures.push_back(
            {Behind("resets", bytes), PrinterBehavior{.reset_after = bytes}, false, last});
    }
    return failures;
}

void AddCheckFailures(std::vector<PrinterFailure>* failures) {
    AddConnectionFailures(true, failures);
    const auto add = [failures](const char* name, ConfirmationBehavior behavior) {
        failures->push_back({std::string("check ") + name, std::move(behavior), true, false});
    };
    add("closed without a reply", {.closes = true});
    add("never answered", {});
    add("closed in the middle of the reply", {.reply = {{ReplyCode(100)}}, .closes = true});
    add("answered with another code", {.reply = {{ReplyCode(101) + "OK"}}});
    add("answered with another text", {.reply = {{ReplyCode(100) + "NO"}}});
    failures->push_back({"check reset at once", PrinterBehavior{.reset_after = 0}, true, false});
    failures->push_back(
        {"check reset without a reply", PrinterBehavior{.reset_after = kRequestSize}, true, false});
    const auto half_a_reply = [](const std::vector<uint8_t>& received) {
        return received.size() == kRequestSize ? ReplyCode(100) : std::string();
    };
    failures->push_back({"check reset in the middle of the reply",
                         PrinterBehavior{.reset_after = kRequestSize, .responder = half_a_reply},
                         true, false});
}

const char* NameOf(LpdStep step) {
    switch (step) {
        case LpdStep::kReceiveJob:
            return "job command";
        case LpdStep::kControlCommand:
            return "control command";
        case LpdStep::kControlFile:
            return "control file";
        case LpdStep::kDataCommand:
            return "data command";
        case LpdStep::kDataFile:
            break;
    }
    return "data";
}

void AddAnswers(LpdStep step, bool is_lpr, std::vector<PrinterFailure>* failures) {
    const auto add = [&](const char* what, LpdAnswer answer, bool is_unnoticed) {
        failures->push_back({std::string(NameOf(step)) + " " + what,
                             LpdBehavior{.answers = {{step, std::move(answer)}}}, false,
                             is_unnoticed});
    };
    add("never acknowledged", {.bytes = ""}, false);
    add("refused", {.bytes = "\1"}, false);
    add("answered with a close", {.bytes = "", .then = Then::kClose}, false);
    add("answered with a reset", {.bytes = "", .then = Then::kReset}, false);
    if (step == LpdStep::kDataFile) {
        return;  // Behind this acknowledgement the job is at the printer.
    }
    // Over LPR the data themselves follow at once and fit the system's buffers.
    const bool data_follow = is_lpr && step == LpdStep::kDataCommand;
    const std::string good(1, '\0');
    add("acknowledged, then a close", {.bytes = good, .then = Then::kClose}, data_follow);
    add("acknowledged, then a reset", {.bytes = good, .then = Then::kReset}, data_follow);
}

std::vector<PrinterFailure> DaemonFailures(bool is_lpr) {
    std::vector<PrinterFailure> failures;
    AddConnectionFailures(false, &failures);
    failures.push_back({"hangs up", LpdBehavior{.hangs_up = true}, false, false});
    for (const LpdStep step : {LpdStep::kReceiveJob, LpdStep::kControlCommand,
                               LpdStep::kControlFile, LpdStep::kDataCommand}) {
        AddAnswers(step, is_lpr, &failures);
    }
    if (is_lpr) {
        AddAnswers(LpdStep::kDataFile, is_lpr, &failures);
    }
    for (const size_t bytes : {size_t{1}, kJobBlock, kInLastBlock}) {
        // An XLPR job comes block by block, an LPR job at once.
        const bool last = is_lpr || bytes == kInLastBlock;
        failures.push_back(
            {Behind("closes", bytes), LpdBehavior{.closes_after = bytes}, false, last});
        failures.push_back(
            {Behind("resets", bytes), LpdBehavior{.resets_after = bytes}, false, last});
    }
    return failures;
}

bool Answers(const PrinterFailure& failure, Answer answer) {
    const auto* listener = std::get_if<PrinterBehavior>(&failure.behavior);
    return listener != nullptr && listener->answer == answer;
}

}  // namespace

bool PrinterFailure::RefusesConnections() const {
    return Answers(*this, Answer::kRefuse);
}

bool PrinterFailure::NeverAnswersConnections() const {
    return Answers(*this, Answer::kNeverAnswer);
}

std::vector<PrinterFailure> FailuresOf(Transport transport) {
    if (transport == Transport::kLpr || transport == Transport::kXlpr) {
        return DaemonFailures(transport == Transport::kLpr);
    }
    std::vector<PrinterFailure> failures = RawFailures();
    if (transport == Transport::kIdPrint) {
        AddCheckFailures(&failures);
    }
    return failures;
}

}  // namespace ksp::test
