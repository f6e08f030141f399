#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "snmp/snmp_message.h"

namespace ksp::snmp {

// An IPv4 address as a number: 127.0.0.1 is 0x7F000001.
using Ipv4 = std::uint32_t;

[[nodiscard]] std::string AddressText(Ipv4 address);
// From four decimal numbers with dots between them; none unless it is exactly that.
[[nodiscard]] std::optional<Ipv4> ParseAddress(std::string_view text);

// What a device says of itself. Texts are empty when it does not say.
struct CDeviceIdentity {
    Ipv4 address = 0;
    std::string id;    // hrDeviceDescr of the printer (RFC 2790), else sysDescr (RFC 3418)
    std::string name;  // hrDeviceDescr of the printer, else sysName (RFC 3418), else sysDescr
    std::string mac;   // 12 upper-case hexadecimal digits
};

// The questions by which a device is got to know, one after the other: each depends on the answers
// so far. Plain computation; who asks them, and how long, is the caller's.
//
// The name is that of the model, since ports are named after it; sysName is what an administrator
// calls the one device, so it is asked of those only that have no description as a printer.
//
// The MAC address is that of the interface with the device's address (ipAdEntIfIndex, then
// ifPhysAddress), else the first in the interface table; an address counts when it has six octets
// and is one of a single network card. It is asked for before the names: a question that stays
// without an answer takes the time of those behind it, and without the address a printer that moves
// is not found again.
class CDeviceQuery {
  public:
    enum class Wanted : std::uint8_t { kEverything, kMacAddress };

    explicit CDeviceQuery(Ipv4 address, Wanted wanted = Wanted::kEverything);

    // The first question for everything: one that every agent answers.
    [[nodiscard]] static CQuestion FirstQuestion();

    // What to ask next; none when everything was asked.
    [[nodiscard]] std::optional<CQuestion> Next() const;
    // The answer to Next.
    void Take(const CAnswer& answer);

    [[nodiscard]] const CDeviceIdentity& Identity() const noexcept { return m_identity; }

  private:
    enum class Step : std::uint8_t {
        kDescription,
        kInterfaceOfAddress,
        kPhysicalAddress,
        kPhysicalAddresses,
        kPrinterRow,
        kPrinterDescription,
        kName,
        kDone
    };

    void TakePhysicalAddress(const CAnswer& answer, Step otherwise);

    CDeviceIdentity m_identity;
    Step m_step;
    Step m_afterMac;
    std::uint32_t m_row = 0;  // of the device or interface table
    CObjectId m_walk;         // where the walk through the interface table is
    int m_walked = 0;
};

}  // namespace ksp::snmp
