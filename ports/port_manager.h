#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "channels/port_services.h"
#include "net/socket_library.h"
#include "ports/monitor_type.h"
#include "ports/port_info.h"
#include "ports/port_list.h"
#include "ports/port_usage.h"
#include "support/critical_section.h"
#include "support/windows_spooler.h"

namespace ksp {

// Owns the monitor's ports: starts and ends the monitor, keeps the port list and its copy in the
// registry, and serves the channels. One instance in the process.
//
// The port manager lock is held by start-up loading, AddPort, DeletePort, OpenPort, EnumPorts and
// termination, each for its whole duration. The operations of jobs search the list without it.
class CPortManager : public IPortServices {
  public:
    // Handle ids are 32 bits; neither of these is one.
    static constexpr std::uint32_t kNoId = CPortList::kNoId;

    // The usage outlives the manager.
    explicit CPortManager(IPortUsage& usage) : m_usage(usage) {}
    ~CPortManager() override;
    CPortManager(const CPortManager&) = delete;
    CPortManager& operator=(const CPortManager&) = delete;

    // --- Life (port_manager_lifecycle.cpp)

    // Starts everything in its order; a second call does nothing. After false the spooler gets no
    // operation table; lock, log and store stay for the next attempt.
    [[nodiscard]] bool Initialize(const MONITORINIT* init);
    void Terminate() noexcept;
    [[nodiscard]] bool IsInitialized() const noexcept { return m_initialized; }
    // False for a type above 2.
    bool SetMonitorType(std::uint32_t type);
    [[nodiscard]] MonitorType Type() const noexcept { return m_type; }
    // "Kestrel Print Port", "Kestrel ID Print Port", or empty.
    [[nodiscard]] const std::wstring& DisplayName() const noexcept { return m_displayName; }
    [[nodiscard]] const std::wstring& PortDescription() const noexcept { return m_description; }

    [[nodiscard]] bool LoadPorts();
    // Makes a port of each record; one that cannot be made is left out. A null record, or memory
    // that runs out, clears the list and fails.
    [[nodiscard]] bool InitPorts(const CPortInfoList& list);

    // --- Changes of the list (port_manager.cpp)

    // Adds a port, or configures the one that has this name. The thread's last error says more: 0
    // for a new port, 183 (ERROR_ALREADY_EXISTS) for one that was configured (true) or belongs to
    // another monitor (false), 8 and 13 for failures. A name that cannot be the port's own registry
    // key is such a failure: one that no key can have, or another port's in upper or lower case.
    bool AddPort(CPortInfo info);
    // Gives a port another configuration, unless a job is on it. A port whose new configuration
    // yields no channel is dropped from the list; its registry key stays.
    bool ConfigurePort(const CPortInfo& info, bool save);
    bool DeletePort(const std::wstring& name);
    // The spooler's answer, over all monitors: 0 when a port of this name exists on the computer,
    // 1796 (ERROR_UNKNOWN_PORT) when not, 13 or 14 on errors. No lock is held: the spooler may ask
    // this monitor's own EnumPorts on another thread.
    [[nodiscard]] static DWORD PortExistsInSystem(const wchar_t* name);

    // --- Look-ups

    [[nodiscard]] CCriticalSection& Lock() noexcept { return m_lock; }
    [[nodiscard]] const CPortList& Ports() const noexcept { return m_ports; }
    // Null, with a log line, for an unknown id.
    [[nodiscard]] std::shared_ptr<CPort> GetPortByHandle(std::uint32_t id) const;

    // Ends the use of a port, and with it the job that is still open on it, if any.
    bool ClosePort(std::uint32_t id);

    // --- Services for the channels (port_services.cpp)

    [[nodiscard]] bool GetPrinterStatus(std::uint32_t portId, std::uint32_t& status) override;
    // The offline bit is not written to a pooled printer: the spooler would stop the other printers
    // of the pool with it.
    bool SetPortStatus(std::uint32_t portId, std::uint32_t status) override;
    bool ClearPortStatus(std::uint32_t portId) override;
    [[nodiscard]] bool IsJobEnded(std::uint32_t portId) override;
    bool SetJobError(std::uint32_t portId) override;

  private:
    void StartLogger() noexcept;
    void TerminateNow();
    // What a caller of ClosePort wants of a job that is still on the port.
    enum class OpenJob { kEnd, kLeave };
    bool ClosePortNow(std::uint32_t id, OpenJob job);
    bool AddNewPort(const CPortInfo& info);
    bool UpdateExistingPort(const CPortInfo& info);

    IPortUsage& m_usage;
    CSocketLibrary m_sockets;  // before the ports: their sockets are closed while it is still there
    bool m_initialized = false;
    MonitorType m_type = MonitorType::kNone;
    std::wstring m_displayName;
    std::wstring m_description;
    CCriticalSection m_lock;
    CPortList m_ports;
};

}  // namespace ksp
