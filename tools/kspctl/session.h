#pragma once

#include <string>
#include <vector>

#include "tools/kspctl/command.h"
#include "tools/kspctl/monitor_commands.h"

namespace ksp::ctl {

// What most commands begin with: opening the monitor or the port that the command line means, with
// a message for everything that can be wrong with it.

enum class Access { kRead, kChange };

// The names that the command line can mean, the likeliest first.
[[nodiscard]] std::vector<std::wstring> MonitorsToTry(const Request& request);

// Opens the monitor that --monitor or --id-print names; without them the ordinary one or, when it
// is not installed, the ID-print one. `name` gets the one that was opened; it may be null.
[[nodiscard]] Problem OpenMonitor(const Request& request, Access access, XcvHandle* monitor,
                                  std::wstring* name = nullptr);

// Opens the monitor of an existing port, and makes sure that it is ours.
[[nodiscard]] Problem OpenPort(const Request& request, const std::wstring& port, Access access,
                               XcvHandle* monitor);

// A port's record. The monitor answers for every port with the record of the first port that is
// tracked by its MAC address, if there is one: another port's record is a failure.
[[nodiscard]] Problem ReadRecord(const XcvHandle& monitor, const std::wstring& port,
                                 CPortInfo* info);

// An existing port's record and the kind of its monitor, for what goes on without the monitor.
[[nodiscard]] Problem ReadPort(const Request& request, const std::wstring& port, CPortInfo* info,
                               MonitorType* type);

// Whether the registry can have a key of this name.
[[nodiscard]] Problem CheckPortName(const std::wstring& port);

// Whether a port that exists is this monitor's; another monitor does not know the question.
[[nodiscard]] Problem AskOwner(const XcvHandle& monitor, const std::wstring& port, bool* ours);

Failure NoSuchPort(const std::wstring& port);

}  // namespace ksp::ctl
