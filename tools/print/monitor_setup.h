#pragma once

#include <optional>
#include <string>

#include "ports/port_info.h"
#include "tools/host/memory_registry.h"
#include "tools/print/job_settings.h"

namespace ksp::print {

// How the monitor finds its registry: what an administrator would have configured.
struct MonitorSetup {
    std::wstring exe_directory;  // where the monitor looks for its companion libraries
    std::wstring log_directory;  // the log holds every line, from TRACE on
    std::wstring port;
    std::wstring printer_address;
    std::wstring queue;  // of an LPR port
    DWORD protocol_id = 0;
    bool id_print = false;
    DWORD raw_port = 0;    // of an ID-print port
    DWORD check_port = 0;  // of an ID-print port
    // A port as it is configured elsewhere; it goes before what stands above about the port.
    std::optional<CPortInfo> record;

    // Of a port whose printer is followed by its MAC address; it was at printer_address last.
    std::wstring mac;  // 12 hexadecimal digits; empty: any other port

    JobSettings settings;
    // Seconds, unless the settings say; shorter than usual, for somebody who watches.
    DWORD reply_timeout = 5;
};

void Configure(const MonitorSetup& setup, host::MemoryRegistry* registry);

std::wstring LogPath(const MonitorSetup& setup);
// Below the monitor's root key.
std::wstring PortKey(const MonitorSetup& setup);

}  // namespace ksp::print
