#pragma once

#include <string>

#include "tools/host/monitor_registry.h"

namespace ksp::host {

// A print monitor DLL, loaded and started as the spooler does it, and shut down and unloaded in the
// destructor. One thread drives loading, starting and unloading; the MONITOR2 table may be called
// from any number of threads in between.
class MonitorLibrary {
  public:
    using InitializeFunction = LPMONITOR2(WINAPI*)(PMONITORINIT, PHANDLE);

    MonitorLibrary() = default;
    ~MonitorLibrary();
    MonitorLibrary(const MonitorLibrary&) = delete;
    MonitorLibrary& operator=(const MonitorLibrary&) = delete;

    // Maps the DLL and finds its InitializePrintMonitor2. False, with the thread's last error set,
    // when either is missing or a library is loaded already.
    [[nodiscard]] bool Load(const std::wstring& path);

    // Starts the monitor. False when it returns no table. The MONITORINIT and MONITORREG that it
    // sees stand on the stack and are overwritten when the call is over, as with spoolers that
    // build them there: only what the monitor copied stays good. May be repeated.
    [[nodiscard]] bool Initialize(MonitorRegistry& registry);
    // A MONITORINIT that carries a real root key and no registry functions.
    [[nodiscard]] bool InitializeWithoutRegistry(HKEY root);
    // No MONITORINIT at all.
    [[nodiscard]] bool InitializeWithNull();

    // Calls the table's Shutdown, then frees the DLL. False when the DLL stays mapped although this
    // was its last reference here. Does nothing when no library is loaded.
    bool Unload();

    [[nodiscard]] bool loaded() const { return module_ != nullptr; }
    [[nodiscard]] HMODULE module() const { return module_; }
    [[nodiscard]] InitializeFunction initialize_function() const { return initialize_; }
    // Null until an Initialize succeeded.
    [[nodiscard]] const MONITOR2* table() const { return table_; }
    [[nodiscard]] HANDLE monitor() const { return monitor_; }

  private:
    bool Start(PMONITORINIT init);
    void Shutdown();

    HMODULE module_ = nullptr;
    InitializeFunction initialize_ = nullptr;
    const MONITOR2* table_ = nullptr;
    HANDLE monitor_ = nullptr;
};

}  // namespace ksp::host
