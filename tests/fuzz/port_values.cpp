#include <winsock2.h>

#include "tests/fuzz/port_values.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>

#include "tests/fuzz/mutation.h"

namespace ksp::test {

namespace {

constexpr DWORD kIdPrint = 2;
constexpr DWORD kRaw = 2;

bool CanBeKey(const std::wstring& name) {
    return !name.empty() && name.size() <= 255 && name.find(L'\\') == std::wstring::npos;
}

std::vector<std::wstring> Tokens(const std::wstring& text) {
    std::vector<std::wstring> tokens{L""};
    for (const wchar_t c : text) {
        if (c == L',') {
            tokens.emplace_back();
        } else {
            tokens.back() += c;
        }
    }
    return tokens;
}

// Leading digits behind blanks and a sign; beyond 32 bits it stays at the limit.
DWORD TokenNumber(const std::wstring& token) {
    std::string narrow;
    for (const wchar_t c : token) {
        // strtol is not shown what only another alphabet takes for a blank or a digit.
        narrow += c < 0x80 ? static_cast<char>(c) : 'x';
    }
    static_assert(sizeof(long) == sizeof(DWORD));
    return static_cast<DWORD>(std::strtol(narrow.c_str(), nullptr, 10));
}

std::wstring NoneIsEmpty(const std::wstring& token) {
    return token == L"NONE" ? L"" : token;
}

const wchar_t* DefaultQueue(DWORD protocol) {
    return protocol == kRaw ? L"" : L"KSPQueue";
}

std::wstring Widened(const std::string& text) {
    const int bytes = static_cast<int>(std::min(text.find('\0'), text.size()));
    std::wstring wide(static_cast<std::size_t>(bytes), L'\0');
    wide.resize(static_cast<std::size_t>(
        MultiByteToWideChar(CP_ACP, 0, text.data(), bytes, wide.data(), bytes)));
    return wide;
}

unsigned long DottedAddress(const std::wstring& text) {
    std::string narrow(text.size() * 4 + 1, '\0');
    WideCharToMultiByte(CP_ACP, 0, text.c_str(), -1, narrow.data(), static_cast<int>(narrow.size()),
                        nullptr, nullptr);
    return inet_addr(narrow.c_str());
}

bool IsDottedAddress(const std::wstring& text) {
    const unsigned long address = DottedAddress(text);
    return address != INADDR_NONE && address != INADDR_ANY;
}

DWORD AddressTypeOf(const std::wstring& address) {
    if (address.find(L"http://") != std::wstring::npos ||
        address.find(L"ipp://") != std::wstring::npos) {
        return 3;
    }
    return IsDottedAddress(address) ? 1 : 2;
}

// Behind the key's first occurrence, up to a colon that has no backslash before it and is not the
// first character.
std::wstring Value(const std::wstring& text, const std::wstring& key) {
    const auto at = text.find(key + L"=");
    std::wstring value;
    if (at == std::wstring::npos) {
        return value;
    }
    for (const wchar_t c : text.substr(at + key.size() + 1)) {
        if (c == L':' && !value.empty() && value.back() != L'\\') {
            break;
        }
        value += c;
    }
    return value;
}

bool FillSlot(XcvPortInfo::Text& slot, const std::wstring& text) {
    if (text.size() >= std::size(slot)) {
        return false;
    }
    std::transform(text.begin(), text.end(), std::begin(slot),
                   [](wchar_t c) { return static_cast<char16_t>(c); });
    return true;
}

std::wstring SlotText(const XcvPortInfo::Text& slot) {
    std::wstring text;
    for (const char16_t c : slot) {
        if (c == u'\0') {
            break;
        }
        text += static_cast<wchar_t>(c);
    }
    return text;
}

}  // namespace

std::wstring CommandText(std::string_view bytes) {
    const std::wstring text = WideText(bytes);
    return text.substr(0, text.find(L'\0'));
}

bool IsLoopbackAddress(const std::wstring& text) {
    const unsigned long address = DottedAddress(text);
    return address != INADDR_NONE && ntohl(address) >> 24 == 127;
}

std::optional<PortValues> AddPortValues(const std::wstring& text, DWORD monitor_type) {
    const std::vector<std::wstring> tokens = Tokens(text);
    if (tokens.size() < 12) {
        return std::nullopt;
    }
    PortValues port{.PortName = tokens[3],
                    .PrinterAddress = tokens[2],
                    .ProtocolID = TokenNumber(tokens[1]),
                    .PrinterAddressType = TokenNumber(tokens[7]),
                    .IpAddress = NoneIsEmpty(tokens[4]),
                    .SubnetMask = NoneIsEmpty(tokens[5]),
                    .MacAddress = NoneIsEmpty(tokens[6])};
    port.QueueName = DefaultQueue(port.ProtocolID);
    if (monitor_type == kIdPrint) {
        port.SecureUserMode = TokenNumber(tokens[8]);
        port.SecureRawPortNo = TokenNumber(tokens[9]);
        port.CheckPortNo = TokenNumber(tokens[10]);
        port.UserIdentityName = tokens[11];
    }
    const bool lacks_identity = port.SecureUserMode == 1 && port.UserIdentityName.empty();
    if (lacks_identity || port.ProtocolID > kRaw || !CanBeKey(port.PortName)) {
        return std::nullopt;
    }
    return port;
}

std::optional<PortValues> SilentValues(const std::string& bytes, const ProbedPrinter& printer,
                                       DWORD& code) {
    const std::wstring text = Widened(bytes);
    const std::wstring address = Value(text, L"AR");
    const std::wstring protocol = Value(text, L"PR");
    code = ERROR_INVALID_PARAMETER;
    PortValues port{.PrinterAddress = address, .SubnetMask = Value(text, L"SN")};
    if (protocol == L"RAW") {
        port.ProtocolID = kRaw;
    } else if (protocol == L"XLPR") {
        port.ProtocolID = 1;
    } else if (protocol != L"LPR") {
        return std::nullopt;
    }
    if (address.empty()) {
        return std::nullopt;
    }
    port.QueueName = DefaultQueue(port.ProtocolID);
    const bool is_known = address == printer.address;
    port.MacAddress = Value(text, L"MA");
    if (port.MacAddress.empty() && is_known) {
        port.MacAddress = printer.mac;
    }
    if (const std::wstring host = Value(text, L"DP"); !host.empty()) {
        port.PrinterAddress = host;
        port.IpAddress = address;
        port.PrinterAddressType = 4;
    } else {
        port.IpAddress = Value(text, L"XX");
        port.PrinterAddressType = AddressTypeOf(address);
    }
    std::wstring model = Value(text, L"MN");
    if (model.empty() && is_known) {
        model = printer.name;
    }
    port.PortName = Value(text, L"PN");
    if (port.PortName.empty()) {
        port.PortName = port.PrinterAddress + L":" + model;
    }
    code = CanBeKey(port.PortName) ? ERROR_SUCCESS : ERROR_INVALID_DATA;
    return code == ERROR_SUCCESS ? std::optional(port) : std::nullopt;
}

std::optional<PortValues> ConfiguredValues(PortValues port, const XcvPortInfo& record,
                                           DWORD monitor_type) {
    if (record.ProtocolID > kRaw) {
        return std::nullopt;
    }
    port.ProtocolID = record.ProtocolID;
    port.PrinterAddress = SlotText(record.PrinterAddress);
    port.QueueName = SlotText(record.QueueName);
    if (monitor_type == kIdPrint) {
        port.SecureUserMode = record.SecureUserMode;
        port.SecureRawPortNo = record.SecureRawPortNo;
        port.CheckPortNo = record.CheckPortNo;
        port.UserIdentityName = SlotText(record.UserIdentityName);
    }
    return port;
}

std::wstring NumberText(DWORD number) {
    constexpr wchar_t kDigits[] = L"0123456789ABCDEF";
    std::wstring text = L"#";
    for (int shift = 28; shift >= 0; shift -= 4) {
        text += kDigits[number >> shift & 0xF];
    }
    return text;
}

StoredValues InRegistry(const PortValues& port, DWORD monitor_type) {
    StoredValues values = {{L"PrinterAddress", port.PrinterAddress},
                           {L"QueueName", port.QueueName},
                           {L"ProtocolID", NumberText(port.ProtocolID)},
                           {L"PrinterAddressType", NumberText(port.PrinterAddressType)},
                           {L"IpAddress", port.IpAddress},
                           {L"SubnetMask", port.SubnetMask},
                           {L"MacAddress", port.MacAddress}};
    if (monitor_type == kIdPrint) {
        values[L"SecureUserMode"] = NumberText(port.SecureUserMode);
        values[L"SecureRawPortNo"] = NumberText(port.SecureRawPortNo);
        values[L"CheckPortNo"] = NumberText(port.CheckPortNo);
        values[L"UserIdentityName"] = port.UserIdentityName;
    }
    return values;
}

std::optional<XcvPortInfo> InRecord(const PortValues& port, DWORD monitor_type) {
    XcvPortInfo record{};
    if (!FillSlot(record.PortName, port.PortName) ||
        !FillSlot(record.PrinterAddress, port.PrinterAddress) ||
        !FillSlot(record.QueueName, port.QueueName) ||
        !FillSlot(record.IpAddress, port.IpAddress) ||
        !FillSlot(record.SubnetMask, port.SubnetMask) ||
        !FillSlot(record.MacAddress, port.MacAddress) ||
        !FillSlot(record.ProxyServer, port.ProxyServer) ||
        !FillSlot(record.UserIdentityName, port.UserIdentityName)) {
        return std::nullopt;
    }
    record.ProtocolID = port.ProtocolID;
    record.PrinterAddressType = port.PrinterAddressType;
    record.PortNumber = port.ProtocolID != kRaw    ? 515
                        : monitor_type == kIdPrint ? port.SecureRawPortNo
                                                   : 9100;
    record.ProxyPort = port.ProxyPort;
    record.SecureUserMode = port.SecureUserMode;
    record.SecureRawPortNo = port.SecureRawPortNo;
    record.CheckPortNo = port.CheckPortNo;
    return record;
}

}  // namespace ksp::test
