#pragma once

#include <winsock2.h>

#include <cstdint>
#include <string>

namespace ksp {

// An IPv4 address and where it came from. A plain value.
//
// The look-ups fill it and return 0, or a Windows Sockets error code and leave it as it was. They
// may block for as long as the system's name resolution takes.
class CSLIpAddr {
  public:
    enum class Origin : std::int32_t { kText = 0, kHostName = 1 };

    // The family word that callers hand to getByNamePrinting; only IPv4 addresses exist.
    static constexpr std::int32_t kFamily = 7;

    CSLIpAddr() = default;

    // From dotted text, else by host name.
    [[nodiscard]] std::uint32_t getByName(const std::wstring& name);
    // The local host's address, by its own name.
    [[nodiscard]] std::uint32_t getLocalHost();

    // The address to print to, for the address text of a port. A printer that is tracked by its MAC
    // address is looked for on the network when it is no longer where it was, and what was found is
    // written back to the registry. 0, or an error code; -1 (all bits set) when a tracked printer
    // cannot be looked for because the discovery library does not start.
    [[nodiscard]] std::uint32_t getByNamePrinting(const std::wstring& name, std::int32_t family);

    // Whether an ID-print printer answers on its check port: it is sent "CONF_REQ" and answers with
    // the 32-bit code 100 (little-endian) and the characters O and K. Bounded by the connect and
    // reply time-outs.
    [[nodiscard]] static bool isSecureReachable(const std::wstring& name, std::uint16_t port);

    [[nodiscard]] in_addr Address() const noexcept { return m_address; }
    [[nodiscard]] Origin AddressOrigin() const noexcept { return m_origin; }
    [[nodiscard]] std::int32_t Length() const noexcept { return m_length; }
    // Dotted.
    [[nodiscard]] std::wstring Text() const;

  private:
    // What is logged when a name cannot be resolved differs between the look-ups.
    [[nodiscard]] std::uint32_t Resolve(const std::wstring& name, const wchar_t* failureFormat);
    void Set(in_addr address, Origin origin) noexcept;

    Origin m_origin = Origin::kText;
    std::int32_t m_length = sizeof(in_addr);
    in_addr m_address{};
};

}  // namespace ksp
