#pragma once

#include <winsock2.h>

#include "support/unique_resource.h"

namespace ksp::print {

struct SocketTraits {
    using Type = SOCKET;
    static Type None() noexcept { return INVALID_SOCKET; }
    static void Close(Type socket) noexcept { ::closesocket(socket); }
};
using UniqueSocket = UniqueResource<SocketTraits>;

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

}  // namespace ksp::print
