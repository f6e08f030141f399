#include "net/stream_socket.h"

#include <windows.h>

#include <optional>

#include "net/reply_timeout.h"
#include "net/select_socket.h"
#include "support/error_text.h"
#include "support/log.h"

namespace ksp {

namespace {

constexpr std::uint32_t kTimeout = ERROR_TIMEOUT;  // 1460
constexpr int kWouldBlockRetries = 4;
constexpr DWORD kRetryPause = 250;  // milliseconds
constexpr u_short kLingerSeconds = 100;
constexpr std::uint32_t kDrainSilence = 1;  // seconds
constexpr ULONGLONG kDrainLimit = 1000ULL * kLingerSeconds;

std::uint32_t LastError() {
    return static_cast<std::uint32_t>(::WSAGetLastError());
}

sockaddr_in SocketAddress(const CSLIpAddr& address, std::uint16_t port) {
    sockaddr_in result{};
    result.sin_family = AF_INET;
    result.sin_addr = address.Address();
    result.sin_port = ::htons(port);
    return result;
}

// One recv, with would-block asked again after a pause, up to four times.
int RecvWithRetries(SOCKET socket, char* data, int length) {
    for (int retry = 0;; ++retry) {
        const int received = ::recv(socket, data, length, 0);
        if (received != SOCKET_ERROR) {
            return received;
        }
        if (::WSAGetLastError() != WSAEWOULDBLOCK) {
            return SOCKET_ERROR;
        }
        if (retry == kWouldBlockRetries) {
            return 0;
        }
        ::Sleep(kRetryPause);
    }
}

// The error that a socket holds (SO_ERROR), none when it cannot be read.
std::optional<int> HeldError(SOCKET socket) {
    int error = 0;
    int size = sizeof(error);
    if (::getsockopt(socket, SOL_SOCKET, SO_ERROR, reinterpret_cast<char*>(&error), &size) != 0) {
        return std::nullopt;
    }
    return error;
}

// A connection attempt that failed although its socket holds no error still has to fail.
std::uint32_t FailureOf(int heldError, int otherwise) {
    return static_cast<std::uint32_t>(heldError != 0 ? heldError : otherwise);
}

}  // namespace

CSLStreamSocket::CSLStreamSocket(const CSLIpAddr& remoteAddress, std::uint16_t remotePort)
    : m_remoteAddress(remoteAddress), m_remotePort(remotePort) {
    // An address that stays 0.0.0.0 makes bind leave the choice to the system.
    static_cast<void>(m_localAddress.getLocalHost());
}

CSLStreamSocket::~CSLStreamSocket() {
    try {
        CSLStreamSocket::close();
    } catch (...) {
        // Only the text of a log line can fail here; the socket's owner closes it all the same.
    }
}

void CSLStreamSocket::KeepLocalPort(std::uint16_t port) noexcept {
    m_localPort = port;
    m_keepLocalPort = true;
}

std::uint32_t CSLStreamSocket::connect() {
    const std::uint32_t seconds = GetWaitServerReplyTimeout();
    if (m_connected) {
        return 0;
    }
    m_socket.Reset(::socket(AF_INET, SOCK_STREAM, 0));
    if (!m_socket) {
        const std::uint32_t error = LastError();
        Log(LogLevel::kError, L"Error in ::socket call. Err msg =%d", error);
        return error;
    }
    m_mode = Mode::kBlocking;
    if (const std::uint32_t error = BindLocal(); error != 0) {
        return error;
    }
    SetMode(Mode::kNonBlocking);

    const sockaddr_in remote = SocketAddress(m_remoteAddress, m_remotePort);
    if (::connect(m_socket.Get(), reinterpret_cast<const sockaddr*>(&remote), sizeof(remote)) !=
        0) {
        if (const std::uint32_t error = LastError(); error != WSAEWOULDBLOCK) {
            return error;
        }
        if (const std::uint32_t error = WaitForConnect(seconds); error != 0) {
            return error;
        }
    }
    return RecordLocalPort();
}

std::uint32_t CSLStreamSocket::BindLocal() {
    const sockaddr_in local = SocketAddress(m_localAddress, m_localPort);
    if (::bind(m_socket.Get(), reinterpret_cast<const sockaddr*>(&local), sizeof(local)) == 0) {
        return 0;
    }
    const SocketError error = SocketErrorText();
    Log(LogLevel::kInfo, L"Error in ::bind call. LocalPort =%d. Error Code =%d. Error Msg =%s",
        static_cast<int>(m_localPort), error.code, error.text.c_str());
    return static_cast<std::uint32_t>(error.code);
}

void CSLStreamSocket::SetMode(Mode mode) {
    if (m_mode == mode) {
        return;
    }
    u_long nonBlocking = mode == Mode::kNonBlocking ? 1 : 0;
    // FIONBIO is unsigned in the headers, ioctlsocket takes a signed command.
    if (::ioctlsocket(m_socket.Get(), static_cast<long>(FIONBIO), &nonBlocking) == 0) {
        m_mode = mode;
    } else {
        Log(LogLevel::kInfo, L"Error while setting the socket mode.");
    }
}

std::uint32_t CSLStreamSocket::WaitForConnect(std::uint32_t seconds) {
    for (;;) {
        switch (WaitConnected(m_socket.Get(), seconds)) {
            case SocketReady::kError: {
                const SocketError error = SocketErrorText();
                Log(LogLevel::kInfo, L"Error in ::connect call. Error Code =%d. Error Msg =%s",
                    error.code, error.text.c_str());
                if (error.code == WSAEINTR) {
                    continue;
                }
                return static_cast<std::uint32_t>(error.code);
            }
            case SocketReady::kTimeout:
                Log(LogLevel::kInfo, L"The connect -> select timed out..");
                return kTimeout;
            case SocketReady::kReady:
                Log(LogLevel::kInfo, L"The connect -> connection is successful");
                m_connected = true;
                return 0;
            case SocketReady::kException: {
                const auto held = HeldError(m_socket.Get());
                if (!held) {
                    return LastError();
                }
                Log(LogLevel::kInfo, L"The connect -> getsockopt returned : %d", *held);
                return FailureOf(*held, WSAEADDRINUSE);
            }
        }
    }
}

std::uint32_t CSLStreamSocket::selectforconnect() {
    switch (WaitConnected(m_socket.Get(), GetWaitServerReplyTimeout())) {
        case SocketReady::kError: {
            const SocketError error = SocketErrorText();
            Log(LogLevel::kInfo, L"Error in ::connect call. Error code =%d.Error msg =%s",
                error.code, error.text.c_str());
            return static_cast<std::uint32_t>(error.code);
        }
        case SocketReady::kTimeout:
            Log(LogLevel::kInfo, L"The selectforconnect -> select timed out..");
            return kTimeout;
        case SocketReady::kReady:
            Log(LogLevel::kInfo, L"The selectforconnect -> connection is successful");
            m_connected = true;
            return RecordLocalPort();
        case SocketReady::kException:
            break;
    }
    const auto held = HeldError(m_socket.Get());
    if (!held) {
        return LastError();
    }
    Log(LogLevel::kInfo, L"The selectforconnect -> getsockopt returned : %d", *held);
    return FailureOf(*held, WSAETIMEDOUT);
}

std::uint32_t CSLStreamSocket::RecordLocalPort() {
    if (m_keepLocalPort) {
        return 0;
    }
    sockaddr_in bound{};
    int size = sizeof(bound);
    if (::getsockname(m_socket.Get(), reinterpret_cast<sockaddr*>(&bound), &size) != 0) {
        const SocketError error = SocketErrorText();
        Log(LogLevel::kError, L"Error in ::getsockname call. Err msg =%s", error.text.c_str());
        return static_cast<std::uint32_t>(error.code);
    }
    m_localPort = ::ntohs(bound.sin_port);
    return 0;
}

std::int32_t CSLStreamSocket::send(const void* data, std::int32_t length, std::uint32_t seconds) {
    if (length == 0) {
        return 0;
    }
    switch (WaitWritable(m_socket.Get(), seconds)) {
        case SocketReady::kError:
            return -1;
        case SocketReady::kTimeout:
            return 0;
        case SocketReady::kReady:
        case SocketReady::kException:
            break;
    }
    for (int retry = 0; retry <= kWouldBlockRetries; ++retry) {
        const int sent = ::send(m_socket.Get(), static_cast<const char*>(data), length, 0);
        m_behind = sent < length;
        if (sent >= 0) {
            return sent;
        }
        if (::WSAGetLastError() != WSAEWOULDBLOCK) {
            return -1;
        }
    }
    return 0;
}

std::optional<std::int32_t> CSLStreamSocket::SendNow(const void* data, std::int32_t length) {
    if (length == 0) {
        return 0;
    }
    if (m_mode != Mode::kNonBlocking || m_behind) {
        return std::nullopt;
    }
    const int sent = ::send(m_socket.Get(), static_cast<const char*>(data), length, 0);
    m_behind = sent < length;
    if (sent >= 0) {
        return sent;
    }
    return ::WSAGetLastError() == WSAEWOULDBLOCK ? std::nullopt : std::optional(-1);
}

std::int32_t CSLStreamSocket::recv(void* data, std::int32_t length, std::uint32_t seconds) {
    switch (WaitReadable(m_socket.Get(), seconds)) {
        case SocketReady::kError:
            return -1;
        case SocketReady::kTimeout:
            return 0;
        case SocketReady::kReady:
        case SocketReady::kException:
            break;
    }
    return RecvWithRetries(m_socket.Get(), static_cast<char*>(data), length);
}

void CSLStreamSocket::SendAtOnce() noexcept {
    const BOOL on = TRUE;
    ::setsockopt(m_socket.Get(), IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char*>(&on),
                 sizeof(on));
}

std::uint32_t CSLStreamSocket::close() {
    if (!m_socket) {
        return 0;
    }
    if (m_mode != Mode::kBlocking) {
        SetMode(Mode::kBlocking);
    }
    if (!m_connected) {
        ::shutdown(m_socket.Get(), SD_SEND);
        return CloseHandle();
    }
    const linger lingering{1, kLingerSeconds};
    if (::setsockopt(m_socket.Get(), SOL_SOCKET, SO_LINGER,
                     reinterpret_cast<const char*>(&lingering), sizeof(lingering)) != 0) {
        Log(LogLevel::kError, L"Error in ::setsockopt,SO_LINGER call.");
    }
    if (::shutdown(m_socket.Get(), SD_SEND) != 0) {
        const SocketError error = SocketErrorText();
        Log(LogLevel::kInfo, L"Error in ::shutdown call. Err msg =%s", error.text.c_str());
        CloseHandle();
        return static_cast<std::uint32_t>(error.code);
    }
    if (!Drain()) {
        const SocketError error = SocketErrorText();
        Log(LogLevel::kInfo, L"Error in ::recv call. Err msg =%s", error.text.c_str());
        CloseHandle();
        return static_cast<std::uint32_t>(error.code);
    }
    return CloseHandle();
}

void CSLStreamSocket::Abandon() {
    if (m_socket) {
        ::shutdown(m_socket.Get(), SD_SEND);
        static_cast<void>(CloseHandle());
    }
}

bool CSLStreamSocket::Drain() {
    const ULONGLONG start = ::GetTickCount64();
    // A printer that never stops talking must not keep the spooler's thread for ever.
    while (::GetTickCount64() - start < kDrainLimit) {
        switch (WaitReadable(m_socket.Get(), kDrainSilence)) {
            case SocketReady::kError:
                return false;
            case SocketReady::kTimeout:
                return true;
            case SocketReady::kReady:
            case SocketReady::kException:
                break;
        }
        char byte = 0;
        const int received = RecvWithRetries(m_socket.Get(), &byte, 1);
        if (received <= 0) {
            return received == 0;
        }
    }
    return true;
}

std::uint32_t CSLStreamSocket::CloseHandle() {
    const SOCKET socket = m_socket.Release();
    Reset();
    if (::closesocket(socket) != 0) {
        const std::uint32_t error = LastError();
        Log(LogLevel::kInfo, L"Error in ::closesocket call.");
        return error;
    }
    return 0;
}

void CSLStreamSocket::Reset() noexcept {
    m_connected = false;
    m_behind = false;
    m_mode = Mode::kNotSet;
    if (!m_keepLocalPort) {
        m_localPort = 0;
    }
}

}  // namespace ksp
