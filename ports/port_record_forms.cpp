#include "ports/port_record_forms.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace ksp {

namespace {

constexpr wchar_t kNone[] = L"NONE";

std::wstring TextOrNone(const std::wstring& token) {
    return token == kNone ? std::wstring() : token;
}

bool IsBlank(wchar_t c) {
    return c == L' ' || (c >= L'\t' && c <= L'\r');
}
bool IsDigit(wchar_t c) {
    return c >= L'0' && c <= L'9';
}

std::wstring SlotText(const XcvPortInfo::Text& slot) {
    const auto* const end = std::find(std::begin(slot), std::end(slot), u'\0');
    return std::wstring(std::begin(slot), end);
}

[[nodiscard]] bool FillSlot(const std::wstring& text, XcvPortInfo::Text& slot) {
    if (text.size() >= XcvPortInfo::kSlot) {
        return false;
    }
    std::transform(text.begin(), text.end(), std::begin(slot),
                   [](wchar_t c) { return static_cast<char16_t>(c); });
    return true;
}

}  // namespace

std::size_t SplitAt(std::wstring_view text, wchar_t separator, std::vector<std::wstring>& pieces) {
    std::size_t count = 1;
    std::size_t start = 0;
    for (auto end = text.find(separator); end != std::wstring_view::npos;
         end = text.find(separator, start)) {
        pieces.emplace_back(text.substr(start, end - start));
        start = end + 1;
        ++count;
    }
    pieces.emplace_back(text.substr(start));
    return count;
}

std::uint32_t LeadingNumber(std::wstring_view text) {
    constexpr std::int64_t kMost = std::numeric_limits<std::int32_t>::max();
    std::size_t position = 0;
    while (position < text.size() && IsBlank(text[position])) {
        ++position;
    }
    bool negative = false;
    if (position < text.size() && (text[position] == L'-' || text[position] == L'+')) {
        negative = text[position++] == L'-';
    }
    std::int64_t value = 0;
    for (; position < text.size() && IsDigit(text[position]); ++position) {
        // One beyond the positive limit is the negative one.
        value = std::min(value * 10 + (text[position] - L'0'), kMost + 1);
    }
    value = negative ? -value : std::min(value, kMost);
    return static_cast<std::uint32_t>(value);
}

void StoreAddPortTokens(const std::vector<std::wstring>& tokens, CPortInfo& info) {
    info.PortName = tokens[0];
    info.ProtocolID = LeadingNumber(tokens[1]);
    info.PrinterAddress = tokens[2];
    info.PortName = tokens[3];
    info.IpAddress = TextOrNone(tokens[4]);
    info.SubnetMask = TextOrNone(tokens[5]);
    info.MacAddress = TextOrNone(tokens[6]);
    info.PrinterAddressType = LeadingNumber(tokens[7]);
    info.SecureUserMode = LeadingNumber(tokens[8]);
    info.SecureRawPortNo = LeadingNumber(tokens[9]);
    info.CheckPortNo = LeadingNumber(tokens[10]);
    info.UserIdentityName = tokens[11];
}

void ReadRecord(const XcvPortInfo& record, CPortInfo& info) {
    info.PortName = SlotText(record.PortName);
    info.PrinterAddress = SlotText(record.PrinterAddress);
    info.QueueName = SlotText(record.QueueName);
    info.ProtocolID = record.ProtocolID;
    info.PortNumber = record.PortNumber;
    info.PrinterAddressType = record.PrinterAddressType;
    info.IpAddress = SlotText(record.IpAddress);
    info.SubnetMask = SlotText(record.SubnetMask);
    info.MacAddress = SlotText(record.MacAddress);
    info.ProxyServer = SlotText(record.ProxyServer);
    info.ProxyPort = record.ProxyPort;
    info.SecureUserMode = record.SecureUserMode;
    info.SecureRawPortNo = record.SecureRawPortNo;
    info.UserIdentityName = SlotText(record.UserIdentityName);
    info.CheckPortNo = record.CheckPortNo;
}

bool FillRecord(const CPortInfo& info, XcvPortInfo& record) {
    std::memset(&record, 0, sizeof(record));
    if (!FillSlot(info.PortName, record.PortName) ||
        !FillSlot(info.PrinterAddress, record.PrinterAddress) ||
        !FillSlot(info.QueueName, record.QueueName) ||
        !FillSlot(info.IpAddress, record.IpAddress) ||
        !FillSlot(info.SubnetMask, record.SubnetMask) ||
        !FillSlot(info.MacAddress, record.MacAddress) ||
        !FillSlot(info.ProxyServer, record.ProxyServer) ||
        !FillSlot(info.UserIdentityName, record.UserIdentityName)) {
        return false;
    }
    record.ProtocolID = info.ProtocolID;
    record.PortNumber = info.PortNumber;
    record.PrinterAddressType = info.PrinterAddressType;
    record.ProxyPort = info.ProxyPort;
    record.SecureUserMode = info.SecureUserMode;
    record.SecureRawPortNo = info.SecureRawPortNo;
    record.CheckPortNo = info.CheckPortNo;
    return true;
}

bool IsPortNameValid(std::wstring_view name) {
    constexpr std::size_t kLongestKeyName = 255;
    return !name.empty() && name.size() <= kLongestKeyName &&
           name.find(L'\\') == std::wstring_view::npos;
}

}  // namespace ksp
