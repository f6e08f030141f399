#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "ports/port_info.h"

namespace ksp {

// Follows a printer that is tracked by its MAC address, and writes what it learns back to the
// registry. The record is the tracked port's, as the registry store read it; kept up to date, owned
// by the caller.
//
// Both make a discovery wrapper for the call. They may take as long as the discovery time-outs.

struct CRelocation {
    bool searched = false;                // false: the discovery library does not start
    std::optional<std::wstring> address;  // dotted; none when the printer was not found
};

// Asks the device at the record's `IpAddress` for its MAC address; when nobody answers there, or
// somebody else does, searches the network for the printer.
[[nodiscard]] CRelocation FindTrackedPrinter(CPortInfo& info);

// Notes in the record where the printer is when it answers at the address to which the name led.
// The record need not be that of the name's port, and another device may have got the address:
// neither is noted.
void NoteResolvedPrinter(CPortInfo& info, const std::wstring& name, const std::wstring& address);

}  // namespace ksp
