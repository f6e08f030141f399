#include "monitor/xcv_operations.h"

#include "support/log.h"

namespace ksp {

namespace {
constexpr SIZE_T kTokenSize = 4;  // bytes
}

bool CXcvOperations::XcvOpenPort(HANDLE* xcv) {
    Log(LogLevel::kTrace, L"called xcv open port");
    if (xcv == nullptr) {
        return false;
    }
    *xcv = ::GlobalAlloc(GPTR, kTokenSize);
    if (*xcv == nullptr) {
        Log(LogLevel::kCritical, L"memory allocation failure");
        return false;
    }
    Log(LogLevel::kTrace, L"success xcv open port");
    return true;
}

DWORD CXcvOperations::XcvDataPort(const wchar_t* command, BYTE* /*input*/, DWORD /*inputSize*/,
                                  BYTE* /*output*/, DWORD /*outputSize*/, DWORD* /*needed*/) {
    Log(LogLevel::kTrace, L"called xcv data port");
    Log(LogLevel::kInfo, L"invalid data name recved in XcvDataPort: %s", command);
    return ERROR_INVALID_PARAMETER;
}

bool CXcvOperations::XcvClosePort(HANDLE xcv) {
    try {
        Log(LogLevel::kTrace, L"called xcv close port");
        ::GlobalFree(xcv);
        return true;
    } catch (...) {
        Log(LogLevel::kCritical, L"Exception error in XcvClosePort");
        return false;
    }
}

}  // namespace ksp
