#pragma once

#include "snmp/exchange.h"

namespace ksp::snmp {

// The library's own settings, in the registry under HKEY_LOCAL_MACHINE,
// "SOFTWARE\Kestrel\SNMP Discovery". Each may be missing:
//
//   Community       REG_SZ     what agents want to hear before they answer; "public"
//   Version         REG_DWORD  1: SNMPv1 only; 2: SNMPv2c only; else 2c, and 1 for those who do not
//                              answer to it (0)
//   Port            REG_DWORD  the agents' UDP port; 161
//   SearchLoopback  REG_DWORD  1: the computer's own loopback counts as a local segment (0)
//
// They are read when a stream is initialised, so a change works from the next query on.
struct CLibrarySettings {
    CAgentAccess access;
    bool searchLoopback = false;
};

[[nodiscard]] CLibrarySettings ReadLibrarySettings();

}  // namespace ksp::snmp
