// Stands between Wine's print spooler and the monitor under test. That spooler's MONITORREG
// functions do nothing, its MONITORINIT lies on the stack and the key in it is closed when the
// monitor has started; the adapter hands the monitor a MONITORREG that works on the real registry,
// and a root key that stays open until the monitor is shut down. Everything else goes through
// unchanged.

#include <memory>

#include "support/immortal.h"
#include "support/windows_handles.h"
#include "tools/host/monitor_library.h"
#include "tools/host/real_registry.h"

namespace ksp::standins {
namespace {

// The monitor while the spooler has it loaded.
class AdaptedMonitor {
  public:
    explicit AdaptedMonitor(UniqueRegistryKey root)
        : root_(std::move(root)), registry_(root_.Get()) {}

    // The spooler's table, or null when the monitor does not start.
    LPMONITOR2 Start();

    [[nodiscard]] HANDLE handle() const { return library_.monitor(); }

  private:
    UniqueRegistryKey root_;
    host::RealRegistry registry_;
    host::MonitorLibrary library_;  // last: unloaded while it can still use the registry
    MONITOR2 table_ = {};
};

// Not destroyed at the end of the process: the monitor ends itself then.
CImmortal<std::unique_ptr<AdaptedMonitor>> g_monitor;

void WINAPI Shutdown(HANDLE /*monitor*/) {
    g_monitor.Get().reset();
}

LPMONITOR2 AdaptedMonitor::Start() {
    if (!library_.Load(L"kspmon.dll") || !library_.Initialize(registry_)) {
        return nullptr;
    }
    table_ = *library_.table();
    table_.pfnShutdown = Shutdown;
    return &table_;
}

}  // namespace
}  // namespace ksp::standins

extern "C" LPMONITOR2 WINAPI InitializePrintMonitor2(PMONITORINIT init, PHANDLE monitor) {
    using ksp::UniqueRegistryKey;
    using ksp::standins::AdaptedMonitor;
    using ksp::standins::g_monitor;
    UniqueRegistryKey root;
    if (init == nullptr || monitor == nullptr ||
        RegOpenKeyExW(reinterpret_cast<HKEY>(init->hckRegistryRoot), nullptr, 0, KEY_ALL_ACCESS,
                      root.Receive()) != ERROR_SUCCESS) {
        return nullptr;
    }
    g_monitor.Get() = std::make_unique<AdaptedMonitor>(std::move(root));
    const LPMONITOR2 table = g_monitor.Get()->Start();
    if (table == nullptr) {
        g_monitor.Get().reset();
        return nullptr;
    }
    *monitor = g_monitor.Get()->handle();
    return table;
}
