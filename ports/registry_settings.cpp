#include "ports/registry_store.h"

#include <algorithm>
#include <new>

#include "support/log.h"
#include "support/windows_handles.h"

namespace ksp {

namespace {

constexpr DWORD kBuffer = 261;  // characters of a value's name and of its data, when enumerated
constexpr wchar_t kSpoolSettingsPath[] = L"SYSTEM\\CurrentControlSet\\Control\\Print\\Printers";
constexpr wchar_t kNotifierPath[] = L"SOFTWARE\\TAVRIN\\PNOTIFY";
constexpr wchar_t kUserIdentityPath[] = L"Software\\Kestrel\\Confirmation Print";
constexpr wchar_t kSubnet[] = L"subnet";

std::optional<CSubnet> SubnetOf(const std::wstring& text) {
    const auto separator = text.find(L';');
    if (separator == std::wstring::npos) {
        return std::nullopt;
    }
    return CSubnet{text.substr(0, separator), text.substr(separator + 1)};
}

}  // namespace

std::wstring CRegistryStore::ReadText(const wchar_t* name, const wchar_t* otherwise) const {
    return m_softwareKey.ReadText(name).value_or(otherwise);
}

std::wstring CRegistryStore::GetLogDirectory() {
    return ReadText(L"LogDirectory", L"C:\\Kestrel Print");
}

std::wstring CRegistryStore::GetLogFileName() {
    return ReadText(L"LogFileName", L"log.txt");
}

std::wstring CRegistryStore::GetExeDirectory() {
    return ReadText(L"ExeDirectory", L"");
}

std::wstring CRegistryStore::GetLprDirectory() {
    if (auto directory = m_softwareKey.ReadText(L"LPRDirectory"); directory) {
        return *std::move(directory);
    }
    CRegistryKey key;
    if (key.Open(m_access, HKEY_LOCAL_MACHINE, kSpoolSettingsPath, KEY_READ) != ERROR_SUCCESS) {
        return std::wstring();
    }
    return key.ReadText(L"DefaultSpoolDirectory").value_or(std::wstring());
}

std::optional<std::uint32_t> CRegistryStore::ReadSetting(const wchar_t* name) {
    return m_softwareKey.ReadDword(name);
}

bool CRegistryStore::WriteSetting(const wchar_t* name, std::uint32_t value) {
    return m_softwareKey.WriteDword(name, value) == ERROR_SUCCESS;
}

void CRegistryStore::LoadSubnetList(std::vector<CSubnet>& list) {
    if (!list.empty()) {
        Log(LogLevel::kError, L"SubnetList is not Empty");
    }
    CRegistryKey key;
    if (key.Open(m_access, m_softwareKey.Get(), kSubnet, KEY_READ) != ERROR_SUCCESS) {
        Log(LogLevel::kInfo, L"Unable to open key ( %s )", kSubnet);
        return;
    }
    DWORD count = 0;
    if (const LONG result = m_access.QueryValueCount(key.Get(), &count); result != ERROR_SUCCESS) {
        Log(LogLevel::kError, L"Unable to query info key ( %s, %d )", kSubnet, result);
        return;
    }
    for (DWORD index = 0; index < count; ++index) {
        try {
            const std::wstring name = kSubnet + std::to_wstring(index);
            const auto text = key.ReadText(name.c_str());
            if (!text) {
                Log(LogLevel::kError, L"Unable to get subnetvalue ( %s )", name.c_str());
                return;
            }
            if (auto subnet = SubnetOf(*text); subnet) {
                list.push_back(*std::move(subnet));
            }
        } catch (const std::bad_alloc&) {
            Log(LogLevel::kError, L"Error Memory Allocate.");
            return;
        }
    }
}

// Outside the access layer: the hive is that of the user whom the calling thread impersonates, and
// no spooler function opens it.
std::optional<std::wstring> CRegistryStore::GetUserIdentity() {
    UniqueRegistryKey hive;
    if (const LONG result = ::RegOpenCurrentUser(KEY_READ, hive.Receive());
        result != ERROR_SUCCESS) {
        Log(LogLevel::kError, L"RegOpenCurrentUser error. (%ld)", result);
        return std::nullopt;
    }
    UniqueRegistryKey key;
    if (const LONG result =
            ::RegOpenKeyExW(hive.Get(), kUserIdentityPath, 0, KEY_READ, key.Receive());
        result != ERROR_SUCCESS) {
        Log(LogLevel::kError, L"Unable to open user identity reg. (%ld)", result);
        return std::nullopt;
    }
    DWORD type = REG_NONE;
    DWORD size = 0;
    if (::RegQueryValueExW(key.Get(), L"CONFIRM_KEY", nullptr, &type, nullptr, &size) !=
            ERROR_SUCCESS ||
        type != REG_SZ) {
        return std::nullopt;
    }
    std::vector<BYTE> data(size);
    if (::RegQueryValueExW(key.Get(), L"CONFIRM_KEY", nullptr, &type, data.data(), &size) !=
            ERROR_SUCCESS ||
        type != REG_SZ) {
        return std::nullopt;
    }
    // The value is the user's own and can change between the two calls, also from none to some.
    return TextOfValue(data.data(), std::min<std::size_t>(size, data.size()));
}

int CRegistryStore::GetNotifierCommand(std::wstring& command) {
    CRegistryKey key;
    if (key.Open(m_access, HKEY_LOCAL_MACHINE, kNotifierPath, KEY_READ) != ERROR_SUCCESS) {
        return 0;
    }
    for (DWORD index = 0;; ++index) {
        wchar_t name[kBuffer] = {};
        wchar_t data[kBuffer] = {};
        DWORD length = kBuffer;
        DWORD type = REG_NONE;
        DWORD size = sizeof(data);
        const LONG result =
            m_access.EnumValue(key.Get(), index, name, &length, &type, data, &size);
        if (result == ERROR_MORE_DATA) {
            continue;  // too long for a command; the one that is looked for may follow
        }
        if (result != ERROR_SUCCESS) {
            return 0;
        }
        name[kBuffer - 1] = L'\0';
        if (std::wstring_view(name).find(L"NAME") != std::wstring_view::npos) {
            if (type != REG_SZ && type != REG_EXPAND_SZ) {
                return 0;
            }
            command = TextOfValue(data, std::min<std::size_t>(size, sizeof(data)));
            return 1;
        }
    }
}

}  // namespace ksp
