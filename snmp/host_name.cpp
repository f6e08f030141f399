#include "snmp/host_name.h"

// These two in this order.
#include <winsock2.h>
#include <ws2tcpip.h>

#include <memory>

namespace ksp::snmp {

namespace {

constexpr char kInNames[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_.";
constexpr char kInNumbers[] = "0123456789.";

// The system would take "127.1" and "" for addresses of this computer.
bool CanBeName(const std::string& text) {
    return text.find_first_not_of(kInNames) == std::string::npos &&
           text.find_first_not_of(kInNumbers) != std::string::npos;
}

}  // namespace

std::optional<Ipv4> ResolveHostName(const std::string& name) {
    if (!CanBeName(name)) {
        return std::nullopt;
    }
    addrinfo hints{};
    hints.ai_family = AF_INET;
    hints.ai_socktype = SOCK_DGRAM;
    addrinfo* list = nullptr;
    if (::getaddrinfo(name.c_str(), nullptr, &hints, &list) != 0) {
        return std::nullopt;
    }
    const std::unique_ptr<addrinfo, void(WSAAPI*)(addrinfo*)> owner(list, ::freeaddrinfo);
    if (list == nullptr || list->ai_family != AF_INET) {
        return std::nullopt;
    }
    return ::ntohl(reinterpret_cast<const sockaddr_in*>(list->ai_addr)->sin_addr.s_addr);
}

}  // namespace ksp::snmp
