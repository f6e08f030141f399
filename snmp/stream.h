#pragma once

#include <memory>
#include <string_view>

#include "snmp/device_table.h"
#include "snmp/probe.h"

namespace ksp::snmp {

// What KSCreateStream hands out: settings, devices and at most one search, independent of other
// streams. Usable between Initialize and Terminate. Any thread may call.
class CStream {
  public:
    CStream() = default;
    ~CStream() { Terminate(); }
    CStream(const CStream&) = delete;
    CStream& operator=(const CStream&) = delete;

    // Reads the library's settings and starts the network. False when that fails, and the second
    // time.
    [[nodiscard]] bool Initialize();
    // Ends what runs. A search is waited for as in StopProbe.
    void Terminate() noexcept;

    // False when the document cannot be read; the mode stays what it was. Good for the next search.
    [[nodiscard]] bool SetProbeMode(std::string_view document);
    // False when a search still runs, when it is to find no IPv4 devices, and when the system
    // refuses.
    [[nodiscard]] bool Probe(ProbeCallback callback, void* context);
    // When it returns, no callback is running and none will come; except that a callback that calls
    // this itself is not waited for.
    void StopProbe() noexcept;

    // Below 1 when the address is neither dotted IPv4 nor a host name that is known. Only for a
    // name is the network asked, on the caller's thread, and not bounded by the settings' time-out.
    [[nodiscard]] DeviceHandle AddDevice(std::string_view address, std::string_view settings);
    // Null when there is none of that handle.
    [[nodiscard]] std::shared_ptr<CDevice> FindDevice(DeviceHandle handle);
    bool RemoveDevice(DeviceHandle handle);

  private:
    // Null before Initialize and after Terminate.
    [[nodiscard]] std::shared_ptr<CWindowsSockets> UsableSockets();

    SRWLOCK m_lock{};
    bool m_usable = false;
    bool m_terminated = false;
    std::shared_ptr<CWindowsSockets> m_sockets;
    CLibrarySettings m_settings;
    CProbeMode m_mode;
    std::shared_ptr<CProbe> m_probe;
    // A search that a callback gave up together with the stream may go on for a moment.
    std::shared_ptr<CDeviceTable> m_devices = std::make_shared<CDeviceTable>();
};

}  // namespace ksp::snmp
