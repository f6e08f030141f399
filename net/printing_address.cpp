#include "net/ip_address.h"

#include "net/address_text.h"
#include "net/printer_relocation.h"
#include "ports/registry_store.h"
#include "support/log.h"

namespace ksp {

namespace {

constexpr std::uint32_t kNoDiscovery = 0xFFFFFFFF;  // -1

// Whether a record stands for the printer with this address text. The store answers with the first
// tracked port whatever its name; a port that is not tracked keeps to its own address all the same.
bool Tracks(const CPortInfo& info, const std::wstring& name) {
    return info.IsTracked() &&
           (info.PrinterAddress == name || !RegistryStore().HasUntrackedPort(name));
}

}  // namespace

std::uint32_t CSLIpAddr::getByNamePrinting(const std::wstring& name, std::int32_t /*family*/) {
    Log(LogLevel::kTrace, L"Host name = %s", name.c_str());
    CPortInfo info;
    const bool read = RegistryStore().ReadPort(name.c_str(), info) != 0;
    if (!read) {
        Log(LogLevel::kTrace, L"could not read info. : %s", name.c_str());
    }
    const bool tracked = read && Tracks(info, name);
    if (tracked) {
        const CRelocation relocation = FindTrackedPrinter(info);
        if (!relocation.searched) {
            return kNoDiscovery;
        }
        // A stored address that is none leads nowhere, whoever answered for it. Where the name leads
        // is then stored in its place.
        if (relocation.address && TextToAddress(*relocation.address).s_addr != INADDR_NONE) {
            Set(TextToAddress(*relocation.address), Origin::kText);
            return 0;
        }
    }
    const std::uint32_t error = Resolve(name, L"Unable to get address for host name =%s . %s");
    if (error == 0 && tracked) {
        NoteResolvedPrinter(info, Text());
    }
    return error;
}

}  // namespace ksp
