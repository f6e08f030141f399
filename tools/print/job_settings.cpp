#include "tools/print/job_settings.h"

#include <algorithm>
#include <limits>

#include "tools/print/printer_address.h"

namespace ksp::print {
namespace {

constexpr std::wstring_view kNames[] = {L"WaitServerReplyTimeout", L"WaitStatusReplyTimeout",
                                        L"WaitPrinterValueTimeout", L"MaxFileSize"};

std::wstring KnownNames() {
    std::wstring names;
    for (const std::wstring_view name : kNames) {
        names += (names.empty() ? L"" : L", ") + std::wstring(name);
    }
    return names;
}

}  // namespace

std::span<const std::wstring_view> JobSettingNames() {
    return kNames;
}

std::wstring TakeSetting(const std::wstring& text, JobSettings* settings) {
    constexpr std::size_t kDigits = 10;
    constexpr std::uint64_t kMost = std::numeric_limits<std::uint32_t>::max();
    const auto equals = text.find(L'=');
    const std::wstring name = text.substr(0, equals);
    if (std::find(std::begin(kNames), std::end(kNames), name) == std::end(kNames)) {
        return L"\"" + name + L"\" is no setting of a job; known: " + KnownNames();
    }
    const std::wstring value = equals == std::wstring::npos ? L"" : text.substr(equals + 1);
    const bool is_number =
        !value.empty() && value.size() <= kDigits &&
        std::all_of(value.begin(), value.end(), [](wchar_t c) { return c >= L'0' && c <= L'9'; });
    const std::uint64_t number = is_number ? std::stoull(value) : kMost + 1;
    if (number > kMost) {
        return name + L" is a number, as in " + name + L"=5, not \"" + value + L"\"";
    }
    settings->numbers[name] = static_cast<std::uint32_t>(number);
    return L"";
}

std::wstring TakeNetwork(const std::wstring& text, JobSettings* settings) {
    const auto separator = text.find(L';');
    if (separator == std::wstring::npos || !IsDottedAddress(text.substr(0, separator)) ||
        !IsDottedAddress(text.substr(separator + 1))) {
        return L"\"" + text + L"\" is no network; one is 10.1.0.0;255.255.0.0";
    }
    settings->networks.push_back(text);
    return L"";
}

}  // namespace ksp::print
