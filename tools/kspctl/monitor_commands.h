#pragma once

#include <windows.h>

#include <string>

#include "ports/monitor_type.h"
#include "ports/port_info.h"
#include "tools/kspctl/spooler.h"

namespace ksp::ctl {

// The monitor's commands with their inputs and outputs typed. Each returns the command's Windows
// code.

[[nodiscard]] DWORD AskMonitorType(const XcvHandle& monitor, MonitorType* type);
// Whether the port is one of this monitor's. Another monitor does not know the command (87).
[[nodiscard]] DWORD AskIsOurPort(const XcvHandle& monitor, const std::wstring& port, bool* ours);
// 0 when any monitor has a port of that name, 1796 when none has.
[[nodiscard]] DWORD AskPortExists(const XcvHandle& monitor, const std::wstring& port);

// 0 for a new port, 183 for one that was there and is configured anew.
[[nodiscard]] DWORD SendAddPort(const XcvHandle& monitor, const CPortInfo& info);
[[nodiscard]] DWORD SendDeletePort(const XcvHandle& monitor, const std::wstring& port);
[[nodiscard]] DWORD SendSilentAdd(const XcvHandle& monitor, const std::string& text);
// A record with a text that has no room in it is refused with 13, as the monitor would.
[[nodiscard]] DWORD SendPortConfig(const XcvHandle& monitor, const CPortInfo& info);
[[nodiscard]] DWORD AskPortConfig(const XcvHandle& monitor, const std::wstring& port,
                                  CPortInfo* info);

// The text of the command that adds a port. Its tokens stand between commas and cannot hold one.
[[nodiscard]] std::wstring AddPortText(const CPortInfo& info);

}  // namespace ksp::ctl
