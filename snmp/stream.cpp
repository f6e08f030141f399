#include "snmp/stream.h"

#include "snmp/host_name.h"
#include "support/srw_lock.h"

namespace ksp::snmp {

bool CStream::Initialize() {
    auto sockets = std::make_shared<CWindowsSockets>();
    CLibrarySettings settings = ReadLibrarySettings();
    const CExclusiveLock lock(m_lock);
    if (m_usable || m_terminated || !sockets->IsStarted()) {
        return false;
    }
    m_sockets = std::move(sockets);
    m_settings = std::move(settings);
    m_usable = true;
    return true;
}

void CStream::Terminate() noexcept {
    {
        const CExclusiveLock lock(m_lock);
        m_usable = false;
        m_terminated = true;
    }
    StopProbe();
    m_devices->Close();
}

bool CStream::SetProbeMode(std::string_view document) {
    auto mode = ReadProbeMode(document);
    const CExclusiveLock lock(m_lock);
    if (!m_usable || !mode) {
        return false;
    }
    m_mode = std::move(*mode);
    return true;
}

bool CStream::Probe(ProbeCallback callback, void* context) {
    const CExclusiveLock lock(m_lock);
    if (!m_usable || !m_mode.ipv4 || (m_probe && !m_probe->IsOver())) {
        return false;
    }
    m_devices->RemoveFound();
    m_probe = CProbe::Start(
        {.sockets = m_sockets,
         .settings = m_settings,
         .mode = m_mode,
         .addDevice =
             [sockets = m_sockets, devices = m_devices, access = m_settings.access,
              timing = m_mode.timing](const CDeviceIdentity& identity) {
                 return devices->Add(std::make_shared<CDevice>(sockets, identity, access, timing));
             },
         .callback = callback,
         .context = context});
    return m_probe != nullptr;
}

void CStream::StopProbe() noexcept {
    std::shared_ptr<CProbe> probe;
    {
        const CSharedLock lock(m_lock);
        probe = m_probe;
    }
    if (probe) {
        probe->Stop();
    }
}

std::shared_ptr<CWindowsSockets> CStream::UsableSockets() {
    const CSharedLock lock(m_lock);
    return m_usable ? m_sockets : nullptr;
}

DeviceHandle CStream::AddDevice(std::string_view address, std::string_view settings) {
    auto ipv4 = ParseAddress(address);
    if (!ipv4) {
        // The lock is not held meanwhile: the stream can be terminated.
        if (const auto sockets = UsableSockets(); sockets) {
            ipv4 = ResolveHostName(std::string(address));
        }
    }
    const CSharedLock lock(m_lock);
    if (!m_usable || !ipv4) {
        return 0;
    }
    return m_devices->Add(std::make_shared<CDevice>(m_sockets, *ipv4, m_settings.access,
                                                    ReadDeviceSettings(settings)));
}

std::shared_ptr<CDevice> CStream::FindDevice(DeviceHandle handle) {
    return m_devices->Find(handle);
}

bool CStream::RemoveDevice(DeviceHandle handle) {
    return m_devices->Remove(handle);
}

}  // namespace ksp::snmp
