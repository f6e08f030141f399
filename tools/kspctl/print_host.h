#pragma once

#include <span>
#include <string>

#include "ports/port_info.h"
#include "tools/kspctl/failure.h"

namespace ksp::ctl {

// The program that plays the spooler for `print`. It lies with the monitor and with the spooler's
// library that it plays in the directory "host" beside this program: a program that lay beside that
// library would get it in place of the system's own.
[[nodiscard]] std::wstring PrintHostPath();

// Runs it on a port's record. Its output is this program's, and so are its arguments behind the
// record.
[[nodiscard]] Problem RunPrintHost(const CPortInfo& port, std::span<const std::wstring> arguments);

// An argument on a command line, so that a program finds exactly this text in its arguments.
[[nodiscard]] std::wstring QuotedArgument(const std::wstring& argument);

}  // namespace ksp::ctl
