#pragma once

#include <functional>

#include "tests/standins/winspool/spooler_model.h"

namespace ksp::standins {

// What a spooler function does once it is let through; returns a Win32 code, 0 for success.
using SpoolerAction = std::function<DWORD(SpoolerModel& spooler)>;

// The note of a call that begins now on this thread.
WinspoolCall BeginCall(WinspoolFunction function, HANDLE handle = nullptr);

// Carries out one spooler call: runs the function's hook, lets a fault take the action's place, and
// notes the call with its result. The action runs with the spooler locked and may complete the
// note. Returns what the spooler function returns, with the thread's last error set when that is
// FALSE.
BOOL RunCall(WinspoolCall& call, const SpoolerAction& action);

// The spooler's size protocol: stores the needed size, then fills the buffer if it is large enough.
// Returns ERROR_INSUFFICIENT_BUFFER when it is not.
template <typename Info>
DWORD WriteInfo(const InfoBuffer<Info>& info, LPBYTE buffer, DWORD buffer_size, LPDWORD needed) {
    *needed = info.size();
    if (buffer_size < info.size()) {
        return ERROR_INSUFFICIENT_BUFFER;
    }
    if (info.count() == 0) {
        return ERROR_SUCCESS;
    }
    if (buffer == nullptr) {
        return ERROR_INVALID_USER_BUFFER;
    }
    info.WriteTo(buffer);
    return ERROR_SUCCESS;
}

}  // namespace ksp::standins
