#include "tests/tools/machine_settings.h"

#include "tests/host/discovery_control.h"
#include "tools/kspctl/machine_registry.h"

namespace ksp::test {
namespace {

constexpr MonitorType kTypes[] = {MonitorType::kOrdinary, MonitorType::kIdPrint};

// Hands over the settings' key of each kind, made where it is missing.
template <class Change>
void ChangeSettings(Change change) {
    if (!MachineIsOurs()) {
        return;
    }
    ctl::MachineRegistry registry;
    for (const MonitorType type : kTypes) {
        CRegistryKey key;
        static_cast<void>(registry.Create(ctl::SoftwareKeyPath(type), &key));
        change(key);
    }
}

}  // namespace

bool MachineIsOurs() {
    return GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}

MachineSettings::MachineSettings() {
    ChangeSettings([](const CRegistryKey& key) {
        key.WriteText(L"ExeDirectory", DiscoveryControl::FullDirectory());
        for (const wchar_t* name :
             {L"WaitServerReplyTimeout", L"WaitStatusReplyTimeout", L"WaitPrinterValueTimeout"}) {
            key.WriteDword(name, 1);
        }
    });
}

MachineSettings::~MachineSettings() {
    if (!MachineIsOurs()) {
        return;
    }
    ctl::MachineRegistry registry;
    for (const MonitorType type : kTypes) {
        registry.DeleteTree(ctl::SoftwareKeyPath(type));
    }
}

void MachineSettings::SetReplyTimeout(unsigned seconds) {
    ChangeSettings(
        [seconds](const CRegistryKey& key) { key.WriteDword(L"WaitServerReplyTimeout", seconds); });
}

}  // namespace ksp::test
