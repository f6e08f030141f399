#include "tests/faults/printers.h"

#include <algorithm>

namespace ksp::test {
namespace {

using standins::LoopbackPrinter;
using standins::LpdAnswer;
using standins::LpdBehavior;
using standins::LpdConnection;
using standins::LpdPrinter;
using standins::LpdStep;
using standins::PrinterBehavior;
using standins::PrinterConnection;

// A raw printer says nothing about what it took: one that goes with the last bytes of a job in its
// buffers is not found out by anybody, so each of these fails earlier.
std::vector<PrinterBehavior> RawFailures() {
    std::vector<PrinterBehavior> failures = {{.answer = PrinterBehavior::Answer::kRefuse},
                                             {.answer = PrinterBehavior::Answer::kNeverAnswer}};
    for (const size_t bytes : {size_t{0}, size_t{1}, Printers::kChunk}) {
        failures.push_back({.close_after = bytes});
        failures.push_back({.reset_after = bytes});
    }
    return failures;
}

std::vector<ConfirmationBehavior> CheckFailures() {
    return {
        {.closes = true},
        {},
        {.reply = {{ReplyCode(100)}}, .closes = true},
        {.reply = {{ReplyCode(101) + "OK"}}},
        {.reply = {{ReplyCode(100) + "NO"}}},
    };
}

std::vector<LpdBehavior> DaemonFailures(Transport transport) {
    std::vector<LpdBehavior> failures = {{.refuses = true}, {.hangs_up = true}};
    using Then = LpdAnswer::Then;
    const std::string good(1, '\0');
    std::vector<LpdStep> steps = {LpdStep::kReceiveJob, LpdStep::kControlCommand,
                                  LpdStep::kControlFile, LpdStep::kDataCommand};
    if (transport == Transport::kLpr) {
        steps.push_back(LpdStep::kDataFile);
    }
    for (const LpdStep step : steps) {
        std::vector<LpdAnswer> answers = {{.bytes = ""},
                                          {.bytes = "\1"},
                                          {.bytes = "", .then = Then::kClose},
                                          {.bytes = "", .then = Then::kReset}};
        if (step != LpdStep::kDataFile) {
            // Behind the last acknowledgement the job is at the printer.
            answers.push_back({.bytes = good, .then = Then::kClose});
            answers.push_back({.bytes = good, .then = Then::kReset});
        }
        for (const LpdAnswer& answer : answers) {
            failures.push_back({.answers = {{step, answer}}});
        }
    }
    for (const size_t bytes : {size_t{1}, Printers::kChunk}) {
        failures.push_back({.resets_after = bytes});
    }
    return failures;
}

std::string TextOf(const std::vector<uint8_t>& bytes) {
    return {bytes.begin(), bytes.end()};
}

}  // namespace

size_t Printers::FailureCount(Transport transport) {
    switch (transport) {
        case Transport::kRaw:
            return RawFailures().size();
        case Transport::kIdPrint:
            return RawFailures().size() + CheckFailures().size();
        case Transport::kLpr:
        case Transport::kXlpr:
            break;
    }
    return DaemonFailures(transport).size();
}

Printers::Printers(Transport transport, size_t failure)
    : transport_(transport),
      first_(standins::NewLoopbackAddress()),
      second_(standins::NewLoopbackAddress()),
      nobody_(standins::NewLoopbackAddress()) {
    if (transport == Transport::kRaw || transport == Transport::kIdPrint) {
        const std::vector<PrinterBehavior> failures = RawFailures();
        Add(first_,
            failure >= 1 && failure <= failures.size() ? failures[failure - 1] : PrinterBehavior{});
        Add(second_, PrinterBehavior{});
        if (transport == Transport::kIdPrint) {
            AddChecks(first_, failure > failures.size()
                                  ? CheckFailures()[failure - failures.size() - 1]
                                  : Ready());
            AddChecks(second_, Ready());
        }
        return;
    }
    Add(second_, LpdBehavior{});
    LpdBehavior failing = failure == 0 ? LpdBehavior{} : DaemonFailures(transport)[failure - 1];
    if (transport == Transport::kXlpr) {
        Add(first_, std::move(failing));
        return;
    }
    Add(first_, LpdBehavior{});
    refusing_ = standins::NewLoopbackAddress();
    if (failure == 0) {
        failing.answers[LpdStep::kControlCommand] = {.bytes = "\1"};
    }
    Add(refusing_, std::move(failing));
}

void Printers::Add(const std::string& address, PrinterBehavior behavior) {
    const uint16_t port = transport_ == Transport::kIdPrint ? kRawPort : LoopbackPrinter::kRawPort;
    raw_.push_back(
        std::make_unique<LoopbackPrinter>(std::move(behavior), standins::Endpoint{address, port}));
}

void Printers::Add(const std::string& address, LpdBehavior behavior) {
    daemons_.push_back(std::make_unique<LpdPrinter>(
        std::move(behavior), standins::Endpoint{address, LpdPrinter::kPort}));
}

void Printers::AddChecks(const std::string& address, ConfirmationBehavior behavior) {
    checks_.push_back(std::make_unique<ConfirmationService>(
        std::move(behavior), standins::Endpoint{address, kCheckPort}));
}

bool Printers::ready() const {
    const auto is_ready = [](const auto& printer) { return printer->ready(); };
    return std::all_of(raw_.begin(), raw_.end(), is_ready) &&
           std::all_of(daemons_.begin(), daemons_.end(), is_ready) &&
           std::all_of(checks_.begin(), checks_.end(), is_ready);
}

std::vector<std::string> Printers::Payloads(bool without_end) {
    std::vector<std::string> payloads;
    for (const auto& printer : raw_) {
        static_cast<void>(printer->WaitForEndings(printer->connections().size()));
        for (const PrinterConnection& connection : printer->connections()) {
            payloads.push_back(TextOf(connection.received));
        }
    }
    for (const auto& daemon : daemons_) {
        static_cast<void>(daemon->WaitForEndings(daemon->connections().size()));
        for (const LpdConnection& connection : daemon->connections()) {
            // An LPR job is whole when its announced length has come; XLPR ends it by closing.
            const bool came =
                without_end && connection.announced_data == std::to_string(connection.data.size());
            const bool ended = transport_ == Transport::kLpr
                                   ? connection.has_whole_data || came
                                   : connection.ending == LpdConnection::Ending::kByPeer;
            if (ended) {
                payloads.push_back(connection.data);
            }
        }
    }
    return payloads;
}

}  // namespace ksp::test
