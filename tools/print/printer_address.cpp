#include "tools/print/printer_address.h"

#include <algorithm>

namespace ksp::print {
namespace {

constexpr size_t kLongestHostName = 253;  // RFC 1035, section 2.3.4
constexpr int kLargestOctet = 255;
constexpr int kOctets = 4;

bool IsDigit(wchar_t character) {
    return character >= L'0' && character <= L'9';
}

bool IsHostCharacter(wchar_t character) {
    return IsDigit(character) || (character >= L'a' && character <= L'z') ||
           (character >= L'A' && character <= L'Z') || character == L'-' || character == L'.' ||
           character == L'_';
}

bool IsDigitOrDot(wchar_t character) {
    return IsDigit(character) || character == L'.';
}

bool IsOctet(const std::wstring& text) {
    return !text.empty() && text.size() <= 3 && std::all_of(text.begin(), text.end(), IsDigit) &&
           std::stoi(text) <= kLargestOctet;
}

}  // namespace

bool IsDottedAddress(const std::wstring& text) {
    size_t start = 0;
    for (int octet = 1; octet <= kOctets; ++octet) {
        const size_t end = text.find(L'.', start);
        if ((end == std::wstring::npos) != (octet == kOctets) ||
            !IsOctet(text.substr(start, end - start))) {
            return false;
        }
        start = end + 1;
    }
    return true;
}

std::wstring CheckPrinterAddress(const std::wstring& text) {
    if (IsDottedAddress(text)) {
        return L"";
    }
    if (text.find(L':') != std::wstring::npos) {
        return L"\"" + text +
               L"\" names a port; it follows from the protocol (raw: 9100), give the address alone";
    }
    const bool is_host_name = !text.empty() && text.size() <= kLongestHostName &&
                              text.front() != L'-' && text.front() != L'.' &&
                              std::all_of(text.begin(), text.end(), IsHostCharacter) &&
                              !std::all_of(text.begin(), text.end(), IsDigitOrDot);
    return is_host_name ? L"" : L"\"" + text + L"\" is no IPv4 address and no host name";
}

}  // namespace ksp::print
