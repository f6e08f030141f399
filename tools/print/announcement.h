#pragma once

#include "tools/print/confirmation_service.h"
#include "tools/print/demo_printer.h"
#include "tools/print/document.h"
#include "tools/print/monitor_setup.h"
#include "tools/print/options.h"

namespace ksp::print {

// Who takes part in a job.
struct Parties {
    const Options& options;
    const MonitorSetup& setup;
    const std::wstring& program_directory;  // of kspmon.dll
    const Document& document;
    const DemoPrinter* printer;               // null: a real one
    const ConfirmationService* confirmation;  // null: not as the ID-print monitor
};

// Says what is about to be printed, and what the printer will do.
void Announce(const Parties& parties);

}  // namespace ksp::print
