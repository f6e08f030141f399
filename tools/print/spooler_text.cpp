#include "tools/print/spooler_text.h"

#include "tools/print/console.h"

namespace ksp::print {
namespace {

struct Named {
    DWORD value;
    const wchar_t* name;
};

constexpr Named kPrinterStatusBits[] = {
    {PRINTER_STATUS_PAUSED, L"paused"},
    {PRINTER_STATUS_ERROR, L"error"},
    {PRINTER_STATUS_PENDING_DELETION, L"pending deletion"},
    {PRINTER_STATUS_PAPER_JAM, L"paper jam"},
    {PRINTER_STATUS_PAPER_OUT, L"paper out"},
    {PRINTER_STATUS_MANUAL_FEED, L"manual feed"},
    {PRINTER_STATUS_PAPER_PROBLEM, L"paper problem"},
    {PRINTER_STATUS_OFFLINE, L"offline"},
    {PRINTER_STATUS_IO_ACTIVE, L"I/O active"},
    {PRINTER_STATUS_BUSY, L"busy"},
    {PRINTER_STATUS_PRINTING, L"printing"},
    {PRINTER_STATUS_OUTPUT_BIN_FULL, L"output bin full"},
    {PRINTER_STATUS_NOT_AVAILABLE, L"not available"},
    {PRINTER_STATUS_WAITING, L"waiting"},
    {PRINTER_STATUS_PROCESSING, L"processing"},
    {PRINTER_STATUS_INITIALIZING, L"initializing"},
    {PRINTER_STATUS_WARMING_UP, L"warming up"},
    {PRINTER_STATUS_TONER_LOW, L"toner low"},
    {PRINTER_STATUS_NO_TONER, L"no toner"},
    {PRINTER_STATUS_PAGE_PUNT, L"page punt"},
    {PRINTER_STATUS_USER_INTERVENTION, L"user intervention"},
    {PRINTER_STATUS_OUT_OF_MEMORY, L"out of memory"},
    {PRINTER_STATUS_DOOR_OPEN, L"door open"},
    {PRINTER_STATUS_SERVER_UNKNOWN, L"server unknown"},
    {PRINTER_STATUS_POWER_SAVE, L"power save"},
};

constexpr const wchar_t* kFunctionNames[] = {
    L"OpenPrinter",
    L"ClosePrinter",
    L"GetPrinter",
    L"SetPrinter",
    L"GetJob",
    L"SetJob",
    L"EnumPorts",
    L"EnumPrinters",
    L"GetPrinterDriver",
    L"ImpersonatePrinterClient",
    L"RevertToPrinterSelf",
    L"XcvData",
    L"AddMonitor",
    L"DeleteMonitor",
};
static_assert(std::size(kFunctionNames) == WinspoolFunctionCount);
constexpr size_t kNameWidth = 14;

std::wstring Quoted(const std::wstring& text) {
    return L"\"" + text + L"\"";
}

std::wstring DescribeSetJob(const WinspoolCall& call) {
    std::wstring text = L"job " + std::to_wstring(call.job_id);
    if (call.level != 0) {
        text += L", record of level " + std::to_wstring(call.level) + L" written";
    }
    if (call.command == JOB_CONTROL_SENT_TO_PRINTER) {
        text += L", sent to the printer";
    } else if (call.command != 0) {
        text += L", command " + std::to_wstring(call.command);
    }
    return text;
}

std::wstring DescribeArguments(const WinspoolCall& call) {
    switch (call.function) {
        case WinspoolOpenPrinter:
            return Quoted(call.printer) + L", access " + Hex(call.access);
        case WinspoolClosePrinter:
            return Quoted(call.printer);
        case WinspoolSetPrinter:
            return SetsPrinterStatus(call) ? L"status " + DescribePrinterStatus(call.status)
                                           : L"level " + std::to_wstring(call.level) +
                                                 L", command " + std::to_wstring(call.command);
        case WinspoolGetJob:
            return L"job " + std::to_wstring(call.job_id) + L", level " +
                   std::to_wstring(call.level);
        case WinspoolSetJob:
            return DescribeSetJob(call);
        case WinspoolGetPrinter:
        case WinspoolEnumPorts:
        case WinspoolEnumPrinters:
        case WinspoolGetPrinterDriver:
            return L"level " + std::to_wstring(call.level);
        default:
            return L"";
    }
}

}  // namespace

bool SetsPrinterStatus(const WinspoolCall& call) {
    return call.function == WinspoolSetPrinter && call.command == PRINTER_CONTROL_SET_STATUS;
}

bool AsksForSize(const WinspoolCall& call) {
    return !call.result && call.error == ERROR_INSUFFICIENT_BUFFER;
}

std::wstring PrinterStatusWords(DWORD status) {
    std::wstring words;
    for (const Named& bit : kPrinterStatusBits) {
        if ((status & bit.value) != 0) {
            words += (words.empty() ? L"" : L", ") + std::wstring(bit.name);
            status &= ~bit.value;
        }
    }
    if (status != 0) {
        words += (words.empty() ? L"" : L", ") + std::wstring(L"unnamed bits ") + Hex(status);
    }
    return words.empty() ? L"ready" : words;
}

std::wstring DescribePrinterStatus(DWORD status) {
    return Hex(status) + L"  " + PrinterStatusWords(status);
}

std::wstring DescribeCall(const WinspoolCall& call) {
    return PadRight(kFunctionNames[call.function], kNameWidth) + DescribeArguments(call) +
           (call.result ? L"" : L" -> error " + std::to_wstring(call.error));
}

}  // namespace ksp::print
