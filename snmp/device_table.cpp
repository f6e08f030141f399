#include "snmp/device_table.h"

#include <atomic>
#include <utility>

#include "support/srw_lock.h"

namespace ksp::snmp {

namespace {

std::atomic<DeviceHandle> g_lastHandle{0};

}  // namespace

DeviceHandle CDeviceTable::Add(const std::shared_ptr<CDevice>& device) {
    if (!device->IsUsable()) {
        return 0;
    }
    const CExclusiveLock lock(m_lock);
    if (m_closed) {
        return 0;
    }
    const DeviceHandle handle = ++g_lastHandle;
    m_devices.emplace(handle, device);
    return handle;
}

std::shared_ptr<CDevice> CDeviceTable::Find(DeviceHandle handle) {
    const CSharedLock lock(m_lock);
    const auto found = m_devices.find(handle);
    return found != m_devices.end() ? found->second : nullptr;
}

bool CDeviceTable::Remove(DeviceHandle handle) {
    const CExclusiveLock lock(m_lock);
    const auto found = m_devices.find(handle);
    if (found == m_devices.end()) {
        return false;
    }
    found->second->Close();
    m_devices.erase(found);
    return true;
}

void CDeviceTable::RemoveFound() {
    const CExclusiveLock lock(m_lock);
    std::erase_if(m_devices, [](const auto& entry) {
        if (!entry.second->WasFound()) {
            return false;
        }
        entry.second->Close();
        return true;
    });
}

void CDeviceTable::Close() {
    const CExclusiveLock lock(m_lock);
    m_closed = true;
    for (const auto& entry : m_devices) {
        entry.second->Close();
    }
    m_devices.clear();
}

}  // namespace ksp::snmp
