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
#include "tools/print/confirmation_service.h"
#include "tools/print/console.h"
#include "tools/print/delivery_watch.h"
#include "tools/print/demo_printer.h"
#include "tools/print/interruption.h"
#include "tools/print/monitor_log.h"
#include "tools/print/monitor_setup.h"
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

// One document on its way through the monitor, from an empty registry to the report.
class PrintRun {
  public:
    PrintRun(const Options& options, Document document)
        : options_(options), document_(std::move(document)) {}

    bool Execute();

  private:
    bool Prepare();
    void PrepareSpooler();
    bool StartMonitor();
    void Announce() const;
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
    std::optional<std::chrono::steady_clock::time_point> trouble_since_;  // the watch's
    std::atomic<bool> gave_up_delivery_ = false;
};

bool PrintRun::Execute() {
    if (!Prepare()) {
        return false;
    }
    Announce();
    if (!StartMonitor()) {
        return false;
    }
    Print();
    // The log and the spooler's journal end with what the monitor does when it is unloaded.
    if (!monitor_.Unload()) {
        PrintErrorLine(L"kspprint: kspmon.dll stays in the process");
    }
    if (printer_) {
        job_.delivery = printer_->Finish(job_.outcome.bytes_taken, kDeliveryPatience);
    }
    Report();
    return Succeeded(job_);
}

bool PrintRun::Prepare() {
    program_directory_ = ProgramDirectory();
    setup_.exe_directory =
        options_.exe_directory.empty() ? program_directory_ : options_.exe_directory;
    setup_.record = options_.port;
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
    PrepareSpooler();
    setup_.printer_address = options_.printer;
    if (options_.plays_printer()) {
        printer_ = std::make_unique<DemoPrinter>(
            *options_.protocol, std::max(kSlowestPrinter, document_.size() / kPrintingTime));
        if (!printer_->ready()) {
            PrintErrorLine(L"kspprint: cannot take port " +
                           std::to_wstring(options_.protocol->port) + L" of a loopback address");
            return false;
        }
        setup_.printer_address = printer_->address();
    }
    if (options_.id_print && options_.plays_printer()) {
        confirmation_ = std::make_unique<ConfirmationService>(setup_.printer_address);
        if (!confirmation_->ready()) {
            PrintErrorLine(L"kspprint: cannot take a port for the confirmation of the printer");
            return false;
        }
        setup_.check_port = confirmation_->port();
    }
    Configure(setup_, &registry_);
    return true;
}

void PrintRun::PrepareSpooler() {
    spooler_.AddPrinter(kPrinterName, setup_.port);
    spooler_.AddJob(kPrinterName, kJobId, document_.name(), document_.size());
}

void PrintRun::Announce() const {
    PrintLine(L"Printing through the port monitor");
    PrintField(L"document", document_.name() + L", " + Counted(document_.size(), L"byte"));
    PrintField(L"monitor", program_directory_ + L"\\kspmon.dll");
    PrintField(L"port", setup_.port + L": " + std::wstring(options_.protocol->title) + L" to " +
                            setup_.printer_address + L" port " +
                            std::to_wstring(options_.port ? options_.port->PortNumber
                                                          : options_.protocol->port));
    if (!printer_) {
        PrintField(L"printer", L"a real one; the job is given up when it takes nothing for " +
                                   Counted(options_.patience, L"second"));
        return;
    }
    if (confirmation_) {
        PrintField(L"printer", L"played by this program. It confirms on port " +
                                   std::to_wstring(confirmation_->port()) + L" that it is there.");
        return;
    }
    if (options_.protocol->delivers_at_end) {
        PrintField(L"printer", L"played by this program. The job is spooled, and connects when it");
        PrintField(L"", L"has ended; the printer is still waking up then.");
        return;
    }
    PrintField(L"printer", L"played by this program. It is asleep when the job starts: the first");
    PrintField(L"", L"attempt to connect is refused and wakes it, a second later it");
    PrintField(L"", L"listens. Until then the monitor reports 0x00800000 (server unknown)");
    PrintField(L"", L"to the spooler, and 0 as soon as bytes flow.");
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
        watch.emplace([this] { EndHopelessDelivery(); });
    }
    if (printer_ && (options_.protocol->delivers_at_end || options_.id_print)) {
        // Nobody is refused while a job is spooled, and a printer that confirms is awake: nobody
        // knocks.
        printer_->Knock();
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
    if (!spooler_.IsPrinterInTrouble()) {
        trouble_since_.reset();
    } else if (!trouble_since_) {
        trouble_since_ = Clock::now();
    }
    const bool hopeless =
        trouble_since_ && Clock::now() - *trouble_since_ >= std::chrono::seconds(options_.patience);
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
        } else if (progress->seconds_without_bytes() >= options_.patience) {
            job_.given_up =
                L"the printer took nothing for " + Counted(options_.patience, L"second");
        }
        return job_.given_up.empty();
    };
    job_options->progress = [this, progress](const host::JobProgress& job) {
        if (printer_ && job.refusals > 0) {
            printer_->Knock();
        }
        progress->Update(job);
    };
}

void PrintRun::Report() const {
    const std::vector<WinspoolCall> calls = spooler_.CallsSince(0);
    if (confirmation_) {
        ReportConfirmation(confirmation_->asked(), confirmation_->answered());
        ReportJobHeader(job_.delivery->job_header);
    }
    ReportDelivery(job_);
    ReportPrinterStatus(calls);
    ReportSpoolerCalls(calls);
    ReportRegistryEntry(registry_, PortKey(setup_));
    ReportLog(ReadMonitorLog(LogPath(setup_)));
    ReportVerdict(job_);
}

}  // namespace

bool PrintAndReport(const Options& options, Document document) {
    return PrintRun(options, std::move(document)).Execute();
}

}  // namespace ksp::print
