#include "tests/standins/discovery/library_call.h"

namespace ksp::standins {
namespace {

void RunHook(DiscoveryFunction function) {
    Hook hook;
    {
        const LockedLibrary library;
        hook = library->hooks[function];
    }
    if (hook.function != nullptr) {
        hook.function(hook.context, function);
    }
}

intptr_t EmptySuccess(DiscoveryFunction function) {
    return function == DiscoveryProbe || function == DiscoveryGetDeviceCapability ? 1 : 0;
}

intptr_t Decide(LibraryModel& library, DiscoveryFunction function, const LibraryAction& action) {
    const DiscoveryFault* fault = library.faults.Strike(function);
    if (fault == nullptr) {
        return action(library);
    }
    switch (fault->kind) {
        case DiscoverySucceedEmpty:
            return EmptySuccess(function);
        case DiscoveryDoAndFail:
            action(library);
            return fault->result;
        case DiscoveryFail:
            break;
    }
    return fault->result;
}

}  // namespace

Note BeginCall(DiscoveryFunction function, void* object, DeviceHandle device) {
    Note note;
    note.function = function;
    note.thread_id = GetCurrentThreadId();
    note.object = object;
    note.device = device;
    return note;
}

intptr_t RunCall(Note& note, const LibraryAction& action) noexcept {
    RunHook(note.function);
    const LockedLibrary library;
    note.result = Decide(*library, note.function, action);
    library->calls.push_back(note);
    return note.result;
}

int RunIntCall(Note& note, const LibraryAction& action) noexcept {
    return static_cast<int>(RunCall(note, action));
}

DeviceHandle NoteProbeCallback(const ProbeTarget& target, const Answer& answer) noexcept {
    RunHook(DiscoveryProbeCallback);
    const LockedLibrary library;
    Note note = BeginCall(DiscoveryProbeCallback, target.stream);
    if (!answer.address.empty()) {
        note.device = library->ProbeHandle(target.stream, answer.address);
        note.address = answer.address;
    }
    note.code = answer.code;
    library->calls.push_back(note);
    return note.device;
}

}  // namespace ksp::standins
