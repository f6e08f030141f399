#pragma once

#include <array>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "tests/standins/winspool/fault_plan.h"
#include "tests/standins/winspool/info_buffer.h"
#include "tests/standins/winspool/job.h"
#include "tests/standins/winspool_control.h"
#include "tools/host/slim_mutex.h"

namespace ksp::standins {

struct Printer {
    std::wstring name;
    OptionalText port_names;
    OptionalText driver_name;
    DWORD status = 0;
    ACCESS_MASK denied_access = 0;
    std::map<DWORD, Job> jobs;
};

struct Port {
    std::wstring name;
    OptionalText monitor_name;
    OptionalText description;
    DWORD type = 0;
};

struct OpenPrinterHandle {
    std::wstring printer;
    ACCESS_MASK access = 0;
};

struct Monitor {
    std::wstring name;
    std::wstring library;
};

struct XcvHandler {
    WinspoolXcvHandler function = nullptr;
    void* context = nullptr;
};

struct Hook {
    WinspoolHook function = nullptr;
    void* context = nullptr;
};

// Everything that the stand-in knows. Not thread-safe by itself: see LockedSpooler. Printers and
// ports keep the order in which they were added; names are compared exactly.
struct SpoolerModel {
    std::vector<Printer> printers;
    std::vector<Port> ports;
    std::vector<Monitor> monitors;
    XcvHandler xcv_handler;
    std::map<ULONG_PTR, OpenPrinterHandle> handles;
    std::vector<WinspoolCall> calls;
    FaultPlan faults;
    std::array<Hook, WinspoolFunctionCount> hooks = {};

    // Each is null when there is none; a handle whose printer is gone has no printer.
    Printer* FindPrinter(const std::wstring& name);
    Port* FindPort(const std::wstring& name);
    Monitor* FindMonitor(const std::wstring& name);
    OpenPrinterHandle* FindHandle(HANDLE handle);
    Printer* FindPrinterOf(HANDLE handle);
    Job* FindJob(const std::wstring& printer, DWORD job_id);

    // Whether a configuration channel of that name can be opened: "[\\SERVER\],XcvMonitor NAME" or
    // "[\\SERVER\],XcvPort NAME".
    bool HasXcvObject(const std::wstring& name);

    HANDLE OpenHandle(const std::wstring& printer, ACCESS_MASK access);
};

// The process's one spooler, locked while this object lives.
class LockedSpooler {
  public:
    LockedSpooler();

    SpoolerModel* operator->() const { return &model_; }
    SpoolerModel& operator*() const { return model_; }

  private:
    SpoolerModel& model_;
    std::unique_lock<host::SlimMutex> lock_;
};

// Fills a text field of the control structures, cutting what does not fit.
void CopyCut(const std::wstring& text, wchar_t (&target)[WINSPOOL_CALL_TEXT]);

}  // namespace ksp::standins
