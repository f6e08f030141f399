#include <windows.h>

#include "support/process_state.h"

// The loader finds it by its name; no header declares it.
extern "C" BOOL WINAPI DllMain(HINSTANCE library, DWORD reason, LPVOID reserved);

// Does as little as possible: the loader lock is held. What ends with the library ends in the
// destructors that the runtime calls after this; they must know whether the process goes with it.
//
// The calls for threads stay on although nothing is done in them: the runtime gives back through
// them what it keeps for each thread, and the spooler makes a thread for every job.
extern "C" BOOL WINAPI DllMain(HINSTANCE /*library*/, DWORD reason, LPVOID reserved) {
    if (reason == DLL_PROCESS_DETACH && reserved != nullptr) {
        ksp::SetProcessEnding();
    }
    return TRUE;
}
