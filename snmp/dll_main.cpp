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

#include "discovery/bound_exports.inc"

}  // namespace
