#include "tests/faults/fault_world.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "tests/faults/system_calls.h"
#include "tests/host/log_file.h"

namespace ksp::test {
namespace {

constexpr wchar_t kOrdinarySoftwareKey[] = L"SOFTWARE\\Kestrel\\Kestrel Print";
constexpr wchar_t kIdPrintSoftwareKey[] = L"SOFTWARE\\Kestrel\\Kestrel Print(ID Print)";
constexpr wchar_t kNotifierKey[] = L"SOFTWARE\\TAVRIN\\PNOTIFY";
constexpr char kNarrowMac[] = "0026AB123456";
constexpr char kStatusOid[] = "1.3.6.1.2.1.25.3.5.1.1";
constexpr char kErrorStateOid[] = "1.3.6.1.2.1.25.3.5.1.2";
constexpr int kRegistryOperations = static_cast<int>(RegistryOperation::kQueryValue) + 1;
// A job that is waited for longer than this is deleted, in milliseconds.
constexpr DWORD kPatience = 20000;
// Bytes at which a log is rotated when nothing else is set.
constexpr size_t kFullLog = size_t{1} << 20;
// The same for a job whose printer refuses every connection: nothing else ends it.
constexpr DWORD kShortPatience = 5000;

std::optional<PrinterFailure> FailureOf(Transport transport, const Fault& fault) {
    if (fault.boundary != Boundary::kPrinter || fault.kind == Fault::Kind::kNone) {
        return std::nullopt;
    }
    return FailuresOf(transport)[fault.nth - 1];
}

// How a connection failed is known from the library's own lines.
LineLevel LogLevelFor(const std::optional<PrinterFailure>& failure) {
    if (std::getenv("KSP_FAULTS_TRACE") != nullptr) {
        return LineLevel::kTrace;
    }
    return failure ? LineLevel::kInfo : LineLevel::kError;
}

}  // namespace

FaultWorld::FaultWorld(Transport transport, const Fault& fault, SharedStandins& shared)
    : transport_(transport),
      fault_(fault),
      shared_(shared),
      printers_(transport, FailureOf(transport, fault)) {
    shared_.spooler.Reset();
    shared_.discovery.Reset();
    WriteSettings();
    const std::wstring port = std::wstring(L"Ports\\") + kStoredPort;
    store_.SetDword(store_.Root(), port, L"ProtocolID", protocol());
    store_.SetDword(store_.Root(), port, L"PrinterAddressType", 1);
    store_.SetText(store_.Root(), port, L"PrinterAddress", Wide(printers_.second()));
    shared_.spooler.PutPort(L"LPT1:");
    shared_.spooler.SetHook(WinspoolGetJob, [this] {
        if (watched_job_ == 0) {
            return;
        }
        const bool refused = printers_.failure() && printers_.failure()->RefusesConnections() &&
                             place_ == printers_.beginning();
        const DWORD patience = refused ? kShortPatience : kPatience;
        if (IsJobInError(watched_job_) || GetTickCount() - watched_since_ > patience) {
            deleted_ = true;
            shared_.spooler.SetJobStatus(kPrinter, watched_job_, JOB_STATUS_DELETING);
        }
    });
}

FaultWorld::~FaultWorld() {
    Disarm();
    shared_.spooler.SetHook(WinspoolGetJob, {});
}

DWORD FaultWorld::protocol() const {
    switch (transport_) {
        case Transport::kLpr:
            return 0;
        case Transport::kXlpr:
            return 1;
        case Transport::kRaw:
        case Transport::kIdPrint:
            break;
    }
    return 2;
}

void FaultWorld::WriteSettings() {
    const bool id_print = transport_ == Transport::kIdPrint;
    software_key_ = id_print ? kIdPrintSoftwareKey : kOrdinarySoftwareKey;
    store_.SetDword(store_.Root(), L"", L"KSPRINT_SECURE", id_print ? 2 : 1);
    SetSetting(L"ExeDirectory", DiscoveryControl::FullDirectory());
    SetSetting(L"LogDirectory", directory_.path());
    SetSetting(L"LogFileName", std::wstring(L"log.txt"));
    SetSetting(L"LogLevel", static_cast<DWORD>(LogLevelFor(printers_.failure())));
    if (fault_.boundary == Boundary::kSystem) {
        // Full, so that it is rotated: more calls that can fail.
        std::ofstream(std::filesystem::path(directory_.File(L"log.txt")))
            << std::string(kFullLog, ' ');
    }
    SetSetting(L"LPRDirectory", directory_.File(L"spool"));
    // Where no printer is silent the wait is for a busy machine only.
    SetSetting(L"WaitServerReplyTimeout", printers_.failure() ? 2 : 20);
    SetSetting(L"WaitPrinterValueTimeout", 1);
    SetSetting(L"WaitStatusReplyTimeout", 1);
    SetSetting(L"SubnetSegment", 1);
    store_.SetText(HKEY_LOCAL_MACHINE, software_key_ + L"\\subnet", L"subnet0",
                   L"127.0.0.0;255.0.0.0");
    store_.SetText(HKEY_LOCAL_MACHINE, kNotifierKey, L"NAME", directory_.File(L"missing.exe"));
}

void FaultWorld::SetSetting(const std::wstring& name, const std::wstring& text) {
    store_.SetText(HKEY_LOCAL_MACHINE, software_key_, name, text);
}

void FaultWorld::SetSetting(const std::wstring& name, DWORD number) {
    store_.SetDword(HKEY_LOCAL_MACHINE, software_key_, name, number);
}

void FaultWorld::Arm() {
    registry_.ClearCalls();
    shared_.spooler.ClearCalls();
    shared_.discovery.ClearCalls();
    shared_.memory.requests = 0;
    shared_.memory.struck = 0;
    SystemCalls::Clear();
    if (fault_.kind == Fault::Kind::kNone) {
        return;
    }
    const auto nth = static_cast<DWORD>(fault_.nth);
    const bool empty = fault_.kind == Fault::Kind::kEmpty;
    switch (fault_.boundary) {
        case Boundary::kRegistry:
            registry_.AddFault(
                {.operation = static_cast<RegistryOperation>(fault_.function), .nth = fault_.nth});
            break;
        case Boundary::kSpooler: {
            const auto function = static_cast<WinspoolFunction>(fault_.function);
            if (empty) {
                shared_.spooler.EmptyCall(function, nth);
            } else {
                shared_.spooler.FailCall(function, ERROR_ACCESS_DENIED, nth);
            }
            break;
        }
        case Boundary::kDiscovery: {
            const auto function = static_cast<DiscoveryFunction>(fault_.function);
            if (empty) {
                shared_.discovery.EmptyNth(function, nth);
            } else {
                shared_.discovery.FailNth(function, nth);
            }
            break;
        }
        case Boundary::kMemory:
            shared_.memory.refused = static_cast<LONG>(fault_.nth);
            break;
        case Boundary::kSystem:
            SystemCalls::Refuse(fault_.function, fault_.nth);
            break;
        case Boundary::kPrinter:
            break;
    }
}

void FaultWorld::Disarm() {
    registry_.ClearFaults();
    shared_.spooler.ClearFaults();
    shared_.discovery.ClearFaults();
    shared_.memory.refused = 0;
    SystemCalls::RefuseNothing();
}

bool FaultWorld::Struck() {
    if (fault_.kind == Fault::Kind::kNone) {
        return false;
    }
    switch (fault_.boundary) {
        case Boundary::kRegistry:
            return registry_.CountCalls(static_cast<RegistryOperation>(fault_.function)) >=
                   fault_.nth;
        case Boundary::kSpooler:
            return shared_.spooler.Calls(static_cast<WinspoolFunction>(fault_.function)).size() >=
                   fault_.nth;
        case Boundary::kDiscovery:
            return shared_.discovery.Calls(static_cast<DiscoveryFunction>(fault_.function))
                       .size() >= fault_.nth;
        case Boundary::kMemory:
            return shared_.memory.struck != 0;
        case Boundary::kSystem:
            return SystemCalls::Counts()[static_cast<size_t>(fault_.function)] >= fault_.nth;
        case Boundary::kPrinter:
            break;
    }
    return HasPrinterFailed();
}

bool FaultWorld::HasPrinterFailed() {
    if (printer_failed_ || place_ != printers_.beginning()) {
        return printer_failed_;
    }
    const PrinterFailure& failure = *printers_.failure();
    const bool refuses = failure.RefusesConnections();
    if (!refuses && !failure.NeverAnswersConnections()) {
        printer_failed_ = printers_.HaveMisbehaved();
        return printer_failed_;
    }
    const std::wstring said = refuses ? L" -> getsockopt returned" : L" -> select timed out";
    const std::vector<std::wstring> lines = Log().Messages(LineLevel::kInfo);
    printer_failed_ = std::any_of(lines.begin(), lines.end(), [&](const std::wstring& line) {
        return line.find(said) != std::wstring::npos;
    });
    return printer_failed_;
}

std::optional<RegistryCall> FaultWorld::StruckCall() const {
    if (fault_.boundary != Boundary::kRegistry) {
        return std::nullopt;
    }
    size_t nth = 0;
    for (RegistryCall& call : registry_.Calls()) {
        if (fault_.IsOf(call.operation) && ++nth == fault_.nth) {
            return std::move(call);
        }
    }
    return std::nullopt;
}

CallCounts FaultWorld::Counts() {
    CallCounts counts;
    for (int operation = 0; operation < kRegistryOperations; ++operation) {
        counts.registry.push_back(registry_.CountCalls(static_cast<RegistryOperation>(operation)));
    }
    for (int function = 0; function < WinspoolFunctionCount; ++function) {
        counts.spooler.push_back(
            shared_.spooler.Calls(static_cast<WinspoolFunction>(function)).size());
    }
    for (int function = 0; function < DiscoveryExportCount; ++function) {
        counts.discovery.push_back(
            shared_.discovery.Calls(static_cast<DiscoveryFunction>(function)).size());
    }
    counts.memory = static_cast<size_t>(shared_.memory.requests);
    counts.system = SystemCalls::Counts();
    counts.printer = FailuresOf(transport_).size();
    // The ID-print monitor asks no printer how it is.
    counts.hidden = transport_ == Transport::kIdPrint ? 0 : counts.printer;
    return counts;
}

void FaultWorld::MoveTo(const std::string& address) {
    if (!place_.empty()) {
        shared_.discovery.RemoveDevice(place_);
    }
    if (printers_.failure()) {
        static_cast<void>(HasPrinterFailed());
    }
    place_ = address;
    const bool troubled = printers_.failure() && fault_.kind != Fault::Kind::kHidden &&
                          address == printers_.beginning();
    shared_.discovery.AddDevice({.address = address, .mac = kNarrowMac});
    shared_.discovery.SetValue(address, kStatusOid, {static_cast<uint8_t>(troubled ? 4 : 3)});
    shared_.discovery.SetValue(address, kErrorStateOid,
                               {static_cast<uint8_t>(troubled ? 0x40 : 0x00)});
}

void FaultWorld::QueueJob(const std::wstring& port, DWORD job) {
    shared_.spooler.PutPrinter({.name = kPrinter, .port_names = port});
    shared_.spooler.PutJob(kPrinter, WinspoolControl::SampleJob(job));
    spooler_calls_before_ = shared_.spooler.Calls(WinspoolSetPrinter).size();
}

void FaultWorld::WatchJob(DWORD job) {
    watched_job_ = job;
    watched_since_ = GetTickCount();
    deleted_ = false;
}

bool FaultWorld::WasTroubleShown() const {
    const std::vector<WinspoolCall> calls = shared_.spooler.Calls(WinspoolSetPrinter);
    for (size_t index = spooler_calls_before_; index < calls.size(); ++index) {
        if (calls[index].status != 0 && calls[index].result != FALSE) {
            return true;
        }
    }
    return false;
}

bool FaultWorld::IsJobInError(DWORD job) const {
    return (shared_.spooler.JobStatus(kPrinter, job).value_or(0) & JOB_STATUS_ERROR) != 0;
}

std::set<std::wstring> FaultWorld::StoredPorts() const {
    const std::vector<std::wstring> names = store_.SubkeyNames(store_.Root(), L"Ports");
    return {names.begin(), names.end()};
}

std::vector<std::string> FaultWorld::Leftovers() const {
    std::vector<std::string> leftovers;
    // A call that refuses to close leaves open what it was to close.
    const size_t keys = fault_.IsOf(RegistryOperation::kCloseKey) ? 1 : 0;
    if (store_.OpenKeyCount() > keys) {
        leftovers.push_back(std::to_string(store_.OpenKeyCount()) + " registry keys open");
    }
    const size_t printers = fault_.IsOf(WinspoolClosePrinter) ? 1 : 0;
    if (shared_.spooler.OpenHandles().size() > printers) {
        leftovers.push_back(std::to_string(shared_.spooler.OpenHandles().size()) +
                            " printer handles open");
    }
    if (const std::string held = shared_.discovery.Leftovers(); !held.empty()) {
        leftovers.push_back("discovery library: " + held);
    }
    if (shared_.memory.blocks != 0) {
        leftovers.push_back(std::to_string(shared_.memory.blocks) + " blocks of memory");
    }
    for (const std::string& held : SystemCalls::Leftovers()) {
        leftovers.push_back(held + " not given back");
    }
    if (store_.SubkeyNames(store_.Root(), L"") != std::vector<std::wstring>{L"Ports"}) {
        leftovers.push_back("a key beside the ports' key");
    }
    return leftovers;
}

LogFile FaultWorld::Log() const {
    return LogFile::Read(directory_.File(L"log.txt"));
}

}  // namespace ksp::test
