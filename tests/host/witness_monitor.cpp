// A print monitor that does nothing but answer through the registry it is given. The tests of
// MonitorLibrary load it: what it stores shows how it was started and shut down.

#include <windows.h>
#include <winspool.h>
#include <winsplp.h>

namespace {

// Copied, as the originals live no longer than the call.
MONITORINIT g_init = {};
MONITORREG g_registry = {};

void Store(const wchar_t* name, DWORD number) {
    const BYTE* data = reinterpret_cast<const BYTE*>(&number);
    if (g_init.pMonitorReg != nullptr) {
        g_registry.fpSetValue(g_init.hckRegistryRoot, name, REG_DWORD, data, sizeof(number),
                              g_init.hSpooler);
    } else {
        RegSetValueExW(reinterpret_cast<HKEY>(g_init.hckRegistryRoot), name, 0, REG_DWORD, data,
                       sizeof(number));
    }
}

VOID WINAPI Shutdown(HANDLE monitor) {
    Store(L"Shutdown", static_cast<DWORD>(reinterpret_cast<ULONG_PTR>(monitor)));
}

MONITOR2 MakeTable() {
    MONITOR2 table = {};
    table.cbSize = sizeof(table);
    table.pfnShutdown = Shutdown;
    return table;
}

}  // namespace

// Null for a missing MONITORINIT; otherwise the monitor's handle is 42.
LPMONITOR2 WINAPI InitializePrintMonitor2(PMONITORINIT init, PHANDLE monitor) {
    static MONITOR2 table = MakeTable();
    if (init == nullptr) {
        return nullptr;
    }
    g_init = *init;
    if (init->pMonitorReg != nullptr) {
        g_registry = *init->pMonitorReg;
    }
    Store(L"InitSize", init->cbSize);
    Store(L"RegSize", init->pMonitorReg != nullptr ? init->pMonitorReg->cbSize : 0);
    Store(L"Local", init->bLocal ? 1 : 0);
    *monitor = reinterpret_cast<HANDLE>(ULONG_PTR{42});
    return &table;
}
