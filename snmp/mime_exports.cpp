// The exports that take MIME messages apart.

#include <cstring>

#include "snmp/buffers.h"
#include "snmp/exports.h"
#include "snmp/library.h"
#include "snmp/mime_message.h"

namespace {

using ksp::snmp::Guarded;
using ksp::snmp::kDone;
using ksp::snmp::kFailed;
using ksp::snmp::Library;

bool IsUtility(void* util) {
    return Library().mimeUtilities.Find(util) != nullptr;
}

}  // namespace

void* KSCreateMIMEUtil() {
    return Guarded<void*>(nullptr, [] {
        return Library().mimeUtilities.Add(std::make_shared<ksp::snmp::CMimeUtility>());
    });
}

int KSDeleteMIMEUtil(void* util) {
    return Guarded(kFailed, [&] { return Library().mimeUtilities.Take(util) ? kDone : kFailed; });
}

int KSMIMEDecode(void* util, char* part) {
    return Guarded(kFailed, [&] {
        if (!IsUtility(util) || part == nullptr) {
            return kFailed;
        }
        const auto decoded = ksp::snmp::DecodeMimePart(part);
        if (!decoded) {
            return kFailed;
        }
        // Base64 and the fields in front of it only make a text longer.
        std::memcpy(part, decoded->c_str(), decoded->size() + 1);
        return kDone;
    });
}

int KSMIMESplitData(void* util, const char* reply, char** header, int* headerLength, char** data,
                    int* dataLength) {
    return Guarded(kFailed, [&] {
        if (!IsUtility(util) || reply == nullptr || header == nullptr || headerLength == nullptr ||
            data == nullptr || dataLength == nullptr) {
            return kFailed;
        }
        *header = nullptr;
        *data = nullptr;
        const auto parts = ksp::snmp::SplitMimeMessage(reply);
        if (!parts) {
            return kFailed;
        }
        *header = ksp::snmp::NewText(parts->header);
        *data = ksp::snmp::NewText(parts->data);
        if (*header == nullptr || *data == nullptr) {
            ksp::snmp::FreeBuffer(*header);
            ksp::snmp::FreeBuffer(*data);
            *header = nullptr;
            *data = nullptr;
            return kFailed;
        }
        *headerLength = static_cast<int>(parts->header.size());
        *dataLength = static_cast<int>(parts->data.size());
        return kDone;
    });
}

int KSMIMEGetData(void* util, const char* data, const char* name, ksp::MIMEItem** item) {
    return Guarded(kFailed, [&] {
        if (item == nullptr) {
            return kFailed;
        }
        *item = nullptr;
        if (!IsUtility(util) || data == nullptr || name == nullptr) {
            return kFailed;
        }
        if (const auto bytes = ksp::snmp::FindMimeItem(data, name); bytes) {
            *item = ksp::snmp::NewItem(*bytes);
        }
        return *item != nullptr ? kDone : kFailed;
    });
}

int KSMIMEDeleteBuffer(void* /*util*/, void** buffer) {
    if (buffer == nullptr) {
        return kFailed;
    }
    ksp::snmp::FreeBuffer(*buffer);
    *buffer = nullptr;
    return kDone;
}

int KSMIMEEncode() {
    return kFailed;
}
