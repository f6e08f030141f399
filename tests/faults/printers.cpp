#include "tests/faults/printers.h"

#include <algorithm>

namespace ksp::test {
namespace {

using standins::LoopbackPrinter;
using standins::LpdBehavior;
using standins::LpdConnection;
using standins::LpdPrinter;
using standins::LpdStep;
using standins::PrinterBehavior;
using standins::PrinterConnection;

constexpr size_t kRequestSize = 8;  // of the reachability check

std::string TextOf(const std::vector<uint8_t>& bytes) {
    return {bytes.begin(), bytes.end()};
}

}  // namespace

std::wstring Wide(const std::string& address) {
    return {address.begin(), address.end()};
}

Printers::Printers(Transport transport, std::optional<PrinterFailure> failure)
    : transport_(transport),
      failure_(std::move(failure)),
      first_(standins::NewLoopbackAddress()),
      second_(standins::NewLoopbackAddress()),
      nobody_(standins::NewLoopbackAddress()) {
    const bool daemons = transport == Transport::kLpr || transport == Transport::kXlpr;
    if (transport == Transport::kLpr) {
        refusing_ = standins::NewLoopbackAddress();
    }
    if (failure_) {
        AddFailing(beginning());
    } else if (transport == Transport::kLpr) {
        Add(refusing_, LpdBehavior{.answers = {{LpdStep::kControlCommand, {.bytes = "\1"}}}});
    }
    for (const std::string& address : {first_, second_}) {
        const bool fails = failure_ && address == beginning();
        const bool fails_at_check = fails && failure_->at_check;
        if (daemons && !fails) {
            Add(address, LpdBehavior{});
        } else if (!daemons && (!fails || fails_at_check)) {
            Add(address, PrinterBehavior{});
        }
        if (transport == Transport::kIdPrint && !fails_at_check) {
            AddChecks(address, Ready());
        }
    }
}

void Printers::AddFailing(const std::string& address) {
    if (const auto* daemon = std::get_if<LpdBehavior>(&failure_->behavior)) {
        Add(address, *daemon);
    } else if (const auto* check = std::get_if<ConfirmationBehavior>(&failure_->behavior)) {
        AddChecks(address, *check);
    } else if (const auto& listener = std::get<PrinterBehavior>(failure_->behavior);
               failure_->at_check) {
        broken_check_ =
            std::make_unique<LoopbackPrinter>(listener, standins::Endpoint{address, kCheckPort});
    } else {
        Add(address, listener);
    }
}

void Printers::EndSilence() {
    for (const auto& printer : raw_) {
        printer->StartAnswering();
    }
}

void Printers::WaitForEndings() {
    const auto wait = [](auto& printer) {
        static_cast<void>(printer.WaitForEndings(printer.connections().size()));
    };
    for (const auto& printer : raw_) {
        wait(*printer);
    }
    for (const auto& daemon : daemons_) {
        wait(*daemon);
    }
    if (broken_check_ != nullptr) {
        wait(*broken_check_);
    }
}

bool Printers::HaveMisbehaved() {
    if (const auto* daemon = std::get_if<LpdBehavior>(&failure_->behavior)) {
        const std::vector<LpdConnection> connections = daemons_.front()->connections();
        return std::any_of(connections.begin(), connections.end(), [&](const auto& connection) {
            if (daemon->answers.empty()) {
                return connection.ending == LpdConnection::Ending::kByDaemon;
            }
            return std::count(connection.answered.begin(), connection.answered.end(),
                              daemon->answers.begin()->first) > 0;
        });
    }
    if (std::holds_alternative<ConfirmationBehavior>(failure_->behavior)) {
        const std::vector<std::string> requests = checks_.front()->Requests(0);
        return std::any_of(requests.begin(), requests.end(), [](const std::string& request) {
            return request.size() >= kRequestSize;
        });
    }
    const std::vector<PrinterConnection> connections =
        (broken_check_ ? broken_check_ : raw_.front())->connections();
    return std::any_of(connections.begin(), connections.end(), [](const auto& connection) {
        return connection.ending == PrinterConnection::Ending::kByPrinter;
    });
}

void Printers::Add(const std::string& address, PrinterBehavior behavior) {
    const uint16_t port = transport_ == Transport::kIdPrint ? kRawPort
                          : transport_ == Transport::kRaw   ? LoopbackPrinter::kRawPort
                                                            : LpdPrinter::kPort;
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
           std::all_of(checks_.begin(), checks_.end(), is_ready) &&
           (broken_check_ == nullptr || broken_check_->ready());
}

std::vector<Arrival> Printers::Arrivals(bool without_end) {
    std::vector<Arrival> arrivals;
    for (const auto& printer : raw_) {
        static_cast<void>(printer->WaitForEndings(printer->connections().size()));
        for (const PrinterConnection& connection : printer->connections()) {
            arrivals.push_back({TextOf(connection.received),
                                connection.ending == PrinterConnection::Ending::kByPeer});
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
            arrivals.push_back({connection.data, ended});
        }
    }
    return arrivals;
}

}  // namespace ksp::test
