#pragma once

#include <cstddef>
#include <cstdint>

namespace ksp {

// What a printer says of itself over SNMP (RFC 2790 section 7.5, RFC 3805), and what the spooler
// makes of it. Plain computation.

// hrPrinterStatus
enum class PrinterState : std::uint32_t {
    kOther = 1,
    kUnknown = 2,
    kIdle = 3,
    kPrinting = 4,
    kWarmup = 5
};

struct CPrinterCondition {
    std::uint32_t state = 0;   // hrPrinterStatus
    std::uint32_t errors = 0;  // hrPrinterDetectedErrorState, as OctetStringValue gives it
};

// The value of an octet string of 1, 2 or 4 bytes, big-endian; 0 for any other count. The bits of
// every byte are reversed first: in the MIB bit 0 is the most significant bit of the first octet,
// so that lowPaper, noPaper, lowToner, ... become 0x01, 0x02, 0x04, ...
[[nodiscard]] std::uint32_t OctetStringValue(const unsigned char* bytes, std::ptrdiff_t count);

// The value of an integer of 1, 2 or 4 bytes, little-endian; 0 for any other count.
[[nodiscard]] std::uint32_t IntegerValue(const unsigned char* bytes, std::ptrdiff_t count);

// The spooler's status word, a set of PRINTER_STATUS_* bits.
[[nodiscard]] std::uint32_t SpoolerStatus(const CPrinterCondition& condition);

// The word for a printer that cannot be asked: PRINTER_STATUS_SERVER_UNKNOWN.
inline constexpr std::uint32_t kServerUnknown = 0x800000;

}  // namespace ksp
