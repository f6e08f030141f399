#include "tests/support/spooler_start.h"

#include <cstring>

namespace ksp::test {

namespace {

template <class Target>
void Give(Target& target, HANDLE root, host::MonitorRegistry* registry) {
    MONITORREG functions = host::MonitorRegFunctions();
    MONITORINIT init{};
    init.cbSize = sizeof(init);
    init.hckRegistryRoot = static_cast<decltype(init.hckRegistryRoot)>(root);
    init.bLocal = TRUE;
    if (registry != nullptr) {
        init.hSpooler = host::SpoolerHandle(*registry);
        init.pMonitorReg = &functions;
    }
    target.SetMonitorInit(&init);
    std::memset(&init, 0xCC, sizeof(init));
    std::memset(&functions, 0xCC, sizeof(functions));
}

}  // namespace

void GiveRegistry(CRegistryStore& store, host::MonitorRegistry& registry) {
    Give(store, registry.Root(), &registry);
}

void GiveRegistry(CRegistryAccess& access, host::MonitorRegistry& registry) {
    Give(access, registry.Root(), &registry);
}

void GiveRootOnly(CRegistryStore& store, HANDLE root) {
    Give(store, root, nullptr);
}

void GiveRootOnly(CRegistryAccess& access, HANDLE root) {
    Give(access, root, nullptr);
}

}  // namespace ksp::test
