#include "tests/standins/discovery/device.h"

namespace ksp::standins {
namespace {

constexpr char kXml[] = R"(<?xml version="1.0" encoding="utf-8"?>)";
constexpr char kMacItem[] = "MACAddress";
constexpr char kDefaultPart[] = "value";

std::string Escape(const std::string& text) {
    std::string escaped;
    for (const char c : text) {
        switch (c) {
            case '&':
                escaped += "&amp;";
                break;
            case '<':
                escaped += "&lt;";
                break;
            case '>':
                escaped += "&gt;";
                break;
            default:
                escaped += c;
        }
    }
    return escaped;
}

std::string Element(const std::string& name, const std::string& text) {
    return "<" + name + ">" + Escape(text) + "</" + name + ">";
}

std::string HeaderNaming(const std::string& part_name) {
    return std::string(kXml) + "<GetData><DataInfo><Data>" + Element("Group", part_name) +
           "</Data></DataInfo></GetData>";
}

std::string MacReply(const Device& device) {
    return std::string(kXml) + R"(<GetData><DataInfo><Data><Group id="GetData"><d id="Name">)" +
           Escape(device.name) + R"(</d><d id="MACAddress">)" + Escape(*device.mac) +
           "</d></Group></Data></DataInfo></GetData>";
}

// What stands between the marks, empty when they do not.
std::string_view Between(std::string_view text, std::string_view before, std::string_view after) {
    const size_t found = text.find(before);
    if (found == std::string_view::npos) {
        return {};
    }
    text.remove_prefix(found + before.size());
    return text.substr(0, text.find_first_of(after));
}

}  // namespace

Reply MakeReply(const DiscoveryReply& reply) {
    Reply made = {reply.result, std::nullopt};
    if (reply.kind == DiscoveryReplyText) {
        made.text = CopyText(reply.text);
    } else if (reply.kind == DiscoveryReplyValue) {
        const std::string part = CopyText(reply.part_name).value_or(kDefaultPart);
        MimeValue value = {std::nullopt, reply.count};
        if (reply.bytes != nullptr) {
            value.bytes.emplace(reply.bytes, reply.bytes + reply.size);
        }
        const std::string header = CopyText(reply.header).value_or(HeaderNaming(part));
        made.text = MakeMimeReply(header, part, value);
    }
    return made;
}

OptionalText Device::CapabilityDocument() const {
    if (capability == DiscoveryCapabilityGiven) {
        return document;
    }
    if (capability != DiscoveryCapabilityGenerated) {
        return std::nullopt;
    }
    return std::string(kXml) + "<DeviceCapability><Identity>" + Element("Device_ID", device_id) +
           Element("Device_Name", name) + "</Identity><Network>" +
           Element("MAC_Address", mac.value_or("")) + Element("IPV4_Address", address) +
           "</Network></DeviceCapability>";
}

Reply Device::ReplyTo(std::string_view item) const {
    const auto found = replies.find(item);
    if (found != replies.end()) {
        return found->second;
    }
    if (item == kMacItem && mac) {
        return {0, MacReply(*this)};
    }
    return {DISCOVERY_NO_REPLY, std::nullopt};
}

std::string RequestedItem(std::string_view request) {
    const std::string_view object_id = Between(request, "access=MIB;oid=", ";\"");
    if (!object_id.empty()) {
        return std::string(object_id);
    }
    return std::string(Between(request, "<d id=\"", "\""));
}

}  // namespace ksp::standins
