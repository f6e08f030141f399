// The exports for streams, searches and devices.

#include <memory>

#include "snmp/buffers.h"
#include "snmp/exports.h"
#include "snmp/library.h"

namespace {

using ksp::DeviceHandle;
using ksp::snmp::CDevice;
using ksp::snmp::CStream;
using ksp::snmp::Guarded;
using ksp::snmp::kDone;
using ksp::snmp::kFailed;
using ksp::snmp::Library;

std::shared_ptr<CDevice> FindDevice(void* stream, DeviceHandle device) {
    const auto used = Library().streams.Find(stream);
    return used ? used->FindDevice(device) : nullptr;
}

}  // namespace

void* KSCreateStream() {
    return Guarded<void*>(nullptr,
                          [] { return Library().streams.Add(std::make_shared<CStream>()); });
}

int KSInitialize(void* stream, int /*reserved*/) {
    return Guarded(kFailed, [&] {
        const auto used = Library().streams.Find(stream);
        return used && used->Initialize() ? kDone : kFailed;
    });
}

int KSSetProbeMode(void* stream, const char* document) {
    return Guarded(kFailed, [&] {
        const auto used = Library().streams.Find(stream);
        return used && document != nullptr && used->SetProbeMode(document) ? kDone : kFailed;
    });
}

int KSProbe(void* stream, ksp::ProbeCallback callback, void* context, void* /*value*/) {
    return Guarded(0, [&] {
        const auto used = Library().streams.Find(stream);
        return used && callback != nullptr && used->Probe(callback, context) ? 1 : 0;
    });
}

int KSStopProbe(void* stream) {
    return Guarded(kFailed, [&] {
        const auto used = Library().streams.Find(stream);
        if (!used) {
            return kFailed;
        }
        used->StopProbe();
        return kDone;
    });
}

int KSTerminate(void* stream) {
    return Guarded(kFailed, [&] {
        const auto used = Library().streams.Find(stream);
        if (!used) {
            return kFailed;
        }
        used->Terminate();
        return kDone;
    });
}

int KSDeleteStream(void* stream) {
    return Guarded(kFailed, [&] {
        const auto used = Library().streams.Take(stream);
        if (!used) {
            return kFailed;
        }
        // Here, and not when the last use of it ends: that may be on the search's own thread.
        used->Terminate();
        return kDone;
    });
}

DeviceHandle KSCreateDeviceHandle(void* stream, const char* address, const char* settings) {
    return Guarded(DeviceHandle{0}, [&] {
        const auto used = Library().streams.Find(stream);
        return used && address != nullptr && settings != nullptr
                   ? used->AddDevice(address, settings)
                   : DeviceHandle{0};
    });
}

int KSDeleteDeviceHandle(void* stream, DeviceHandle device) {
    return Guarded(kFailed, [&] {
        const auto used = Library().streams.Find(stream);
        return used && used->RemoveDevice(device) ? kDone : kFailed;
    });
}

int KSGetDeviceCapability(void* stream, DeviceHandle device, char** document) {
    return Guarded(0, [&] {
        if (document == nullptr) {
            return 0;
        }
        *document = nullptr;
        const auto used = FindDevice(stream, device);
        const auto capability = used ? used->Capability() : std::nullopt;
        if (capability) {
            *document = ksp::snmp::NewText(*capability);
        }
        return *document != nullptr ? 1 : 0;
    });
}

int KSSendRecvStream(void* stream, DeviceHandle device, const char* request, char** reply,
                     int /*reserved*/) {
    return Guarded(kFailed, [&] {
        if (reply == nullptr) {
            return kFailed;
        }
        *reply = nullptr;
        const auto used = FindDevice(stream, device);
        if (!used || request == nullptr) {
            return kFailed;
        }
        std::string text;
        const auto result = used->Request(request, text);
        if (result != ksp::snmp::RequestResult::kDone) {
            return static_cast<int>(result);
        }
        *reply = ksp::snmp::NewText(text);
        return *reply != nullptr ? kDone : kFailed;
    });
}

int KSRecvCancel(void* stream, DeviceHandle device) {
    return Guarded(kFailed, [&] {
        const auto used = FindDevice(stream, device);
        if (!used) {
            return kFailed;
        }
        used->Cancel();
        return kDone;
    });
}

// The block is given back whatever the stream and the device are by now.
int KSDeleteBuffer(void* /*stream*/, DeviceHandle /*device*/, char** buffer) {
    if (buffer == nullptr) {
        return kFailed;
    }
    ksp::snmp::FreeBuffer(*buffer);
    *buffer = nullptr;
    return kDone;
}

int KSSendStream() {
    return kFailed;
}

int KSGetRecvStatus() {
    return kFailed;
}

int KSRecvStream() {
    return kFailed;
}
