#include "tests/idprint/confirmation_service.h"

#include <windows.h>

#include <algorithm>
#include <chrono>

namespace ksp::test {
namespace {

// How often the thread looks whether it is to stop, in milliseconds.
constexpr int kHeartbeat = 20;
constexpr size_t kRequestSize = 8;

using standins::Readiness;
using standins::Socket;

}  // namespace

std::string ReplyCode(unsigned code) {
    std::string bytes;
    for (unsigned place = 0; place < 4; ++place) {
        bytes += static_cast<char>(code >> 8 * place & 0xFF);
    }
    return bytes;
}

ConfirmationBehavior Ready() {
    return {.reply = {{ReplyCode(100) + "OK"}}};
}

ConfirmationService::ConfirmationService(ConfirmationBehavior behavior,
                                         const standins::Endpoint& endpoint)
    : listener_(standins::BindTo(endpoint)), behavior_(std::move(behavior)) {
    if (!listener_.valid() || listen(listener_.get(), SOMAXCONN) != 0) {
        listener_.Close();
        return;
    }
    thread_ = std::thread([this] { ServeUntilStopped(); });
}

ConfirmationService::~ConfirmationService() {
    stopping_ = true;
    if (thread_.joinable()) {
        thread_.join();
    }
}

std::vector<std::string> ConfirmationService::Requests(size_t count) {
    std::unique_lock lock(mutex_);
    changed_.wait_for(lock, std::chrono::milliseconds(kPatience),
                      [&] { return requests_.size() >= count; });
    return requests_;
}

void ConfirmationService::ServeUntilStopped() {
    while (!stopping_) {
        if (!WaitUntilReady(listener_, Readiness::kReadable, kHeartbeat)) {
            continue;
        }
        const Socket socket(accept(listener_.get(), nullptr, nullptr));
        if (!socket.valid()) {
            continue;
        }
        ConfirmationBehavior behavior;
        {
            const std::lock_guard lock(mutex_);
            behavior = behavior_;
        }
        std::string request = Serve(socket, behavior);
        const std::lock_guard lock(mutex_);
        requests_.push_back(std::move(request));
        changed_.notify_all();
    }
}

void ConfirmationService::SetBehavior(ConfirmationBehavior behavior) {
    const std::lock_guard lock(mutex_);
    behavior_ = std::move(behavior);
}

std::string ConfirmationService::Serve(const Socket& socket,
                                       const ConfirmationBehavior& behavior) const {
    std::string received;
    while (received.size() < kRequestSize) {
        if (!Receive(socket, &received)) {
            return received;
        }
    }
    Reply(socket, behavior);
    if (behavior.closes) {
        shutdown(socket.get(), SD_SEND);
    }
    while (Receive(socket, &received)) {
    }
    return received;
}

bool ConfirmationService::Receive(const Socket& socket, std::string* received) const {
    while (!WaitUntilReady(socket, Readiness::kReadable, kHeartbeat)) {
        if (stopping_) {
            return false;
        }
    }
    char bytes[64] = {};
    const int count = recv(socket.get(), bytes, sizeof(bytes), 0);
    if (count > 0) {
        received->append(bytes, static_cast<size_t>(count));
    }
    return count > 0;
}

void ConfirmationService::Reply(const Socket& socket, const ConfirmationBehavior& behavior) const {
    for (const ReplyPiece& piece : behavior.reply) {
        for (int left = piece.pause; left > 0 && !stopping_; left -= kHeartbeat) {
            Sleep(static_cast<DWORD>(std::min(left, kHeartbeat)));
        }
        send(socket.get(), piece.bytes.data(), static_cast<int>(piece.bytes.size()), 0);
    }
}

}  // namespace ksp::test
