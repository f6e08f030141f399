#pragma once

#include <winsock2.h>

#include <cstdint>
#include <string>
#include <utility>

namespace ksp::standins {

// Owns a socket; closed in the destructor.
class Socket {
  public:
    Socket() = default;
    explicit Socket(SOCKET handle) : handle_(handle) {}
    ~Socket() { Close(); }
    Socket(Socket&& other) noexcept : handle_(other.Release()) {}
    Socket& operator=(Socket&& other) noexcept {
        if (this != &other) {
            Close();
            handle_ = other.Release();
        }
        return *this;
    }
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;

    [[nodiscard]] bool valid() const { return handle_ != INVALID_SOCKET; }
    [[nodiscard]] SOCKET get() const { return handle_; }
    void Close();
    // Ends the connection with a reset in place of an orderly close.
    void CloseWithReset();

  private:
    SOCKET Release() { return std::exchange(handle_, INVALID_SOCKET); }

    SOCKET handle_ = INVALID_SOCKET;
};

// Keeps Windows Sockets started while it lives.
class SocketLibrary {
  public:
    SocketLibrary();
    ~SocketLibrary();
    SocketLibrary(const SocketLibrary&) = delete;
    SocketLibrary& operator=(const SocketLibrary&) = delete;
};

// An IPv4 end point; the address in dotted text, the port in host order.
struct Endpoint {
    std::string address;
    uint16_t port = 0;
};

// A loopback address (127.x.y.z) that no other caller of this process was given and that processes
// running at the same time hardly ever share. Connections that linger after one test thus never
// meet the next.
std::string NewLoopbackAddress();

// The sockets below are invalid when the system refuses; the thread's last socket error then says
// why.
Socket BindTo(const Endpoint& endpoint);
// Returns before the connection is made.
Socket StartConnecting(const Endpoint& endpoint);

enum class Readiness { kReadable, kWritable };
// False when the socket is not ready after that many milliseconds.
bool WaitUntilReady(const Socket& socket, Readiness readiness, int milliseconds);

uint16_t BoundPort(const Socket& socket);
uint16_t PeerPort(const Socket& socket);
bool SetNonBlocking(const Socket& socket);

}  // namespace ksp::standins
