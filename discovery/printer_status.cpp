#include "discovery/printer_status.h"

#include "discovery/oryx_wrapper.h"
#include "support/log.h"

namespace ksp {

std::uint32_t GetPrinterStatus(const std::wstring& printerAddress, IAddressResolver& resolver) {
    const auto address = resolver.ResolvePrinter(printerAddress);
    if (!address) {
        Log(LogLevel::kInfo, L"Status server Unknown");
        return kServerUnknown;
    }
    CKspOryxWrapper wrapper;
    if (!wrapper.StartUp()) {
        Log(LogLevel::kError, L"Failed Initialized Oryx.");
        return kServerUnknown;
    }
    CPrinterCondition condition;
    if (!wrapper.ReadStatus(*address, condition)) {
        Log(LogLevel::kError, L"GetPrinterStatus Result is FALSE!");
        return kServerUnknown;
    }
    Log(LogLevel::kError, L"Print State = %d , ErrorState = 0x%x", condition.state,
        condition.errors);
    return SpoolerStatus(condition);
}

}  // namespace ksp
