#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <string_view>

namespace ksp::ctl {

// What the program ends with. Scripts test these; the numbers never change their meaning.
enum class ExitCode : int {
    kDone = 0,           // done; for `exists` and `test`: yes
    kFailed = 1,         // the spooler, the monitor or the system refused
    kWrongUsage = 2,     // the command line cannot be used; nothing was done
    kNotFound = 3,       // no such port, or the monitor is not installed
    kExists = 4,         // there is one of this name already
    kAccessDenied = 5,   // administrators only
    kInUse = 6,          // a printer uses the port, or a job is on it
    kPrinterSilent = 7,  // `test`, `print`: the printer did not do what a job needs
};

// The table of exit codes, for the help: a line per code.
std::wstring ExitCodeTable();

// Why a command did not do what it was asked, and what to do next.
struct Failure {
    ExitCode code = ExitCode::kFailed;
    std::wstring text;
    std::wstring advice = {};
};

// None means success.
using Problem = std::optional<Failure>;

Failure WrongUsage(std::wstring text);

// A failure that a Windows error code tells of. `what` says what was tried: "cannot open the
// port". The codes that say more than "failed" get an exit code and an advice of their own.
Failure SystemFailure(const std::wstring& what, DWORD error);

// "access is denied (error 5)": the system's words, on one line.
std::wstring DescribeError(DWORD error);

// In double quotes.
std::wstring Quoted(std::wstring_view text);

}  // namespace ksp::ctl
