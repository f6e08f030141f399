#include "net/address_text.h"

#include <cstring>

#include "support/text.h"

namespace ksp {

std::wstring AddressToText(in_addr address) {
    const char* text = ::inet_ntoa(address);
    return text != nullptr ? FromAnsi(text) : std::wstring();
}

in_addr TextToAddress(const std::wstring& text) {
    in_addr address{};
    address.s_addr = ::inet_addr(ToAnsi(text).c_str());
    return address;
}

std::optional<in_addr> HostByName(const std::wstring& name) {
    const hostent* host = ::gethostbyname(ToAnsi(name).c_str());
    if (host == nullptr) {
        return std::nullopt;
    }
    in_addr address{};
    if (host->h_addrtype != AF_INET || host->h_length != sizeof(address) ||
        host->h_addr_list[0] == nullptr) {
        ::WSASetLastError(WSANO_DATA);
        return std::nullopt;
    }
    std::memcpy(&address, host->h_addr_list[0], sizeof(address));
    return address;
}

std::optional<std::wstring> GetHostName() {
    char name[1025] = {};
    if (::gethostname(name, sizeof(name)) != 0) {
        return std::nullopt;
    }
    name[sizeof(name) - 1] = '\0';
    return FromAnsi(name);
}

}  // namespace ksp
