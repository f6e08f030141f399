#include "tests/standins/winspool/spooler_call.h"

namespace ksp::standins {
namespace {

void RunHook(WinspoolFunction function) {
    Hook hook;
    {
        const LockedSpooler spooler;
        hook = spooler->hooks[function];
    }
    if (hook.function != nullptr) {
        hook.function(hook.context, function);
    }
}

struct Verdict {
    BOOL result;
    DWORD error;
};

Verdict Decide(SpoolerModel& spooler, const WinspoolCall& call, const SpoolerAction& action) {
    const WinspoolFault* fault = spooler.faults.Strike(call.function);
    if (fault != nullptr) {
        if (fault->kind == WinspoolSucceedEmpty) {
            return {TRUE, ERROR_SUCCESS};
        }
        return {FALSE, fault->error};
    }
    const DWORD error = action(spooler);
    return {error == ERROR_SUCCESS ? TRUE : FALSE, error};
}

}  // namespace

WinspoolCall BeginCall(WinspoolFunction function, HANDLE handle) {
    WinspoolCall call = {};
    call.function = function;
    call.thread_id = GetCurrentThreadId();
    call.handle = handle;
    return call;
}

BOOL RunCall(WinspoolCall& call, const SpoolerAction& action) {
    RunHook(call.function);
    Verdict verdict = {};
    {
        const LockedSpooler spooler;
        const OpenPrinterHandle* handle = spooler->FindHandle(call.handle);
        if (handle != nullptr) {
            CopyCut(handle->printer, call.printer);
        }
        verdict = Decide(*spooler, call, action);
        call.result = verdict.result;
        call.error = verdict.error;
        spooler->calls.push_back(call);
    }
    if (verdict.result == FALSE) {
        SetLastError(verdict.error);
    }
    return verdict.result;
}

}  // namespace ksp::standins
