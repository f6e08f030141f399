#include "ports/printer_address.h"

#include <winsock2.h>

#include "ports/port_info.h"
#include "support/text.h"

namespace ksp {

std::uint32_t GetPrinterAddressType(const std::wstring& address) {
    AddressType type = AddressType::kHostName;
    if (address.find(L"http://") != std::wstring::npos ||
        address.find(L"ipp://") != std::wstring::npos) {
        type = AddressType::kUrl;
    } else if (IsIpAddressString(address)) {
        type = AddressType::kIpAddress;
    }
    return static_cast<std::uint32_t>(type);
}

bool IsIpAddressString(const std::wstring& text) {
    const auto address = ::inet_addr(ToAnsi(text).c_str());
    return address != INADDR_NONE && address != INADDR_ANY;
}

}  // namespace ksp
