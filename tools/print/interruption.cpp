#include "tools/print/interruption.h"

#include <windows.h>

#include <atomic>

namespace ksp::print {
namespace {

std::atomic<bool> interrupted = false;

BOOL WINAPI NoteInterruption(DWORD /*kind*/) {
    // Who asks a second time does not want to wait.
    return interrupted.exchange(true) ? FALSE : TRUE;
}

}  // namespace

void CatchInterruption() {
    SetConsoleCtrlHandler(NoteInterruption, TRUE);
}

bool Interrupted() {
    return interrupted;
}

}  // namespace ksp::print
