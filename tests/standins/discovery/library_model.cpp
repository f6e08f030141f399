#include "tests/standins/discovery/library_model.h"

#include <algorithm>
#include <utility>

namespace ksp::standins {
namespace {

host::SlimMutex& TheMutex() {
    static host::SlimMutex mutex;
    return mutex;
}

LibraryModel& TheModel() {
    static LibraryModel model;
    return model;
}

// What stands for a stream, a device or a MIME utility is a number that is never used again, not
// even after a reset. It needs more than 32 bits, and its lower half is no positive int, so that
// nobody gets away with storing it in one.
intptr_t NextNumber() {
    static intptr_t next = 0x5'8000'0000;
    next += 0x10;
    return next;
}

void* NextObject() {
    return reinterpret_cast<void*>(NextNumber());
}

DWORD Count(size_t count) {
    return static_cast<DWORD>(count);
}

}  // namespace

Device* LibraryModel::FindDevice(const std::string& address) {
    const auto found = std::find_if(devices.begin(), devices.end(), [&](const Device& device) {
        return device.address == address;
    });
    return found == devices.end() ? nullptr : &*found;
}

std::vector<Answer> LibraryModel::ProbeAnswers() const {
    if (script) {
        return *script;
    }
    std::vector<Answer> answers;
    for (const Device& device : devices) {
        if (!device.silent) {
            answers.push_back({.address = device.address});
        }
    }
    return answers;
}

void* LibraryModel::AddStream() {
    void* const stream = NextObject();
    streams.Add(stream, {});
    return stream;
}

void* LibraryModel::AddMimeUtility() {
    void* const utility = NextObject();
    mime_utilities.Add(utility, {});
    return utility;
}

DeviceHandle LibraryModel::AddOpenDevice(OpenDevice device) {
    const DeviceHandle handle = NextNumber();
    open_devices.Add(handle, std::move(device));
    return handle;
}

DeviceHandle LibraryModel::ProbeHandle(void* stream, const std::string& address) {
    for (const auto& [handle, device] : open_devices) {
        if (device.from_probe && device.stream == stream && device.address == address) {
            return handle;
        }
    }
    return AddOpenDevice({.stream = stream, .address = address, .from_probe = true});
}

DiscoveryHeld LibraryModel::Held() const {
    return {.streams = Count(streams.size()),
            .device_handles = Count(
                open_devices.CountIf([](const OpenDevice& device) { return !device.from_probe; })),
            .buffers = Count(buffers.size()),
            .mime_utilities = Count(mime_utilities.size()),
            .mime_buffers = Count(mime_buffers.size()),
            .probes = Count(
                streams.CountIf([](const Stream& stream) { return stream.probe != nullptr; }))};
}

LockedLibrary::LockedLibrary() : model_(TheModel()), lock_(TheMutex()) {}

}  // namespace ksp::standins
