#include "tools/kspctl/port_fields.h"

#include <algorithm>
#include <limits>

namespace ksp::ctl {
namespace {

struct Word {
    std::uint32_t number;
    std::wstring_view word;
};

constexpr Word kProtocols[] = {
    {static_cast<std::uint32_t>(ProtocolId::kRaw), L"raw"},
    {static_cast<std::uint32_t>(ProtocolId::kLpr), L"lpr"},
    {static_cast<std::uint32_t>(ProtocolId::kXlpr), L"xlpr"},
};
constexpr Word kAddressTypes[] = {
    {static_cast<std::uint32_t>(AddressType::kIpAddress), L"address"},
    {static_cast<std::uint32_t>(AddressType::kHostName), L"host"},
    {static_cast<std::uint32_t>(AddressType::kUrl), L"url"},
    {static_cast<std::uint32_t>(AddressType::kTracked), L"tracked"},
};

constexpr std::wstring_view kNeverKept =
    L"the monitor reads it from the registry and never writes it";

constexpr PortField kFields[] = {
    {L"PortName", &CPortInfo::PortName, nullptr, FieldChange::kFixed, L"the port's name",
     L"delete the port and add it under its new name"},
    {L"PrinterAddress",
     &CPortInfo::PrinterAddress,
     nullptr,
     FieldChange::kConfigured,
     L"the printer: IPv4 address or host name",
     {}},
    {L"ProtocolID",
     nullptr,
     &CPortInfo::ProtocolID,
     FieldChange::kConfigured,
     L"2 raw, 0 lpr, 1 xlpr",
     {}},
    {L"PortNumber", nullptr, &CPortInfo::PortNumber, FieldChange::kFixed,
     L"TCP port of the printer", L"it follows from ProtocolID (and SecureRawPortNo)"},
    {L"QueueName", &CPortInfo::QueueName, nullptr, FieldChange::kConfigured, L"LPR queue", {}},
    {L"PrinterAddressType",
     nullptr,
     &CPortInfo::PrinterAddressType,
     FieldChange::kAddress,
     L"1 address, 2 host, 3 url, 4 tracked by MAC address",
     {}},
    {L"IpAddress",
     &CPortInfo::IpAddress,
     nullptr,
     FieldChange::kAddress,
     L"last known IPv4 address",
     {}},
    {L"SubnetMask", &CPortInfo::SubnetMask, nullptr, FieldChange::kAddress, L"subnet mask", {}},
    {L"MacAddress",
     &CPortInfo::MacAddress,
     nullptr,
     FieldChange::kAddress,
     L"MAC address, 12 hexadecimal digits",
     {}},
    {L"ProxyServer", &CPortInfo::ProxyServer, nullptr, FieldChange::kFixed, L"proxy", kNeverKept},
    {L"ProxyPort", nullptr, &CPortInfo::ProxyPort, FieldChange::kFixed, L"proxy's port",
     kNeverKept},
    {L"SecureUserMode",
     nullptr,
     &CPortInfo::SecureUserMode,
     FieldChange::kIdPrint,
     L"0 the user's name, 2 the user's identity name, 1 prints nothing",
     {}},
    {L"SecureRawPortNo",
     nullptr,
     &CPortInfo::SecureRawPortNo,
     FieldChange::kIdPrint,
     L"TCP port of raw printing",
     {}},
    {L"CheckPortNo",
     nullptr,
     &CPortInfo::CheckPortNo,
     FieldChange::kIdPrint,
     L"TCP port of the reachability check",
     {}},
    {L"UserIdentityName",
     &CPortInfo::UserIdentityName,
     nullptr,
     FieldChange::kIdPrint,
     L"identity name; user mode 1 needs it",
     {}},
};

// Empty when the number has no word.
std::wstring_view WordOf(std::span<const Word> words, std::uint32_t number) {
    const auto found = std::find_if(words.begin(), words.end(),
                                    [number](const Word& entry) { return entry.number == number; });
    return found == words.end() ? std::wstring_view() : found->word;
}

bool IsMacAddress(const std::wstring& text) {
    constexpr std::size_t kDigits = 12;
    return text.size() == kDigits &&
           text.find_first_not_of(L"0123456789abcdefABCDEF") == std::wstring::npos;
}

Problem ParseWord(std::span<const Word> words, std::wstring_view what, const std::wstring& value,
                  std::uint32_t* number) {
    std::wstring known;
    for (const Word& entry : words) {
        if (value == entry.word || value == std::to_wstring(entry.number)) {
            *number = entry.number;
            return std::nullopt;
        }
        known += (known.empty() ? L"" : L", ") + std::wstring(entry.word);
    }
    return WrongUsage(Quoted(value) + L" is no " + std::wstring(what) + L"; known: " + known);
}

}  // namespace

std::span<const PortField> PortFields() {
    return kFields;
}

const PortField* FindPortField(std::wstring_view name) {
    const auto found = std::find_if(std::begin(kFields), std::end(kFields),
                                    [&](const PortField& field) { return field.name == name; });
    return found == std::end(kFields) ? nullptr : found;
}

bool IsTcpPort(std::uint32_t number) {
    return number >= 1 && number <= std::numeric_limits<std::uint16_t>::max();
}

bool PrintsNothing(const CPortInfo& info, MonitorType type) {
    constexpr std::uint32_t kIdentityRequired = 1;
    return type == MonitorType::kIdPrint && info.SecureUserMode == kIdentityRequired;
}

Problem StoreField(const PortField& field, const std::wstring& value, MonitorType type,
                   CPortInfo* info) {
    if (field.change == FieldChange::kIdPrint && type != MonitorType::kIdPrint) {
        return WrongUsage(std::wstring(field.name) + L" is kept by the ID-print monitor only");
    }
    if (field.text == &CPortInfo::MacAddress && !value.empty() && !IsMacAddress(value)) {
        return WrongUsage(Quoted(value) + L" is no MAC address, which is 12 hexadecimal digits");
    }
    if (field.text != nullptr) {
        info->*field.text = value;
        return std::nullopt;
    }
    if (field.number == &CPortInfo::ProtocolID) {
        return ParseProtocol(value, &info->ProtocolID);
    }
    if (field.number == &CPortInfo::PrinterAddressType) {
        return ParseAddressType(value, &info->PrinterAddressType);
    }
    if (Problem problem = ParseNumber(field.name, value, &(info->*field.number)); problem) {
        return problem;
    }
    if (field.number != &CPortInfo::SecureUserMode && !IsTcpPort(info->*field.number)) {
        return WrongUsage(std::wstring(field.name) + L" is a TCP port, a number from 1 to 65535");
    }
    return std::nullopt;
}

bool SameValue(const PortField& field, const CPortInfo& left, const CPortInfo& right) {
    return field.text != nullptr ? left.*field.text == right.*field.text
                                 : left.*field.number == right.*field.number;
}

std::wstring ShownValue(const PortField& field, const CPortInfo& info) {
    if (field.text != nullptr) {
        return info.*field.text;
    }
    const std::uint32_t number = info.*field.number;
    std::wstring_view word;
    if (field.number == &CPortInfo::ProtocolID) {
        word = WordOf(kProtocols, number);
    } else if (field.number == &CPortInfo::PrinterAddressType) {
        word = WordOf(kAddressTypes, number);
    }
    return std::to_wstring(number) + (word.empty() ? L"" : L" (" + std::wstring(word) + L")");
}

void WriteFields(const CPortInfo& info, JsonWriter* json) {
    for (const PortField& field : kFields) {
        if (field.text != nullptr) {
            json->TextMember(field.name, info.*field.text);
        } else {
            json->NumberMember(field.name, info.*field.number);
        }
    }
}

std::wstring ProtocolWord(std::uint32_t protocol) {
    const std::wstring_view word = WordOf(kProtocols, protocol);
    return word.empty() ? std::to_wstring(protocol) : std::wstring(word);
}

Problem ParseProtocol(const std::wstring& value, std::uint32_t* protocol) {
    return ParseWord(kProtocols, L"protocol", value, protocol);
}

Problem ParseAddressType(const std::wstring& value, std::uint32_t* type) {
    return ParseWord(kAddressTypes, L"type of an address", value, type);
}

Problem ParseNumber(std::wstring_view what, const std::wstring& value, std::uint32_t* number) {
    constexpr std::uint64_t kMost = std::numeric_limits<std::uint32_t>::max();
    constexpr std::size_t kDigits = 10;
    const bool is_number =
        !value.empty() && value.size() <= kDigits &&
        std::all_of(value.begin(), value.end(), [](wchar_t c) { return c >= L'0' && c <= L'9'; });
    const std::uint64_t parsed = is_number ? std::stoull(value) : kMost + 1;
    if (parsed > kMost) {
        return WrongUsage(std::wstring(what) + L" is a number from 0 to " + std::to_wstring(kMost) +
                          L", not " + Quoted(value));
    }
    *number = static_cast<std::uint32_t>(parsed);
    return std::nullopt;
}

std::uint32_t PrintingPort(const CPortInfo& info, MonitorType type) {
    if (info.ProtocolID != static_cast<std::uint32_t>(ProtocolId::kRaw)) {
        return kLprPort;
    }
    return type == MonitorType::kIdPrint ? info.SecureRawPortNo : kRawPort;
}

}  // namespace ksp::ctl
