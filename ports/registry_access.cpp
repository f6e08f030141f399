#include "ports/registry_access.h"

namespace ksp {

namespace {

HKEY AsKey(HANDLE handle) noexcept {
    return static_cast<HKEY>(handle);
}
BYTE* AsBytes(void* data) noexcept {
    return static_cast<BYTE*>(data);
}
const BYTE* AsBytes(const void* data) noexcept {
    return static_cast<const BYTE*>(data);
}

}  // namespace

void CRegistryAccess::SetMonitorInit(const MONITORINIT* init) noexcept {
    m_functions.reset();
    m_spooler = nullptr;
    m_root = nullptr;
    if (init == nullptr) {
        return;
    }
    m_root = init->hckRegistryRoot;
    m_spooler = init->hSpooler;
    if (init->pMonitorReg != nullptr) {
        m_functions = *init->pMonitorReg;
    }
}

LONG CRegistryAccess::CreateKey(HANDLE parent, const wchar_t* name, REGSAM access, HANDLE* key) {
    const CAutoLogCritSec guard(&m_lock);
    if (m_functions) {
        DWORD disposition = 0;
        return m_functions->fpCreateKey(parent != nullptr ? parent : m_root, name, 0, access,
                                        nullptr, key, &disposition, m_spooler);
    }
    if (parent == nullptr) {
        return ERROR_INVALID_HANDLE;
    }
    HKEY created = nullptr;
    const LONG result =
        ::RegCreateKeyExW(AsKey(parent), name, 0, nullptr, 0, access, nullptr, &created, nullptr);
    *key = created;
    return result;
}

LONG CRegistryAccess::OpenKey(HANDLE parent, const wchar_t* name, REGSAM access, HANDLE* key) {
    const CAutoLogCritSec guard(&m_lock);
    if (parent == nullptr) {
        return ERROR_INVALID_HANDLE;
    }
    if (m_functions) {
        return m_functions->fpOpenKey(parent, name, access, key, m_spooler);
    }
    HKEY opened = nullptr;
    const LONG result = ::RegOpenKeyExW(AsKey(parent), name, 0, access, &opened);
    *key = opened;
    return result;
}

LONG CRegistryAccess::CloseKey(HANDLE key) {
    const CAutoLogCritSec guard(&m_lock);
    if (key == nullptr) {
        return ERROR_INVALID_HANDLE;
    }
    return m_functions ? m_functions->fpCloseKey(key, m_spooler) : ::RegCloseKey(AsKey(key));
}

LONG CRegistryAccess::DeleteKey(HANDLE parent, const wchar_t* name) {
    const CAutoLogCritSec guard(&m_lock);
    if (parent == nullptr) {
        return ERROR_INVALID_HANDLE;
    }
    return m_functions ? m_functions->fpDeleteKey(parent, name, m_spooler)
                       : ::RegDeleteKeyW(AsKey(parent), name);
}

LONG CRegistryAccess::EnumKey(HANDLE key, DWORD index, wchar_t* name, DWORD* length,
                              FILETIME* lastWrite) {
    const CAutoLogCritSec guard(&m_lock);
    if (key == nullptr) {
        return ERROR_INVALID_HANDLE;
    }
    return m_functions ? m_functions->fpEnumKey(key, index, name, length, lastWrite, m_spooler)
                       : ::RegEnumKeyExW(AsKey(key), index, name, length, nullptr, nullptr, nullptr,
                                         lastWrite);
}

LONG CRegistryAccess::QueryValueCount(HANDLE key, DWORD* count) {
    const CAutoLogCritSec guard(&m_lock);
    if (key == nullptr) {
        return ERROR_INVALID_HANDLE;
    }
    if (m_functions) {
        // Not every spooler takes null for what is not asked.
        DWORD unused = 0;
        FILETIME lastWrite{};
        return m_functions->fpQueryInfoKey(key, &unused, &unused, count, &unused, &unused, &unused,
                                           &lastWrite, m_spooler);
    }
    return ::RegQueryInfoKeyW(AsKey(key), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                              count, nullptr, nullptr, nullptr, nullptr);
}

LONG CRegistryAccess::SetValue(HANDLE key, const wchar_t* name, DWORD type, const void* data,
                               DWORD size) {
    const CAutoLogCritSec guard(&m_lock);
    if (key == nullptr) {
        return ERROR_INVALID_HANDLE;
    }
    return m_functions ? m_functions->fpSetValue(key, name, type, AsBytes(data), size, m_spooler)
                       : ::RegSetValueExW(AsKey(key), name, 0, type, AsBytes(data), size);
}

LONG CRegistryAccess::EnumValue(HANDLE key, DWORD index, wchar_t* name, DWORD* length, DWORD* type,
                                void* data, DWORD* size) {
    const CAutoLogCritSec guard(&m_lock);
    if (key == nullptr) {
        return ERROR_INVALID_HANDLE;
    }
    return m_functions ? m_functions->fpEnumValue(key, index, name, length, type, AsBytes(data),
                                                  size, m_spooler)
                       : ::RegEnumValueW(AsKey(key), index, name, length, nullptr, type,
                                         AsBytes(data), size);
}

LONG CRegistryAccess::QueryValue(HANDLE key, const wchar_t* name, DWORD* type, void* data,
                                 DWORD* size) {
    const CAutoLogCritSec guard(&m_lock);
    if (key == nullptr) {
        return ERROR_INVALID_HANDLE;
    }
    return m_functions ? m_functions->fpQueryValue(key, name, type, AsBytes(data), size, m_spooler)
                       : ::RegQueryValueExW(AsKey(key), name, nullptr, type, AsBytes(data), size);
}

}  // namespace ksp
