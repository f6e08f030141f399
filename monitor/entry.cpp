#include "support/windows_spooler.h"

#include "monitor/entry_guard.h"
#include "monitor/port_operations.h"
#include "monitor/printer_enumeration.h"
#include "monitor/xcv_operations.h"
#include "support/log.h"

namespace ksp {

namespace {

// Everything that lives as long as the library is loaded. Ends with it: the port manager's
// destructor terminates the monitor.
struct CMonitor {
    CPrinterEnumeration printers;
    CPortManager manager{printers};
    CPortOperations ports{manager};
    CXcvOperations xcv{manager};
};

CMonitor g_monitor;

CMonitor& Monitor() {
    return g_monitor;
}

BOOL AsBool(bool value) noexcept {
    return value ? TRUE : FALSE;
}

// The entries. The monitor handle and server names that they are given are not looked at.

BOOL WINAPI EnumPorts(HANDLE, LPWSTR, DWORD level, LPBYTE buffer, DWORD size, LPDWORD needed,
                      LPDWORD returned) {
    const DWORD code = Guarded<DWORD>(ERROR_INVALID_FUNCTION, [&] {
        return Monitor().ports.EnumPorts(level, buffer, size, needed, returned);
    });
    ::SetLastError(code);
    return AsBool(code == ERROR_SUCCESS);
}

BOOL WINAPI OpenPort(HANDLE, LPWSTR name, PHANDLE handle) {
    return Guarded<BOOL>(FALSE, [&] { return AsBool(Monitor().ports.OpenPort(name, handle)); });
}

BOOL WINAPI StartDocPort(HANDLE port, LPWSTR printerName, DWORD jobId, DWORD, LPBYTE document) {
    return Guarded<BOOL>(FALSE, [&] {
        return AsBool(Monitor().ports.StartDocPort(port, printerName, jobId,
                                                   reinterpret_cast<const DOC_INFO_1W*>(document)));
    });
}

BOOL WINAPI WritePort(HANDLE port, LPBYTE data, DWORD size, LPDWORD written) {
    return Guarded<BOOL>(
        FALSE, [&] { return AsBool(Monitor().ports.WritePort(port, data, size, written)); });
}

BOOL WINAPI ReadPort(HANDLE, LPBYTE, DWORD, LPDWORD) {
    Log(LogLevel::kError, L"read port not supported");
    return FALSE;
}

BOOL WINAPI EndDocPort(HANDLE port) {
    return Guarded<BOOL>(FALSE, [&] { return AsBool(Monitor().ports.EndDocPort(port)); });
}

BOOL WINAPI ClosePort(HANDLE port) {
    return Guarded<BOOL>(FALSE, [&] { return AsBool(Monitor().ports.ClosePort(port)); });
}

BOOL WINAPI SetPortTimeOuts(HANDLE, LPCOMMTIMEOUTS, DWORD) {
    Log(LogLevel::kError, L"set port timeout not supported");
    return FALSE;
}

// The object's name and the granted access are not kept: every Xcv handle is the same kind of
// token.
BOOL WINAPI XcvOpenPort(HANDLE, LPCWSTR, ACCESS_MASK, PHANDLE xcv) {
    return Guarded<BOOL>(FALSE, [&] { return AsBool(CXcvOperations::XcvOpenPort(xcv)); });
}

DWORD WINAPI XcvDataPort(HANDLE, LPCWSTR command, PBYTE input, DWORD inputSize, PBYTE output,
                         DWORD outputSize, PDWORD needed) {
    return Guarded<DWORD>(ERROR_INVALID_DATA, [&] {
        return Monitor().xcv.XcvDataPort(command, input, inputSize, output, outputSize, needed);
    });
}

BOOL WINAPI XcvClosePort(HANDLE xcv) {
    return Guarded<BOOL>(FALSE, [&] { return AsBool(CXcvOperations::XcvClosePort(xcv)); });
}

VOID WINAPI Shutdown(HANDLE monitor) {
    if (monitor != nullptr) {
        ::GlobalFree(monitor);
    }
}

constexpr MONITOR2 kOperations = {
    .cbSize = sizeof(MONITOR2),
    .pfnEnumPorts = EnumPorts,
    .pfnOpenPort = OpenPort,
    .pfnOpenPortEx = nullptr,  // this monitor is no language monitor
    .pfnStartDocPort = StartDocPort,
    .pfnWritePort = WritePort,
    .pfnReadPort = ReadPort,
    .pfnEndDocPort = EndDocPort,
    .pfnClosePort = ClosePort,
    // Ports are added, configured and deleted through Xcv only.
    .pfnAddPort = nullptr,
    .pfnAddPortEx = nullptr,
    .pfnConfigurePort = nullptr,
    .pfnDeletePort = nullptr,
    .pfnGetPrinterDataFromPort = nullptr,  // nothing is read from printers over the port
    .pfnSetPortTimeOuts = SetPortTimeOuts,
    .pfnXcvOpenPort = XcvOpenPort,
    .pfnXcvDataPort = XcvDataPort,
    .pfnXcvClosePort = XcvClosePort,
    .pfnShutdown = Shutdown,
    .pfnSendRecvBidiDataFromPort = nullptr,  // no bidirectional requests
    .pfnNotifyUsedPorts = nullptr,           // nothing is done for ports that no printer uses
    .pfnNotifyUnusedPorts = nullptr,
};
static_assert(sizeof(MONITOR2) == 0xB0, "the spooler reads the slots up to this size");

}  // namespace

}  // namespace ksp

// The library's one export (the spooler's header declares it): starts the monitor and hands over
// its operations. The spooler calls it once per process; a second call answers with the same table.
// Null when the monitor cannot be started. `phMonitor`, when not null, receives a handle that says
// nothing: no operation looks at it.
LPMONITOR2 WINAPI InitializePrintMonitor2(PMONITORINIT pMonitorInit, PHANDLE phMonitor) {
    const bool started =
        ksp::Guarded(false, [&] { return ksp::Monitor().manager.Initialize(pMonitorInit); });
    if (!started) {
        if (phMonitor != nullptr) {
            *phMonitor = nullptr;
        }
        ksp::Log(ksp::LogLevel::kCritical, L"PortMonitor initalize error");
        return nullptr;
    }
    if (phMonitor != nullptr) {
        constexpr SIZE_T kTokenSize = 4;  // bytes; only the address counts
        *phMonitor = ::GlobalAlloc(GMEM_FIXED, kTokenSize);
    }
    // The table is read-only; the published signature knows no const.
    return const_cast<LPMONITOR2>(&ksp::kOperations);
}
