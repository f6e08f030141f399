// The exported spooler functions that install monitors and talk to them.

#include "tests/standins/winspool/spooler_call.h"

namespace ksp::standins {
namespace {

std::wstring NameOrEmpty(const wchar_t* name) {
    return name == nullptr ? std::wstring() : std::wstring(name);
}

}  // namespace
}  // namespace ksp::standins

using ksp::standins::BeginCall;
using ksp::standins::CopyCut;
using ksp::standins::Monitor;
using ksp::standins::NameOrEmpty;
using ksp::standins::RunCall;
using ksp::standins::SpoolerModel;
using ksp::standins::XcvHandler;

extern "C" {

// NOLINTNEXTLINE(readability-non-const-parameter): the published signature.
BOOL WINAPI AddMonitorW(LPWSTR pName, DWORD Level, LPBYTE pMonitors) {
    WinspoolCall call = BeginCall(WinspoolAddMonitor);
    call.level = Level;
    CopyCut(NameOrEmpty(pName), call.printer);
    return RunCall(call, [&](SpoolerModel& spooler) -> DWORD {
        if (Level != 2) {
            return ERROR_INVALID_LEVEL;
        }
        const auto* const info = reinterpret_cast<const MONITOR_INFO_2W*>(pMonitors);
        if (info == nullptr || NameOrEmpty(info->pName).empty() ||
            NameOrEmpty(info->pDLLName).empty()) {
            return ERROR_INVALID_PARAMETER;
        }
        if (NameOrEmpty(info->pEnvironment) != L"Windows x64") {
            return ERROR_INVALID_ENVIRONMENT;
        }
        if (spooler.FindMonitor(info->pName) != nullptr) {
            return ERROR_PRINT_MONITOR_ALREADY_INSTALLED;
        }
        spooler.monitors.push_back({info->pName, info->pDLLName});
        return ERROR_SUCCESS;
    });
}

BOOL WINAPI DeleteMonitorW(LPWSTR pName, LPWSTR /*pEnvironment*/, LPWSTR pMonitorName) {
    WinspoolCall call = BeginCall(WinspoolDeleteMonitor);
    CopyCut(NameOrEmpty(pName), call.printer);
    return RunCall(call, [&](SpoolerModel& spooler) -> DWORD {
        const std::wstring wanted = NameOrEmpty(pMonitorName);
        return std::erase_if(spooler.monitors,
                             [&](const Monitor& monitor) { return monitor.name == wanted; }) > 0
                   ? ERROR_SUCCESS
                   : ERROR_UNKNOWN_PRINT_MONITOR;
    });
}

BOOL WINAPI XcvDataW(HANDLE hXcv, PCWSTR pszDataName, PBYTE pInputData, DWORD cbInputData,
                     PBYTE pOutputData, DWORD cbOutputData, PDWORD pcbOutputNeeded,
                     PDWORD pdwStatus) {
    WinspoolCall call = BeginCall(WinspoolXcvData, hXcv);
    call.buffer_size = cbOutputData;
    std::wstring object;
    XcvHandler handler;
    const BOOL delivered = RunCall(call, [&](SpoolerModel& spooler) -> DWORD {
        const auto* const open = spooler.FindHandle(hXcv);
        if (open == nullptr || pcbOutputNeeded == nullptr || pdwStatus == nullptr) {
            return ERROR_INVALID_HANDLE;
        }
        object = open->printer;
        handler = spooler.xcv_handler;
        return handler.function != nullptr ? ERROR_SUCCESS : ERROR_NOT_SUPPORTED;
    });
    // Outside the lock: the monitor may call the spooler.
    if (delivered != FALSE && handler.function != nullptr) {
        *pcbOutputNeeded = 0;
        *pdwStatus = handler.function(handler.context, object.c_str(), pszDataName, pInputData,
                                      cbInputData, pOutputData, cbOutputData, pcbOutputNeeded);
    }
    return delivered;
}

}  // extern "C"
