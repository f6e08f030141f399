#include "tools/kspctl/machine_registry.h"

namespace ksp::ctl {

LONG MachineRegistry::Connect(const std::wstring& unc_name) {
    if (unc_name.empty()) {
        return ERROR_SUCCESS;
    }
    const LONG code =
        ::RegConnectRegistryW(unc_name.c_str(), HKEY_LOCAL_MACHINE, remote_.Receive());
    if (code == ERROR_SUCCESS) {
        root_ = remote_.Get();
    }
    return code;
}

LONG MachineRegistry::Open(const std::wstring& path, REGSAM rights, CRegistryKey* key) {
    return key->Open(access_, root_, path.c_str(), rights);
}

LONG MachineRegistry::Create(const std::wstring& path, CRegistryKey* key, bool* created) {
    CRegistryKey existing;
    const LONG before = Open(path, KEY_READ, &existing);
    const LONG code = key->Create(access_, root_, path.c_str(), KEY_READ | KEY_WRITE);
    if (created != nullptr) {
        *created = before == ERROR_FILE_NOT_FOUND && code == ERROR_SUCCESS;
    }
    return code;
}

std::optional<MonitorType> MachineRegistry::InstalledType(const std::wstring& monitor) {
    CRegistryKey key;
    if (Open(MonitorKeyPath(monitor), KEY_READ, &key) != ERROR_SUCCESS) {
        return std::nullopt;
    }
    const auto type = key.ReadDword(kMonitorTypeValue);
    return type ? std::optional(static_cast<MonitorType>(*type)) : std::nullopt;
}

DWORD MachineRegistry::CountPorts(const std::wstring& monitor) {
    CRegistryKey key;
    DWORD count = 0;
    if (Open(MonitorKeyPath(monitor) + L"\\Ports", KEY_READ, &key) == ERROR_SUCCESS) {
        ::RegQueryInfoKeyW(static_cast<HKEY>(key.Get()), nullptr, nullptr, nullptr, &count, nullptr,
                           nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
    }
    return count;
}

LONG MachineRegistry::DeleteTree(const std::wstring& path) {
    return ::RegDeleteTreeW(root_, path.c_str());
}

std::wstring MonitorKeyPath(const std::wstring& monitor) {
    return L"SYSTEM\\CurrentControlSet\\Control\\Print\\Monitors\\" + monitor;
}

}  // namespace ksp::ctl
