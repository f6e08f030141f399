#pragma once

#include <string>

#include "tools/kspctl/command.h"

namespace ksp::ctl {

// What `kspctl help` shows: the commands, the common options and the exit codes.
std::wstring ProgramHelp();
// What `kspctl help COMMAND` shows.
std::wstring CommandHelp(const Command& command);

// The values of a port's record, the settings, and those of them that `print` takes, a line each.
std::wstring FieldNames();
std::wstring SettingNames();
std::wstring PrintSettingNames();

}  // namespace ksp::ctl
