#include "tools/snmp_agent/snmp_message.h"

#include <algorithm>

namespace ksp::agent {
namespace {

bool IsKnown(SnmpOperation operation) {
    switch (operation) {
        case SnmpOperation::kGet:
        case SnmpOperation::kGetNext:
        case SnmpOperation::kResponse:
        case SnmpOperation::kSet:
        case SnmpOperation::kGetBulk:
            return true;
    }
    return false;
}

std::optional<int32_t> NextInteger(BerReader* reader) {
    const std::optional<ByteView> content = reader->Next(kInteger);
    return content ? IntegerOf(*content) : std::nullopt;
}

bool DecodeBindings(ByteView list, std::vector<SnmpBinding>* bindings) {
    BerReader reader(list);
    while (!reader.AtEnd()) {
        const auto pair = reader.Next(kSequence);
        if (!pair) {
            return false;
        }
        BerReader parts(*pair);
        const auto name = parts.Next(kObjectIdentifier);
        const auto value = parts.Next();
        const auto oid = name ? OidOf(*name) : std::nullopt;
        if (!oid || !value || !parts.AtEnd()) {
            return false;
        }
        bindings->push_back({*oid, {value->tag, {value->content.begin(), value->content.end()}}});
    }
    return true;
}

Bytes EncodeBindings(const std::vector<SnmpBinding>& bindings) {
    Bytes list;
    for (const SnmpBinding& binding : bindings) {
        Bytes pair = Element(kObjectIdentifier, OidContent(binding.oid));
        Append(&pair, Element(binding.value.tag, binding.value.content));
        Append(&list, Element(kSequence, pair));
    }
    return Element(kSequence, list);
}

}  // namespace

SnmpValue SnmpValue::Integer(int32_t number) {
    return {kInteger, IntegerContent(number)};
}

SnmpValue SnmpValue::Octets(std::string_view octets) {
    return {kOctetString, TextContent(octets)};
}

SnmpValue SnmpValue::Identifier(std::string_view oid) {
    return {kObjectIdentifier, OidContent(OidOf(oid))};
}

SnmpValue SnmpValue::Counter(uint32_t count) {
    return {kCounter, IntegerContent(count)};
}

SnmpValue SnmpValue::Gauge(uint32_t level) {
    return {kGauge, IntegerContent(level)};
}

SnmpValue SnmpValue::Ticks(uint32_t hundredths_of_a_second) {
    return {kTimeTicks, IntegerContent(hundredths_of_a_second)};
}

SnmpValue SnmpValue::Address(std::string_view dotted) {
    SnmpValue value = {kIpAddress, {}};
    for (const uint32_t octet : OidOf(dotted)) {
        value.content.push_back(static_cast<uint8_t>(octet));
    }
    return value;
}

std::optional<SnmpMessage> DecodeSnmp(ByteView packet) {
    BerReader reader(packet);
    const auto message = reader.Next(kSequence);
    if (!message || !reader.AtEnd()) {
        return std::nullopt;
    }
    BerReader parts(*message);
    const auto version = NextInteger(&parts);
    const auto community = parts.Next(kOctetString);
    const auto pdu = parts.Next();
    if (!version || !community || !pdu || !parts.AtEnd() || *version < 0 || *version > 1 ||
        !IsKnown(static_cast<SnmpOperation>(pdu->tag))) {
        return std::nullopt;
    }
    BerReader fields(pdu->content);
    const auto id = NextInteger(&fields);
    const auto error = NextInteger(&fields);
    const auto error_index = NextInteger(&fields);
    const auto list = fields.Next(kSequence);
    SnmpMessage result;
    if (!id || !error || !error_index || !list || !fields.AtEnd() ||
        !DecodeBindings(*list, &result.bindings)) {
        return std::nullopt;
    }
    result.version = static_cast<SnmpVersion>(*version);
    result.community.assign(community->begin(), community->end());
    result.operation = static_cast<SnmpOperation>(pdu->tag);
    result.id = *id;
    result.error = *error;
    result.error_index = *error_index;
    return result;
}

Bytes EncodeSnmp(const SnmpMessage& message) {
    Bytes fields = Element(kInteger, IntegerContent(message.id));
    Append(&fields, Element(kInteger, IntegerContent(message.error)));
    Append(&fields, Element(kInteger, IntegerContent(message.error_index)));
    Append(&fields, EncodeBindings(message.bindings));
    Bytes parts = Element(kInteger, IntegerContent(static_cast<int32_t>(message.version)));
    Append(&parts, Element(kOctetString, TextContent(message.community)));
    Append(&parts, Element(static_cast<uint8_t>(message.operation), fields));
    return Element(kSequence, parts);
}

}  // namespace ksp::agent
