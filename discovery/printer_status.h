#pragma once

#include <cstdint>
#include <string>

#include "discovery/address_resolver.h"

namespace ksp {

// Asks a printer how it is, by SNMP through the discovery library, and answers with the spooler's
// status word (a set of PRINTER_STATUS_* bits). A printer that cannot be located or does not answer
// gives PRINTER_STATUS_SERVER_UNKNOWN (0x800000). Keeps nothing between two calls; may block for as
// long as the address look-up and the status time-out take.
[[nodiscard]] std::uint32_t GetPrinterStatus(const std::wstring& printerAddress,
                                             IAddressResolver& resolver);

}  // namespace ksp
