#include "tools/print/demo_printer.h"

#include <algorithm>
#include <random>
#include <vector>

namespace ksp::print {
namespace {

constexpr std::chrono::seconds kWakeTime{1};
constexpr long kHeartbeat = 20'000;  // microseconds between looks at whether to stop
constexpr int kAddressAttempts = 20;
constexpr size_t kSmallestRead = 8192;
constexpr uint64_t kReadsPerSecond = 50;

// Of 127.1.0.1 to 127.254.255.254, so that printers that run at the same time hardly ever meet.
std::string RandomLoopbackAddress() {
    std::random_device random;
    std::uniform_int_distribution<int> inner(1, 254);
    std::uniform_int_distribution<int> any(0, 255);
    return "127." + std::to_string(inner(random)) + "." + std::to_string(any(random)) + "." +
           std::to_string(inner(random));
}

UniqueSocket BindTo(const std::string& address, uint16_t port) {
    sockaddr_in name = {};
    name.sin_family = AF_INET;
    name.sin_port = htons(port);
    name.sin_addr.s_addr = inet_addr(address.c_str());
    UniqueSocket result(socket(AF_INET, SOCK_STREAM, IPPROTO_TCP));
    if (!result ||
        bind(result.Get(), reinterpret_cast<const sockaddr*>(&name), sizeof(name)) != 0) {
        return {};
    }
    return result;
}

bool WaitReadable(const UniqueSocket& socket) {
    fd_set set;
    FD_ZERO(&set);
    FD_SET(socket.Get(), &set);
    timeval patience = {0, kHeartbeat};
    return select(0, &set, nullptr, nullptr, &patience) == 1;
}

}  // namespace

DemoPrinter::DemoPrinter(const Protocol& protocol, uint64_t bytes_per_second)
    : protocol_(protocol), bytes_per_second_(std::max<uint64_t>(bytes_per_second, 1)) {
    if (TakeAddress()) {
        server_ = std::thread([this] { Serve(); });
    }
}

DemoPrinter::~DemoPrinter() {
    SwitchOff();
}

// Taken from the start, so that nobody else comes to listen there while the printer sleeps.
bool DemoPrinter::TakeAddress() {
    for (int attempt = 0; attempt < kAddressAttempts && !listener_; ++attempt) {
        const std::string address = RandomLoopbackAddress();
        listener_ = BindTo(address, protocol_.port);
        address_.assign(address.begin(), address.end());
    }
    if (!listener_) {
        return false;
    }
    // With the system's own large buffer the whole job would be taken at once.
    const int size = static_cast<int>(kSmallestRead);
    setsockopt(listener_.Get(), SOL_SOCKET, SO_RCVBUF, reinterpret_cast<const char*>(&size),
               sizeof(size));
    return true;
}

void DemoPrinter::Knock() {
    {
        const std::lock_guard lock(mutex_);
        knocked_ = true;
    }
    changed_.notify_all();
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

bool DemoPrinter::WakeUp() {
    {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [&] { return knocked_ || stopping_; });
    }
    return PauseUntil(Clock::now() + kWakeTime) && listen(listener_.Get(), SOMAXCONN) == 0;
}

void DemoPrinter::Serve() {
    if (!WakeUp()) {
        return;
    }
    while (!Stopping()) {
        if (!WaitReadable(listener_)) {
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
        Talk(socket);
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
    const Clock::time_point start = Clock::now();
    std::vector<uint8_t> buffer(
        std::max<uint64_t>(kSmallestRead, bytes_per_second_ / kReadsPerSecond));
    uint64_t received = 0;
    while (!Stopping()) {
        if (!WaitReadable(socket)) {
            continue;
        }
        const int count = recv(socket.Get(), reinterpret_cast<char*>(buffer.data()),
                               static_cast<int>(buffer.size()), 0);
        if (count <= 0) {
            return;
        }
        received += static_cast<uint64_t>(count);
        const std::string answer =
            session.Receive(std::span(buffer).first(static_cast<size_t>(count)), document);
        if (!answer.empty()) {
            send(socket.Get(), answer.data(), static_cast<int>(answer.size()), 0);
        }
        const std::chrono::milliseconds due(received * 1000 / bytes_per_second_);
        if (!PauseUntil(start + due)) {
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
