#include "tools/host/socket.h"

#include <random>

namespace ksp::host {

sockaddr_in SocketAddress(const std::string& address, uint16_t port) {
    sockaddr_in name = {};
    name.sin_family = AF_INET;
    name.sin_port = htons(port);
    name.sin_addr.s_addr = inet_addr(address.c_str());
    return name;
}

UniqueSocket BindTo(const std::string& address, uint16_t port) {
    const sockaddr_in name = SocketAddress(address, port);
    UniqueSocket result(socket(AF_INET, SOCK_STREAM, IPPROTO_TCP));
    if (!result || name.sin_addr.s_addr == INADDR_NONE ||
        bind(result.Get(), reinterpret_cast<const sockaddr*>(&name), sizeof(name)) != 0) {
        return {};
    }
    return result;
}

bool WaitReadable(const UniqueSocket& socket, std::chrono::microseconds patience) {
    constexpr int64_t kMicroseconds = 1'000'000;
    fd_set set;
    FD_ZERO(&set);
    FD_SET(socket.Get(), &set);
    timeval time = {static_cast<long>(patience.count() / kMicroseconds),
                    static_cast<long>(patience.count() % kMicroseconds)};
    return select(0, &set, nullptr, nullptr, &time) == 1;
}

std::string RandomLoopbackAddress() {
    std::random_device random;
    std::uniform_int_distribution<int> inner(1, 254);
    std::uniform_int_distribution<int> any(0, 255);
    return "127." + std::to_string(inner(random)) + "." + std::to_string(any(random)) + "." +
           std::to_string(inner(random));
}

}  // namespace ksp::host
