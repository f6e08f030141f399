#include "net/ip_address.h"

#include "net/address_text.h"
#include "support/error_text.h"
#include "support/log.h"

namespace ksp {

std::uint32_t CSLIpAddr::getByName(const std::wstring& name) {
    return Resolve(name, L"Unable to get address for host name = %s, %s");
}

std::uint32_t CSLIpAddr::getLocalHost() {
    const auto name = GetHostName();
    if (!name) {
        const SocketError error = SocketErrorText();
        Log(LogLevel::kError, L"Unable to get address for local host. %s", error.text.c_str());
        return static_cast<std::uint32_t>(error.code);
    }
    Log(LogLevel::kTrace, L"local host name =  %s", name->c_str());
    return getByName(*name);
}

std::uint32_t CSLIpAddr::Resolve(const std::wstring& name, const wchar_t* failureFormat) {
    const in_addr parsed = TextToAddress(name);
    if (parsed.s_addr != INADDR_NONE || name == L"255.255.255.255") {
        Set(parsed, Origin::kText);
        return 0;
    }
    if (const auto found = HostByName(name); found) {
        Set(*found, Origin::kHostName);
        return 0;
    }
    const SocketError error = SocketErrorText();
    Logger().LogFormatted(LogLevel::kInfo, L"", __LINE__, failureFormat, name.c_str(),
                          error.text.c_str());
    return static_cast<std::uint32_t>(error.code);
}

void CSLIpAddr::Set(in_addr address, Origin origin) noexcept {
    m_origin = origin;
    m_length = sizeof(address);
    m_address = address;
}

std::wstring CSLIpAddr::Text() const {
    return AddressToText(m_address);
}

}  // namespace ksp
