#include "tools/print/printer_move.h"

namespace ksp::print {
namespace {

constexpr int kLastHost = 254;

// With the dot behind it.
std::wstring Network(const std::wstring& address) {
    return address.substr(0, address.find_last_of(L'.') + 1);
}

}  // namespace

PrinterMove MoveTo(const std::wstring& address) {
    const std::wstring network = Network(address);
    const int host = std::stoi(address.substr(network.size()));
    return {network + std::to_wstring(host == kLastHost ? 1 : host + 1), address, L""};
}

std::wstring NetworkAround(const std::wstring& address) {
    return Network(address) + L"0;255.255.255.0";
}

}  // namespace ksp::print
