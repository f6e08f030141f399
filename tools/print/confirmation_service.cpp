#include "tools/print/confirmation_service.h"

#include <chrono>
#include <string_view>

namespace ksp::print {
namespace {

constexpr std::chrono::milliseconds kHeartbeat{20};  // between looks at whether to stop
constexpr int kLooksForRequest = 500;
constexpr std::string_view kRequest = "CONF_REQ";
constexpr std::string_view kAnswer("\x64\0\0\0OK", 6);

}  // namespace

ConfirmationService::ConfirmationService(const std::wstring& address) {
    listener_ = host::BindTo({address.begin(), address.end()}, 0);
    sockaddr_in name = {};
    int size = sizeof(name);
    if (!listener_ || listen(listener_.Get(), SOMAXCONN) != 0 ||
        getsockname(listener_.Get(), reinterpret_cast<sockaddr*>(&name), &size) != 0) {
        return;
    }
    port_ = ntohs(name.sin_port);
    server_ = std::thread([this] { Serve(); });
}

ConfirmationService::~ConfirmationService() {
    stopping_ = true;
    if (server_.joinable()) {
        server_.join();
    }
}

std::string ConfirmationService::asked() const {
    const std::lock_guard lock(mutex_);
    return asked_;
}

std::string ConfirmationService::answered() const {
    const std::lock_guard lock(mutex_);
    return answered_;
}

void ConfirmationService::Serve() {
    while (!stopping_) {
        if (host::WaitReadable(listener_, kHeartbeat)) {
            Converse(UniqueSocket(accept(listener_.Get(), nullptr, nullptr)));
        }
    }
}

void ConfirmationService::Converse(const UniqueSocket& socket) {
    std::string request;
    for (int look = 0;
         socket && request.size() < kRequest.size() && look < kLooksForRequest && !stopping_;
         ++look) {
        if (!host::WaitReadable(socket, kHeartbeat)) {
            continue;
        }
        char bytes[16];
        const int count = recv(socket.Get(), bytes, sizeof(bytes), 0);
        if (count <= 0) {
            return;
        }
        request.append(bytes, static_cast<size_t>(count));
    }
    const bool known = request == kRequest;
    const std::lock_guard lock(mutex_);
    asked_ += request;
    if (known && send(socket.Get(), kAnswer.data(), static_cast<int>(kAnswer.size()), 0) ==
                     static_cast<int>(kAnswer.size())) {
        answered_ += kAnswer;
    }
}

}  // namespace ksp::print
