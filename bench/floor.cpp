#include "bench/floor.h"

#include <winsock2.h>

#include <algorithm>
#include <array>
#include <vector>

#include "bench/stopwatch.h"

namespace ksp::bench {
namespace {

// A connection made with bare calls.
class BareSocket {
  public:
    BareSocket(const std::string& address, uint16_t port)
        : socket_(::socket(AF_INET, SOCK_STREAM, 0)) {
        sockaddr_in remote = {};
        remote.sin_family = AF_INET;
        remote.sin_addr.s_addr = ::inet_addr(address.c_str());
        remote.sin_port = ::htons(port);
        connected_ =
            ::connect(socket_, reinterpret_cast<const sockaddr*>(&remote), sizeof(remote)) == 0;
        u_long non_blocking = 1;
        ::ioctlsocket(socket_, static_cast<long>(FIONBIO), &non_blocking);
    }
    ~BareSocket() { ::closesocket(socket_); }
    BareSocket(const BareSocket&) = delete;
    BareSocket& operator=(const BareSocket&) = delete;

    [[nodiscard]] bool connected() const { return connected_; }

    [[nodiscard]] bool SendAll(const char* data, size_t size) const {
        while (size > 0) {
            if (!Wait(Direction::kWrite)) {
                return false;
            }
            const int sent = ::send(socket_, data, static_cast<int>(size), 0);
            if (sent < 0 && ::WSAGetLastError() != WSAEWOULDBLOCK) {
                return false;
            }
            const size_t taken = sent > 0 ? static_cast<size_t>(sent) : 0;
            data += taken;
            size -= taken;
        }
        return true;
    }

    // Until the printer has closed its side.
    [[nodiscard]] bool End() const {
        ::shutdown(socket_, SD_SEND);
        char byte = 0;
        int received = 1;
        while (received > 0) {
            if (!Wait(Direction::kRead)) {
                return false;
            }
            received = ::recv(socket_, &byte, 1, 0);
        }
        return received == 0;
    }

  private:
    enum class Direction { kRead, kWrite };

    [[nodiscard]] bool Wait(Direction direction) const {
        fd_set set = {1, {socket_}};
        timeval patience = {20, 0};
        return ::select(0, direction == Direction::kRead ? &set : nullptr,
                        direction == Direction::kWrite ? &set : nullptr, nullptr, &patience) == 1;
    }

    SOCKET socket_;
    bool connected_ = false;
};

void ReadDword(HKEY key, const wchar_t* name) {
    DWORD value = 0;
    DWORD type = 0;
    DWORD size = sizeof(value);
    ::RegQueryValueExW(key, name, nullptr, &type, reinterpret_cast<BYTE*>(&value), &size);
}

void ReadText(HKEY key, const wchar_t* name) {
    std::array<wchar_t, 256> value = {};
    DWORD type = 0;
    DWORD size = sizeof(value);
    ::RegQueryValueExW(key, name, nullptr, &type, reinterpret_cast<BYTE*>(value.data()), &size);
}

void ReadEveryValue(HKEY key) {
    for (const wchar_t* name : {L"ProtocolID", L"ProxyPort", L"PrinterAddressType",
                                L"SecureUserMode", L"SecureRawPortNo", L"CheckPortNo"}) {
        ReadDword(key, name);
    }
    for (const wchar_t* name : {L"PrinterAddress", L"ProxyServer", L"QueueName", L"IpAddress",
                                L"SubnetMask", L"MacAddress", L"UserIdentityName"}) {
        ReadText(key, name);
    }
}

// Up to and with the port of that name; all of them without a name.
void ReadPortKeys(HKEY ports, const std::wstring& last) {
    for (DWORD index = 0;; ++index) {
        std::array<wchar_t, 261> name = {};
        auto length = static_cast<DWORD>(name.size());
        if (::RegEnumKeyExW(ports, index, name.data(), &length, nullptr, nullptr, nullptr,
                            nullptr) != ERROR_SUCCESS) {
            return;
        }
        HKEY key = nullptr;
        if (::RegOpenKeyExW(ports, name.data(), 0, KEY_READ, &key) == ERROR_SUCCESS) {
            ReadEveryValue(key);
            ::RegCloseKey(key);
        }
        if (last == name.data()) {
            return;
        }
    }
}

HKEY OpenPorts(HKEY root) {
    HKEY ports = nullptr;
    ::RegOpenKeyExW(root, L"Ports", 0, KEY_READ, &ports);
    return ports;
}

}  // namespace

double BareJob(const std::string& address, uint16_t port, uint64_t bytes, size_t chunk) {
    const std::vector<char> data(chunk);
    const Stopwatch watch;
    const BareSocket socket(address, port);
    bool sent = socket.connected();
    for (uint64_t left = bytes; sent && left > 0;) {
        const size_t count = static_cast<size_t>(std::min<uint64_t>(left, chunk));
        sent = socket.SendAll(data.data(), count);
        left -= count;
    }
    return sent && socket.End() ? watch.Seconds() : -1;
}

double BareEnd(const std::string& address, uint16_t port, size_t bytes) {
    const std::vector<char> data(bytes);
    const BareSocket socket(address, port);
    if (!socket.connected() || !socket.SendAll(data.data(), data.size())) {
        return -1;
    }
    const Stopwatch watch;
    return socket.End() ? watch.Seconds() : -1;
}

double BareLoad(HKEY root) {
    const Stopwatch watch;
    const HKEY ports = OpenPorts(root);
    ReadPortKeys(ports, L"");
    ::RegCloseKey(ports);
    return watch.Seconds();
}

double PlainThroughput(HKEY root, const std::wstring& port, const std::string& address,
                       uint16_t tcp_port, size_t writes, size_t chunk) {
    const std::vector<char> data(chunk);
    const HKEY ports = OpenPorts(root);
    const BareSocket socket(address, tcp_port);
    const Stopwatch watch;
    bool sent = socket.connected();
    for (size_t write = 0; sent && write < writes; ++write) {
        ReadPortKeys(ports, port);
        sent = socket.SendAll(data.data(), data.size());
    }
    sent = sent && socket.End();
    const double seconds = watch.Seconds();
    ::RegCloseKey(ports);
    return sent ? static_cast<double>(writes * chunk) / seconds : -1;
}

}  // namespace ksp::bench
