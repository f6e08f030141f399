#include "net/select_socket.h"

#include <algorithm>
#include <limits>

namespace ksp {

namespace {

timeval Seconds(std::uint32_t seconds) noexcept {
    // The field is signed: a larger setting would be refused as a negative time.
    constexpr auto kMost = static_cast<std::uint32_t>(std::numeric_limits<long>::max());
    timeval wait{};
    wait.tv_sec = static_cast<long>(std::min(seconds, kMost));
    return wait;
}

fd_set SetOf(SOCKET socket) noexcept {
    fd_set set{};
    set.fd_count = 1;
    set.fd_array[0] = socket;
    return set;
}

SocketReady Select(fd_set* read, fd_set* write, fd_set* exceptional, std::uint32_t seconds) {
    timeval wait = Seconds(seconds);
    const int result = ::select(0, read, write, exceptional, &wait);
    if (result == SOCKET_ERROR) {
        return SocketReady::kError;
    }
    if (result == 0) {
        return SocketReady::kTimeout;
    }
    return exceptional != nullptr && exceptional->fd_count != 0 ? SocketReady::kException
                                                                : SocketReady::kReady;
}

}  // namespace

SocketReady WaitReadable(SOCKET socket, std::uint32_t seconds) {
    fd_set set = SetOf(socket);
    return Select(&set, nullptr, nullptr, seconds);
}

SocketReady WaitWritable(SOCKET socket, std::uint32_t seconds) {
    fd_set set = SetOf(socket);
    return Select(nullptr, &set, nullptr, seconds);
}

SocketReady WaitConnected(SOCKET socket, std::uint32_t seconds) {
    fd_set writable = SetOf(socket);
    fd_set failed = SetOf(socket);
    return Select(nullptr, &writable, &failed, seconds);
}

}  // namespace ksp
