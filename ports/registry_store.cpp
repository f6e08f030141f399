#include "ports/registry_store.h"

#include "support/immortal.h"
#include "support/log.h"
#include "support/process_state.h"

namespace ksp {

namespace {

CImmortal<CRegistryStore> g_store;

constexpr wchar_t kMonitorsPath[] = L"SYSTEM\\CurrentControlSet\\Control\\Print\\Monitors";
constexpr wchar_t kPortsName[] = L"Ports";
constexpr wchar_t kSoftwarePath[] = L"SOFTWARE\\Kestrel\\Kestrel Print";
constexpr wchar_t kIdPrintSoftwarePath[] = L"SOFTWARE\\Kestrel\\Kestrel Print(ID Print)";
constexpr wchar_t kLocalSegment[] = L"LocalSegment";

}  // namespace

CRegistryStore& RegistryStore() noexcept {
    return g_store.Get();
}

CRegistryStore::~CRegistryStore() {
    if (IsProcessEnding()) {
        m_softwareKey.Forget();
        m_portsKey.Forget();
    } else {
        CloseStore();
    }
}

std::int32_t CRegistryStore::GetMonitorType(HANDLE key) {
    if (key == nullptr) {
        return -1;
    }
    DWORD value = 0;
    DWORD type = REG_NONE;
    DWORD size = sizeof(value);
    if (m_access.QueryValue(key, L"KSPRINT_SECURE", &type, &value, &size) != ERROR_SUCCESS ||
        type != REG_DWORD || size != sizeof(value)) {
        Log(LogLevel::kError, L"GetMonitorType: failed get KSPRINT_SECURE");
        return -1;
    }
    return static_cast<std::int32_t>(value);
}

LONG CRegistryStore::OpenPortsKey() {
    if (const LONG closed = m_portsKey.Close(); closed != ERROR_SUCCESS) {
        Log(LogLevel::kError, L"Unable to close Ports key. (%d)", closed);
    }
    m_addressTypes.Clear();
    LONG result;
    if (m_access.HasSpoolerRegistry()) {
        result = m_portsKey.Create(m_access, nullptr, kPortsName, KEY_ALL_ACCESS);
    } else {
        const std::wstring path = std::wstring(kMonitorsPath) + L"\\" + kPortsName;
        result = m_portsKey.Create(m_access, HKEY_LOCAL_MACHINE, path.c_str(), KEY_ALL_ACCESS);
    }
    if (result != ERROR_SUCCESS) {
        Log(LogLevel::kError, L"Unable to create/open Ports key");
    }
    return result;
}

LONG CRegistryStore::OpenSoftwareKey(MonitorType type) {
    m_type = type;
    if (const LONG closed = m_softwareKey.Close(); closed != ERROR_SUCCESS) {
        Log(LogLevel::kError, L"Unable to close Software key. (%d)", closed);
    }
    const wchar_t* path = type == MonitorType::kIdPrint ? kIdPrintSoftwarePath : kSoftwarePath;
    LONG result = m_softwareKey.Create(m_access, HKEY_LOCAL_MACHINE, path, KEY_ALL_ACCESS);
    if (result == ERROR_SUCCESS) {
        EnsureLocalSegment();
        return result;
    }
    Log(LogLevel::kError, L"Unable to create/open Software key");
    // A key that can only be read still has the settings; there is nothing to write into it then.
    return m_softwareKey.Open(m_access, HKEY_LOCAL_MACHINE, path, KEY_READ);
}

void CRegistryStore::EnsureLocalSegment() {
    BYTE flag = 0;
    DWORD type = REG_NONE;
    DWORD size = sizeof(flag);
    if (m_access.QueryValue(m_softwareKey.Get(), kLocalSegment, &type, &flag, &size) ==
            ERROR_SUCCESS &&
        type == REG_BINARY) {
        return;
    }
    flag = 1;
    if (m_softwareKey.WriteBinary(kLocalSegment, &flag, sizeof(flag)) != ERROR_SUCCESS) {
        Log(LogLevel::kError, L"error setting default local segment browse flag");
    }
}

void CRegistryStore::CloseStore() noexcept {
    if (const LONG closed = m_softwareKey.Close(); closed != ERROR_SUCCESS) {
        Log(LogLevel::kError, L"Unable to close Software key. (%d)", closed);
    }
    if (const LONG closed = m_portsKey.Close(); closed != ERROR_SUCCESS) {
        Log(LogLevel::kError, L"Unable to close Ports key. (%d)", closed);
    }
    m_addressTypes.Clear();
    m_access.SetMonitorInit(nullptr);
    m_access.DeleteLock();
}

}  // namespace ksp
