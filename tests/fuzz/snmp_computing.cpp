#include "tests/fuzz/snmp_computing.h"

#include <algorithm>
#include <vector>

#include "snmp/base64.h"
#include "snmp/mime_message.h"
#include "snmp/replies.h"
#include "snmp/requests.h"
#include "snmp/snmp_message.h"
#include "snmp/timing.h"
#include "snmp/xml_text.h"

namespace ksp::test {

namespace {

using namespace ksp::snmp;

ByteView ViewOf(std::string_view bytes) {
    return {reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()};
}

// Every element, and what is inside it, as whoever expects the worst would read it.
std::string CheckElements(ByteView bytes, int depth) {
    CBerReader reader(bytes);
    while (const auto element = reader.Next()) {
        const ByteView content = element->content;
        if (content.data() < bytes.data() ||
            content.data() + content.size() > bytes.data() + bytes.size()) {
            return "an element beyond the bytes";
        }
        if (const auto number = IntegerOf(content)) {
            Bytes again;
            AppendInteger(again, *number);
            CBerReader written(again);
            if (written.NextInteger() != number) {
                return "an integer reads back otherwise";
            }
        }
        if (const auto id = ObjectIdOf(content)) {
            Bytes again;
            AppendObjectId(again, *id);
            CBerReader written(again);
            const auto back = written.Next(BerTag::kObjectId);
            if (!back || ObjectIdOf(*back) != id || CObjectId::Parse(id->Text()) != id) {
                return "an object id reads back otherwise";
            }
        }
        if (depth < 8) {
            if (std::string wrong = CheckElements(content, depth + 1); !wrong.empty()) {
                return wrong;
            }
        }
    }
    return "";
}

// A document that the library hands out is read by somebody.
std::string CheckDocument(const std::string& document) {
    CXmlTags tags(document);
    int depth = 0;
    while (const auto tag = tags.Next()) {
        depth += tag->kind == CXmlTag::Kind::kStart ? 1 : tag->kind == CXmlTag::Kind::kEnd ? -1 : 0;
    }
    return tags.IsMalformed() || depth != 0 ? "a malformed document: " + document : "";
}

// A device that answers every question with the same datagram.
std::string CheckDevice(const CAnswer& answer) {
    constexpr int kMostQuestions = 2000;
    CDeviceQuery query(0x7F000001);
    int questions = 0;
    while (query.Next()) {
        query.Take(answer);
        if (++questions > kMostQuestions) {
            return "a device is asked without end";
        }
    }
    const CDeviceIdentity& identity = query.Identity();
    const bool is_mac = identity.mac.size() == 12 &&
                        identity.mac.find_first_not_of("0123456789ABCDEF") == std::string::npos;
    if (!identity.mac.empty() && !is_mac) {
        return "not a MAC address: " + identity.mac;
    }
    if (std::string wrong = CheckDocument(CapabilityDocument(identity)); !wrong.empty()) {
        return wrong;
    }
    return CheckDocument(MacAddressDocument(identity));
}

std::string CheckDatagram(std::string_view input) {
    if (std::string wrong = CheckElements(ViewOf(input), 0); !wrong.empty()) {
        return wrong;
    }
    const auto response = DecodeResponse(ViewOf(input));
    if (!response) {
        return "";
    }
    const CAnswer& answer = response->answer;
    const CQuestion question{QuestionKind::kGet, answer.id};
    if (answer.found && !Answers(answer, question)) {
        return "a variable that does not answer for itself";
    }
    for (const ValueType type : {ValueType::kInteger, ValueType::kOctetString}) {
        const auto bytes = ValueBytes({false, question, type}, answer);
        if (bytes && type == ValueType::kOctetString && *bytes != answer.value.octets) {
            return "other octets";
        }
    }
    return CheckDevice(answer);
}

std::string CheckMimeMessage(std::string_view input) {
    const auto own = SplitMimeMessage(MakeMimeReply(input));
    if (!own || FindMimeItem(own->data, "value") != std::string(input)) {
        return "a value that does not come back";
    }
    if (const auto parts = SplitMimeMessage(input)) {
        if (input.find(parts->header) == std::string_view::npos || !input.ends_with(parts->data)) {
            return "a part that is not the message's";
        }
        static_cast<void>(DecodeMimePart(parts->header));
        static_cast<void>(FindMimeItem(parts->data, "value"));
    }
    static_cast<void>(FindMimeItem(input, ""));
    return "";
}

std::string CheckBase64(std::string_view input) {
    if (DecodeBase64(EncodeBase64(input)) != std::string(input)) {
        return "bytes that do not come back";
    }
    const auto decoded = DecodeBase64(input);
    return decoded && DecodeBase64(EncodeBase64(*decoded)) != decoded ? "another text" : "";
}

std::string CheckXmlText(std::string_view input) {
    if (std::string wrong = CheckDocument(XmlElement("a", input)); !wrong.empty()) {
        return wrong;
    }
    CXmlTags tags(input);
    std::size_t count = 0;
    while (tags.Next()) {
        if (++count > input.size()) {
            return "more tags than characters";
        }
    }
    const CTiming timing = ReadDeviceSettings(input);
    for (std::uint64_t n = 0; n < 8; ++n) {
        const auto sending = SendingOf(n, timing, VersionChoice::kEither);
        if (sending && sending->after > timing.timeout) {
            return "a question behind the end of the time";
        }
    }
    if (const auto mode = ReadProbeMode(input)) {
        if (RangeOf(mode->networks).addresses.size() > CSearchRange::kMostAddresses) {
            return "too many addresses";
        }
    }
    static_cast<void>(ReadDataRequest(input));
    return "";
}

}  // namespace

std::string CheckSnmpForm(Form form, std::string_view input) {
    switch (form) {
        case Form::kSnmpDatagram:
            return CheckDatagram(input);
        case Form::kMimeMessage:
            return CheckMimeMessage(input);
        case Form::kBase64:
            return CheckBase64(input);
        case Form::kXmlText:
            return CheckXmlText(input);
        default:
            return "no such form";
    }
}

}  // namespace ksp::test
