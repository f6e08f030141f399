#include "snmp/requests.h"

#include <charconv>

#include "snmp/xml_text.h"

namespace ksp::snmp {

namespace {

void ReadNumber(const CXmlTag& tag, std::uint32_t& number) {
    std::uint32_t read = 0;
    const char* const end = tag.text.data() + tag.text.size();
    const auto [behind, error] = std::from_chars(tag.text.data(), end, read);
    if (error == std::errc() && behind == end) {
        number = read;
    }
}

void ReadTiming(const CXmlTag& tag, CTiming& timing) {
    if (tag.name == "TimeOut") {
        ReadNumber(tag, timing.timeout);
    } else if (tag.name == "Retry") {
        ReadNumber(tag, timing.retry);
    } else if (tag.name == "RetryInterval") {
        ReadNumber(tag, timing.retryInterval);
    }
    if (timing.timeout == 0) {
        timing.timeout = CTiming().timeout;
    }
}

// The value of a key in "key=value;key=value"; empty when it is not there.
std::string_view Field(std::string_view fields, std::string_view key) {
    while (!fields.empty()) {
        const std::string_view field = fields.substr(0, fields.find(';'));
        if (field.starts_with(key) && field.substr(key.size()).starts_with('=')) {
            return field.substr(key.size() + 1);
        }
        fields.remove_prefix(std::min(field.size() + 1, fields.size()));
    }
    return {};
}

std::optional<CDataRequest> ReadMibRequest(std::string_view fields) {
    CDataRequest request;
    const std::string_view type = Field(fields, "type");
    if (type == "octetString") {
        request.type = ValueType::kOctetString;
    } else if (type != "integer") {
        return std::nullopt;
    }
    const std::string_view kind = Field(fields, "rtype");
    if (kind == "GetNextRequest") {
        request.question.kind = QuestionKind::kGetNext;
    } else if (kind != "GetRequest") {
        return std::nullopt;
    }
    auto id = CObjectId::Parse(Field(fields, "oid"));
    if (!id) {
        return std::nullopt;
    }
    request.question.id = std::move(*id);
    return request;
}

}  // namespace

CTiming ReadDeviceSettings(std::string_view document) {
    CTiming timing;
    CXmlTags tags(document);
    while (const auto tag = tags.Next()) {
        ReadTiming(*tag, timing);
    }
    return timing;
}

std::optional<CProbeMode> ReadProbeMode(std::string_view document) {
    CProbeMode mode;
    bool overRouter = true;
    CXmlTags tags(document);
    while (const auto tag = tags.Next()) {
        ReadTiming(*tag, mode.timing);
        if (tag->name == "Mode" && tag->kind != CXmlTag::Kind::kEnd) {
            overRouter = tag->Attribute("OverRouter") != "FALSE";
        } else if (tag->name == "Protocol") {
            mode.ipv4 = tag->Attribute("ip").find("IPv4") != std::string::npos;
        } else if (tag->name == "Address") {
            const auto address = ParseAddress(tag->Attribute("networkAddress"));
            const auto mask = ParseAddress(tag->Attribute("subnetMask"));
            // A network that cannot be read is left out, not the others with it.
            if (address && mask) {
                mode.networks.push_back({*address, *mask});
            }
        }
    }
    if (tags.IsMalformed()) {
        return std::nullopt;
    }
    if (!overRouter) {
        mode.networks.clear();
    }
    return mode;
}

std::optional<CDataRequest> ReadDataRequest(std::string_view document) {
    std::optional<CDataRequest> request;
    CXmlTags tags(document);
    while (const auto tag = tags.Next()) {
        if (tag->name == "d" && tag->Attribute("id") == "MACAddress") {
            request.emplace().macAddress = true;
        } else if (tag->name == "Group" && Field(tag->Attribute("id"), "access") == "MIB") {
            request = ReadMibRequest(tag->Attribute("id"));
        }
    }
    return tags.IsMalformed() ? std::nullopt : request;
}

}  // namespace ksp::snmp
