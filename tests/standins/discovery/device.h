#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "tests/standins/discovery/mime_reply.h"
#include "tests/standins/discovery_control.h"

namespace ksp::standins {

// A text as a caller of the library or of its control gives it: none (null) or some.
using OptionalText = std::optional<std::string>;

inline OptionalText CopyText(const char* text) {
    return text == nullptr ? OptionalText() : OptionalText(text);
}

// What a device has for one request.
struct Reply {
    int result = 0;     // of KSSendRecvStream
    OptionalText text;  // none: no library buffer
};

Reply MakeReply(const DiscoveryReply& reply);

// A printer on the network that the stand-in plays.
struct Device {
    std::string address;
    OptionalText mac;
    std::string name;
    std::string device_id;
    DiscoveryCapability capability = DiscoveryCapabilityGenerated;
    OptionalText document;
    bool silent = false;
    std::map<std::string, Reply, std::less<>> replies;  // by the item asked for

    // The text of the capability document, none when it has none to give.
    [[nodiscard]] OptionalText CapabilityDocument() const;
    // The reply to a request for this item.
    [[nodiscard]] Reply ReplyTo(std::string_view item) const;
};

// What a request document asks for: the object id of a MIB request, else the id of its "d" element;
// empty when it asks for neither.
std::string RequestedItem(std::string_view request);

}  // namespace ksp::standins
