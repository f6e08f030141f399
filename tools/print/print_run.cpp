#include "tools/print/print_run.h"

#include <windows.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <memory>
#include <optional>

#include "tools/host/job_runner.h"
#include "tools/host/memory_registry.h"
#include "tools/host/monitor_library.h"
#include "tools/host/temp_directory.h"
#include "tools/print/announcement.h"
#include "tools/print/confirmation_service.h"
#include "tools/print/console.h"
#include "tools/print/delivery_watch.h"
#include "tools/print/demo_printer.h"
#include "tools/print/interruption.h"
#include "tools/print/monitor_log.h"
#include "tools/print/monitor_setup.h"
#include "tools/print/printer_move.h"
#include "tools/print/program_directory.h"
#include "tools/print/progress.h"
#include "tools/print/report.h"
#include "tools/print/spooler.h"

namespace ksp::print {
namespace {

constexpr const wchar_t* kPortName = L"Demo Port";
constexpr const wchar_t* kPrinterName = L"Demo Printer";
constexpr DWORD kJobId = 1;
constexpr DWORD kRetryPause = 500;  // milliseconds
constexpr size_t kWritesOfJob = 40;
constexpr size_t kSmallestWrite = 4096;
constexpr size_t kLargestWrite = 65536;
constexpr uint64_t kSlowestPrinter = 160'000;  // bytes a second
constexpr uint64_t kPrintingTime = 3;          // seconds, at that speed or faster
constexpr std::chrono::seconds kDeliveryPatience{10};
constexpr DWORD kImpatientReplyTimeout = 2;  // seconds; the printer that is played is quick

// One document on its way through the monitor, from an empty registry to the report.
class PrintRun {
  public:
    PrintRun(const Options& options, Document document)
        : options_(options), document_(std::move(document)) {}

    PrintResult Execute();

  private:
    bool Prepare();
    void PrepareSpooler();
    bool PreparePrinter();
    bool PrepareConfirmation();
    bool StartMonitor();
    void Print();
    void Watch(Progress* progress, host::JobOptions* job_options);
    void EndHopelessDelivery();
    void Report() const;

