#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/host/job_runner.h"
#include "tools/host/memory_registry.h"
#include "tools/print/demo_printer.h"
#include "tools/print/printer_move.h"
#include "tools/print/spooler.h"

namespace ksp::print {

// How a job went.
struct JobReport {
    host::JobOutcome outcome;
    std::wstring given_up;  // why this program gave the job up; empty when it did not
    double seconds = 0;
    uint64_t document_bytes = 0;
    std::wstring document_sha256;
    std::optional<Delivery> delivery;  // nothing when a real printer received it
    std::optional<PrinterMove> move;   // of a printer that had to be found
};

// Whether the printer received exactly the document. Nothing is the same as an unknown digest.
[[nodiscard]] bool ArrivedUnchanged(const JobReport& job);
// Whether the monitor took the whole job and, where that can be seen, it arrived unchanged and a
// printer that moved was followed.
[[nodiscard]] bool Succeeded(const JobReport& job);

void ReportDelivery(const JobReport& job);
void ReportMove(const PrinterMove& move);
// The exchange by which an ID-print printer says that it is there.
void ReportConfirmation(const std::string& asked, const std::string& answered);
// Line by line, each beside its bytes.
void ReportJobHeader(const std::string& header);
void ReportPrinterStatus(const std::vector<WinspoolCall>& calls);
void ReportSpoolerCalls(const std::vector<WinspoolCall>& calls);
// `key` is below the monitor's root key.
void ReportRegistryEntry(const host::MemoryRegistry& registry, const std::wstring& key);
void ReportLog(const std::vector<std::wstring>& lines);
// The last line of the output.
void ReportVerdict(const JobReport& job);

}  // namespace ksp::print
