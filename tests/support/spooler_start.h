#pragma once

#include "ports/registry_store.h"
#include "tools/host/monitor_registry.h"

namespace ksp::test {

inline constexpr wchar_t kSoftwareKey[] = L"SOFTWARE\\Kestrel\\Kestrel Print";
inline constexpr wchar_t kIdPrintSoftwareKey[] = L"SOFTWARE\\Kestrel\\Kestrel Print(ID Print)";

// Hands a registry to a store (or to a bare access layer) as a spooler does that builds its
// MONITORINIT on the stack: what was handed over is overwritten before the call returns.
void GiveRegistry(CRegistryStore& store, host::MonitorRegistry& registry);
void GiveRegistry(CRegistryAccess& access, host::MonitorRegistry& registry);
// The same with a root key and without registry functions.
void GiveRootOnly(CRegistryStore& store, HANDLE root);
void GiveRootOnly(CRegistryAccess& access, HANDLE root);

}  // namespace ksp::test
