#pragma once

#include <string>

namespace ksp::print {

// A printer that got another address in its network.
struct PrinterMove {
    std::wstring from;
    std::wstring to;
    std::wstring recorded;  // where the port's registry entry says that it is

    // Whether the monitor went after it.
    [[nodiscard]] bool followed() const { return recorded == to; }
};

// A move to the dotted address from one close by. The port's record is not known yet.
PrinterMove MoveTo(const std::wstring& address);

// The network of 254 addresses around a dotted one, as a subnet stands in the registry:
// "127.1.2.0;255.255.255.0".
std::wstring NetworkAround(const std::wstring& address);

}  // namespace ksp::print
