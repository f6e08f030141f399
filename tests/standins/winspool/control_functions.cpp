// The control table of the stand-in; winspool_control.h describes each function.

#include <algorithm>
#include <iterator>
#include <utility>

#include "tests/standins/winspool/spooler_model.h"

namespace ksp::standins {
namespace {

std::wstring NameFrom(const wchar_t* text) {
    return CopyText(text).value_or(L"");
}

void WINAPI Reset() {
    const LockedSpooler spooler;
    *spooler = SpoolerModel();
}

void WINAPI PutPrinter(const WinspoolPrinter* printer) {
    const LockedSpooler spooler;
    Printer* existing = spooler->FindPrinter(NameFrom(printer->name));
    Printer& target = existing != nullptr ? *existing : spooler->printers.emplace_back();
    target.name = NameFrom(printer->name);
    target.port_names = CopyText(printer->port_names);
    target.driver_name = CopyText(printer->driver_name);
    target.status = printer->status;
    target.denied_access = printer->denied_access;
}

BOOL WINAPI RemovePrinter(const wchar_t* name) {
    const LockedSpooler spooler;
    const std::wstring wanted = NameFrom(name);
    return std::erase_if(spooler->printers,
                         [&](const Printer& printer) { return printer.name == wanted; }) > 0;
}

BOOL WINAPI GetPrinterStatus(const wchar_t* name, DWORD* status) {
    const LockedSpooler spooler;
    const Printer* printer = spooler->FindPrinter(NameFrom(name));
    if (printer == nullptr) {
        return FALSE;
    }
    *status = printer->status;
    return TRUE;
}

BOOL WINAPI SetPrinterStatus(const wchar_t* name, DWORD status) {
    const LockedSpooler spooler;
    Printer* printer = spooler->FindPrinter(NameFrom(name));
    if (printer == nullptr) {
        return FALSE;
    }
    printer->status = status;
    return TRUE;
}

BOOL WINAPI PutJob(const wchar_t* printer_name, const JOB_INFO_2W* job) {
    const LockedSpooler spooler;
    Printer* printer = spooler->FindPrinter(NameFrom(printer_name));
    if (printer == nullptr) {
        return FALSE;
    }
    printer->jobs[job->JobId] = MakeJob(*job);
    return TRUE;
}

BOOL WINAPI RemoveJob(const wchar_t* printer_name, DWORD job_id) {
    const LockedSpooler spooler;
    Printer* printer = spooler->FindPrinter(NameFrom(printer_name));
    return printer != nullptr && printer->jobs.erase(job_id) > 0;
}

BOOL WINAPI GetJobStatus(const wchar_t* printer_name, DWORD job_id, DWORD* status) {
    const LockedSpooler spooler;
    const Job* job = spooler->FindJob(NameFrom(printer_name), job_id);
    if (job == nullptr) {
        return FALSE;
    }
    *status = job->numbers.Status;
    return TRUE;
}

BOOL WINAPI SetJobStatus(const wchar_t* printer_name, DWORD job_id, DWORD status) {
    const LockedSpooler spooler;
    Job* job = spooler->FindJob(NameFrom(printer_name), job_id);
    if (job == nullptr) {
        return FALSE;
    }
    job->numbers.Status = status;
    return TRUE;
}

void WINAPI PutPort(const PORT_INFO_2W* port) {
    const LockedSpooler spooler;
    Port* existing = spooler->FindPort(NameFrom(port->pPortName));
    Port& target = existing != nullptr ? *existing : spooler->ports.emplace_back();
    target.name = NameFrom(port->pPortName);
    target.monitor_name = CopyText(port->pMonitorName);
    target.description = CopyText(port->pDescription);
    target.type = port->fPortType;
}

BOOL WINAPI RemovePort(const wchar_t* name) {
    const LockedSpooler spooler;
    const std::wstring wanted = NameFrom(name);
    return std::erase_if(spooler->ports, [&](const Port& port) { return port.name == wanted; }) > 0;
}

void WINAPI PutMonitor(const wchar_t* name, const wchar_t* library) {
    const LockedSpooler spooler;
    Monitor* existing = spooler->FindMonitor(NameFrom(name));
    Monitor& target = existing != nullptr ? *existing : spooler->monitors.emplace_back();
    target = {NameFrom(name), NameFrom(library)};
}

BOOL WINAPI GetMonitorLibrary(const wchar_t* name, wchar_t library[WINSPOOL_CALL_TEXT]) {
    const LockedSpooler spooler;
    const Monitor* monitor = spooler->FindMonitor(NameFrom(name));
    if (monitor == nullptr) {
        return FALSE;
    }
    wchar_t text[WINSPOOL_CALL_TEXT] = {};
    CopyCut(monitor->library, text);
    std::copy(std::begin(text), std::end(text), library);
    return TRUE;
}

void WINAPI SetXcvHandler(WinspoolXcvHandler handler, void* context) {
    const LockedSpooler spooler;
    spooler->xcv_handler = {handler, context};
}

DWORD WINAPI CallCount() {
    const LockedSpooler spooler;
    return static_cast<DWORD>(spooler->calls.size());
}

BOOL WINAPI GetCall(DWORD index, WinspoolCall* call) {
    const LockedSpooler spooler;
    if (index >= spooler->calls.size()) {
        return FALSE;
    }
    *call = spooler->calls[index];
    return TRUE;
}

void WINAPI ClearCalls() {
    const LockedSpooler spooler;
    spooler->calls.clear();
}

void WINAPI AddFault(const WinspoolFault* fault) {
    const LockedSpooler spooler;
    spooler->faults.Add(*fault);
}

void WINAPI ClearFaults() {
    const LockedSpooler spooler;
    spooler->faults.Clear();
}

void WINAPI SetHook(WinspoolFunction function, WinspoolHook hook, void* context) {
    const LockedSpooler spooler;
    spooler->hooks[function] = {hook, context};
}

DWORD WINAPI OpenHandleCount() {
    const LockedSpooler spooler;
    return static_cast<DWORD>(spooler->handles.size());
}

BOOL WINAPI GetOpenHandle(DWORD index, WinspoolHandle* handle) {
    const LockedSpooler spooler;
    if (index >= spooler->handles.size()) {
        return FALSE;
    }
    const auto& [number, open] = *std::next(spooler->handles.begin(), index);
    handle->handle = reinterpret_cast<HANDLE>(number);
    handle->access = open.access;
    CopyCut(open.printer, handle->printer);
    return TRUE;
}

constexpr WinspoolControlTable kTable = {
    sizeof(WinspoolControlTable),
    WINSPOOL_CONTROL_VERSION,
    Reset,
    PutPrinter,
    RemovePrinter,
    GetPrinterStatus,
    SetPrinterStatus,
    PutJob,
    RemoveJob,
    GetJobStatus,
    SetJobStatus,
    PutPort,
    RemovePort,
    PutMonitor,
    GetMonitorLibrary,
    SetXcvHandler,
    CallCount,
    GetCall,
    ClearCalls,
    AddFault,
    ClearFaults,
    SetHook,
    OpenHandleCount,
    GetOpenHandle,
};

}  // namespace
}  // namespace ksp::standins

const WinspoolControlTable* WINAPI WinspoolStandinControl() {
    return &ksp::standins::kTable;
}
