// The exported spooler functions that open, read and change printers.

#include "tests/standins/winspool/spooler_call.h"

namespace ksp::standins {
namespace {

void AppendPrinter(const Printer& printer, InfoBuffer<PRINTER_INFO_2W>* buffer) {
    PRINTER_INFO_2W& info = buffer->Append();
    info.Status = printer.status;
    info.cJobs = static_cast<DWORD>(printer.jobs.size());
    buffer->SetText(&PRINTER_INFO_2W::pPrinterName, printer.name);
    buffer->SetText(&PRINTER_INFO_2W::pPortName, printer.port_names);
    buffer->SetText(&PRINTER_INFO_2W::pDriverName, printer.driver_name);
}

ACCESS_MASK RequestedAccess(const PRINTER_DEFAULTSW* defaults) {
    return defaults == nullptr || defaults->DesiredAccess == 0 ? PRINTER_ACCESS_USE
                                                               : defaults->DesiredAccess;
}

}  // namespace
}  // namespace ksp::standins

using ksp::standins::AppendPrinter;
using ksp::standins::BeginCall;
using ksp::standins::CopyCut;
using ksp::standins::InfoBuffer;
using ksp::standins::Printer;
using ksp::standins::RequestedAccess;
using ksp::standins::RunCall;
using ksp::standins::SpoolerModel;
using ksp::standins::WriteInfo;

