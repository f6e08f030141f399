#include "ports/registry_store.h"

#include <new>

#include "support/log.h"

namespace ksp {

namespace {

constexpr REGSAM kReadWrite = KEY_READ | KEY_WRITE;

std::uint32_t DwordOf(const CRegistryKey& key, const wchar_t* name) {
    return key.ReadDword(name).value_or(0);
}

std::wstring TextOf(const CRegistryKey& key, const wchar_t* name) {
    return key.ReadText(name).value_or(std::wstring());
}

}  // namespace

CRegistryKey CRegistryStore::OpenPort(const std::wstring& name, REGSAM rights) {
    CRegistryKey key;
    if (key.Open(m_access, m_portsKey.Get(), name.c_str(), rights) != ERROR_SUCCESS) {
        Log(LogLevel::kError, L"Unable to open key ( %s )", name.c_str());
    }
    return key;
}

int CRegistryStore::LoadPorts(CPortInfoList& list) {
    if (!list.empty()) {
        Log(LogLevel::kError, L"The list to store must be empty.");
        return 0;
    }
    for (DWORD index = 0;; ++index) {
        const auto name = m_portsKey.SubkeyName(index);
        if (!name) {
            return 1;
        }
        const CRegistryKey key = OpenPort(*name, KEY_READ);
        if (!key.IsOpen()) {
            continue;
        }
        Log(LogLevel::kInfo, L"Load Port : %s", name->c_str());
        try {
            auto info = std::make_unique<CPortInfo>();
            info->PortName = *name;
            LoadValues(key, *info);
            list.push_back(std::move(info));
        } catch (const std::bad_alloc&) {
            Log(LogLevel::kCritical, L"memory allocation error");
        }
    }
}

int CRegistryStore::ReadPort(const wchar_t* name, CPortInfo& info) {
    Log(LogLevel::kTrace, L"Read port info : hostname = %s", name);
    // A subkey that comes or goes meanwhile moves the ones behind it, and the enumeration can step
    // over the one that is looked for.
    constexpr int kMostAttempts = 4;
    int found = 0;
    for (int attempt = 0; found == 0 && attempt < kMostAttempts; ++attempt) {
        const std::uint32_t changes = m_subkeyChanges.load();
        found = ReadPortOnce(name, info);
        if (changes == m_subkeyChanges.load()) {
            break;
        }
    }
    return found;
}

int CRegistryStore::ReadPortOnce(const wchar_t* name, CPortInfo& info) {
    for (DWORD index = 0;; ++index) {
        const auto subkey = m_portsKey.SubkeyName(index);
        if (!subkey) {
            return 0;
        }
        const CRegistryKey key = OpenPort(*subkey, KEY_READ);
        if (!key.IsOpen()) {
            continue;
        }
        Log(LogLevel::kInfo, L"read port. port name is %s", subkey->c_str());
        info.PortName = *subkey;
        LoadValues(key, info);
        if (info.IsTracked() || info.PortName == name) {
            return 1;
        }
    }
}

bool CRegistryStore::HasUntrackedPort(const std::wstring& printerAddress) {
    constexpr auto kTracked = static_cast<std::uint32_t>(AddressType::kTracked);
    for (DWORD index = 0;; ++index) {
        const auto subkey = m_portsKey.SubkeyName(index);
        if (!subkey) {
            return false;
        }
        const CRegistryKey key = OpenPort(*subkey, KEY_READ);
        if (key.IsOpen() && DwordOf(key, L"PrinterAddressType") != kTracked &&
            TextOf(key, L"PrinterAddress") == printerAddress) {
            return true;
        }
    }
}

void CRegistryStore::LoadValues(const CRegistryKey& key, CPortInfo& info) const {
    const bool idPrint = m_type == MonitorType::kIdPrint;
    info.ProtocolID = DwordOf(key, L"ProtocolID");
    const bool raw = info.ProtocolID == static_cast<std::uint32_t>(ProtocolId::kRaw);
    info.PortNumber = !raw ? kLprPort : idPrint ? kSecureRawPort : kRawPort;

    info.ProxyPort = DwordOf(key, L"ProxyPort");
    info.PrinterAddress = TextOf(key, L"PrinterAddress");
    info.ProxyServer = TextOf(key, L"ProxyServer");
    info.QueueName = TextOf(key, L"QueueName");
    info.PrinterAddressType = DwordOf(key, L"PrinterAddressType");
    info.IpAddress = TextOf(key, L"IpAddress");
    info.SubnetMask = TextOf(key, L"SubnetMask");
    info.MacAddress = TextOf(key, L"MacAddress");
    info.SecureUserMode = DwordOf(key, L"SecureUserMode");
    info.SecureRawPortNo = DwordOf(key, L"SecureRawPortNo");
    if (raw && idPrint) {
        // Also when the value is missing: the port then has no number until it is configured.
        info.PortNumber = info.SecureRawPortNo;
    }
    info.CheckPortNo = DwordOf(key, L"CheckPortNo");
    info.UserIdentityName = TextOf(key, L"UserIdentityName");
}

void CRegistryStore::SaveValues(const CRegistryKey& key, const CPortInfo& info,
                                bool writeAddress) const {
    LONG failure = ERROR_SUCCESS;
    const auto note = [&failure](LONG result) {
        if (result != ERROR_SUCCESS) {
            failure = result;
        }
    };
    if (writeAddress) {
        note(key.WriteDword(L"PrinterAddressType", info.PrinterAddressType));
        note(key.WriteText(L"IpAddress", info.IpAddress));
        note(key.WriteText(L"SubnetMask", info.SubnetMask));
        note(key.WriteText(L"MacAddress", info.MacAddress));
    }
    note(key.WriteDword(L"ProtocolID", info.ProtocolID));
    note(key.WriteText(L"PrinterAddress", info.PrinterAddress));
    note(key.WriteText(L"QueueName", info.QueueName));
    if (m_type == MonitorType::kIdPrint) {
        note(key.WriteDword(L"SecureRawPortNo", info.SecureRawPortNo));
        note(key.WriteDword(L"CheckPortNo", info.CheckPortNo));
        note(key.WriteDword(L"SecureUserMode", info.SecureUserMode));
        note(key.WriteText(L"UserIdentityName", info.UserIdentityName));
    }
    if (failure != ERROR_SUCCESS) {
        // The port works until the next start; without this line nobody would know why it then
        // changes.
        Log(LogLevel::kError, L"error write port values fail. ( %s, %d )", info.PortName.c_str(),
            failure);
    }
}

int CRegistryStore::AddPortKey(const CPortInfo& info) {
    CRegistryKey key;
    // Without a Ports key the port would become a key of the monitor's root, where nobody looks.
    if (!m_portsKey.IsOpen() || key.Create(m_access, m_portsKey.Get(), info.PortName.c_str(),
                                           kReadWrite) != ERROR_SUCCESS) {
        Log(LogLevel::kError, L"Unable to open key ( %s )", info.PortName.c_str());
        return 0;
    }
    ++m_subkeyChanges;
    SaveValues(key, info, true);
    return 1;
}

int CRegistryStore::UpdatePortKey(const CPortInfo& info, bool writeAddress) {
    const CRegistryKey key = OpenPort(info.PortName, kReadWrite);
    if (!key.IsOpen()) {
        return 0;
    }
    SaveValues(key, info, writeAddress);
    return 1;
}

int CRegistryStore::UpdateIpAddress(const CPortInfo& info) {
    const CRegistryKey key = OpenPort(info.PortName, kReadWrite);
    if (!key.IsOpen()) {
        return 0;
    }
    if (key.WriteText(L"IpAddress", info.IpAddress) != ERROR_SUCCESS) {
        Log(LogLevel::kError, L"error write ipaddress value fail.");
        return 0;
    }
    return 1;
}

int CRegistryStore::UpdateMacAddress(const CPortInfo& info) {
    const CRegistryKey key = OpenPort(info.PortName, kReadWrite);
    if (!key.IsOpen()) {
        return 0;
    }
    if (key.WriteText(L"MacAddress", info.MacAddress) != ERROR_SUCCESS) {
        Log(LogLevel::kError, L"error write mac address value fail.");
        return 0;
    }
    return 1;
}

int CRegistryStore::DeletePortKey(const std::wstring& name) {
    if (m_access.DeleteKey(m_portsKey.Get(), name.c_str()) != ERROR_SUCCESS) {
        Log(LogLevel::kError, L"Unable to delete key ( %s )", name.c_str());
        return 0;
    }
    ++m_subkeyChanges;
    return 1;
}

}  // namespace ksp
