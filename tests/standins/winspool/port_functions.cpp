// The exported spooler functions that list ports, and those that change the thread's identity.

#include "tests/standins/winspool/spooler_call.h"

#include <winsplp.h>

namespace ksp::standins {
namespace {

// A port that was set up with an empty name is told without one.
void AppendPort1(const Port& port, InfoBuffer<PORT_INFO_1W>* buffer) {
    buffer->Append();
    buffer->SetText(&PORT_INFO_1W::pName,
                    port.name.empty() ? OptionalText() : OptionalText(port.name));
}

void AppendPort2(const Port& port, InfoBuffer<PORT_INFO_2W>* buffer) {
    buffer->Append().fPortType = port.type;
    buffer->SetText(&PORT_INFO_2W::pPortName, port.name);
    buffer->SetText(&PORT_INFO_2W::pMonitorName, port.monitor_name);
    buffer->SetText(&PORT_INFO_2W::pDescription, port.description);
}

template <typename Info>
DWORD ListPorts(const SpoolerModel& spooler, void (*append)(const Port&, InfoBuffer<Info>*),
                LPBYTE buffer, DWORD size, LPDWORD needed, LPDWORD returned) {
    InfoBuffer<Info> info;
    for (const Port& port : spooler.ports) {
        append(port, &info);
    }
    const DWORD error = WriteInfo(info, buffer, size, needed);
    if (error == ERROR_SUCCESS) {
        *returned = info.count();
    }
    return error;
}

// Stands for a token: nothing looks into it.
HANDLE ClientToken() {
    static int token = 0;
    return &token;
}

}  // namespace
}  // namespace ksp::standins

using ksp::standins::AppendPort1;
using ksp::standins::AppendPort2;
using ksp::standins::BeginCall;
using ksp::standins::ClientToken;
using ksp::standins::CopyCut;
using ksp::standins::ListPorts;
using ksp::standins::RunCall;
using ksp::standins::SpoolerModel;

extern "C" {

BOOL WINAPI EnumPortsW(LPWSTR pName, DWORD Level, LPBYTE pPorts, DWORD cbBuf, LPDWORD pcbNeeded,
                       LPDWORD pcReturned) {
    WinspoolCall call = BeginCall(WinspoolEnumPorts);
    CopyCut(pName == nullptr ? L"" : pName, call.printer);
    call.level = Level;
    call.buffer_size = cbBuf;
    *pcbNeeded = 0;
    *pcReturned = 0;
    return RunCall(call, [&](SpoolerModel& spooler) -> DWORD {
        if (Level == 1) {
            return ListPorts(spooler, AppendPort1, pPorts, cbBuf, pcbNeeded, pcReturned);
        }
        if (Level == 2) {
            return ListPorts(spooler, AppendPort2, pPorts, cbBuf, pcbNeeded, pcReturned);
        }
        return ERROR_INVALID_LEVEL;
    });
}

BOOL WINAPI ImpersonatePrinterClient(HANDLE hToken) {
    WinspoolCall call = BeginCall(WinspoolImpersonatePrinterClient);
    return RunCall(call, [&](SpoolerModel&) -> DWORD {
        return hToken == ClientToken() ? ERROR_SUCCESS : ERROR_INVALID_HANDLE;
    });
}

HANDLE WINAPI RevertToPrinterSelf() {
    WinspoolCall call = BeginCall(WinspoolRevertToPrinterSelf);
    const BOOL reverted = RunCall(call, [](SpoolerModel&) -> DWORD { return ERROR_SUCCESS; });
    return reverted ? ClientToken() : nullptr;
}

}  // extern "C"
