#include "net/ip_address.h"

#include <cstring>

#include "net/reply_timeout.h"
#include "net/stream_socket.h"
#include "support/error_text.h"
#include "support/log.h"

namespace ksp {

namespace {

constexpr char kRequest[] = {'C', 'O', 'N', 'F', '_', 'R', 'E', 'Q'};
constexpr std::uint32_t kConfirmed = 100;

bool SendRequest(const CSLStreamSocket& socket) {
    const int sent = ::send(socket.Get(), kRequest, sizeof(kRequest), 0);
    if (sent == SOCKET_ERROR) {
        Log(LogLevel::kInfo, L"Error in ::send call. Err msg =%s", SocketErrorText().text.c_str());
        return false;
    }
    if (sent < static_cast<int>(sizeof(kRequest))) {
        Log(LogLevel::kCritical, L"CSLStreamSocket::send failure");
        return false;
    }
    return true;
}

// The reply may come in pieces.
template <std::size_t N>
bool ReceiveWhole(CSLStreamSocket& socket, unsigned char (&bytes)[N]) {
    std::size_t received = 0;
    while (received < N) {
        const std::int32_t count = socket.recv(
            bytes + received, static_cast<std::int32_t>(N - received), GetWaitServerReplyTimeout());
        if (count <= 0) {
            return false;
        }
        received += static_cast<std::size_t>(count);
    }
    return true;
}

// A little-endian code, and behind a confirmation the two characters O and K.
bool ReceiveConfirmation(CSLStreamSocket& socket) {
    unsigned char reply[4] = {};
    if (!ReceiveWhole(socket, reply)) {
        return false;
    }
    std::uint32_t code = 0;
    for (std::size_t index = sizeof(reply); index > 0; --index) {
        code = code << 8 | reply[index - 1];
    }
    unsigned char text[2] = {};
    return code == kConfirmed && ReceiveWhole(socket, text) && text[0] == 'O' && text[1] == 'K';
}

}  // namespace

bool CSLIpAddr::isSecureReachable(const std::wstring& name, std::uint16_t port) {
    CSLIpAddr address;
    if (address.getByNamePrinting(name, kFamily) != 0) {
        Log(LogLevel::kCritical, L"CSLIpAddr::getByNamePrinting failure");
        return false;
    }
    CSLStreamSocket socket(address, port);
    bool reachable = false;
    if (socket.connect() != 0) {
        Log(LogLevel::kCritical, L"CSLStreamSocket::connect failure");
    } else if (SendRequest(socket)) {
        reachable = ReceiveConfirmation(socket);
        if (!reachable) {
            Log(LogLevel::kCritical, L"CSLStreamSocket::recv failure");
        }
    }
    socket.close();
    return reachable;
}

}  // namespace ksp
