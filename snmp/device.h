#pragma once

#include <windows.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "snmp/agent_client.h"
#include "snmp/windows_sockets.h"
#include "support/windows_handles.h"

namespace ksp::snmp {

// What KSSendRecvStream returns.
enum class RequestResult : int {
    kDone = 0,
    kFailed = -1,       // wrong arguments, or the system gives no memory or socket
    kNoAnswer = -2,     // within the time of the device's settings
    kNoSuchValue = -3,  // the device has none of that name and type
    kCancelled = -4,    // KSRecvCancel, or the device or its stream was given up
    kBadRequest = -5    // a request that this library does not know
};

// A device that is talked to. Its operations run on their callers' threads, several at once if need
// be, and each takes no longer than the time-out of the settings.
class CDevice {
  public:
    // The sockets are held while the device lives: an operation may outlive its stream.
    CDevice(std::shared_ptr<CWindowsSockets> sockets, Ipv4 address, const CAgentAccess& access,
            const CTiming& timing);
    // One that a search found: what it is known by is known.
    CDevice(std::shared_ptr<CWindowsSockets> sockets, const CDeviceIdentity& identity,
            const CAgentAccess& access, const CTiming& timing);

    [[nodiscard]] bool IsUsable() const noexcept { return static_cast<bool>(m_cancel); }
    [[nodiscard]] bool WasFound() const noexcept { return m_known.has_value(); }

    // The device's capability document; none when it does not answer.
    [[nodiscard]] std::optional<std::string> Capability();
    // Answers a data request: the text of the reply, when the result is kDone.
    [[nodiscard]] RequestResult Request(std::string_view document, std::string& reply);

    // Ends the operations that run; later ones are not concerned.
    void Cancel() noexcept;
    // Ends the operations that run, and those that will be begun.
    void Close() noexcept;

  private:
    class COperation;

    [[nodiscard]] AskResult Identify(CDeviceQuery& query);

    std::shared_ptr<CWindowsSockets> m_sockets;
    Ipv4 m_address;
    CAgentAccess m_access;
    CTiming m_timing;
    std::optional<CDeviceIdentity> m_known;
    UniqueHandle m_cancel;  // manual-reset
    SRWLOCK m_lock{};
    int m_running = 0;      // under m_lock
    bool m_closed = false;  // under m_lock
};

}  // namespace ksp::snmp
