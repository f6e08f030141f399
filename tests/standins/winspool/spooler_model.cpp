#include "tests/standins/winspool/spooler_model.h"

#include <algorithm>
#include <string_view>

namespace ksp::standins {
namespace {

host::SlimMutex& TheMutex() {
    static host::SlimMutex mutex;
    return mutex;
}

SpoolerModel& TheModel() {
    static SpoolerModel model;
    return model;
}

// Printer handles are never reused, not even after a reset, so that a stale one is found out.
ULONG_PTR NextHandle() {
    static ULONG_PTR next = 0x5000;
    next += 4;
    return next;
}

}  // namespace

Printer* SpoolerModel::FindPrinter(const std::wstring& name) {
    const auto found = std::find_if(printers.begin(), printers.end(),
                                    [&](const Printer& printer) { return printer.name == name; });
    return found == printers.end() ? nullptr : &*found;
}

Port* SpoolerModel::FindPort(const std::wstring& name) {
    const auto found = std::find_if(ports.begin(), ports.end(),
                                    [&](const Port& port) { return port.name == name; });
    return found == ports.end() ? nullptr : &*found;
}

Monitor* SpoolerModel::FindMonitor(const std::wstring& name) {
    const auto found = std::find_if(monitors.begin(), monitors.end(),
                                    [&](const Monitor& monitor) { return monitor.name == name; });
    return found == monitors.end() ? nullptr : &*found;
}

bool SpoolerModel::HasXcvObject(const std::wstring& name) {
    constexpr std::wstring_view kMonitor = L",XcvMonitor ";
    constexpr std::wstring_view kPort = L",XcvPort ";
    std::wstring object = name;
    if (object.starts_with(L"\\\\")) {
        object.erase(0, std::min(object.find(L'\\', 2), object.size() - 1) + 1);
    }
    if (object.starts_with(kMonitor)) {
        return FindMonitor(object.substr(kMonitor.size())) != nullptr;
    }
    if (!object.starts_with(kPort)) {
        return false;
    }
    const Port* port = FindPort(object.substr(kPort.size()));
    return port != nullptr && FindMonitor(port->monitor_name.value_or(L"")) != nullptr;
}

OpenPrinterHandle* SpoolerModel::FindHandle(HANDLE handle) {
    const auto found = handles.find(reinterpret_cast<ULONG_PTR>(handle));
    return found == handles.end() ? nullptr : &found->second;
}

Printer* SpoolerModel::FindPrinterOf(HANDLE handle) {
    const OpenPrinterHandle* open = FindHandle(handle);
    return open == nullptr ? nullptr : FindPrinter(open->printer);
}

Job* SpoolerModel::FindJob(const std::wstring& printer_name, DWORD job_id) {
    Printer* printer = FindPrinter(printer_name);
    if (printer == nullptr) {
        return nullptr;
    }
    const auto found = printer->jobs.find(job_id);
    return found == printer->jobs.end() ? nullptr : &found->second;
}

HANDLE SpoolerModel::OpenHandle(const std::wstring& printer, ACCESS_MASK access) {
    const ULONG_PTR number = NextHandle();
    handles[number] = {printer, access};
    return reinterpret_cast<HANDLE>(number);
}

LockedSpooler::LockedSpooler() : model_(TheModel()), lock_(TheMutex()) {}

void CopyCut(const std::wstring& text, wchar_t (&target)[WINSPOOL_CALL_TEXT]) {
    const size_t length = std::min<size_t>(text.size(), WINSPOOL_CALL_TEXT - 1);
    std::copy_n(text.begin(), length, target);
    target[length] = L'\0';
}

}  // namespace ksp::standins
