#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "tools/snmp_agent/snmp_table.h"

namespace ksp::agent {

// hrPrinterStatus (RFC 2790).
enum class PrinterState : int32_t { kOther = 1, kUnknown, kIdle, kPrinting, kWarmup };

// hrPrinterDetectedErrorState (RFC 2790): bit 0 of the MIB is the highest bit of the octet.
enum PrinterTrouble : uint8_t {
    kNoTrouble = 0,
    kLowPaper = 0x80,
    kNoPaper = 0x40,
    kLowToner = 0x20,
    kNoToner = 0x10,
    kDoorOpen = 0x08,
    kJammed = 0x04,
    kOffline = 0x02,
    kServiceRequested = 0x01,
};

// A printer as its rows show it.
struct PrinterFacts {
    std::string address;                                           // dotted
    std::string mac = std::string("\x00\x26\xAB\x12\x34\x56", 6);  // as ifPhysAddress has it
    std::string name = "demo-printer";
    std::string model = "Demo Printer 100";
    std::string serial = "KD0001";
    PrinterState state = PrinterState::kIdle;
    uint8_t trouble = kNoTrouble;  // of PrinterTrouble
};

// The rows of System, Interfaces and IP (RFC 1213), Host Resources (RFC 2790) and Printer (RFC
// 3805) that tell who a printer is and how it is. Its first interface is the loopback, without a
// physical address, and its second the Ethernet.
SnmpRows PrinterRows(const PrinterFacts& facts);

// Where the state and the troubles stand.
inline constexpr std::string_view kPrinterStateRow = "1.3.6.1.2.1.25.3.5.1.1.1";
inline constexpr std::string_view kPrinterTroubleRow = "1.3.6.1.2.1.25.3.5.1.2.1";

SnmpValue StateValue(PrinterState state);
SnmpValue TroubleValue(uint8_t trouble);

}  // namespace ksp::agent
