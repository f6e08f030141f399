#include <windows.h>

#include "snmp/exports.h"
#include "support/process_state.h"

// The loader finds it by its name; no header declares it.
extern "C" BOOL WINAPI DllMain(HINSTANCE library, DWORD reason, LPVOID reserved);

// Does as little as possible: the loader lock is held. What the library still holds ends in the
// destructors that the runtime calls after this; they must know whether the process goes with it.
extern "C" BOOL WINAPI DllMain(HINSTANCE /*library*/, DWORD reason, LPVOID reserved) {
    if (reason == DLL_PROCESS_DETACH && reserved != nullptr) {
        ksp::SetProcessEnding();
    }
    return TRUE;
}

namespace {

// Compiles only as long as the exports are what the monitor binds them as.
[[maybe_unused]] constexpr ksp::OryxFunctions kBound = {
    .KSCreateStream = KSCreateStream,
    .KSInitialize = KSInitialize,
    .KSSetProbeMode = KSSetProbeMode,
    .KSProbe = KSProbe,
    .KSStopProbe = KSStopProbe,
    .KSGetDeviceCapability = KSGetDeviceCapability,
    .KSDeleteBuffer = KSDeleteBuffer,
    .KSTerminate = KSTerminate,
    .KSDeleteStream = KSDeleteStream,
    .KSSendStream = nullptr,  // never called, so bound without a signature
    .KSGetRecvStatus = nullptr,
    .KSRecvStream = nullptr,
    .KSSendRecvStream = KSSendRecvStream,
    .KSRecvCancel = KSRecvCancel,
    .KSCreateDeviceHandle = KSCreateDeviceHandle,
    .KSDeleteDeviceHandle = KSDeleteDeviceHandle,
    .KSCreateMIMEUtil = KSCreateMIMEUtil,
    .KSDeleteMIMEUtil = KSDeleteMIMEUtil,
    .KSMIMEEncode = nullptr,
    .KSMIMEDecode = KSMIMEDecode,
    .KSMIMESplitData = KSMIMESplitData,
    .KSMIMEGetData = KSMIMEGetData,
    .KSMIMEDeleteBuffer = KSMIMEDeleteBuffer,
};

}  // namespace
