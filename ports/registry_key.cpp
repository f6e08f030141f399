#include "ports/registry_key.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace ksp {

std::uint64_t NumberOf(const FILETIME& time) noexcept {
    return (static_cast<std::uint64_t>(time.dwHighDateTime) << 32) | time.dwLowDateTime;
}

std::wstring TextOfValue(const void* bytes, std::size_t size) {
    std::wstring text(size / sizeof(wchar_t), L'\0');
    if (!text.empty()) {
        std::memcpy(text.data(), bytes, text.size() * sizeof(wchar_t));
    }
    text.resize(std::wcslen(text.c_str()));
    return text;
}

CRegistryKey& CRegistryKey::operator=(CRegistryKey&& other) noexcept {
    if (this != &other) {
        Close();
        m_access = std::exchange(other.m_access, nullptr);
        m_key = std::exchange(other.m_key, nullptr);
    }
    return *this;
}

LONG CRegistryKey::Create(CRegistryAccess& access, HANDLE parent, const wchar_t* name,
                          REGSAM rights) {
    Close();
    HANDLE key = nullptr;
    const LONG result = access.CreateKey(parent, name, rights, &key);
    if (result == ERROR_SUCCESS) {
        m_access = &access;
        m_key = key;
    }
    return result;
}

LONG CRegistryKey::Open(CRegistryAccess& access, HANDLE parent, const wchar_t* name,
                        REGSAM rights) {
    Close();
    HANDLE key = nullptr;
    const LONG result = access.OpenKey(parent, name, rights, &key);
    if (result == ERROR_SUCCESS) {
        m_access = &access;
        m_key = key;
    }
    return result;
}

LONG CRegistryKey::Close() noexcept {
    const HANDLE key = std::exchange(m_key, nullptr);
    if (key == nullptr) {
        return ERROR_SUCCESS;
    }
    try {
        return m_access->CloseKey(key);
    } catch (...) {
        return ERROR_INVALID_HANDLE;
    }
}

std::optional<std::uint32_t> CRegistryKey::ReadDword(const wchar_t* name) const {
    if (m_key == nullptr) {
        return std::nullopt;
    }
    DWORD value = 0;
    DWORD type = REG_NONE;
    DWORD size = sizeof(value);
    if (m_access->QueryValue(m_key, name, &type, &value, &size) != ERROR_SUCCESS ||
        type != REG_DWORD || size != sizeof(value)) {
        return std::nullopt;
    }
    return value;
}

std::optional<std::wstring> CRegistryKey::ReadText(const wchar_t* name) const {
    if (m_key == nullptr) {
        return std::nullopt;
    }
    // Most texts fit here, so that reading a port costs one call a value and no allocation but its
    // texts.
    wchar_t inPlace[256];
    std::vector<BYTE> large;
    void* data = inPlace;
    DWORD type = REG_NONE;
    DWORD size = sizeof(inPlace);
    std::size_t room = size;
    LONG result = m_access->QueryValue(m_key, name, &type, data, &size);
    // The value can grow between two calls; a writer that keeps doing so is not waited for.
    for (int attempt = 0; result == ERROR_MORE_DATA && type == REG_SZ && attempt < 3; ++attempt) {
        large.resize(size);
        data = large.data();
        room = large.size();
        result = m_access->QueryValue(m_key, name, &type, data, &size);
    }
    if (result != ERROR_SUCCESS || type != REG_SZ) {
        return std::nullopt;
    }
    // A spooler's function may claim more than it was given room for.
    return TextOfValue(data, std::min<std::size_t>(size, room));
}

LONG CRegistryKey::EnumSubkey(DWORD index, CSubkey& subkey) const {
    if (m_key == nullptr) {
        return ERROR_INVALID_HANDLE;
    }
    DWORD length = CSubkey::kRoom;
    FILETIME lastWrite{};
    subkey.name[0] = L'\0';
    if (const LONG result = m_access->EnumKey(m_key, index, subkey.name, &length, &lastWrite);
        result != ERROR_SUCCESS) {
        return result;
    }
    subkey.name[CSubkey::kRoom - 1] = L'\0';
    subkey.lastWrite = NumberOf(lastWrite);
    return ERROR_SUCCESS;
}

LONG CRegistryKey::WriteDword(const wchar_t* name, std::uint32_t value) const {
    return m_key != nullptr ? m_access->SetValue(m_key, name, REG_DWORD, &value, sizeof(value))
                            : ERROR_INVALID_HANDLE;
}

LONG CRegistryKey::WriteText(const wchar_t* name, const std::wstring& text) const {
    return m_key != nullptr ? m_access->SetValue(m_key, name, REG_SZ, text.data(),
                                                 static_cast<DWORD>(text.size() * sizeof(wchar_t)))
                            : ERROR_INVALID_HANDLE;
}

LONG CRegistryKey::WriteBinary(const wchar_t* name, const void* data, DWORD size) const {
    return m_key != nullptr ? m_access->SetValue(m_key, name, REG_BINARY, data, size)
                            : ERROR_INVALID_HANDLE;
}

}  // namespace ksp
