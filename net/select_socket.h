#pragma once

#include <winsock2.h>

#include <cstdint>

namespace ksp {

// What select is asked to wait for, and what it saw.
enum class SocketReady { kError, kTimeout, kReady, kException };

// Each waits at most the given whole seconds on one socket. kError leaves the code in
// WSAGetLastError.
[[nodiscard]] SocketReady WaitReadable(SOCKET socket, std::uint32_t seconds);
[[nodiscard]] SocketReady WaitWritable(SOCKET socket, std::uint32_t seconds);
// A pending connect: kReady when it is made, kException when it has failed.
[[nodiscard]] SocketReady WaitConnected(SOCKET socket, std::uint32_t seconds);

}  // namespace ksp
