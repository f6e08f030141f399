#pragma once

#include <map>
#include <memory>
#include <string_view>

#include "discovery/discovery_library.h"
#include "snmp/device.h"

namespace ksp::snmp {

// The devices of a stream by their handles. A handle is never given twice, so that one that was
// given back leads nowhere. Any thread may call; no lock is held while a device is talked to.
class CDeviceTable {
  public:
    CDeviceTable() = default;
    CDeviceTable(const CDeviceTable&) = delete;
    CDeviceTable& operator=(const CDeviceTable&) = delete;

    // The device's handle; 0 when the device is not usable or the table is closed.
    [[nodiscard]] DeviceHandle Add(const std::shared_ptr<CDevice>& device);
    // Null when there is none of that handle.
    [[nodiscard]] std::shared_ptr<CDevice> Find(DeviceHandle handle);
    // Gives up a device; its operations end. False when there is none of that handle.
    bool Remove(DeviceHandle handle);
    // Gives up the devices that searches found; their operations end.
    void RemoveFound();
    // Gives up all devices, and takes no others.
    void Close();

  private:
    SRWLOCK m_lock{};
    std::map<DeviceHandle, std::shared_ptr<CDevice>> m_devices;
    bool m_closed = false;
};

}  // namespace ksp::snmp
