#include "tools/host/monitor_registry.h"

namespace ksp::host {
namespace {

// No exception may reach the monitor through a C function pointer.
template <typename Operation>
LONG Forward(HANDLE spooler, Operation operation) {
    if (spooler == nullptr) {
        return ERROR_INVALID_HANDLE;
    }
    try {
        return operation(*static_cast<MonitorRegistry*>(spooler));
    } catch (...) {
        return ERROR_OUTOFMEMORY;
    }
}

// The published headers disagree about the key type (HANDLE in some, HKEYMONITOR in others), so the
// functions take whichever type the MONITORREG slot they are assigned to asks for.

template <typename Key>
LONG WINAPI CreateKey(Key parent, LPCWSTR subkey, DWORD options, REGSAM access,
                      PSECURITY_ATTRIBUTES security, Key* result, PDWORD disposition,
                      HANDLE spooler) {
    return Forward(spooler, [&](MonitorRegistry& registry) {
        HANDLE key = nullptr;
        const LONG code =
            registry.CreateKey(parent, subkey, options, access, security, &key, disposition);
        if (code == ERROR_SUCCESS) {
            *result = static_cast<Key>(key);
        }
        return code;
    });
}

template <typename Key>
LONG WINAPI OpenKey(Key parent, LPCWSTR subkey, REGSAM access, Key* result, HANDLE spooler) {
    return Forward(spooler, [&](MonitorRegistry& registry) {
        HANDLE key = nullptr;
        const LONG code = registry.OpenKey(parent, subkey, access, &key);
        if (code == ERROR_SUCCESS) {
            *result = static_cast<Key>(key);
        }
        return code;
    });
}

template <typename Key>
LONG WINAPI CloseKey(Key key, HANDLE spooler) {
    return Forward(spooler, [&](MonitorRegistry& registry) { return registry.CloseKey(key); });
}

template <typename Key>
LONG WINAPI DeleteKey(Key parent, LPCWSTR subkey, HANDLE spooler) {
    return Forward(spooler,
                   [&](MonitorRegistry& registry) { return registry.DeleteKey(parent, subkey); });
}

template <typename Key>
LONG WINAPI EnumKey(Key key, DWORD index, LPWSTR name, PDWORD name_size, PFILETIME last_write,
                    HANDLE spooler) {
    return Forward(spooler, [&](MonitorRegistry& registry) {
        return registry.EnumKey(key, index, name, name_size, last_write);
    });
}

template <typename Key>
LONG WINAPI QueryInfoKey(Key key, PDWORD subkeys, PDWORD longest_subkey, PDWORD values,
                         PDWORD longest_value_name, PDWORD longest_data,
                         PDWORD security_descriptor_size, PFILETIME last_write, HANDLE spooler) {
    return Forward(spooler, [&](MonitorRegistry& registry) {
        return registry.QueryInfoKey(key, subkeys, longest_subkey, values, longest_value_name,
                                     longest_data, security_descriptor_size, last_write);
    });
}

template <typename Key>
LONG WINAPI SetValue(Key key, LPCWSTR name, DWORD type, const BYTE* data, DWORD size,
                     HANDLE spooler) {
    return Forward(spooler, [&](MonitorRegistry& registry) {
        return registry.SetValue(key, name, type, data, size);
    });
}

template <typename Key>
LONG WINAPI DeleteValue(Key key, LPCWSTR name, HANDLE spooler) {
    return Forward(spooler,
                   [&](MonitorRegistry& registry) { return registry.DeleteValue(key, name); });
}

template <typename Key>
LONG WINAPI EnumValue(Key key, DWORD index, LPWSTR name, PDWORD name_size, PDWORD type, PBYTE data,
                      PDWORD size, HANDLE spooler) {
    return Forward(spooler, [&](MonitorRegistry& registry) {
        return registry.EnumValue(key, index, name, name_size, type, data, size);
    });
}

template <typename Key>
LONG WINAPI QueryValue(Key key, LPCWSTR name, PDWORD type, PBYTE data, PDWORD size,
                       HANDLE spooler) {
    return Forward(spooler, [&](MonitorRegistry& registry) {
        return registry.QueryValue(key, name, type, data, size);
    });
}

}  // namespace

MONITORREG MonitorRegFunctions() {
    MONITORREG functions = {};
    functions.cbSize = sizeof(functions);
    functions.fpCreateKey = CreateKey;
    functions.fpOpenKey = OpenKey;
    functions.fpCloseKey = CloseKey;
    functions.fpDeleteKey = DeleteKey;
    functions.fpEnumKey = EnumKey;
    functions.fpQueryInfoKey = QueryInfoKey;
    functions.fpSetValue = SetValue;
    functions.fpDeleteValue = DeleteValue;
    functions.fpEnumValue = EnumValue;
    functions.fpQueryValue = QueryValue;
    return functions;
}

HANDLE SpoolerHandle(MonitorRegistry& registry) {
    return &registry;
}

}  // namespace ksp::host
