#include "snmp/library_settings.h"

#include <windows.h>

#include <vector>

namespace ksp::snmp {

namespace {

constexpr wchar_t kKey[] = L"SOFTWARE\\Kestrel\\SNMP Discovery";

std::optional<DWORD> ReadNumber(const wchar_t* name) noexcept {
    DWORD number = 0;
    DWORD size = sizeof(number);
    if (::RegGetValueW(HKEY_LOCAL_MACHINE, kKey, name, RRF_RT_REG_DWORD, nullptr, &number, &size) !=
        ERROR_SUCCESS) {
        return std::nullopt;
    }
    return number;
}

// In UTF-8; none when there is no text, or a longer one than any community name.
std::optional<std::string> ReadText(const wchar_t* name) {
    wchar_t text[256] = {};
    DWORD size = sizeof(text);
    if (::RegGetValueW(HKEY_LOCAL_MACHINE, kKey, name, RRF_RT_REG_SZ, nullptr, text, &size) !=
        ERROR_SUCCESS) {
        return std::nullopt;
    }
    char narrow[1024] = {};
    const int length =
        ::WideCharToMultiByte(CP_UTF8, 0, text, -1, narrow, sizeof(narrow), nullptr, nullptr);
    if (length <= 1) {
        return std::nullopt;
    }
    return std::string(narrow, static_cast<std::size_t>(length) - 1);
}

}  // namespace

CLibrarySettings ReadLibrarySettings() {
    CLibrarySettings settings;
    if (auto community = ReadText(L"Community"); community) {
        settings.access.community = std::move(*community);
    }
    const DWORD version = ReadNumber(L"Version").value_or(0);
    if (version == 1) {
        settings.access.versions = VersionChoice::k1;
    } else if (version == 2) {
        settings.access.versions = VersionChoice::k2c;
    }
    const DWORD port = ReadNumber(L"Port").value_or(0);
    if (port > 0 && port <= 0xFFFF) {
        settings.access.port = static_cast<std::uint16_t>(port);
    }
    settings.searchLoopback = ReadNumber(L"SearchLoopback").value_or(0) != 0;
    return settings;
}

}  // namespace ksp::snmp
