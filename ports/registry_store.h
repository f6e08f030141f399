#pragma once

#include <windows.h>

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "ports/address_type_cache.h"
#include "ports/monitor_type.h"
#include "ports/port_info.h"
#include "ports/registry_access.h"
#include "ports/registry_key.h"
#include "ports/subnet.h"
#include "support/log_settings.h"

namespace ksp {

// Everything that the monitor keeps between two starts: a subkey per port under the Ports key, and
// the monitor's settings under its software key. One instance in the process; any thread may call
// it.
//
// No failure stops the monitor: it is logged, and a missing DWORD counts as 0, a missing text as
// empty, a missing setting as its default. Operations that return int answer 1 for success, else 0.
class CRegistryStore : public ILogSettings {
  public:
    CRegistryStore() = default;
    ~CRegistryStore() override;
    CRegistryStore(const CRegistryStore&) = delete;
    CRegistryStore& operator=(const CRegistryStore&) = delete;

    // --- Life (registry_store.cpp). The port manager calls these, on one thread.

    void CreateLock() noexcept { m_access.CreateLock(); }
    [[nodiscard]] bool HasLock() const noexcept { return m_access.HasLock(); }
    void SetMonitorInit(const MONITORINIT* init) noexcept { m_access.SetMonitorInit(init); }
    [[nodiscard]] HANDLE MonitorRoot() const noexcept { return m_access.MonitorRoot(); }

    // The stored `KSPRINT_SECURE` of a key, or -1 when the key is null or the value unreadable.
    [[nodiscard]] std::int32_t GetMonitorType(HANDLE key);
    // Both close what is still open first and return a Windows error code.
    LONG OpenPortsKey();
    LONG OpenSoftwareKey(MonitorType type);
    // Closes both keys, forgets the spooler's registry functions and gives up the lock.
    void CloseStore() noexcept;

    // The type given to the last OpenSoftwareKey.
    [[nodiscard]] MonitorType Type() const noexcept { return m_type; }

    // --- Ports (registry_ports.cpp)

    // Fills an empty list with every port that can be opened.
    int LoadPorts(CPortInfoList& list);
    // Stops at the first port that is tracked by MAC address, whatever its name, or has exactly
    // this name. 0 when none qualifies; the record then holds the last port read.
    int ReadPort(const wchar_t* name, CPortInfo& info);
    // Whether ReadPort would find a port, without its record. In steady state this costs one
    // registry call for each subkey up to the port's, and no memory.
    [[nodiscard]] bool HasPort(const wchar_t* name);
    // Whether a port that is not tracked by MAC address has exactly this `PrinterAddress`.
    [[nodiscard]] bool HasUntrackedPort(const std::wstring& printerAddress);
    // Whether this name would get the key of another port, one whose name differs from it in case
    // alone: the registry takes both for the same key.
    [[nodiscard]] bool IsKeyOfAnotherPort(const std::wstring& name);
    int AddPortKey(const CPortInfo& info);
    int UpdatePortKey(const CPortInfo& info, bool writeAddress);
    int UpdateIpAddress(const CPortInfo& info);
    int UpdateMacAddress(const CPortInfo& info);
    int DeletePortKey(const std::wstring& name);

    // --- Settings (registry_settings.cpp)

    [[nodiscard]] std::wstring GetLogDirectory() override;
    [[nodiscard]] std::wstring GetLogFileName() override;
    // Where LPR jobs are spooled: "LPRDirectory", else the spooler's default spool directory.
    [[nodiscard]] std::wstring GetLprDirectory();
    // The directory of the discovery library; empty when it is not configured.
    [[nodiscard]] std::wstring GetExeDirectory();
    // A DWORD of the software key.
    [[nodiscard]] std::optional<std::uint32_t> ReadSetting(const wchar_t* name) override;
    bool WriteSetting(const wchar_t* name, std::uint32_t value) override;
    // Appends to the list, in stored order; entries without a mask are skipped.
    void LoadSubnetList(std::vector<CSubnet>& list);
    // The identity name that the current user of the calling thread has configured.
    [[nodiscard]] std::optional<std::wstring> GetUserIdentity();
    // The notifier program's command line: 1 when one is configured.
    int GetNotifierCommand(std::wstring& command);

  private:
    // Searches the subkeys again when ports were added or deleted while it found none; at last it
    // holds additions and deletions off for one search.
    template <class Find>
    [[nodiscard]] int FindDespiteChanges(Find find) const;
    // The ports behind a subkey that cannot be had would be missing until the next start: a failure
    // that is not the end is logged and tried once more.
    [[nodiscard]] bool FindPortKey(DWORD index, CSubkey& subkey) const;
    [[nodiscard]] bool HasUntrackedPortOnce(const std::wstring& printerAddress);
    // The record is null when it is not asked for.
    int FindPort(const wchar_t* name, CPortInfo* info);
    int FindPortOnce(const wchar_t* name, CPortInfo* info);
    // Of an open port key, which is the subkey at the index. A time before the key was opened.
    [[nodiscard]] std::uint32_t ReadAddressType(const CRegistryKey& key, DWORD index,
                                                const CSubkey& subkey, std::uint64_t readAt);
    // Everything of a port but its name and its address type, which the caller has already.
    void LoadValues(const CRegistryKey& key, CPortInfo& info) const;
    void SaveValues(const CRegistryKey& key, const CPortInfo& info, bool writeAddress) const;
    // Opens a port's subkey; logs what cannot be opened.
    [[nodiscard]] CRegistryKey OpenPort(const wchar_t* name, REGSAM rights);
    [[nodiscard]] std::wstring ReadText(const wchar_t* name, const wchar_t* otherwise) const;
    void EnsureLocalSegment();

    CRegistryAccess m_access;  // first: the keys are closed through it
    CRegistryKey m_portsKey;
    CRegistryKey m_softwareKey;
    MonitorType m_type = MonitorType::kNone;
    mutable SRWLOCK m_subkeyLock{};                 // exclusively while a port's key comes or goes
    std::atomic<std::uint32_t> m_subkeyChanges{0};  // odd in that time
    CAddressTypeCache m_addressTypes;
};

// The process's store; there for as long as the library is loaded. The port manager opens and
// closes it.
[[nodiscard]] CRegistryStore& RegistryStore() noexcept;

}  // namespace ksp
