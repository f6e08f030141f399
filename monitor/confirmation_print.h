#pragma once

#include "support/windows_spooler.h"

namespace ksp {

// Starts the notifier program for a job, when one is configured: a desktop program that shows or
// confirms the job. The job neither waits for it nor depends on it. The document is not used.
void LaunchConfirmationPrint(const wchar_t* portName, const wchar_t* printerName,
                             const DOC_INFO_1W* document) noexcept;

}  // namespace ksp
