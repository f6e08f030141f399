#include "net/ip_address.h"

#include "net/address_text.h"
#include "net/printer_relocation.h"
#include "ports/registry_store.h"
#include "support/error_text.h"
#include "support/log.h"
#include "support/text.h"

namespace ksp {

namespace {

constexpr std::uint32_t kNoDiscovery = 0xFFFFFFFF;  // -1
constexpr wchar_t kUnknownName[] = L"Unable to get address for host name =%s . %s";

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
        // A stored address that is none leads nowhere, whoever answered for it. Where the name
        // leads is then stored in its place.
        if (relocation.address && TextToAddress(*relocation.address).s_addr != INADDR_NONE) {
            Set(TextToAddress(*relocation.address), Origin::kText);
            return 0;
        }
    }
    // To the system no name, also one that cannot be converted, is this computer's, and the job
    // would go to its own ports.
    if (ToAnsi(name).empty()) {
        ::WSASetLastError(WSAHOST_NOT_FOUND);
        Log(LogLevel::kInfo, kUnknownName, name.c_str(), SocketErrorText().text.c_str());
        return WSAHOST_NOT_FOUND;
    }
    const std::uint32_t error = Resolve(name, kUnknownName);
    if (error == 0 && tracked) {
        NoteResolvedPrinter(info, name, Text());
    }
    return error;
}

}  // namespace ksp
