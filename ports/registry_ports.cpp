#include "ports/registry_store.h"

#include <cwchar>
#include <new>

#include "support/log.h"
#include "support/srw_lock.h"

namespace ksp {

namespace {

constexpr REGSAM kReadWrite = KEY_READ | KEY_WRITE;
constexpr wchar_t kAddressType[] = L"PrinterAddressType";

std::uint32_t DwordOf(const CRegistryKey& key, const wchar_t* name) {
    return key.ReadDword(name).value_or(0);
}

std::wstring TextOf(const CRegistryKey& key, const wchar_t* name) {
    return key.ReadText(name).value_or(std::wstring());
}

// Counts on when a subkey begins to come or go and when that is done; odd in between. Waits while
// somebody searches who must not be disturbed.
class CSubkeyChange {
  public:
    CSubkeyChange(SRWLOCK& lock, std::atomic<std::uint32_t>& changes)
        : m_lock(lock), m_changes(changes) {
        ++m_changes;
    }
    ~CSubkeyChange() { ++m_changes; }
    CSubkeyChange(const CSubkeyChange&) = delete;
    CSubkeyChange& operator=(const CSubkeyChange&) = delete;

  private:
    CExclusiveLock m_lock;
    std::atomic<std::uint32_t>& m_changes;
};

bool IsSameKeyName(const std::wstring& left, const std::wstring& right) {
    return ::CompareStringOrdinal(left.data(), static_cast<int>(left.size()), right.data(),
                                  static_cast<int>(right.size()), TRUE) == CSTR_EQUAL;
}

bool IsTracked(std::uint32_t addressType) {
    return addressType == static_cast<std::uint32_t>(AddressType::kTracked);
}

}  // namespace

CRegistryKey CRegistryStore::OpenPort(const wchar_t* name, REGSAM rights) {
    CRegistryKey key;
    if (key.Open(m_access, m_portsKey.Get(), name, rights) != ERROR_SUCCESS) {
        Log(LogLevel::kError, L"Unable to open key ( %s )", name);
    }
    return key;
}

int CRegistryStore::LoadPorts(CPortInfoList& list) {
    if (!list.empty()) {
        Log(LogLevel::kError, L"The list to store must be empty.");
        return 0;
    }
    CSubkey subkey;
    for (DWORD index = 0; FindPortKey(index, subkey); ++index) {
        const std::uint64_t readAt = CAddressTypeCache::Now();
        const CRegistryKey key = OpenPort(subkey.name, KEY_READ);
        if (!key.IsOpen()) {
            continue;
        }
        Log(LogLevel::kInfo, L"Load Port : %s", subkey.name);
        try {
            auto info = std::make_unique<CPortInfo>();
            info->PortName = subkey.name;
            info->PrinterAddressType = ReadAddressType(key, index, subkey, readAt);
            LoadValues(key, *info);
            list.push_back(std::move(info));
        } catch (const std::bad_alloc&) {
            Log(LogLevel::kCritical, L"memory allocation error");
        }
    }
    return 1;
}

bool CRegistryStore::FindPortKey(DWORD index, CSubkey& subkey) const {
    LONG result = m_portsKey.ReadSubkey(index, subkey);
    if (result != ERROR_SUCCESS && result != ERROR_NO_MORE_ITEMS) {
        Log(LogLevel::kError, L"Unable to enumerate the ports ( %d )", result);
        result = m_portsKey.ReadSubkey(index, subkey);
    }
    return result == ERROR_SUCCESS;
}

std::uint32_t CRegistryStore::ReadAddressType(const CRegistryKey& key, DWORD index,
                                              const CSubkey& subkey, std::uint64_t readAt) {
    const auto type = key.ReadDword(kAddressType);
    // One that cannot be read may be readable the next time.
    if (type) {
        m_addressTypes.Note(index, subkey, readAt, *type);
    }
    return type.value_or(0);
}

template <class Find>
int CRegistryStore::FindDespiteChanges(Find find) const {
    // A subkey that comes or goes meanwhile moves the ones behind it, and the enumeration can step
    // over the one that is looked for.
    constexpr int kMostAttempts = 3;
    for (int attempt = 0; attempt < kMostAttempts; ++attempt) {
        const std::uint32_t changes = m_subkeyChanges.load();
        const int found = find();
        const bool changing = changes % 2 != 0;
        if (found != 0 || (!changing && changes == m_subkeyChanges.load())) {
            return found;
        }
    }
    // Where ports come and go all the time, they wait for this one search.
    const CSharedLock undisturbed(m_subkeyLock);
    return find();
}

int CRegistryStore::ReadPort(const wchar_t* name, CPortInfo& info) {
    return FindPort(name, &info);
}

bool CRegistryStore::HasPort(const wchar_t* name) {
    return FindPort(name, nullptr) != 0;
}

int CRegistryStore::FindPort(const wchar_t* name, CPortInfo* info) {
    Log(LogLevel::kTrace, L"Read port info : hostname = %s", name);
    return FindDespiteChanges([&] { return FindPortOnce(name, info); });
}

int CRegistryStore::FindPortOnce(const wchar_t* name, CPortInfo* info) {
    // The subkey that is looked at and the one that was passed last.
    CSubkey subkeys[2];
    const CSubkey* passed = nullptr;
    CRegistryKey passedKey;
    std::uint32_t passedType = 0;
    const auto take = [this, info](const CRegistryKey& key, const CSubkey& subkey,
                                   std::uint32_t type) {
        if (info != nullptr) {
            info->PortName = subkey.name;
            info->PrinterAddressType = type;
            LoadValues(key, *info);
        }
    };
    for (DWORD index = 0;; ++index) {
        CSubkey& subkey = subkeys[passed == &subkeys[0] ? 1 : 0];
        if (m_portsKey.ReadSubkey(index, subkey) != ERROR_SUCCESS) {
            break;
        }
        CRegistryKey key;
        auto type = m_addressTypes.Find(index, subkey);
        const bool named = std::wcscmp(subkey.name, name) == 0;
        if (!type || (info != nullptr && (named || IsTracked(*type)))) {
            const std::uint64_t readAt = CAddressTypeCache::Now();
            key = OpenPort(subkey.name, KEY_READ);
            if (!key.IsOpen()) {
                continue;
            }
            type = ReadAddressType(key, index, subkey, readAt);
        }
        Log(LogLevel::kInfo, L"read port. port name is %s", subkey.name);
        if (named || IsTracked(*type)) {
            take(key, subkey, *type);
            return 1;
        }
        passed = &subkey;
        passedKey = std::move(key);
        passedType = *type;
    }
    if (info != nullptr && passed != nullptr) {
        if (!passedKey.IsOpen()) {
            passedKey = OpenPort(passed->name, KEY_READ);
        }
        take(passedKey, *passed, passedType);
    }
    return 0;
}

bool CRegistryStore::HasUntrackedPort(const std::wstring& printerAddress) {
    return FindDespiteChanges([&] { return HasUntrackedPortOnce(printerAddress) ? 1 : 0; }) != 0;
}

bool CRegistryStore::HasUntrackedPortOnce(const std::wstring& printerAddress) {
    CSubkey subkey;
    for (DWORD index = 0; m_portsKey.ReadSubkey(index, subkey) == ERROR_SUCCESS; ++index) {
        // Without a line for a key that cannot be opened: the caller's look-up has just logged it.
        CRegistryKey key;
        if (key.Open(m_access, m_portsKey.Get(), subkey.name, KEY_READ) == ERROR_SUCCESS &&
            !IsTracked(DwordOf(key, kAddressType)) &&
            TextOf(key, L"PrinterAddress") == printerAddress) {
            return true;
        }
    }
    return false;
}

bool CRegistryStore::IsKeyOfAnotherPort(const std::wstring& name) {
    CRegistryKey key;
    if (key.Open(m_access, m_portsKey.Get(), name.c_str(), KEY_READ) != ERROR_SUCCESS) {
        return false;
    }
    CSubkey subkey;
    for (DWORD index = 0;
         m_portsKey.ReadSubkey(index, subkey) == ERROR_SUCCESS && subkey.name != name; ++index) {
        if (IsSameKeyName(subkey.name, name)) {
            return true;
        }
    }
    return false;
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
        note(key.WriteDword(kAddressType, info.PrinterAddressType));
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
    {
        const CSubkeyChange change(m_subkeyLock, m_subkeyChanges);
        // Without a Ports key the port would become a key of the monitor's root, where nobody
        // looks.
        if (!m_portsKey.IsOpen() || key.Create(m_access, m_portsKey.Get(), info.PortName.c_str(),
                                               kReadWrite) != ERROR_SUCCESS) {
            Log(LogLevel::kError, L"Unable to open key ( %s )", info.PortName.c_str());
            return 0;
        }
    }
    SaveValues(key, info, true);
    return 1;
}

int CRegistryStore::UpdatePortKey(const CPortInfo& info, bool writeAddress) {
    const CRegistryKey key = OpenPort(info.PortName.c_str(), kReadWrite);
    if (!key.IsOpen()) {
        return 0;
    }
    SaveValues(key, info, writeAddress);
    return 1;
}

int CRegistryStore::UpdateIpAddress(const CPortInfo& info) {
    const CRegistryKey key = OpenPort(info.PortName.c_str(), kReadWrite);
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
    const CRegistryKey key = OpenPort(info.PortName.c_str(), kReadWrite);
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
    const CSubkeyChange change(m_subkeyLock, m_subkeyChanges);
    if (m_access.DeleteKey(m_portsKey.Get(), name.c_str()) != ERROR_SUCCESS) {
        Log(LogLevel::kError, L"Unable to delete key ( %s )", name.c_str());
        return 0;
    }
    return 1;
}

}  // namespace ksp
