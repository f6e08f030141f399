#include "tests/standins/loopback_socket.h"

#include <windows.h>

#include <atomic>
#include <random>

namespace ksp::standins {
namespace {

// False when the text is no dotted address.
bool ToSocketAddress(const Endpoint& endpoint, sockaddr_in* address) {
    *address = {};
    address->sin_family = AF_INET;
    address->sin_port = htons(endpoint.port);
    address->sin_addr.s_addr = inet_addr(endpoint.address.c_str());
    return address->sin_addr.s_addr != INADDR_NONE;
}

Socket NewStreamSocket() {
    return Socket(socket(AF_INET, SOCK_STREAM, IPPROTO_TCP));
}

uint16_t PortOf(int result, const sockaddr_in& address) {
    return result == 0 ? ntohs(address.sin_port) : static_cast<uint16_t>(0);
}

}  // namespace

void Socket::Close() {
    const SOCKET handle = Release();
    if (handle != INVALID_SOCKET) {
        closesocket(handle);
    }
}

void Socket::CloseWithReset() {
    const linger at_once = {1, 0};
    setsockopt(handle_, SOL_SOCKET, SO_LINGER, reinterpret_cast<const char*>(&at_once),
               sizeof(at_once));
    Close();
}

SocketLibrary::SocketLibrary() {
    WSADATA data = {};
    WSAStartup(MAKEWORD(2, 2), &data);
}

SocketLibrary::~SocketLibrary() {
    WSACleanup();
}

std::string NewLoopbackAddress() {
    // 127.1.0.1 to 127.254.255.254, from a place of this process's own: a run that starts when the
    // last one has just ended must not meet its connections either.
    static const unsigned start = std::random_device()();
    static std::atomic<unsigned> counter = 0;
    const unsigned number = start + ++counter;
    const unsigned high = 1 + number / (256 * 254) % 254;
    const unsigned middle = number / 254 % 256;
    const unsigned low = 1 + number % 254;
    return "127." + std::to_string(high) + "." + std::to_string(middle) + "." + std::to_string(low);
}

Socket BindTo(const Endpoint& endpoint) {
    sockaddr_in address = {};
    Socket result = NewStreamSocket();
    if (!result.valid() || !ToSocketAddress(endpoint, &address) ||
        bind(result.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
        return {};
    }
    return result;
}

Socket StartConnecting(const Endpoint& endpoint) {
    sockaddr_in address = {};
    Socket result = NewStreamSocket();
    if (!result.valid() || !ToSocketAddress(endpoint, &address) || !SetNonBlocking(result)) {
        return {};
    }
    const int connected =
        connect(result.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address));
    if (connected != 0 && WSAGetLastError() != WSAEWOULDBLOCK) {
        return {};
    }
    return result;
}

bool WaitUntilReady(const Socket& socket, Readiness readiness, int milliseconds) {
    fd_set set;
    FD_ZERO(&set);
    FD_SET(socket.get(), &set);
    timeval patience = {milliseconds / 1000, milliseconds % 1000 * 1000};
    const bool read = readiness == Readiness::kReadable;
    return select(0, read ? &set : nullptr, read ? nullptr : &set, nullptr, &patience) == 1;
}

uint16_t BoundPort(const Socket& socket) {
    sockaddr_in address = {};
    int size = sizeof(address);
    return PortOf(getsockname(socket.get(), reinterpret_cast<sockaddr*>(&address), &size), address);
}

uint16_t PeerPort(const Socket& socket) {
    sockaddr_in address = {};
    int size = sizeof(address);
    return PortOf(getpeername(socket.get(), reinterpret_cast<sockaddr*>(&address), &size), address);
}

bool SetNonBlocking(const Socket& socket) {
    u_long on = 1;
    return ioctlsocket(socket.get(), static_cast<long>(FIONBIO), &on) == 0;
}

}  // namespace ksp::standins
