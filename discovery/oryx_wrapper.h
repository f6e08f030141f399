#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "discovery/device_record.h"
#include "discovery/library_owners.h"
#include "discovery/mime_reply.h"
#include "discovery/oryx_dll.h"
#include "discovery/probe_session.h"
#include "discovery/status_values.h"
#include "support/windows_handles.h"

namespace ksp {

// One connection to the discovery library: made, started, used and destroyed by each user, on one
// thread. Nothing is shared between wrappers but the loaded library.
//
// Its services find a printer on the network by its MAC address, read the identity of a printer
// whose address is known, and ask a printer for its status. Each logs what fails, throws nothing
// but memory that runs out, and gives everything back to the library on every path. A failed
// start-up leaves the wrapper empty; every service then fails at once.
class CKspOryxWrapper {
  public:
    CKspOryxWrapper() = default;
    virtual ~CKspOryxWrapper() { Finalize(); }
    CKspOryxWrapper(const CKspOryxWrapper&) = delete;
    CKspOryxWrapper& operator=(const CKspOryxWrapper&) = delete;

    // --- Life (oryx_wrapper.cpp)

    // True when the wrapper is ready: library loaded, stream created and initialised, settings
    // read.
    [[nodiscard]] bool StartUp();
    // Releases everything; also run by the destructor.
    void Finalize() noexcept;

    // --- Search (oryx_probe.cpp)

    // Finds the first device that answers with one of the MAC addresses, compared without regard to
    // letter case, and gives its address and its MAC address as it says it. Waits at most
    // `WaitPrinterValueTimeout` seconds.
    [[nodiscard]] bool FindDeviceByMac(const std::vector<std::wstring>& macAddresses,
                                       std::wstring& ipAddress, std::wstring& macAddress);

    // --- Devices (oryx_device.cpp)

    // The identity of the device at an address. Fails also when it has no MAC address.
    [[nodiscard]] bool ReadDeviceIdentity(const std::wstring& address, CDeviceRecord& record);
    // hrPrinterStatus and hrPrinterDetectedErrorState of the printer at an address.
    [[nodiscard]] bool ReadStatus(const std::wstring& address, CPrinterCondition& condition);

  private:
    [[nodiscard]] bool CreateStream();
    void LoadSettings();

    // Waits at most so many milliseconds for the handler to accept a device.
    [[nodiscard]] bool Probe(CProbeSession::ResultHandler handler, std::uint32_t wait);
    [[nodiscard]] bool SetProbeMode(const std::wstring& document);
    [[nodiscard]] std::wstring SubnetList() const;

    // A device handle, or 0.
    [[nodiscard]] DeviceHandle OpenDevice(const std::wstring& address, bool usePrinterValueWait);
    // The library's error code; 0 is success, and the reply belongs to the caller.
    [[nodiscard]] int Ask(DeviceHandle device, const std::string& request, CLibraryBuffer& reply);
    [[nodiscard]] bool AskMacAddress(DeviceHandle device, std::wstring& macAddress);
    [[nodiscard]] bool GetStatus(DeviceHandle device, CPrinterCondition& condition);
    [[nodiscard]] bool GetOIDValue(DeviceHandle device, const wchar_t* oid, SnmpType type,
                                   std::uint32_t& value);

    [[nodiscard]] const OryxFunctions& Library() const { return m_binding->Functions(); }

    std::unique_ptr<COryxDLL> m_binding;
    void* m_stream = nullptr;
    UniqueHandle m_probeDone;  // auto-reset event
    bool m_ipv4 = true;
    bool m_ipv6 = false;
    std::uint32_t m_printerValueWait = 0;  // milliseconds
    std::uint32_t m_serverReplyWait = 0;   // milliseconds
    std::uint32_t m_statusReplyWait = 0;   // milliseconds
    std::uint32_t m_retry = 2;
    std::uint32_t m_retryInterval = 5000;  // milliseconds
    std::uint32_t m_multicastTtl = 0;      // hops
    bool m_overRouter = true;
};

}  // namespace ksp
