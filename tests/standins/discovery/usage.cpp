#include "tests/standins/discovery/usage.h"

#include <utility>

namespace ksp::standins {
namespace {

// So many buffers that were given back stay out of reach, to catch whoever still uses them. A
// process can have about 65,000 pieces of address space in all.
constexpr size_t kMostSealed = 2000;

template <typename Key, typename Record>
Record* Use(LibraryModel& library, const Note& note, HandedOut<Key, Record>& handed_out, Key key,
            const std::string& what) {
    Record* record = handed_out.Find(key);
    if (record == nullptr) {
        Blame(library, note,
              handed_out.CameBack(key) ? what + " used after it was deleted"
                                       : what + " that this library did not hand out");
    }
    return record;
}

}  // namespace

void Blame(LibraryModel& library, const Note& note, std::string text) {
    library.misuses.push_back({note.function, note.thread_id, std::move(text)});
}

bool IsGiven(LibraryModel& library, const Note& note, const void* argument, const char* name) {
    if (argument == nullptr) {
        Blame(library, note, std::string("null for the ") + name);
    }
    return argument != nullptr;
}

Stream* UseStream(LibraryModel& library, const Note& note) {
    return Use(library, note, library.streams, note.object, "a stream");
}

Stream* UseInitialisedStream(LibraryModel& library, const Note& note) {
    Stream* stream = UseStream(library, note);
    if (stream == nullptr || stream->state == StreamState::kInitialised) {
        return stream;
    }
    Blame(library, note,
          stream->state == StreamState::kCreated ? "a stream used before KSInitialize"
                                                 : "a stream used after KSTerminate");
    return nullptr;
}

OpenDevice* UseDevice(LibraryModel& library, Note& note) {
    const Stream* stream = UseInitialisedStream(library, note);
    OpenDevice* device = Use(library, note, library.open_devices, note.device, "a device handle");
    if (device == nullptr) {
        return nullptr;
    }
    note.address = device->address;
    if (device->stream != note.object) {
        Blame(library, note, "a device handle of another stream");
        return nullptr;
    }
    return stream == nullptr ? nullptr : device;
}

bool UseMimeUtility(LibraryModel& library, const Note& note) {
    return Use(library, note, library.mime_utilities, note.object, "a MIME utility") != nullptr;
}

char* GiveText(Buffers& buffers, const Note& note, const std::string& text) {
    Buffer buffer = {note.object, note.device, GuardedBlock(text), GuardedBlock()};
    char* const address = buffer.block.data();
    if (address != nullptr) {
        buffers.Add(address, std::move(buffer));
    }
    return address;
}

void TakeBuffer(LibraryModel& library, Buffers& buffers, Note& note, const void* address) {
    note.buffer = address;
    if (!IsGiven(library, note, address, "buffer") ||
        Use(library, note, buffers, address, "a buffer") == nullptr) {
        return;
    }
    Buffer buffer = std::move(*buffers.TakeBack(address));
    if (buffer.owner != note.object || buffer.device != note.device) {
        Blame(library, note, "a buffer of another owner");
    }
    buffer.block.Seal();
    buffer.item_bytes.Seal();
    library.sealed_buffers.push_back(std::move(buffer));
    if (library.sealed_buffers.size() > kMostSealed) {
        library.sealed_buffers.pop_front();
    }
}

}  // namespace ksp::standins
