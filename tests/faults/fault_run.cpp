#include "tests/faults/fault_run.h"

#include <algorithm>
#include <atomic>
#include <iterator>
#include <thread>

#include "tests/faults/system_calls.h"
#include "tests/host/monitor_test.h"
#include "tests/monitor/port_call_test.h"

namespace ksp::test {
namespace {

constexpr size_t kMostRefusals = 4;
// A busy machine is no fault.
constexpr size_t kPatientRefusals = 20;
// What a printer that fails needs to be seen failing, in milliseconds.
constexpr DWORD kPrinterPause = 50;
// What a printer that never answers needs for the same.
constexpr DWORD kSilence = 5000;
constexpr wchar_t kLastPort[] = L"After";

std::string Names(const std::set<std::wstring>& names) {
    std::string text;
    for (const std::wstring& name : names) {
        text += " '" + std::string(name.begin(), name.end()) + "'";
    }
    return text;
}

}  // namespace

FaultRun::FaultRun(Transport transport, const Fault& fault, SharedStandins& shared)
    : transport_(transport), fault_(fault), shared_(shared) {}

FaultRun::Result FaultRun::Run() {
    const HandleCensus before = CountHandles();
    try {
        FaultWorld world(transport_, fault_, shared_);
        world_ = &world;
        LiveIn(world);
        if (!result_.findings.empty()) {
            Find("log:\n" + world.Log().Describe());
        }
        world_ = nullptr;
    } catch (...) {
        Find("an exception came out of the library");
    }
    for (const auto& [kind, count] : LeakedHandles(before, CountHandles())) {
        Find(std::to_string(count) +
             " system handles open: " + std::string(kind.begin(), kind.end()));
    }
    return std::move(result_);
}

void FaultRun::LiveIn(FaultWorld& world) {
    if (!world.printers().ready()) {
        Find("the printers' addresses are taken");
        return;
    }
    shared_.memory.blocks = 0;
    world.Arm();
    RunScenario();
    // What fails later fails in the unloading.
    if (world.Struck() && library_.table() != nullptr) {
        world.Disarm();
        // On a thread that met no failure: the library's locks let their owner in again, so that
        // one which was left held would stop only somebody else.
        std::thread([this] {
            try {
                RunAftermath();
            } catch (...) {
                Find("after the faults: an exception came out of the library");
            }
        }).join();
    }
    if (!library_.Unload()) {
        Find("the library stays in the process");
    }
    world.printers().WaitForEndings();
    result_.struck = world.Struck();
    result_.counts = world.Counts();
    world.Disarm();
    // The octet behind the data of an LPR job is one more send. When it fails the data are there,
    // and the printer's status is asked and shown, as for the last acknowledgement.
    const std::vector<Arrival> arrivals = world.printers().Arrivals(fault_.IsOfSystem({"send"}));
    for (const std::string& finding : Judge(transport_, jobs_, arrivals)) {
        Find(finding);
    }
    for (const std::string& leftover : world.Leftovers()) {
        Find(leftover);
    }
}

void FaultRun::RunScenario() {
    world_->MoveTo(world_->printers().beginning());
    Step("start", [this] { return Start(); });
    if (library_.table() == nullptr) {
        return;
    }
    struck_at_start_ = world_->Struck();
    Step("SilentAddPort", [this] {
        const DWORD code = User().SilentAdd();
        return code == ERROR_SUCCESS || code == ERROR_ALREADY_EXISTS;
    });
    Step("AddPort", [this] {
        const DWORD code = User().AddPort(FaultWorld::kTrackedPort, 4);
        return code == ERROR_SUCCESS || code == ERROR_ALREADY_EXISTS;
    });
    Step("ConfigurePort", [this] {
        const bool configured = User().Configure() == ERROR_SUCCESS;
        if (configured || IsPortsKeyMissing() || !world_->Struck()) {
            return configured || IsPortsKeyMissing();
        }
        // What could not be stored is missing there, and a port whose new settings give no channel
        // is gone: a user adds it again.
        if (User().Configure() == ERROR_SUCCESS) {
            return true;
        }
        static_cast<void>(User().DeletePort(FaultWorld::kTrackedPort));
        return User().AddPort(FaultWorld::kTrackedPort, 4) == ERROR_SUCCESS &&
               User().Configure() == ERROR_SUCCESS;
    });
    Step("queries", [this] { return User().AskAround(); });
    ExpectSamePorts("after the ports were added");
    PrintJobs();
    DeletePorts();
    ExpectSamePorts("after the ports were deleted");
}

void FaultRun::RunAftermath() {
    world_->MoveTo(world_->printers().second());
    PortUser user = User();
    if (user.AddPort(kLastPort, 1) != ERROR_SUCCESS) {
        Find("after the faults: AddPort fails");
        return;
    }
    ExpectSamePorts("after the faults, with another port");
    PrintJob(4, kLastPort, !IsPortsKeyMissing());
    world_->spooler().RemovePrinter(FaultWorld::kPrinter);
    if (user.DeletePort(kLastPort) != ERROR_SUCCESS) {
        Find("after the faults: DeletePort fails");
    }
    ExpectSamePorts("after the faults");
}

bool FaultRun::Start() {
    if (!library_.loaded()) {
        if (!library_.Load(BesideTheProgram(kPlannedLibrary))) {
            return false;
        }
        SystemCalls::Watch(library_.module());
    }
    return library_.Initialize(world_->registry());
}

void FaultRun::PrintJobs() {
    const Printers& printers = world_->printers();
    // What was struck before a job does not hurt it, and neither does the place where the printer
    // failed once it is somewhere else.
    const auto print = [&](DWORD number, bool wanted, const std::function<void()>& refused) {
        const bool struck_before = world_->Struck();
        PrintJob(number, FaultWorld::kTrackedPort, false, refused);
        JobReport& job = jobs_.back();
        const bool struck = struck_before != world_->Struck();
        if (fault_.boundary == Boundary::kPrinter) {
            job.must_print = wanted && number != 1;
            job.may_be_lost = number == 1 && printers.failure() && printers.failure()->is_unnoticed;
            job.must_be_taken = number != 1;
        } else {
            job.must_print = wanted && !struck && !IsPortsKeyMissing();
            job.must_be_taken = !IsPortsKeyMissing() && !(struck && EndsJob());
            // An LPR job whose size cannot be had is announced as empty, and goes to its daemon as
            // that.
            job.may_be_lost = struck && fault_.IsOfSystem({"GetFileSizeEx"});
            job.may_lack_header = struck && (fault_.boundary == Boundary::kSpooler ||
                                             fault_.boundary == Boundary::kMemory);
        }
    };
    switch (transport_) {
        case Transport::kLpr:
            print(1, false, {});  // refused by the daemon, and held until it is deleted
            world_->MoveTo(printers.first());
            print(2, true, {});
            world_->MoveTo(printers.second());
            print(3, true, {});
            break;
        case Transport::kIdPrint:
            print(1, true, {});
            world_->MoveTo(printers.second());
            print(2, true, {});
            print(3, true, {});
            break;
        case Transport::kRaw:
        case Transport::kXlpr: {
            print(1, true, {});
            // It is where nobody listens until it was called there.
            world_->MoveTo(printers.nobody());
            const auto move = [this, &printers] { world_->MoveTo(printers.second()); };
            print(2, true, move);
            // A fault can keep the second job from calling it anywhere.
            print(3, true, move);
            break;
        }
    }
}

void FaultRun::PrintJob(DWORD number, const std::wstring& port, bool must_print,
                        const std::function<void()>& refused) {
    JobReport report;
    report.number = number;
    report.data = Document(kJobBlocks * kJobBlock, number);
    report.must_print = must_print;
    world_->QueueJob(port, number);
    world_->WatchJob(number);
    host::JobOptions options;
    options.chunk_size = kJobBlock;
    const bool fails = world_->printers().failure() && number == 1;
    options.max_refusals = fails ? kMostRefusals : kPatientRefusals;
    bool moved = false;
    options.progress = [&](const host::JobProgress& progress) {
        if (progress.refusals > 0 && refused && !moved) {
            moved = true;
            refused();
        }
        if (fails) {
            Sleep(kPrinterPause);
        }
    };
    std::atomic<bool> over = false;
    std::thread relief;
    if (fails && transport_ == Transport::kLpr) {
        // Over LPR the library waits for a connection for as long as the system tries, and sees
        // only then that the job was deleted.
        relief = std::thread([&] {
            for (DWORD waited = 0; waited < kSilence && !over; waited += kPrinterPause) {
                Sleep(kPrinterPause);
            }
            world_->printers().EndSilence();
        });
    }
    host::JobRunner runner(*library_.table(), library_.monitor());
    report.outcome = runner.Run({.port = port, .printer = FaultWorld::kPrinter, .job_id = number},
                                report.data, options);
    over = true;
    if (relief.joinable()) {
        relief.join();
    }
    report.deleted = world_->WasJobDeleted();
    report.reported = world_->IsJobInError(number) || report.deleted || world_->WasTroubleShown() ||
                      !report.outcome.printed();
    world_->WatchJob(0);
    jobs_.push_back(std::move(report));
}

void FaultRun::DeletePorts() {
    world_->spooler().RemovePrinter(FaultWorld::kPrinter);
    for (const wchar_t* name : {FaultWorld::kTrackedPort, PortUser::kSilentPort}) {
        Step("DeletePort", [&] { return User().DeletePort(name) == ERROR_SUCCESS; });
    }
}

void FaultRun::Step(const char* name, const std::function<bool()>& step) {
    if (step()) {
        return;
    }
    if (!world_->Struck()) {
        Find(std::string(name) + " fails without a fault");
    } else if (!step()) {
        Find(std::string(name) + " fails again after the fault");
    }
}

// A call without which a job cannot go on, also when the next one succeeds. What a connection has
// taken cannot be had back from it, and a part of a file may have been written; the XLPR commands
// carry names and are sent once.
bool FaultRun::EndsJob() const {
    return fault_.IsOfSystem({"send", "recv", "select"}) ||
           (transport_ == Transport::kLpr && fault_.IsOfSystem({"WriteFile"})) ||
           (transport_ == Transport::kXlpr &&
            fault_.IsOfSystem({"GetComputerNameW", "WideCharToMultiByte"}));
}

// The list does without a port whose own key cannot be opened or found at the start, and keeps one
// whose key cannot be made; a key that cannot be deleted stays. Each is in the log.
std::optional<FaultRun::Excuse> FaultRun::ExcusedPort() const {
    if (struck_at_start_ && fault_.boundary == Boundary::kMemory) {
        return Excuse{FaultWorld::kStoredPort,
                      {{LineLevel::kCritical, L"memory allocation error"},
                       {LineLevel::kError, L"error creating print channel"}}};
    }
    // The lines that tell of it are of a level that is not written here.
    if (struck_at_start_ && fault_.IsOfSystem({"CreateEventW"})) {
        return Excuse{FaultWorld::kStoredPort, {}};
    }
    const std::optional<RegistryCall> call = world_->StruckCall();
    if (!call) {
        return std::nullopt;
    }
    const std::wstring key = L"key ( " + call->name + L" )";
    switch (call->operation) {
        case RegistryOperation::kDeleteKey:
            return Excuse{call->name, {{LineLevel::kError, L"Unable to delete " + key}}};
        case RegistryOperation::kCreateKey:
            return Excuse{call->name, {{LineLevel::kError, L"Unable to open " + key}}};
        case RegistryOperation::kOpenKey:
            if (struck_at_start_) {
                return Excuse{call->name, {{LineLevel::kError, L"Unable to open " + key}}};
            }
            break;
        default:
            break;
    }
    return std::nullopt;
}

bool FaultRun::IsPortsKeyMissing() const {
    const std::optional<RegistryCall> call = world_->StruckCall();
    return call && call->operation == RegistryOperation::kCreateKey && call->name == L"Ports";
}

void FaultRun::ExpectSamePorts(const char* when) {
    std::set<std::wstring> listed;
    if (!User().Enumerate(&listed) && !User().Enumerate(&listed)) {
        Find(std::string(when) + ": EnumPorts fails");
        return;
    }
    const std::set<std::wstring> stored = world_->StoredPorts();
    std::set<std::wstring> different;
    std::set_symmetric_difference(listed.begin(), listed.end(), stored.begin(), stored.end(),
                                  std::inserter(different, different.end()));
    if (different.empty()) {
        return;
    }
    if (IsPortsKeyMissing()) {
        if (!world_->Log().ContainsLine(LineLevel::kError,
                                        L"Unable to enumerate the ports ( 6 )")) {
            Find(std::string(when) + ": nothing is logged of the key of all ports");
        }
        return;
    }
    const std::optional<Excuse> excuse = ExcusedPort();
    if (!excuse || different != std::set<std::wstring>{excuse->port}) {
        Find(std::string(when) + ": listed" + Names(listed) + ", stored" + Names(stored));
    } else if (const LogFile log = world_->Log();
               !excuse->lines.empty() &&
               std::none_of(excuse->lines.begin(), excuse->lines.end(), [&log](const auto& line) {
                   return log.ContainsLine(line.first, line.second);
               })) {
        Find(std::string(when) + ": nothing is logged of" + Names(different));
    }
}

}  // namespace ksp::test
