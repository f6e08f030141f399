#pragma once

#include <windows.h>

#include <functional>
#include <memory>

#include "discovery/discovery_library.h"
#include "snmp/library_settings.h"
#include "snmp/requests.h"
#include "snmp/search.h"
#include "snmp/windows_sockets.h"
#include "support/windows_handles.h"

namespace ksp::snmp {

// What a probe's callback is given beside devices (code 0), with the device 0.
enum class ProbeError : int {
    kFailed = -1,    // the search could not be made, or not to its end
    kNarrowed = -2,  // a network was too large to be searched as a whole; comes once for each
    kNothing = -3    // there is no network to search
};

// A search on a thread of its own. The thread calls back, one call at a time; it is gone when the
// search is over, stopped or not. It keeps the library loaded while it runs.
class CProbe {
  public:
    struct Order {
        std::shared_ptr<CWindowsSockets> sockets;
        CLibrarySettings settings;
        CProbeMode mode;
        // Makes a device of the stream from what was found out; below 1 when it cannot.
        std::function<DeviceHandle(const CDeviceIdentity&)> addDevice;
        ProbeCallback callback = nullptr;
        void* context = nullptr;
    };

    // Null when the system gives no thread or event.
    [[nodiscard]] static std::shared_ptr<CProbe> Start(Order order);

    explicit CProbe(Order order);
    CProbe(const CProbe&) = delete;
    CProbe& operator=(const CProbe&) = delete;

    // Ends the search. When this returns, no callback is running and none will come; except that a
    // callback that calls this itself is not waited for.
    void Stop() noexcept;
    [[nodiscard]] bool IsOver() const noexcept;

  private:
    class CCaller;

    static DWORD WINAPI RunThread(void* start) noexcept;
    void Run();
    void Search(CCaller& caller);
    [[nodiscard]] bool IsStopped() const noexcept;
    void CallBack(DeviceHandle device, int code) const;

    Order m_order;
    UniqueHandle m_stop;    // manual-reset
    UniqueHandle m_thread;  // like the id, set before the thread runs
    DWORD m_threadId = 0;
};

}  // namespace ksp::snmp
