#include "tools/print/demo_printer.h"

#include <algorithm>
#include <vector>

namespace ksp::print {
namespace {

constexpr std::chrono::milliseconds kHeartbeat{20};  // between looks at whether to stop
constexpr int kAddressAttempts = 20;
constexpr size_t kSmallestRead = 8192;
constexpr uint64_t kReadsPerSecond = 50;

}  // namespace

DemoPrinter::DemoPrinter(const Protocol& protocol, DemoPrinterOptions options)
    : protocol_(protocol), options_(options) {
    if (!TakeAddress()) {
        return;
    }
    facts_.address.assign(address_.begin(), address_.end());
    agent_ = std::make_unique<agent::SnmpAgent>(agent::SnmpAgentSettings{.address = facts_.address},
                                                agent::PrinterRows(facts_));
    if (options_.troubled && speaks_snmp()) {
        troubles_.emplace(*agent_);
    }
    server_ = std::thread([this] { Serve(); });
}

DemoPrinter::~DemoPrinter() {
    SwitchOff();
}

bool DemoPrinter::TakeAddress() {
    for (int attempt = 0; attempt < kAddressAttempts && !listener_; ++attempt) {
        const std::string address = host::RandomLoopbackAddress();
        listener_ = host::BindTo(address, protocol_.port);
        address_.assign(address.begin(), address.end());
    }
    // With the system's own large buffer the whole job would be taken at once.
    const int size = static_cast<int>(kSmallestRead);
    setsockopt(listener_.Get(), SOL_SOCKET, SO_RCVBUF, reinterpret_cast<const char*>(&size),
               sizeof(size));
    return static_cast<bool>(listener_);
}

std::wstring DemoPrinter::mac() const {
    constexpr wchar_t kDigits[] = L"0123456789ABCDEF";
    std::wstring text;
    for (const char c : facts_.mac) {
        const auto byte = static_cast<uint8_t>(c);
        text += kDigits[byte >> 4];
        text += kDigits[byte & 0x0F];
    }
    return text;
}

Delivery DemoPrinter::Finish(uint64_t expected_bytes, std::chrono::milliseconds patience) {
    {
        std::unique_lock lock(mutex_);
        changed_.wait_for(lock, patience,
                          [&] { return delivery_.bytes >= expected_bytes && !talking_; });
    }
    SwitchOff();
    delivery_.sha256 = sha256_.Finish();
    return delivery_;
}

void DemoPrinter::SwitchOff() {
    {
        const std::lock_guard lock(mutex_);
        stopping_ = true;
    }
    changed_.notify_all();
    if (server_.joinable()) {
        server_.join();
    }
}

bool DemoPrinter::Stopping() {
    const std::lock_guard lock(mutex_);
    return stopping_;
}

bool DemoPrinter::PauseUntil(Clock::time_point due) {
    std::unique_lock lock(mutex_);
    return !changed_.wait_until(lock, due, [&] { return stopping_; });
}

bool DemoPrinter::WaitUntilReady() {
    while (troubles_ && !troubles_->AreOver()) {
        if (!PauseUntil(Clock::now() + kHeartbeat)) {
            return false;
        }
    }
    return true;
}

void DemoPrinter::Serve() {
    if ((!protocol_.has_answers && !WaitUntilReady()) || listen(listener_.Get(), SOMAXCONN) != 0) {
        return;
    }
    while (!Stopping()) {
        if (!host::WaitReadable(listener_, kHeartbeat)) {
            continue;
        }
        const UniqueSocket socket(accept(listener_.Get(), nullptr, nullptr));
        if (!socket) {
            continue;
        }
        {
            const std::lock_guard lock(mutex_);
            ++delivery_.connections;
            talking_ = true;
        }
        if (WaitUntilReady()) {
            agent_->Put(agent::kPrinterStateRow, agent::StateValue(agent::PrinterState::kPrinting));
            Talk(socket);
        }
        agent_->Put(agent::kPrinterStateRow, agent::StateValue(agent::PrinterState::kIdle));
        {
            const std::lock_guard lock(mutex_);
            talking_ = false;
        }
        changed_.notify_all();
    }
}

void DemoPrinter::Talk(const UniqueSocket& socket) {
    const std::unique_ptr<PrinterSession> session = protocol_.new_session();
    JobHeaderSplitter splitter;
    const auto take = [this](std::span<const uint8_t> document) { Take(document); };
    Listen(socket, *session, [&](std::span<const uint8_t> bytes) { splitter.Take(bytes, take); });
    splitter.Finish(take);
    const std::lock_guard lock(mutex_);
    delivery_.job_header += splitter.header();
}

void DemoPrinter::Listen(const UniqueSocket& socket, PrinterSession& session,
                         const PrinterSession::Sink& document) {
    const uint64_t speed = std::max<uint64_t>(options_.bytes_per_second, 1);
    std::vector<uint8_t> buffer(std::max<uint64_t>(kSmallestRead, speed / kReadsPerSecond));
    uint64_t received = 0;
    const Clock::time_point start = Clock::now();
    while (!Stopping()) {
        if (!host::WaitReadable(socket, kHeartbeat)) {
            continue;
        }
        const int count = recv(socket.Get(), reinterpret_cast<char*>(buffer.data()),
                               static_cast<int>(buffer.size()), 0);
        if (count <= 0) {
            return;
        }
        const std::span<const uint8_t> bytes(buffer.data(), static_cast<size_t>(count));
        received += bytes.size();
        const std::string answer = session.Receive(bytes, document);
        if (!answer.empty()) {
            send(socket.Get(), answer.data(), static_cast<int>(answer.size()), 0);
        }
        if (!PauseUntil(start + std::chrono::milliseconds(received * 1000 / speed))) {
            return;
        }
    }
}

void DemoPrinter::Take(std::span<const uint8_t> document) {
    sha256_.Add(document);
    const std::lock_guard lock(mutex_);
    delivery_.bytes += document.size();
}

}  // namespace ksp::print
