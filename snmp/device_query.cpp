#include "snmp/device_query.h"

#include <algorithm>
#include <charconv>

#include "snmp/mib_objects.h"

namespace ksp::snmp {

namespace {

// More interfaces than a printer has; the walk through a table that does not end is given up.
constexpr int kMostInterfaces = 64;
// A DisplayString has at most 255 octets.
constexpr std::size_t kMostText = 255;

CObjectId FirstOf(const CObjectId& scalar) {
    return scalar.Child(0);
}

std::string TextOf(const CAnswer& answer) {
    return answer.found ? answer.value.octets.substr(0, kMostText) : std::string();
}

// Empty unless it can be the address of one network card.
std::string MacText(const std::string& octets) {
    constexpr std::size_t kMacOctets = 6;
    constexpr unsigned char kGroupBit = 0x01;
    constexpr char kDigits[] = "0123456789ABCDEF";
    if (octets.size() != kMacOctets || octets.find_first_not_of('\0') == std::string::npos ||
        (static_cast<unsigned char>(octets[0]) & kGroupBit) != 0) {
        return {};
    }
    std::string text;
    for (const char octet : octets) {
        const auto value = static_cast<unsigned char>(octet);
        text += kDigits[value >> 4];
        text += kDigits[value & 0x0F];
    }
    return text;
}

}  // namespace

std::string AddressText(Ipv4 address) {
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8) {
        text += std::to_string(address >> shift & 0xFF);
        if (shift > 0) {
            text += '.';
        }
    }
    return text;
}

std::optional<Ipv4> ParseAddress(std::string_view text) {
    Ipv4 address = 0;
    const char* at = text.data();
    const char* const end = at + text.size();
    for (int part = 0; part < 4; ++part) {
        std::uint8_t number = 0;
        const auto [behind, error] = std::from_chars(at, end, number);
        if (error != std::errc()) {
            return std::nullopt;
        }
        address = address << 8 | number;
        at = behind;
        if (part < 3) {
            if (at == end || *at != '.') {
                return std::nullopt;
            }
            ++at;
        }
    }
    return at == end ? std::optional(address) : std::nullopt;
}

CDeviceQuery::CDeviceQuery(Ipv4 address, Wanted wanted)
    : m_step(wanted == Wanted::kEverything ? Step::kDescription : Step::kInterfaceOfAddress),
      m_afterMac(wanted == Wanted::kEverything ? Step::kPrinterRow : Step::kDone) {
    m_identity.address = address;
}

CQuestion CDeviceQuery::FirstQuestion() {
    return {QuestionKind::kGet, FirstOf(SysDescr())};
}

std::optional<CQuestion> CDeviceQuery::Next() const {
    switch (m_step) {
        case Step::kDescription:
            return FirstQuestion();
        case Step::kPrinterRow:
            return CQuestion{QuestionKind::kGetNext, HrPrinterStatus()};
        case Step::kPrinterDescription:
            return CQuestion{QuestionKind::kGet, HrDeviceDescr().Child(m_row)};
        case Step::kName:
            return CQuestion{QuestionKind::kGet, FirstOf(SysName())};
        case Step::kInterfaceOfAddress: {
            CObjectId id = IpAdEntIfIndex();
            for (int shift = 24; shift >= 0; shift -= 8) {
                id = id.Child(m_identity.address >> shift & 0xFF);
            }
            return CQuestion{QuestionKind::kGet, std::move(id)};
        }
        case Step::kPhysicalAddress:
            return CQuestion{QuestionKind::kGet, IfPhysAddress().Child(m_row)};
        case Step::kPhysicalAddresses:
            return CQuestion{QuestionKind::kGetNext, m_walk};
        case Step::kDone:
            break;
    }
    return std::nullopt;
}

void CDeviceQuery::Take(const CAnswer& answer) {
    switch (m_step) {
        case Step::kDescription:
            m_identity.id = TextOf(answer);
            m_identity.name = m_identity.id;
            m_step = Step::kInterfaceOfAddress;
            break;
        case Step::kPrinterRow: {
            const auto row = answer.id.Behind(HrPrinterStatus());
            const bool isPrinter = answer.found && row.size() == 1;
            m_row = isPrinter ? row[0] : 0;
            m_step = isPrinter ? Step::kPrinterDescription : Step::kName;
            break;
        }
        case Step::kPrinterDescription:
            m_step = Step::kName;
            if (std::string text = TextOf(answer); !text.empty()) {
                m_identity.name = text;
                m_identity.id = std::move(text);
                m_step = Step::kDone;
            }
            break;
        case Step::kName:
            if (std::string text = TextOf(answer); !text.empty()) {
                m_identity.name = std::move(text);
            }
            m_step = Step::kDone;
            break;
        case Step::kInterfaceOfAddress: {
            const bool isRow = answer.found && answer.value.kind == ValueKind::kInteger;
            m_row = isRow ? answer.value.number : 0;
            m_walk = IfPhysAddress();
            m_step = isRow ? Step::kPhysicalAddress : Step::kPhysicalAddresses;
            break;
        }
        case Step::kPhysicalAddress:
            TakePhysicalAddress(answer, Step::kPhysicalAddresses);
            break;
        case Step::kPhysicalAddresses: {
            const bool goesOn = answer.found && answer.id.BeginsWith(IfPhysAddress()) &&
                                ++m_walked < kMostInterfaces;
            m_walk = answer.id;
            TakePhysicalAddress(answer, goesOn ? Step::kPhysicalAddresses : m_afterMac);
            break;
        }
        case Step::kDone:
            break;
    }
}

void CDeviceQuery::TakePhysicalAddress(const CAnswer& answer, Step otherwise) {
    if (answer.found && answer.id.BeginsWith(IfPhysAddress())) {
        m_identity.mac = MacText(answer.value.octets);
    }
    m_step = m_identity.mac.empty() ? otherwise : m_afterMac;
}

}  // namespace ksp::snmp
