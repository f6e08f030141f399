#include "tools/host/real_registry.h"

namespace ksp::host {
namespace {

HKEY AsKey(HANDLE key) {
    return static_cast<HKEY>(key);
}

}  // namespace

LONG RealRegistry::CreateKey(HANDLE parent, LPCWSTR subkey, DWORD options, REGSAM access,
                             PSECURITY_ATTRIBUTES security, PHANDLE result, PDWORD disposition) {
    HKEY key = nullptr;
    const LONG code = RegCreateKeyExW(AsKey(parent), subkey, 0, nullptr, options, access, security,
                                      &key, disposition);
    if (code == ERROR_SUCCESS) {
        *result = key;
    }
    return code;
}

LONG RealRegistry::OpenKey(HANDLE parent, LPCWSTR subkey, REGSAM access, PHANDLE result) {
    HKEY key = nullptr;
    const LONG code = RegOpenKeyExW(AsKey(parent), subkey, 0, access, &key);
    if (code == ERROR_SUCCESS) {
        *result = key;
    }
    return code;
}

LONG RealRegistry::CloseKey(HANDLE key) {
    return RegCloseKey(AsKey(key));
}

LONG RealRegistry::DeleteKey(HANDLE parent, LPCWSTR subkey) {
    return RegDeleteKeyW(AsKey(parent), subkey);
}

LONG RealRegistry::EnumKey(HANDLE key, DWORD index, LPWSTR name, PDWORD name_size,
                           PFILETIME last_write) {
    return RegEnumKeyExW(AsKey(key), index, name, name_size, nullptr, nullptr, nullptr, last_write);
}

LONG RealRegistry::QueryInfoKey(HANDLE key, PDWORD subkeys, PDWORD longest_subkey, PDWORD values,
                                PDWORD longest_value_name, PDWORD longest_data,
                                PDWORD security_descriptor_size, PFILETIME last_write) {
    return RegQueryInfoKeyW(AsKey(key), nullptr, nullptr, nullptr, subkeys, longest_subkey, nullptr,
                            values, longest_value_name, longest_data, security_descriptor_size,
                            last_write);
}

LONG RealRegistry::SetValue(HANDLE key, LPCWSTR name, DWORD type, const BYTE* data, DWORD size) {
    return RegSetValueExW(AsKey(key), name, 0, type, data, size);
}

LONG RealRegistry::DeleteValue(HANDLE key, LPCWSTR name) {
    return RegDeleteValueW(AsKey(key), name);
}

LONG RealRegistry::EnumValue(HANDLE key, DWORD index, LPWSTR name, PDWORD name_size, PDWORD type,
                             PBYTE data, PDWORD size) {
    return RegEnumValueW(AsKey(key), index, name, name_size, nullptr, type, data, size);
}

LONG RealRegistry::QueryValue(HANDLE key, LPCWSTR name, PDWORD type, PBYTE data, PDWORD size) {
    return RegQueryValueExW(AsKey(key), name, nullptr, type, data, size);
}

}  // namespace ksp::host
