// The exports for streams and probes.

#include <memory>
#include <string>
#include <utility>

#include "tests/standins/discovery/exports.h"
#include "tests/standins/discovery/library_call.h"
#include "tests/standins/discovery/usage.h"

namespace ksp::standins {
namespace {

// Takes the probe that runs on a stream, for stopping it once the library is unlocked.
std::shared_ptr<Probe> TakeProbe(LibraryModel& library, const Note& note, Stream& stream) {
    if (stream.probe != nullptr && stream.probe->RunsOnThisThread()) {
        Blame(library, note, "a probe ended inside its callback");
    }
    return std::exchange(stream.probe, nullptr);
}

// The same where KSStopProbe should have come before.
std::shared_ptr<Probe> TakeForgottenProbe(LibraryModel& library, const Note& note, Stream& stream) {
    if (stream.probe != nullptr) {
        Blame(library, note, "a probe that was not stopped");
    }
    return TakeProbe(library, note, stream);
}

// A probe that nobody asked for any more must not call back.
void CancelProbe(const std::shared_ptr<Probe>& probe) {
    if (probe != nullptr) {
        probe->Cancel();
    }
}

void BlameHeldBy(LibraryModel& library, const Note& note) {
    const size_t devices = library.open_devices.CountIf([&](const OpenDevice& device) {
        return device.stream == note.object && !device.from_probe;
    });
    const size_t buffers =
        library.buffers.CountIf([&](const Buffer& buffer) { return buffer.owner == note.object; });
    if (devices > 0) {
        Blame(library, note, "device handles of the stream not deleted");
    }
    if (buffers > 0) {
        Blame(library, note, "buffers of the stream not deleted");
    }
}

}  // namespace

void* KSCreateStream() {
    Note note = BeginCall(DiscoveryCreateStream);
    const intptr_t result = RunCall(note, [&](LibraryModel& library) {
        note.object = library.AddStream();
        return reinterpret_cast<intptr_t>(note.object);
    });
    return result != 0 ? note.object : nullptr;
}

int KSInitialize(void* stream, int reserved) {
    Note note = BeginCall(DiscoveryInitialize, stream);
    return RunIntCall(note, [&](LibraryModel& library) -> intptr_t {
        Stream* used = UseStream(library, note);
        if (used == nullptr) {
            return -1;
        }
        if (reserved != 0) {
            Blame(library, note, "a reserved argument that is not 0");
        }
        if (used->state != StreamState::kCreated) {
            Blame(library, note, "a stream initialised a second time");
            return -1;
        }
        used->state = StreamState::kInitialised;
        return 0;
    });
}

int KSSetProbeMode(void* stream, const char* document) {
    Note note = BeginCall(DiscoverySetProbeMode, stream);
    note.text = CopyText(document);
    return RunIntCall(note, [&](LibraryModel& library) -> intptr_t {
        const Stream* used = UseInitialisedStream(library, note);
        if (used == nullptr || !IsGiven(library, note, document, "document")) {
            return -1;
        }
        if (used->probe != nullptr) {
            Blame(library, note, "a probe mode set while the probe runs");
        }
        return 0;
    });
}

int KSProbe(void* stream, ProbeCallback callback, void* context, void* /*value*/) {
    Note note = BeginCall(DiscoveryProbe, stream);
    std::shared_ptr<Probe> started;
    const int result = RunIntCall(note, [&](LibraryModel& library) -> intptr_t {
        Stream* used = UseInitialisedStream(library, note);
        if (used == nullptr ||
            !IsGiven(library, note, reinterpret_cast<const void*>(callback), "callback")) {
            return 0;
        }
        if (used->probe != nullptr) {
            Blame(library, note, "a second probe before the first was stopped");
            return 0;
        }
        started = Probe::Create({stream, callback, context}, library.ProbeAnswers());
        used->probe = started;
        return started != nullptr ? 1 : 0;
    });
    if (started != nullptr) {
        started->Begin();
    }
    return result;
}

int KSStopProbe(void* stream) {
    Note note = BeginCall(DiscoveryStopProbe, stream);
    std::shared_ptr<Probe> probe;
    const int result = RunIntCall(note, [&](LibraryModel& library) -> intptr_t {
        Stream* used = UseInitialisedStream(library, note);
        if (used == nullptr) {
            return -1;
        }
        probe = TakeProbe(library, note, *used);
        if (probe != nullptr && !probe->AnswersAt(DiscoveryAfterStop).empty()) {
            library.late_probes.push_back(probe);
        }
        return 0;
    });
    if (probe != nullptr) {
        probe->Stop();
    }
    return result;
}

int KSTerminate(void* stream) {
    Note note = BeginCall(DiscoveryTerminate, stream);
    std::shared_ptr<Probe> forgotten;
    const int result = RunIntCall(note, [&](LibraryModel& library) -> intptr_t {
        Stream* used = UseInitialisedStream(library, note);
        if (used == nullptr) {
            return -1;
        }
        forgotten = TakeForgottenProbe(library, note, *used);
        used->state = StreamState::kTerminated;
        return 0;
    });
    CancelProbe(forgotten);
    return result;
}

int KSDeleteStream(void* stream) {
    Note note = BeginCall(DiscoveryDeleteStream, stream);
    std::shared_ptr<Probe> forgotten;
    const int result = RunIntCall(note, [&](LibraryModel& library) -> intptr_t {
        Stream* used = UseStream(library, note);
        if (used == nullptr) {
            return -1;
        }
        forgotten = TakeForgottenProbe(library, note, *used);
        BlameHeldBy(library, note);
        library.streams.TakeBack(stream);
        return 0;
    });
    CancelProbe(forgotten);
    return result;
}

}  // namespace ksp::standins