    const Options& options_;
    Document document_;
    host::TempDirectory log_directory_;
    host::MemoryRegistry registry_;
    std::wstring program_directory_;
    MonitorSetup setup_;
    Spooler spooler_;
    std::unique_ptr<DemoPrinter> printer_;               // none for a real printer
    std::unique_ptr<ConfirmationService> confirmation_;  // only as the ID-print monitor
    host::MonitorLibrary monitor_;
    JobReport job_;
    DWORD trouble_ = 0;  // the watch's: the printer status that lasts
    std::chrono::steady_clock::time_point trouble_since_;
    std::atomic<bool> gave_up_delivery_ = false;
};

PrintResult PrintRun::Execute() {
    if (!Prepare()) {
        return PrintResult::kNotStarted;
    }
    Announce(
        {options_, setup_, program_directory_, document_, printer_.get(), confirmation_.get()});
    if (!StartMonitor()) {
        return PrintResult::kNotStarted;
    }
    Print();
    // The log and the spooler's journal end with what the monitor does when it is unloaded.
    if (!monitor_.Unload()) {
        PrintErrorLine(L"kspprint: kspmon.dll stays in the process");
    }
    if (printer_) {
        job_.delivery = printer_->Finish(job_.outcome.bytes_taken, kDeliveryPatience);
    }
    if (job_.move) {
        job_.move->recorded =
            registry_.GetText(registry_.Root(), PortKey(setup_), L"IpAddress").value_or(L"");
    }
    Report();
    return Succeeded(job_) ? PrintResult::kPrinted : PrintResult::kNotPrinted;
}

bool PrintRun::Prepare() {
    program_directory_ = ProgramDirectory();
    setup_.exe_directory =
        options_.exe_directory.empty() ? program_directory_ : options_.exe_directory;
    setup_.record = options_.port;
    setup_.settings = options_.settings;
    setup_.log_directory = log_directory_.path();
    setup_.port = options_.port ? options_.port->PortName : kPortName;
    setup_.protocol_id = options_.protocol->id;
    setup_.queue = options_.protocol->queue;
    setup_.id_print = options_.id_print;
    setup_.raw_port = options_.protocol->port;
    if (setup_.log_directory.empty()) {
        PrintErrorLine(L"kspprint: cannot make a directory for the log");
        return false;
    }
    if (!spooler_.Load(program_directory_ + L"\\winspool.drv")) {
        PrintErrorLine(L"kspprint: the winspool.drv that belongs to this program does not lie in " +
                       program_directory_);
        return false;
    }
    if (options_.plays_printer() &&
        GetFileAttributesW((setup_.exe_directory + L"\\KSSTRMAPIe.dll").c_str()) ==
            INVALID_FILE_ATTRIBUTES) {
        PrintErrorLine(
            L"kspprint: the KSSTRMAPIe.dll by which the monitor asks printers does not lie "
            L"in " +
            setup_.exe_directory);
        return false;
    }
    PrepareSpooler();
    setup_.printer_address = options_.printer;
    if (options_.plays_printer() &&
        (!PreparePrinter() || (options_.id_print && !PrepareConfirmation()))) {
        return false;
    }
    Configure(setup_, &registry_);
    return true;
}

bool PrintRun::PreparePrinter() {
    DemoPrinterOptions printer;
    printer.bytes_per_second = std::max(kSlowestPrinter, document_.size() / kPrintingTime);
    // The ID-print monitor never asks how a printer is, and one thing at a time is enough to watch.
    printer.troubled = !options_.id_print && !options_.move;
    printer_ = std::make_unique<DemoPrinter>(*options_.protocol, printer);
    if (!printer_->ready()) {
        PrintErrorLine(L"kspprint: cannot take port " + std::to_wstring(options_.protocol->port) +
                       L" of a loopback address");
        return false;
    }
    if (options_.move && !printer_->speaks_snmp()) {
        PrintErrorLine(
            L"kspprint: cannot take UDP port 161 of a loopback address, and without SNMP a "
            L"printer cannot be found");
        return false;
    }
    setup_.reply_timeout = kImpatientReplyTimeout;
    setup_.printer_address = printer_->address();
    if (options_.move) {
        job_.move = MoveTo(printer_->address());
        setup_.printer_address = job_.move->from;
        setup_.mac = printer_->mac();
        setup_.settings.networks.push_back(NetworkAround(printer_->address()));
    }
    return true;
}

bool PrintRun::PrepareConfirmation() {
    confirmation_ = std::make_unique<ConfirmationService>(printer_->address());
    if (!confirmation_->ready()) {
        PrintErrorLine(L"kspprint: cannot take a port for the confirmation of the printer");
        return false;
    }
    setup_.check_port = confirmation_->port();
    return true;
}

void PrintRun::PrepareSpooler() {
    spooler_.AddPrinter(kPrinterName, setup_.port);
    spooler_.AddJob(kPrinterName, kJobId, document_.name(), document_.size());
}

bool PrintRun::StartMonitor() {
    const std::wstring path = program_directory_ + L"\\kspmon.dll";
    if (!monitor_.Load(path)) {
        PrintErrorLine(L"kspprint: cannot load " + path + L" (error " +
                       std::to_wstring(GetLastError()) + L")");
        return false;
    }
    if (!monitor_.Initialize(registry_)) {
        PrintErrorLine(L"kspprint: the monitor does not start");
        ReportLog(ReadMonitorLog(LogPath(setup_)));
        return false;
    }
    return true;
}

void PrintRun::Print() {
    PrintHeading(L"The job");
    Progress progress(spooler_, document_.size());
    host::JobOptions job_options;
    job_options.chunk_size =
        std::clamp<size_t>(document_.size() / kWritesOfJob, kSmallestWrite, kLargestWrite);
    job_options.retry_pause = kRetryPause;
    Watch(&progress, &job_options);

    std::optional<DeliveryWatch> watch;
    if (options_.protocol->delivers_at_end) {
        watch.emplace([this, &progress] {
            progress.Look();
            EndHopelessDelivery();
        });
    }
    const host::SpoolerJob job = {setup_.port, kPrinterName, kJobId, document_.name()};
    host::JobRunner runner(*monitor_.table(), monitor_.monitor());
    job_.outcome = runner.Run(
        job, [&](std::span<uint8_t> buffer) { return document_.Read(buffer); }, job_options);
    watch.reset();
    progress.Finish();
    if (gave_up_delivery_ && job_.given_up.empty()) {
        job_.given_up = L"the printer did not take the job; it was deleted";
    }
    if (document_.failed()) {
        job_.given_up = L"the document could not be read to its end";
    }
    job_.seconds = progress.seconds();
    job_.document_bytes = document_.bytes_read();
    job_.document_sha256 = document_.FinishSha256();
}

// EndDocPort of a spooled job comes back when the job is delivered or deleted, and nobody but this
// program can delete it. A printer that prints slowly is no trouble; one that does not answer is.
void PrintRun::EndHopelessDelivery() {
    using Clock = std::chrono::steady_clock;
    if (const DWORD status = spooler_.PrinterStatus(); status != trouble_) {
        trouble_ = status;
        trouble_since_ = Clock::now();
    }
    const bool hopeless =
        trouble_ != 0 && Clock::now() - trouble_since_ >= std::chrono::seconds(options_.patience);
    if (Interrupted() || hopeless) {
        gave_up_delivery_ = true;
        spooler_.DeleteJob(kPrinterName, kJobId);
    }
}

// The patience is counted in seconds: how long a refused WritePort takes is the network's affair.
void PrintRun::Watch(Progress* progress, host::JobOptions* job_options) {
    job_options->max_refusals = SIZE_MAX;
    job_options->alive = [this, progress] {
        if (Interrupted()) {
            job_.given_up = L"interrupted";
        } else if (progress->seconds_without_news() >= options_.patience) {
            job_.given_up =
                L"the printer took nothing for " + Counted(options_.patience, L"second");
        }
        return job_.given_up.empty();
    };
    job_options->progress = [progress](const host::JobProgress& job) { progress->Update(job); };
}

void PrintRun::Report() const {
    const std::vector<WinspoolCall> calls = spooler_.CallsSince(0);
    if (confirmation_) {
        ReportConfirmation(confirmation_->asked(), confirmation_->answered());
        ReportJobHeader(job_.delivery->job_header);
    }
    ReportDelivery(job_);
    if (job_.move) {
        ReportMove(*job_.move);
    }
    ReportPrinterStatus(calls);
    ReportSpoolerCalls(calls);
    ReportRegistryEntry(registry_, PortKey(setup_));
    ReportLog(ReadMonitorLog(LogPath(setup_)));
    ReportVerdict(job_);
}

}  // namespace

PrintResult PrintAndReport(const Options& options, Document document) {
    return PrintRun(options, std::move(document)).Execute();
}

}  // namespace ksp::print
