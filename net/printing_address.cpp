#include "net/ip_address.h"

#include "discovery/oryx_wrapper.h"
#include "ports/registry_store.h"
#include "support/log.h"

namespace ksp {

namespace {

constexpr std::uint32_t kNoDiscovery = 0xFFFFFFFF;  // -1

}  // namespace

std::uint32_t CSLIpAddr::getByNamePrinting(const std::wstring& name, std::int32_t /*family*/) {
    Log(LogLevel::kTrace, L"Host name = %s", name.c_str());
    CPortInfo info;
    if (RegistryStore().ReadPort(name.c_str(), info) == 0) {
        Log(LogLevel::kTrace, L"could not read info. : %s", name.c_str());
    } else if (info.IsTracked()) {
        CKspOryxWrapper wrapper;
        if (!wrapper.StartUp()) {
            Log(LogLevel::kError, L"Failed Initialized Oryx.");
            return kNoDiscovery;
        }
    }
    return Resolve(name, L"Unable to get address for host name =%s . %s");
}

}  // namespace ksp
