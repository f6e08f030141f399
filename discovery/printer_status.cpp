#include "discovery/printer_status.h"

#include "support/windows_spooler.h"

#include "discovery/oryx_wrapper.h"
#include "support/log.h"

namespace ksp {

std::uint32_t GetPrinterStatus(const std::wstring& printerAddress, IAddressResolver& resolver) {
    const auto address = resolver.ResolvePrinter(printerAddress);
    if (!address) {
        Log(LogLevel::kInfo, L"Status server Unknown");
        return PRINTER_STATUS_SERVER_UNKNOWN;
    }
    CKspOryxWrapper wrapper;
    if (!wrapper.StartUp()) {
        Log(LogLevel::kError, L"Failed Initialized Oryx.");
    }
    return PRINTER_STATUS_SERVER_UNKNOWN;
}

}  // namespace ksp
