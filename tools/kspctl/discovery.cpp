#include "tools/kspctl/discovery.h"

#include "discovery/oryx_dll.h"
#include "ports/registry_store.h"

namespace ksp::ctl {

Discovery::Discovery(MonitorType type) {
    RegistryStore().OpenSoftwareKey(type);
    static_cast<void>(sockets_.StartupSockets());
    if (!COryxDLL::PrepareLibraryPath()) {
        why_not_ = L"the setting ExeDirectory does not name a directory";
        return;
    }
    wrapper_ = std::make_unique<CKspOryxWrapper>();
    if (!wrapper_->StartUp()) {
        wrapper_.reset();
        why_not_ = L"the discovery library cannot be used: " + COryxDLL::LibraryPath();
    }
}

Discovery::~Discovery() {
    wrapper_.reset();
    RegistryStore().CloseStore();
}

}  // namespace ksp::ctl
