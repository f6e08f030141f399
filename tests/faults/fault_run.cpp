#include "tests/faults/fault_run.h"

#include <algorithm>
#include <thread>

#include "tests/host/monitor_test.h"
#include "tests/monitor/port_call_test.h"

namespace ksp::test {
namespace {

constexpr size_t kChunks = 4;
constexpr size_t kMostRefusals = 4;
// A busy machine is no fault.
constexpr size_t kPatientRefusals = 20;
// What a printer that fails needs to be seen failing, in milliseconds.
constexpr DWORD kPrinterPause = 50;
constexpr wchar_t kLastPort[] = L"After";

std::string Names(const std::set<std::wstring>& names) {
    std::string text;
    for (const std::wstring& name : names) {
        text += " '" + std::string(name.begin(), name.end()) + "'";
    }
    return text;
}

// A job is at the printer when a connection brought exactly its bytes, on an ID-print port behind
// the job's header.
bool IsWhole(const std::string& payload, const std::vector<uint8_t>& data, Transport transport) {
    const std::string expected(data.begin(), data.end());
    if (transport != Transport::kIdPrint) {
        return payload == expected;
    }
    if (!payload.ends_with(expected)) {
        return false;
    }
    const std::string header = payload.substr(0, payload.size() - expected.size());
    // A job whose data cannot be read from the spooler goes without a header.
    return header.empty() ||
           (header.starts_with("@EXTRAKJL START\n") && header.ends_with("\n@EXTRAKJL END\n") &&
            header.rfind("@EXTRAKJL START\n") == 0);
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
            Find("log:\n" + world.LogText());
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
    result_.struck = world.Struck();
    result_.counts = world.Counts();
    world.Disarm();
    JudgeJobs();
    for (const std::string& leftover : world.Leftovers()) {
        Find(leftover);
    }
}

void FaultRun::RunScenario() {
    world_->MoveTo(transport_ == Transport::kLpr ? world_->printers().refusing()
                                                 : world_->printers().first());
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
        // What is known to be missing in the registry cannot be had from there.
        if (User().Configure() == ERROR_SUCCESS || IsPortIncomplete()) {
            return true;
        }
        // A port whose new settings give no channel is gone until it is added again.
        const DWORD code = User().AddPort(FaultWorld::kTrackedPort, 4);
        return code == ERROR_SUCCESS && User().Configure() == ERROR_SUCCESS;
    });
    Step("queries", [this] { return User().AskAround(); });
    ExpectSamePorts("after the ports were added");
    const bool struck_before_jobs = world_->Struck();
    PrintJobs();
    struck_in_jobs_ = world_->Struck() && !struck_before_jobs;
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
    PrintJob(4, kLastPort, !IsKeyMissing(kLastPort));
    world_->spooler().RemovePrinter(FaultWorld::kPrinter);
    if (user.DeletePort(kLastPort) != ERROR_SUCCESS) {
        Find("after the faults: DeletePort fails");
    }
}

bool FaultRun::Start() {
    if (!library_.loaded() && !library_.Load(BesideTheProgram(kPlannedLibrary))) {
        return false;
    }
    return library_.Initialize(world_->registry());
}

void FaultRun::PrintJobs() {
    const Printers& printers = world_->printers();
    const bool call_fails = !IsPortIncomplete() && fault_.boundary != Boundary::kPrinter;
    // What was struck before a job does not hurt it.
    const auto print = [&](DWORD number, bool wanted, const std::function<void()>& refused) {
        const bool struck_before = world_->Struck();
        PrintJob(number, FaultWorld::kTrackedPort, false, refused);
        jobs_.back().must_print = wanted && call_fails && struck_before == world_->Struck();
        jobs_.back().must_be_taken = call_fails;
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
    report.name = "job " + std::to_string(number);
    report.data = Document(kChunks * Printers::kChunk, number);
    report.must_print = must_print;
    world_->QueueJob(port, number);
    world_->WatchJob(number);
    host::JobOptions options;
    options.chunk_size = Printers::kChunk;
    options.max_refusals = fault_.boundary == Boundary::kPrinter ? kMostRefusals : kPatientRefusals;
    bool moved = false;
    options.progress = [&](const host::JobProgress& progress) {
        if (progress.refusals > 0 && refused && !moved) {
            moved = true;
            refused();
        }
        if (fault_.boundary == Boundary::kPrinter) {
            Sleep(kPrinterPause);
        }
    };
    host::JobRunner runner(*library_.table(), library_.monitor());
    report.outcome = runner.Run({.port = port, .printer = FaultWorld::kPrinter, .job_id = number},
                                report.data, options);
    report.reported = world_->IsJobInError(number) || world_->WasJobDeleted() ||
                      world_->WasTroubleShown() || !report.outcome.printed();
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

// A port whose key or values could not all be written is not the one that was wanted.
bool FaultRun::IsPortIncomplete() const {
    return fault_.IsOf(RegistryOperation::kCreateKey) || fault_.IsOf(RegistryOperation::kSetValue);
}

bool FaultRun::IsKeyMissing(const std::wstring& port) const {
    return fault_.IsOf(RegistryOperation::kCreateKey) && !world_->StoredPorts().contains(port);
}

// A key that cannot be made, found, opened or deleted is in the log, and so is a port that the
// start-up finds no memory for; the port list does without.
bool FaultRun::MayPortsDiffer() {
    if (struck_at_start_ && fault_.boundary == Boundary::kMemory) {
        return true;
    }
    const bool of_keys =
        fault_.IsOf(RegistryOperation::kCreateKey) || fault_.IsOf(RegistryOperation::kEnumKey) ||
        fault_.IsOf(RegistryOperation::kOpenKey) || fault_.IsOf(RegistryOperation::kDeleteKey);
    return of_keys && world_->Struck() && !struck_in_jobs_;
}

void FaultRun::ExpectSamePorts(const char* when) {
    std::set<std::wstring> listed;
    if (!User().Enumerate(&listed) && !User().Enumerate(&listed)) {
        Find(std::string(when) + ": EnumPorts fails");
        return;
    }
    if (const std::set<std::wstring> stored = world_->StoredPorts();
        listed != stored && !MayPortsDiffer()) {
        Find(std::string(when) + ": listed" + Names(listed) + ", stored" + Names(stored));
    }
}

void FaultRun::JudgeJobs() {
    const std::vector<std::string> payloads = world_->printers().Payloads();
    for (const JobReport& job : jobs_) {
        const auto whole = std::count_if(
            payloads.begin(), payloads.end(),
            [&](const std::string& payload) { return IsWhole(payload, job.data, transport_); });
        if (whole > 1) {
            Find(job.name + " is at the printer " + std::to_string(whole) + " times");
        }
        if (whole == 0 && !job.reported) {
            Find(job.name + " is lost and nobody was told");
        }
        if (job.must_print && (whole == 0 || !job.outcome.printed())) {
            Find(job.name + " is not printed, step " +
                 std::to_string(static_cast<int>(job.outcome.failed_step)) + ", " +
                 std::to_string(whole) + " times whole");
        }
        // The call failed once, and the spooler offered the bytes again.
        if (job.must_be_taken && job.outcome.failed_step == host::JobStep::kWritePort) {
            Find(job.name + " is refused again and again");
        }
        if (job.outcome.excess_bytes > 0) {
            Find(job.name + ": more bytes taken than offered");
        }
    }
}

}  // namespace ksp::test
