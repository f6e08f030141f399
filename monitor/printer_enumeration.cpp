#include "monitor/printer_enumeration.h"

#include <string_view>

#include "support/spooler_query.h"
#include "support/log.h"

namespace ksp {

bool CPrinterEnumeration::IsPortUsedByPrinter(const wchar_t* portName) {
    if (portName == nullptr) {
        return false;
    }
    DWORD count = 0;
    SpoolerRecords records;
    switch (records.Read([&count](BYTE* buffer, DWORD size, DWORD* needed) {
        return ::EnumPrintersW(PRINTER_ENUM_LOCAL, nullptr, 2, buffer, size, needed, &count);
    })) {
        case SpoolerAnswer::kOk:
            break;
        case SpoolerAnswer::kEmpty:
            return false;
        case SpoolerAnswer::kNoSize:
            Log(LogLevel::kError, L"error in 1st enumprinters = %d", ::GetLastError());
            return false;
        case SpoolerAnswer::kNoMemory:
            Log(LogLevel::kCritical, L"error allocating memory");
            return false;
        case SpoolerAnswer::kNotRead:
            Log(LogLevel::kError, L"error in 2nd enumprinters = %d", ::GetLastError());
            return false;
    }
    const auto* printers = records.As<PRINTER_INFO_2W>();
    for (DWORD index = 0; index < count; ++index) {
        const wchar_t* port = printers[index].pPortName;
        if (port != nullptr && std::wstring_view(port) == portName) {
            Log(LogLevel::kInfo, L"port associated with a printer");
            return true;
        }
    }
    return false;
}

}  // namespace ksp
