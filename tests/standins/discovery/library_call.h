#pragma once

#include <functional>

#include "tests/standins/discovery/library_model.h"

namespace ksp::standins {

// What an export does once it is let through, with the library locked; returns the export's result.
using LibraryAction = std::function<intptr_t(LibraryModel& library)>;

// The note of a call that begins now on this thread.
Note BeginCall(DiscoveryFunction function, void* object = nullptr, DeviceHandle device = 0);

// Carries out one call: runs the export's hook, lets a fault take the action's place or its result,
// and notes the call. The action may complete the note. Returns what the export returns. Memory
// that runs out ends the program: it must not look like an answer of the library.
intptr_t RunCall(Note& note, const LibraryAction& action) noexcept;

// For the exports whose result is an int.
int RunIntCall(Note& note, const LibraryAction& action) noexcept;

// Runs the hook of the probe callback and notes that the callback comes. Returns the device handle
// to call back with.
DeviceHandle NoteProbeCallback(const ProbeTarget& target, const Answer& answer) noexcept;

}  // namespace ksp::standins
