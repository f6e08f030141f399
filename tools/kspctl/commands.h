#pragma once

#include "tools/kspctl/command.h"

namespace ksp::ctl {

// The commands. Each writes what it has to say to the output, and returns why it did not do what it
// was asked.

Problem Install(const Request& request, Output& output);
Problem Uninstall(const Request& request, Output& output);
Problem List(const Request& request, Output& output);
Problem Show(const Request& request, Output& output);
Problem Add(const Request& request, Output& output);
Problem SilentAdd(const Request& request, Output& output);
Problem Set(const Request& request, Output& output);
Problem Delete(const Request& request, Output& output);
Problem Exists(const Request& request, Output& output);
Problem Type(const Request& request, Output& output);
Problem ShowOrWriteSettings(const Request& request, Output& output);
Problem Print(const Request& request, Output& output);
Problem Test(const Request& request, Output& output);

}  // namespace ksp::ctl
