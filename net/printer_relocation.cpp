#include "net/printer_relocation.h"

#include <memory>
#include <vector>

#include "discovery/oryx_wrapper.h"
#include "net/address_text.h"
#include "net/mac_candidates.h"
#include "ports/registry_store.h"
#include "support/log.h"

namespace ksp {

namespace {

// A started wrapper, or null with a log line.
std::unique_ptr<CKspOryxWrapper> StartWrapper() {
    std::unique_ptr<CKspOryxWrapper> wrapper;
    try {
        wrapper = std::make_unique<CKspOryxWrapper>();
    } catch (...) {
        Log(LogLevel::kError, L"Failed Load Oryx.");
        return nullptr;
    }
    if (!wrapper->StartUp()) {
        Log(LogLevel::kError, L"Failed Initialized Oryx.");
        return nullptr;
    }
    return wrapper;
}

// Exact comparison: also a change of letter case is stored and written.
[[nodiscard]] bool TakeMacAddress(CPortInfo& info, const std::wstring& macAddress) {
    if (macAddress == info.MacAddress) {
        return false;
    }
    info.MacAddress = macAddress;
    return true;
}

void LogMacAddress(const CPortInfo& info) {
    Log(LogLevel::kTrace, L"Mac address changed %s", info.MacAddress.c_str());
}

// Whether the tracked printer still answers at its stored address.
bool IsStillThere(CKspOryxWrapper& wrapper, CPortInfo& info,
                  const std::vector<std::wstring>& candidates) {
    CDeviceRecord device;
    if (!wrapper.ReadDeviceIdentity(info.IpAddress, device)) {
        Log(LogLevel::kTrace, L"IP Address is changed by %s", info.IpAddress.c_str());
        return false;
    }
    Log(LogLevel::kTrace, L"Find MAC Address:%s", device.MacAddress.c_str());
    const std::wstring* candidate = FindMacCandidate(candidates, device.MacAddress);
    if (candidate == nullptr) {
        return false;
    }
    Log(LogLevel::kTrace, L"IpAddress NotChange %s", info.IpAddress.c_str());
    if (TakeMacAddress(info, *candidate)) {
        LogMacAddress(info);
        RegistryStore().UpdateMacAddress(info);
    }
    return true;
}

std::optional<std::wstring> Search(CKspOryxWrapper& wrapper, CPortInfo& info,
                                   const std::vector<std::wstring>& candidates) {
    Log(LogLevel::kTrace, L"Start Search MAC Address by Oryx. %s", info.MacAddress.c_str());
    std::wstring address;
    std::wstring reported;
    const bool found = wrapper.FindDeviceByMac(candidates, address, reported);
    const std::wstring* candidate = FindMacCandidate(candidates, reported);
    const std::wstring macAddress = found && candidate != nullptr ? *candidate : std::wstring();
    Log(LogLevel::kTrace, L"MAC is %s  --> get IP is %s", macAddress.c_str(), address.c_str());
    // An address from the network that is none leads nowhere.
    if (!found || address.empty() || TextToAddress(address).s_addr == INADDR_NONE) {
        Log(LogLevel::kTrace, L"Could not found MAC Address : %s", info.MacAddress.c_str());
        return std::nullopt;
    }
    const std::wstring old = std::exchange(info.IpAddress, address);
    RegistryStore().UpdateIpAddress(info);
    if (TakeMacAddress(info, macAddress)) {
        RegistryStore().UpdateMacAddress(info);
        LogMacAddress(info);
    }
    Log(LogLevel::kTrace, L"IpAddress Changed %s --> %s", old.c_str(), address.c_str());
    return address;
}

// Whoever answers where the name leads may be a stranger, to whom the address went while the
// printer was off. Only the printer itself is noted; or, for a record that knows none yet, the
// first that answers at its own name.
bool IsThePrinter(const CPortInfo& info, const std::wstring& name, const CDeviceRecord& device) {
    return info.MacAddress.empty()
               ? info.PrinterAddress == name
               : FindMacCandidate(MacCandidates(info.MacAddress), device.MacAddress) != nullptr;
}

}  // namespace

CRelocation FindTrackedPrinter(CPortInfo& info) {
    const std::vector<std::wstring> candidates = MacCandidates(info.MacAddress);
    const auto wrapper = StartWrapper();
    if (!wrapper) {
        return {};
    }
    Log(LogLevel::kTrace, L"Start Search IP Address by Oryx.(Port:%s IP:%s MAC:%s)",
        info.PortName.c_str(), info.IpAddress.c_str(), info.MacAddress.c_str());
    if (IsStillThere(*wrapper, info, candidates)) {
        return {true, info.IpAddress};
    }
    return {true, Search(*wrapper, info, candidates)};
}

void NoteResolvedPrinter(CPortInfo& info, const std::wstring& name, const std::wstring& address) {
    const auto wrapper = StartWrapper();
    if (!wrapper) {
        return;
    }
    Log(LogLevel::kTrace, L"Start Search IP Address by Oryx.(IP:%s)", address.c_str());
    CDeviceRecord device;
    if (!wrapper->ReadDeviceIdentity(address, device) || !IsThePrinter(info, name, device)) {
        Log(LogLevel::kError, L"printer not found !!");
        return;
    }
    info.IpAddress = address;
    RegistryStore().UpdateIpAddress(info);
    if (TakeMacAddress(info, device.MacAddress)) {
        LogMacAddress(info);
    }
    RegistryStore().UpdateMacAddress(info);
    Log(LogLevel::kTrace, L"Found %s", address.c_str());
}

}  // namespace ksp
