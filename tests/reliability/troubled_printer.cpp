#include "tests/reliability/troubled_printer.h"

#include <algorithm>
#include <utility>

namespace ksp::test {

TroubledPrinter::TroubledPrinter(std::uint16_t port, std::string address)
    : endpoint_{address.empty() ? standins::NewLoopbackAddress() : std::move(address), port} {}

bool TroubledPrinter::Become(const Behavior& behavior) {
    Collect();
    if (const auto* plain = std::get_if<standins::PrinterBehavior>(&behavior)) {
        plain_ = std::make_unique<standins::LoopbackPrinter>(*plain, endpoint_);
        return plain_->ready();
    }
    daemon_ = std::make_unique<standins::LpdPrinter>(std::get<standins::LpdBehavior>(behavior),
                                                     endpoint_);
    return daemon_->ready();
}

void TroubledPrinter::Recover() {
    if (plain_) {
        plain_->StartAnswering();
        plain_->StartReading();
        plain_->Hurry();
    }
    if (daemon_) {
        daemon_->StartReading();
        daemon_->Hurry();
    }
}

std::vector<std::vector<std::uint8_t>> TroubledPrinter::Documents(size_t expected) {
    if (plain_) {
        static_cast<void>(plain_->WaitForEndings(std::max(expected, plain_->connections().size())));
    }
    if (daemon_) {
        static_cast<void>(
            daemon_->WaitForEndings(std::max(expected, daemon_->connections().size())));
    }
    Collect();
    return documents_;
}

void TroubledPrinter::Collect() {
    if (plain_) {
        for (auto& connection : plain_->connections()) {
            documents_.push_back(std::move(connection.received));
        }
    }
    if (daemon_) {
        for (const auto& connection : daemon_->connections()) {
            documents_.emplace_back(connection.data.begin(), connection.data.end());
            violations_ += connection.violation;
        }
    }
    plain_.reset();
    daemon_.reset();
}

}  // namespace ksp::test
