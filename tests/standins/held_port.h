#pragma once

#include <windows.h>

#include "tests/standins/loopback_socket.h"

namespace ksp::standins {

// Keeps a port busy as long as the socket lives. One that an ended connection still has comes free
// after a minute or two, which is waited for; the socket is invalid when it stays busy.
inline Socket HoldPort(const Endpoint& endpoint) {
    constexpr int kMostSeconds = 180;
    constexpr DWORD kPause = 1000;  // milliseconds
    Socket socket = BindTo(endpoint);
    for (int seconds = 0; seconds < kMostSeconds && !socket.valid(); ++seconds) {
        Sleep(kPause);
        socket = BindTo(endpoint);
    }
    return socket;
}

}  // namespace ksp::standins
