#include "ports/port_manager.h"

#include <new>
#include <utility>
#include <vector>

#include "discovery/oryx_dll.h"
#include "ports/registry_store.h"
#include "support/log.h"
#include "support/process_state.h"

namespace ksp {

namespace {

const wchar_t* NameOf(MonitorType type) {
    switch (type) {
        case MonitorType::kOrdinary:
            return L"Kestrel Print Port";
        case MonitorType::kIdPrint:
            return L"Kestrel ID Print Port";
        case MonitorType::kNone:
            break;
    }
    return L"";
}

bool IsMonitorType(std::uint32_t type) {
    return type <= static_cast<std::uint32_t>(MonitorType::kIdPrint);
}

}  // namespace

CPortManager::~CPortManager() {
    Terminate();
    // A start-up that failed leaves the store open and the log running for the next attempt.
    if (!IsProcessEnding()) {
        RegistryStore().CloseStore();
    }
    Logger().Stop();
}

bool CPortManager::Initialize(const MONITORINIT* init) {
    if (m_initialized) {
        return true;
    }
    CRegistryStore& store = RegistryStore();
    store.CreateLock();
    store.SetMonitorInit(init);
    auto type = static_cast<std::uint32_t>(MonitorType::kNone);
    if (init != nullptr) {
        // An unreadable value is -1 and so no type either.
        const auto stored = static_cast<std::uint32_t>(store.GetMonitorType(store.MonitorRoot()));
        type = IsMonitorType(stored) ? stored : type;
    }
    store.OpenPortsKey();
    m_type = static_cast<MonitorType>(type);
    store.OpenSoftwareKey(m_type);
    if (!SetMonitorType(type)) {
        return false;
    }
    StartLogger();
    if (!m_sockets.StartupSockets() || !COryxDLL::PrepareLibraryPath()) {
        return false;
    }
    m_lock.Create();
    if (!LoadPorts()) {
        m_lock.Delete();
        return false;
    }
    m_initialized = true;
    return true;
}

bool CPortManager::SetMonitorType(std::uint32_t type) {
    if (!IsMonitorType(type)) {
        Log(LogLevel::kTrace, L"set value is not monitor type");
        return false;
    }
    CRegistryStore& store = RegistryStore();
    if (!store.HasLock()) {
        store.CreateLock();
        store.SetMonitorInit(nullptr);
    }
    const auto wanted = static_cast<MonitorType>(type);
    if (wanted != m_type) {
        store.OpenSoftwareKey(wanted);
        m_type = wanted;
    }
    Log(LogLevel::kTrace, L"set monitor type %d", type);
    m_displayName = NameOf(wanted);
    m_description = NameOf(wanted);
    return true;
}

void CPortManager::StartLogger() noexcept {
    // A monitor without a log still prints.
    static_cast<void>(Logger().Start(RegistryStore()));
}

void CPortManager::Terminate() noexcept {
    if (!m_initialized) {
        return;
    }
    try {
        TerminateNow();
    } catch (...) {
        Log(LogLevel::kCritical, L"Failed terminate port manager.");
    }
    m_initialized = false;
}

void CPortManager::TerminateNow() {
    // At process end the other threads are gone in the middle of whatever they did: closing ports
    // would wait for printers, and closing keys would call a spooler that is itself half gone. Only
    // the log is ended; the system takes the rest back.
    if (!IsProcessEnding()) {
        {
            const CAutoLogCritSec guard(&m_lock);
            m_ports.Clear();
        }
        m_lock.Delete();
        RegistryStore().CloseStore();
    }
    Log(LogLevel::kTrace, L"Logger terminate");
    Logger().Stop();
}

bool CPortManager::LoadPorts() {
    const CAutoLogCritSec guard(&m_lock);
    CPortInfoList list;
    if (RegistryStore().LoadPorts(list) == 0) {
        return false;
    }
    if (m_type == MonitorType::kNone) {
        Log(LogLevel::kCritical, L"Invalid Monitor Type.");
        return false;
    }
    return InitPorts(list);
}

bool CPortManager::InitPorts(const CPortInfoList& list) {
    std::vector<std::shared_ptr<CPort>> ports;
    try {
        ports.reserve(list.size());
        for (const auto& info : list) {
            if (!info) {
                m_ports.Clear();
                return false;
            }
            auto port = std::make_shared<CPort>(*this);
            if (port->Initialize(*info)) {
                ports.push_back(std::move(port));
            } else {
                Log(LogLevel::kInfo, L"Port Initialize Failed : %s", info->PortName.c_str());
            }
        }
        // All at once: inserted one by one, every port would copy the list before it.
        m_ports.AddPortsToList(std::move(ports));
    } catch (const std::bad_alloc&) {
        Log(LogLevel::kCritical, L"memory allocation error");
        m_ports.Clear();
        return false;
    }
    return true;
}

}  // namespace ksp