extern "C" {

// NOLINTNEXTLINE(readability-non-const-parameter): the published signature.
BOOL WINAPI OpenPrinterW(LPWSTR pPrinterName, LPHANDLE phPrinter, LPPRINTER_DEFAULTSW pDefault) {
    WinspoolCall call = BeginCall(WinspoolOpenPrinter);
    call.access = RequestedAccess(pDefault);
    if (pPrinterName != nullptr) {
        CopyCut(pPrinterName, call.printer);
    }
    return RunCall(call, [&](SpoolerModel& spooler) -> DWORD {
        if (pPrinterName == nullptr || phPrinter == nullptr) {
            return ERROR_INVALID_PARAMETER;
        }
        if (spooler.HasXcvObject(pPrinterName)) {
            *phPrinter = spooler.OpenHandle(pPrinterName, call.access);
            call.handle = *phPrinter;
            return ERROR_SUCCESS;
        }
        const Printer* printer = spooler.FindPrinter(pPrinterName);
        if (printer == nullptr) {
            return ERROR_INVALID_PRINTER_NAME;
        }
        if ((call.access & printer->denied_access) != 0) {
            return ERROR_ACCESS_DENIED;
        }
        *phPrinter = spooler.OpenHandle(printer->name, call.access);
        call.handle = *phPrinter;
        return ERROR_SUCCESS;
    });
}

BOOL WINAPI ClosePrinter(HANDLE hPrinter) {
    WinspoolCall call = BeginCall(WinspoolClosePrinter, hPrinter);
    return RunCall(call, [&](SpoolerModel& spooler) -> DWORD {
        const bool closed = spooler.handles.erase(reinterpret_cast<ULONG_PTR>(hPrinter)) > 0;
        return closed ? ERROR_SUCCESS : ERROR_INVALID_HANDLE;
    });
}

BOOL WINAPI GetPrinterW(HANDLE hPrinter, DWORD Level, LPBYTE pPrinter, DWORD cbBuf,
                        LPDWORD pcbNeeded) {
    WinspoolCall call = BeginCall(WinspoolGetPrinter, hPrinter);
    call.level = Level;
    call.buffer_size = cbBuf;
    *pcbNeeded = 0;
    return RunCall(call, [&](SpoolerModel& spooler) -> DWORD {
        const Printer* printer = spooler.FindPrinterOf(hPrinter);
        if (printer == nullptr) {
            return ERROR_INVALID_HANDLE;
        }
        if (Level != 2) {
            return ERROR_INVALID_LEVEL;
        }
        InfoBuffer<PRINTER_INFO_2W> info;
        AppendPrinter(*printer, &info);
        return WriteInfo(info, pPrinter, cbBuf, pcbNeeded);
    });
}

// NOLINTNEXTLINE(readability-non-const-parameter): the published signature.
BOOL WINAPI SetPrinterW(HANDLE hPrinter, DWORD Level, LPBYTE pPrinter, DWORD Command) {
    WinspoolCall call = BeginCall(WinspoolSetPrinter, hPrinter);
    call.level = Level;
    call.command = Command;
    // With this Command the pPrinter pointer is no pointer: it holds the status itself.
    const bool sets_status = Level == 0 && Command == PRINTER_CONTROL_SET_STATUS;
    if (sets_status) {
        call.status = static_cast<DWORD>(reinterpret_cast<ULONG_PTR>(pPrinter));
    }
    return RunCall(call, [&](SpoolerModel& spooler) -> DWORD {
        Printer* printer = spooler.FindPrinterOf(hPrinter);
        if (printer == nullptr) {
            return ERROR_INVALID_HANDLE;
        }
        if (Level != 0) {
            return ERROR_INVALID_LEVEL;
        }
        if (!sets_status) {
            return ERROR_INVALID_PRINTER_COMMAND;
        }
        if ((spooler.FindHandle(hPrinter)->access & PRINTER_ACCESS_ADMINISTER) == 0) {
            return ERROR_ACCESS_DENIED;
        }
        printer->status = call.status;
        return ERROR_SUCCESS;
    });
}

BOOL WINAPI EnumPrintersW(DWORD Flags, LPWSTR /*Name*/, DWORD Level, LPBYTE pPrinterEnum,
                          DWORD cbBuf, LPDWORD pcbNeeded, LPDWORD pcReturned) {
    WinspoolCall call = BeginCall(WinspoolEnumPrinters);
    call.flags = Flags;
    call.level = Level;
    call.buffer_size = cbBuf;
    *pcbNeeded = 0;
    *pcReturned = 0;
    return RunCall(call, [&](SpoolerModel& spooler) -> DWORD {
        if (Level != 2) {
            return ERROR_INVALID_LEVEL;
        }
        InfoBuffer<PRINTER_INFO_2W> info;
        if ((Flags & PRINTER_ENUM_LOCAL) != 0) {
            for (const Printer& printer : spooler.printers) {
                AppendPrinter(printer, &info);
            }
        }
        const DWORD error = WriteInfo(info, pPrinterEnum, cbBuf, pcbNeeded);
        if (error == ERROR_SUCCESS) {
            *pcReturned = info.count();
        }
        return error;
    });
}

BOOL WINAPI GetPrinterDriverW(HANDLE hPrinter, LPWSTR /*pEnvironment*/, DWORD Level,
                              LPBYTE pDriverInfo, DWORD cbBuf, LPDWORD pcbNeeded) {
    WinspoolCall call = BeginCall(WinspoolGetPrinterDriver, hPrinter);
    call.level = Level;
    call.buffer_size = cbBuf;
    *pcbNeeded = 0;
    return RunCall(call, [&](SpoolerModel& spooler) -> DWORD {
        const Printer* printer = spooler.FindPrinterOf(hPrinter);
        if (printer == nullptr) {
            return ERROR_INVALID_HANDLE;
        }
        if (Level != 1) {
            return ERROR_INVALID_LEVEL;
        }
        if (printer->driver_name.value_or(L"").empty()) {
            return ERROR_UNKNOWN_PRINTER_DRIVER;
        }
        InfoBuffer<DRIVER_INFO_1W> info;
        info.Append();
        info.SetText(&DRIVER_INFO_1W::pName, printer->driver_name);
        return WriteInfo(info, pDriverInfo, cbBuf, pcbNeeded);
    });
}

}  // extern "C"
