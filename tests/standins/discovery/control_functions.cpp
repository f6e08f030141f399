// The control table of the stand-in; discovery_control.h describes each function.

#include <algorithm>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tests/standins/discovery/library_model.h"

namespace ksp::standins {
namespace {

std::string TextFrom(const char* text) {
    return CopyText(text).value_or("");
}

const char* Pointer(const OptionalText& text) {
    return text ? text->c_str() : nullptr;
}

void CancelProbes() {
    std::vector<std::shared_ptr<Probe>> running;
    {
        const LockedLibrary library;
        for (auto& [handle, stream] : library->streams) {
            if (stream.probe != nullptr) {
                running.push_back(std::exchange(stream.probe, nullptr));
            }
        }
    }
    for (const auto& probe : running) {
        probe->Cancel();
    }
}

void WINAPI Reset() {
    CancelProbes();
    const LockedLibrary library;
    *library = LibraryModel();
}

void WINAPI PutDevice(const DiscoveryDevice* device) {
    const LockedLibrary library;
    const std::string address = TextFrom(device->address);
    Device* existing = library->FindDevice(address);
    Device& target = existing != nullptr ? *existing : library->devices.emplace_back();
    target.address = address;
    target.mac = CopyText(device->mac);
    target.name = TextFrom(device->name);
    target.device_id = TextFrom(device->device_id);
    target.capability = device->capability;
    target.document = CopyText(device->document);
    target.silent = device->silent != FALSE;
}

BOOL WINAPI RemoveDevice(const char* address) {
    const LockedLibrary library;
    const std::string wanted = TextFrom(address);
    return std::erase_if(library->devices,
                         [&](const Device& device) { return device.address == wanted; }) > 0;
}

BOOL WINAPI SetReply(const char* address, const char* item, const DiscoveryReply* reply) {
    const LockedLibrary library;
    Device* device = library->FindDevice(TextFrom(address));
    if (device == nullptr) {
        return FALSE;
    }
    device->replies[TextFrom(item)] = MakeReply(*reply);
    return TRUE;
}

void WINAPI SetAnswers(const DiscoveryAnswer* answers, DWORD count) {
    std::vector<Answer> script;
    for (DWORD i = 0; i < count; ++i) {
        const DiscoveryAnswer& answer = answers[i];
        script.push_back(
            {TextFrom(answer.address), answer.code, answer.thread, answer.delay_ms, answer.moment});
    }
    const LockedLibrary library;
    library->script = std::move(script);
}

void WINAPI ClearAnswers() {
    const LockedLibrary library;
    library->script.reset();
}

// The answers that a stopped probe has left, as a probe of their own.
std::shared_ptr<Probe> MakeLateProbe(const Probe& stopped) {
    std::vector<Answer> answers = stopped.AnswersAt(DiscoveryAfterStop);
    for (Answer& answer : answers) {
        answer.moment = DiscoveryDuringProbe;
        answer.delay_ms = 0;
    }
    return Probe::Create(stopped.target(), std::move(answers));
}

DWORD WINAPI GiveLateAnswers() {
    std::vector<std::shared_ptr<Probe>> stopped;
    {
        const LockedLibrary library;
        stopped.swap(library->late_probes);
    }
    size_t given = 0;
    for (const auto& probe : stopped) {
        const std::shared_ptr<Probe> late = MakeLateProbe(*probe);
        if (late != nullptr) {
            late->Begin();
            late->Wait();
            given += late->AnswersAt(DiscoveryDuringProbe).size();
        }
    }
    return static_cast<DWORD>(given);
}

DWORD WINAPI CallCount() {
    const LockedLibrary library;
    return static_cast<DWORD>(library->calls.size());
}

BOOL WINAPI GetCall(DWORD index, DiscoveryCall* call) {
    const LockedLibrary library;
    if (index >= library->calls.size()) {
        return FALSE;
    }
    const Note& note = library->calls[index];
    *call = {.function = note.function,
             .thread_id = note.thread_id,
             .object = note.object,
             .device = note.device,
             .buffer = note.buffer,
             .data = note.data,
             .code = note.code,
             .result = note.result,
             .address = Pointer(note.address),
             .text = Pointer(note.text),
             .settings = Pointer(note.settings),
             .output = Pointer(note.output)};
    return TRUE;
}

void WINAPI ClearCalls() {
    const LockedLibrary library;
    library->calls.clear();
}

DWORD WINAPI MisuseCount() {
    const LockedLibrary library;
    return static_cast<DWORD>(library->misuses.size());
}

BOOL WINAPI GetMisuse(DWORD index, DiscoveryMisuse* misuse) {
    const LockedLibrary library;
    if (index >= library->misuses.size()) {
        return FALSE;
    }
    const Misuse& found = library->misuses[index];
    *misuse = {found.function, found.thread_id, found.text.c_str()};
    return TRUE;
}

void WINAPI GetHeld(DiscoveryHeld* held) {
    const LockedLibrary library;
    *held = library->Held();
}

void WINAPI AddFault(const DiscoveryFault* fault) {
    const LockedLibrary library;
    library->faults.Add(*fault);
}

void WINAPI ClearFaults() {
    const LockedLibrary library;
    library->faults.Clear();
}

void WINAPI SetHook(DiscoveryFunction function, DiscoveryHook hook, void* context) {
    const LockedLibrary library;
    library->hooks[function] = {hook, context};
}

constexpr DiscoveryControlTable kTable = {
    sizeof(DiscoveryControlTable),
    DISCOVERY_CONTROL_VERSION,
    Reset,
    PutDevice,
    RemoveDevice,
    SetReply,
    SetAnswers,
    ClearAnswers,
    GiveLateAnswers,
    CallCount,
    GetCall,
    ClearCalls,
    MisuseCount,
    GetMisuse,
    GetHeld,
    AddFault,
    ClearFaults,
    SetHook,
};

}  // namespace
}  // namespace ksp::standins

extern "C" const DiscoveryControlTable* WINAPI DiscoveryStandinControl() {
    return &ksp::standins::kTable;
}
