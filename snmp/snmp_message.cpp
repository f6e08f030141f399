#include "snmp/snmp_message.h"

namespace ksp::snmp {

namespace {

// A value whose tag and content do not fit is refused; one of another type is none.
std::optional<CValue> DecodeValue(const CBerElement& element) {
    CValue value;
    switch (element.tag) {
        case BerTag::kInteger: {
            const auto number = IntegerOf(element.content);
            if (!number) {
                return std::nullopt;
            }
            value.kind = ValueKind::kInteger;
            value.number = static_cast<std::uint32_t>(*number);
            break;
        }
        case BerTag::kCounter32:
        case BerTag::kGauge32:
        case BerTag::kTimeTicks: {
            const auto number = UnsignedOf(element.content);
            if (!number) {
                return std::nullopt;
            }
            value.kind = ValueKind::kUnsigned;
            value.number = *number;
            break;
        }
        case BerTag::kOctetString:
            value.kind = ValueKind::kOctets;
            value.octets.assign(element.content.begin(), element.content.end());
            break;
        default:
            break;
    }
    return value;
}

bool IsMissing(BerTag tag) {
    return tag == BerTag::kNoSuchObject || tag == BerTag::kNoSuchInstance ||
           tag == BerTag::kEndOfMibView;
}

// The list of variables, which holds exactly one.
std::optional<CAnswer> DecodeBindings(ByteView list) {
    CBerReader bindings(list);
    const auto binding = bindings.Next(BerTag::kSequence);
    if (!binding || !bindings.AtEnd()) {
        return std::nullopt;
    }
    CBerReader fields(*binding);
    const auto name = fields.Next(BerTag::kObjectId);
    const auto element = fields.Next();
    if (!name || !element || !fields.AtEnd()) {
        return std::nullopt;
    }
    auto id = ObjectIdOf(*name);
    auto value = DecodeValue(*element);
    if (!id || !value) {
        return std::nullopt;
    }
    return CAnswer{!IsMissing(element->tag), std::move(*id), std::move(*value)};
}

std::optional<CResponse> DecodePdu(SnmpVersion version, ByteView pdu) {
    CBerReader fields(pdu);
    const auto requestId = fields.NextInteger();
    const auto errorStatus = fields.NextInteger();
    const auto errorIndex = fields.NextInteger();
    const auto list = fields.Next(BerTag::kSequence);
    if (!requestId || !errorStatus || !errorIndex || !list || !fields.AtEnd()) {
        return std::nullopt;
    }
    if (*errorStatus != 0) {
        return CResponse{version, *requestId, CAnswer()};
    }
    auto answer = DecodeBindings(*list);
    if (!answer) {
        return std::nullopt;
    }
    return CResponse{version, *requestId, std::move(*answer)};
}

}  // namespace

Bytes EncodeRequest(SnmpVersion version, const std::string& community, std::int32_t requestId,
                    const CQuestion& question) {
    Bytes binding;
    AppendObjectId(binding, question.id);
    AppendNull(binding);
    Bytes list;
    AppendElement(list, BerTag::kSequence, binding);
    Bytes pdu;
    AppendInteger(pdu, requestId);
    AppendInteger(pdu, 0);  // error status
    AppendInteger(pdu, 0);  // error index
    AppendElement(pdu, BerTag::kSequence, list);
    Bytes message;
    AppendInteger(message, static_cast<std::int32_t>(version));
    AppendOctets(message, community);
    AppendElement(
        message,
        question.kind == QuestionKind::kGet ? BerTag::kGetRequest : BerTag::kGetNextRequest, pdu);
    Bytes bytes;
    AppendElement(bytes, BerTag::kSequence, message);
    return bytes;
}

std::optional<CResponse> DecodeResponse(ByteView bytes) {
    CBerReader datagram(bytes);
    const auto message = datagram.Next(BerTag::kSequence);
    if (!message || !datagram.AtEnd()) {
        return std::nullopt;
    }
    CBerReader fields(*message);
    const auto version = fields.NextInteger();
    const auto community = fields.Next(BerTag::kOctetString);
    const auto pdu = fields.Next(BerTag::kResponse);
    if (!version || !community || !pdu || !fields.AtEnd()) {
        return std::nullopt;
    }
    switch (static_cast<SnmpVersion>(*version)) {
        case SnmpVersion::k1:
        case SnmpVersion::k2c:
            return DecodePdu(static_cast<SnmpVersion>(*version), *pdu);
        default:
            return std::nullopt;
    }
}

bool Answers(const CAnswer& answer, const CQuestion& question) {
    if (!answer.found) {
        return true;
    }
    return question.kind == QuestionKind::kGet ? answer.id == question.id : answer.id > question.id;
}

}  // namespace ksp::snmp
