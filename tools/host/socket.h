#pragma once

#include <winsock2.h>

#include <chrono>
#include <cstdint>
#include <string>

#include "support/unique_socket.h"

namespace ksp::host {

// Keeps Windows Sockets started while it lives.
class SocketLibrary {
  public:
    SocketLibrary() {
        WSADATA data = {};
        started_ = WSAStartup(MAKEWORD(2, 2), &data) == 0;
    }
    ~SocketLibrary() {
        if (started_) {
            WSACleanup();
        }
    }
    SocketLibrary(const SocketLibrary&) = delete;
    SocketLibrary& operator=(const SocketLibrary&) = delete;

  private:
    bool started_ = false;
};

// Of a dotted address; the port in host order.
sockaddr_in SocketAddress(const std::string& address, uint16_t port);

// A TCP socket. Empty when the address or port cannot be taken.
UniqueSocket BindTo(const std::string& address, uint16_t port);

// False when nothing has come after that time.
bool WaitReadable(const UniqueSocket& socket, std::chrono::microseconds patience);

// One of 127.1.0.1 to 127.254.255.254, so that printers that run at the same time hardly ever meet.
std::string RandomLoopbackAddress();

}  // namespace ksp::host
