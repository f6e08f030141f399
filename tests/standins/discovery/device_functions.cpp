// The exports for devices, their documents and their replies.

#include <string>

#include "tests/standins/discovery/exports.h"
#include "tests/standins/discovery/library_call.h"
#include "tests/standins/discovery/usage.h"

namespace ksp::standins {
namespace {

// An export that is part of the interface, but that no user of the library is to call.
int NeverCalled(DiscoveryFunction function) {
    Note note = BeginCall(function);
    return RunIntCall(note, [&](LibraryModel& library) -> intptr_t {
        Blame(library, note, "a call of what is not to be called");
        return -1;
    });
}

// Completes the note with a text handed out as a library buffer. Null when memory is short.
char* GiveBuffer(LibraryModel& library, Note& note, const std::string& text) {
    char* const buffer = GiveText(library.buffers, note, text);
    note.buffer = buffer;
    note.output = text;
    return buffer;
}

}  // namespace

int KSSendStream() {
    return NeverCalled(DiscoverySendStream);
}

int KSGetRecvStatus() {
    return NeverCalled(DiscoveryGetRecvStatus);
}

int KSRecvStream() {
    return NeverCalled(DiscoveryRecvStream);
}

DeviceHandle KSCreateDeviceHandle(void* stream, const char* address, const char* settings) {
    Note note = BeginCall(DiscoveryCreateDeviceHandle, stream);
    note.address = CopyText(address);
    note.settings = CopyText(settings);
    return RunCall(note, [&](LibraryModel& library) -> intptr_t {
        if (UseInitialisedStream(library, note) == nullptr ||
            !IsGiven(library, note, address, "address") ||
            !IsGiven(library, note, settings, "settings") ||
            library.FindDevice(address) == nullptr) {
            return 0;
        }
        note.device = library.AddOpenDevice({.stream = stream, .address = address});
        return note.device;
    });
}

int KSDeleteDeviceHandle(void* stream, DeviceHandle device) {
    Note note = BeginCall(DiscoveryDeleteDeviceHandle, stream, device);
    return RunIntCall(note, [&](LibraryModel& library) -> intptr_t {
        const OpenDevice* used = UseDevice(library, note);
        if (used == nullptr) {
            return -1;
        }
        if (used->from_probe) {
            Blame(library, note, "a device handle of a probe, which is the library's own");
            return -1;
        }
        if (used->receiving) {
            Blame(library, note, "a request that KSRecvCancel did not end");
        }
        if (library.buffers.CountIf([&](const Buffer& b) { return b.device == device; }) > 0) {
            Blame(library, note, "buffers of the device not deleted");
        }
        library.open_devices.TakeBack(device);
        return 0;
    });
}

int KSGetDeviceCapability(void* stream, DeviceHandle device, char** document) {
    Note note = BeginCall(DiscoveryGetDeviceCapability, stream, device);
    return RunIntCall(note, [&](LibraryModel& library) -> intptr_t {
        const OpenDevice* used = UseDevice(library, note);
        if (used == nullptr || !IsGiven(library, note, document, "document's address")) {
            return 0;
        }
        const Device* found = library.FindDevice(used->address);
        if (found == nullptr || found->capability == DiscoveryCapabilityFails) {
            return 0;
        }
        const OptionalText text = found->CapabilityDocument();
        *document = text ? GiveBuffer(library, note, *text) : nullptr;
        return 1;
    });
}

int KSSendRecvStream(void* stream, DeviceHandle device, const char* request, char** reply,
                     int reserved) {
    Note note = BeginCall(DiscoverySendRecvStream, stream, device);
    note.text = CopyText(request);
    return RunIntCall(note, [&](LibraryModel& library) -> intptr_t {
        OpenDevice* used = UseDevice(library, note);
        if (used == nullptr || !IsGiven(library, note, request, "request") ||
            !IsGiven(library, note, reply, "reply's address")) {
            return -1;
        }
        if (reserved != 0) {
            Blame(library, note, "a reserved argument that is not 0");
        }
        if (used->receiving) {
            Blame(library, note, "a request that KSRecvCancel did not end");
        }
        used->receiving = true;
        const Device* found = library.FindDevice(used->address);
        const Reply answer = found == nullptr ? Reply{DISCOVERY_NO_REPLY, std::nullopt}
                                              : found->ReplyTo(RequestedItem(request));
        *reply = answer.text ? GiveBuffer(library, note, *answer.text) : nullptr;
        return answer.result;
    });
}

int KSRecvCancel(void* stream, DeviceHandle device) {
    Note note = BeginCall(DiscoveryRecvCancel, stream, device);
    return RunIntCall(note, [&](LibraryModel& library) -> intptr_t {
        OpenDevice* used = UseDevice(library, note);
        if (used == nullptr) {
            return -1;
        }
        used->receiving = false;
        return 0;
    });
}

int KSDeleteBuffer(void* stream, DeviceHandle device, char** buffer) {
    Note note = BeginCall(DiscoveryDeleteBuffer, stream, device);
    return RunIntCall(note, [&](LibraryModel& library) -> intptr_t {
        UseDevice(library, note);
        if (!IsGiven(library, note, buffer, "buffer's address")) {
            return -1;
        }
        TakeBuffer(library, library.buffers, note, *buffer);
        *buffer = nullptr;
        return 0;
    });
}

int KSMIMEEncode() {
    return NeverCalled(DiscoveryMIMEEncode);
}

}  // namespace ksp::standins
