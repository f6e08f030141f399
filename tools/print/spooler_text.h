#pragma once

#include <string>

#include "tests/standins/winspool_control.h"

namespace ksp::print {

// Whether the call pushed a printer status to the spooler.
bool SetsPrinterStatus(const WinspoolCall& call);

// Whether the call only asked how large a buffer must be, which the system answers with an error.
bool AsksForSize(const WinspoolCall& call);

// The bits of a printer status in words: "door open, toner low"; "ready" when none is set.
std::wstring PrinterStatusWords(DWORD status);

// "0x00800000  server unknown"
std::wstring DescribePrinterStatus(DWORD status);

// A call in a line: "SetJob  job 1, sent to the printer".
std::wstring DescribeCall(const WinspoolCall& call);

}  // namespace ksp::print
