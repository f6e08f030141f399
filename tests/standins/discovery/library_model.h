#pragma once

#include <array>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "discovery/discovery_library.h"
#include "tests/standins/discovery/device.h"
#include "tests/standins/discovery/fault_plan.h"
#include "tests/standins/discovery/guarded_block.h"
#include "tests/standins/discovery/handed_out.h"
#include "tests/standins/discovery/probe.h"
#include "tests/standins/discovery_control.h"
#include "tools/host/slim_mutex.h"

namespace ksp::standins {

// A DiscoveryCall that owns its texts.
struct Note {
    DiscoveryFunction function = DiscoveryFunctionCount;
    DWORD thread_id = 0;
    void* object = nullptr;
    DeviceHandle device = 0;
    const void* buffer = nullptr;
    const void* data = nullptr;
    int code = 0;
    intptr_t result = 0;
    OptionalText address;
    OptionalText text;
    OptionalText settings;
    OptionalText output;
};

struct Misuse {
    DiscoveryFunction function = DiscoveryFunctionCount;
    DWORD thread_id = 0;
    std::string text;
};

enum class StreamState { kCreated, kInitialised, kTerminated };

struct Stream {
    StreamState state = StreamState::kCreated;
    std::shared_ptr<Probe> probe;  // one that was not stopped
};

// A device that can be talked to on one stream.
struct OpenDevice {
    void* stream = nullptr;
    std::string address;
    bool from_probe = false;  // the library's own
    bool receiving = false;   // from KSSendRecvStream to KSRecvCancel
};

// A library buffer or MIME buffer.
struct Buffer {
    void* owner = nullptr;  // stream or MIME utility
    DeviceHandle device = 0;
    GuardedBlock block;
    GuardedBlock item_bytes;  // of a MIME item
};

struct MimeUtility {};

struct Hook {
    DiscoveryHook function = nullptr;
    void* context = nullptr;
};

using Buffers = HandedOut<const void*, Buffer>;

// Everything that the stand-in knows. Not thread-safe by itself: see LockedLibrary.
struct LibraryModel {
    std::vector<Device> devices;  // in the order in which they were added
    std::optional<std::vector<Answer>> script;
    std::vector<std::shared_ptr<Probe>> late_probes;  // stopped, with answers left for afterwards

    HandedOut<void*, Stream> streams;
    HandedOut<DeviceHandle, OpenDevice> open_devices;
    HandedOut<void*, MimeUtility> mime_utilities;
    Buffers buffers;
    Buffers mime_buffers;
    std::deque<Buffer> sealed_buffers;

    std::deque<Note> calls;  // a deque, since callers keep pointers to the texts
    std::deque<Misuse> misuses;
    FaultPlan<DiscoveryFault> faults;
    std::array<Hook, DiscoveryFunctionCount> hooks = {};

    Device* FindDevice(const std::string& address);
    // What a probe that starts now is to do.
    [[nodiscard]] std::vector<Answer> ProbeAnswers() const;

    void* AddStream();
    void* AddMimeUtility();
    DeviceHandle AddOpenDevice(OpenDevice device);
    // The handle that the library has for a device found on this stream.
    DeviceHandle ProbeHandle(void* stream, const std::string& address);

    [[nodiscard]] DiscoveryHeld Held() const;
};

// The process's one library, locked while this object lives.
class LockedLibrary {
  public:
    LockedLibrary();

    LibraryModel* operator->() const { return &model_; }
    LibraryModel& operator*() const { return model_; }

  private:
    LibraryModel& model_;
    std::unique_lock<host::SlimMutex> lock_;
};

}  // namespace ksp::standins
