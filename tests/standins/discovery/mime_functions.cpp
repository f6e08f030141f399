// The exports that take a MIME reply apart. KSMIMEEncode lies with the others that are never
// called.

#include <string>
#include <utility>

#include "tests/standins/discovery/exports.h"
#include "tests/standins/discovery/library_call.h"
#include "tests/standins/discovery/mime_reply.h"
#include "tests/standins/discovery/usage.h"

namespace ksp::standins {
namespace {

int Length(const std::string& text) {
    return static_cast<int>(text.size());
}

// Hands an item out with its bytes behind it, as one MIME buffer. Null when memory is short.
MIMEItem* GiveItem(LibraryModel& library, const Note& note, const MimeValue& value) {
    Buffer buffer = {.owner = note.object, .device = 0, .block = {}, .item_bytes = {}};
    MIMEItem item = {nullptr, value.count};
    if (value.bytes) {
        buffer.item_bytes = GuardedBlock(value.bytes->data(), value.bytes->size());
        item.bytes = reinterpret_cast<const unsigned char*>(buffer.item_bytes.data());
    }
    buffer.block = GuardedBlock(&item, sizeof(item));
    char* const address = buffer.block.data();
    if (address != nullptr) {
        library.mime_buffers.Add(address, std::move(buffer));
    }
    return reinterpret_cast<MIMEItem*>(address);
}

}  // namespace

void* KSCreateMIMEUtil() {
    Note note = BeginCall(DiscoveryCreateMIMEUtil);
    const intptr_t result = RunCall(note, [&](LibraryModel& library) {
        note.object = library.AddMimeUtility();
        return reinterpret_cast<intptr_t>(note.object);
    });
    return result != 0 ? note.object : nullptr;
}

int KSDeleteMIMEUtil(void* util) {
    Note note = BeginCall(DiscoveryDeleteMIMEUtil, util);
    return RunIntCall(note, [&](LibraryModel& library) -> intptr_t {
        if (!UseMimeUtility(library, note)) {
            return -1;
        }
        if (library.mime_buffers.CountIf([&](const Buffer& b) { return b.owner == util; }) > 0) {
            Blame(library, note, "MIME buffers of the utility not deleted");
        }
        library.mime_utilities.TakeBack(util);
        return 0;
    });
}

int KSMIMEDecode(void* util, char* part) {
    Note note = BeginCall(DiscoveryMIMEDecode, util);
    note.buffer = part;
    note.text = CopyText(part);
    return RunIntCall(note, [&](LibraryModel& library) -> intptr_t {
        if (!UseMimeUtility(library, note) || !IsGiven(library, note, part, "part") ||
            !DecodeMimeText(part)) {
            return -1;
        }
        note.output = part;
        return 0;
    });
}

int KSMIMESplitData(void* util, const char* reply, char** header, int* header_length, char** data,
                    int* data_length) {
    Note note = BeginCall(DiscoveryMIMESplitData, util);
    note.text = CopyText(reply);
    return RunIntCall(note, [&](LibraryModel& library) -> intptr_t {
        if (!UseMimeUtility(library, note) || !IsGiven(library, note, reply, "reply") ||
            !IsGiven(library, note, header, "header's address") ||
            !IsGiven(library, note, header_length, "header's length") ||
            !IsGiven(library, note, data, "data's address") ||
            !IsGiven(library, note, data_length, "data's length")) {
            return -1;
        }
        const auto parts = SplitMimeReply(reply);
        if (!parts) {
            return -1;
        }
        *header = GiveText(library.mime_buffers, note, parts->header);
        *header_length = Length(parts->header);
        *data = GiveText(library.mime_buffers, note, parts->data);
        *data_length = Length(parts->data);
        note.buffer = *header;
        note.data = *data;
        note.output = parts->header;
        return 0;
    });
}

int KSMIMEGetData(void* util, const char* data, const char* name, MIMEItem** item) {
    Note note = BeginCall(DiscoveryMIMEGetData, util);
    note.data = data;
    note.text = CopyText(name);
    return RunIntCall(note, [&](LibraryModel& library) -> intptr_t {
        if (!UseMimeUtility(library, note) || !IsGiven(library, note, data, "data") ||
            !IsGiven(library, note, name, "name") ||
            !IsGiven(library, note, item, "item's address")) {
            return -1;
        }
        const auto value = FindMimeValue(data, name);
        if (!value) {
            return -1;
        }
        *item = GiveItem(library, note, *value);
        note.buffer = *item;
        return 0;
    });
}

int KSMIMEDeleteBuffer(void* util, void** buffer) {
    Note note = BeginCall(DiscoveryMIMEDeleteBuffer, util);
    return RunIntCall(note, [&](LibraryModel& library) -> intptr_t {
        UseMimeUtility(library, note);
        if (!IsGiven(library, note, buffer, "buffer's address")) {
            return -1;
        }
        TakeBuffer(library, library.mime_buffers, note, *buffer);
        *buffer = nullptr;
        return 0;
    });
}

}  // namespace ksp::standins
