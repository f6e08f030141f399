#include "ports/port_manager.h"

#include <new>
#include <string_view>

#include "ports/port_record_forms.h"
#include "ports/registry_store.h"
#include "support/log.h"
#include "support/spooler_query.h"

namespace ksp {

namespace {

constexpr wchar_t kDefaultQueue[] = L"KSPQueue";

void ApplyProtocolDefaults(CPortInfo& info, MonitorType type) {
    switch (static_cast<ProtocolId>(info.ProtocolID)) {
        case ProtocolId::kLpr:
        case ProtocolId::kXlpr:
            Log(LogLevel::kTrace, L"initializing default lpr qname");
            info.QueueName = kDefaultQueue;
            info.PortNumber = kLprPort;
            break;
        case ProtocolId::kRaw:
            info.QueueName.clear();
            info.PortNumber = type == MonitorType::kIdPrint ? kSecureRawPort : kRawPort;
            break;
        default:
            break;
    }
}

}  // namespace

std::shared_ptr<CPort> CPortManager::GetPortByHandle(std::uint32_t id) const {
    auto port = m_ports.FindPortById(id);
    if (!port) {
        Log(LogLevel::kError, L"invalid port handle");
    }
    return port;
}

DWORD CPortManager::PortExistsInSystem(const wchar_t* name) {
    if (name == nullptr || *name == L'\0') {
        return ERROR_INVALID_DATA;
    }
    DWORD count = 0;
    SpoolerRecords records;
    switch (records.Read([&count](BYTE* buffer, DWORD size, DWORD* needed) {
        return ::EnumPortsW(nullptr, 1, buffer, size, needed, &count);
    })) {
        case SpoolerAnswer::kOk:
            break;
        case SpoolerAnswer::kEmpty:
            return ERROR_INVALID_DATA;
        case SpoolerAnswer::kNoMemory:
            Log(LogLevel::kError, L"error failed malloc");
            return ERROR_OUTOFMEMORY;
        case SpoolerAnswer::kNoSize:
        case SpoolerAnswer::kNotRead:
            Log(LogLevel::kError, L"error doing enumports");
            return ERROR_INVALID_DATA;
    }
    const auto* ports = records.As<PORT_INFO_1W>();
    for (DWORD index = 0; index < count; ++index) {
        if (ports[index].pName != nullptr && std::wstring_view(ports[index].pName) == name) {
            Log(LogLevel::kTrace, L"returning port exists");
            return ERROR_SUCCESS;
        }
    }
    return ERROR_UNKNOWN_PORT;
}

bool CPortManager::AddPort(CPortInfo info) {
    if (!IsPortNameValid(info.PortName)) {
        ::SetLastError(ERROR_INVALID_DATA);
        Log(LogLevel::kError, L"invalidate Port");
        return false;
    }
    if (PortExistsInSystem(info.PortName.c_str()) == ERROR_SUCCESS &&
        m_ports.FindPortIdByName(info.PortName) == kNoId) {
        Log(LogLevel::kError, L"invalidate Port");
        ::SetLastError(ERROR_ALREADY_EXISTS);
        Log(LogLevel::kError, L"port already exists");
        return false;
    }
    ApplyProtocolDefaults(info, m_type);
    const CAutoLogCritSec guard(&m_lock);
    const bool exists = m_ports.FindPortIdByName(info.PortName) != kNoId;
    if (!(exists ? UpdateExistingPort(info) : AddNewPort(info))) {
        return false;
    }
    Log(LogLevel::kInfo, L"port added successfully");
    return true;
}

bool CPortManager::UpdateExistingPort(const CPortInfo& info) {
    if (!ConfigurePort(info, true)) {
        ::SetLastError(ERROR_INVALID_DATA);
        Log(LogLevel::kInfo, L"failed update port info");
        return false;
    }
    ::SetLastError(ERROR_ALREADY_EXISTS);
    return true;
}

bool CPortManager::AddNewPort(const CPortInfo& info) {
    Log(LogLevel::kError, L"invalidate Port");
    // Two ports on one key would overwrite each other, and only one would be there at the next
    // start.
    if (RegistryStore().IsKeyOfAnotherPort(info.PortName)) {
        ::SetLastError(ERROR_INVALID_DATA);
        Log(LogLevel::kError, L"port name differs only in case : %s", info.PortName.c_str());
        return false;
    }
    try {
        auto port = std::make_shared<CPort>(*this);
        if (!port->Initialize(info)) {
            ::SetLastError(ERROR_INVALID_DATA);
            Log(LogLevel::kInfo, L"Port Initialize Failed : %s", info.PortName.c_str());
            return false;
        }
        m_ports.AddPortToList(std::move(port));
    } catch (const std::bad_alloc&) {
        ::SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        Log(LogLevel::kCritical, L"memory allocation error");
        return false;
    }
    RegistryStore().AddPortKey(info);
    ::SetLastError(ERROR_SUCCESS);
    return true;
}

bool CPortManager::ConfigurePort(const CPortInfo& info, bool save) {
    Log(LogLevel::kTrace, L"configuring qname = %s   m_addrtype = %d", info.QueueName.c_str(),
        info.PrinterAddressType);
    const std::uint32_t id = m_ports.FindPortIdByName(info.PortName);
    if (id == kNoId) {
        Log(LogLevel::kError, L"port not found");
        return false;
    }
    const auto port = m_ports.FindPortById(id);
    if (!port) {
        Log(LogLevel::kError, L"invalidate port");
        return false;
    }
    switch (port->ExchangePrintChannel(info)) {
        case CPort::ExchangeResult::kOpen:
            Log(LogLevel::kError, L"print channel is open: cannot configure now");
            return false;
        case CPort::ExchangeResult::kNoChannel:
            Log(LogLevel::kError, L"Failed create print channel for port:%s",
                info.PortName.c_str());
            Log(LogLevel::kError, L"cannot create print channel for port:%s",
                info.PortName.c_str());
            m_ports.DeletePortById(id);
            return false;
        case CPort::ExchangeResult::kExchanged:
            break;
    }
    RegistryStore().UpdatePortKey(info, save);
    Log(LogLevel::kInfo, L"port configured successfully");
    return true;
}

bool CPortManager::DeletePort(const std::wstring& name) {
    std::shared_ptr<CPort> port;  // goes after the lock: its connection may take its time
    const CAutoLogCritSec guard(&m_lock);
    const std::uint32_t id = m_ports.FindPortIdByName(name);
    if (id == kNoId) {
        Log(LogLevel::kError, L"port not found");
        return false;
    }
    Log(LogLevel::kTrace, L"Call ClosePort()");
    // A job that is on the port is not touched until it is known that the port goes: the printer
    // that sent it may be the very reason why it stays.
    ClosePortNow(id, OpenJob::kLeave);
    port = m_ports.FindPortById(id);
    if (!port) {
        Log(LogLevel::kError, L"port not found");
        return false;
    }
    if (m_usage.IsPortUsedByPrinter(name.c_str())) {
        Log(LogLevel::kError, L"port in use. cannot delete");
        return false;
    }
    // The lock is held: nothing of a job may be delivered now, however long its printer would take.
    static_cast<void>(port->CloseChannel(CPort::Unfinished::kGiveUp));
    try {
        m_ports.DeletePortById(id);
    } catch (...) {
        port->Stay();
        throw;
    }
    RegistryStore().DeletePortKey(name);
    Log(LogLevel::kInfo, L"port deleted successfully");
    return true;
}

bool CPortManager::ClosePort(std::uint32_t id) {
    try {
        return ClosePortNow(id, OpenJob::kEnd);
    } catch (...) {
        Log(LogLevel::kCritical, L"Exception error in ClosePort.");
        return false;
    }
}

bool CPortManager::ClosePortNow(std::uint32_t id, OpenJob job) {
    Log(LogLevel::kTrace, L"called close port");
    const auto port = GetPortByHandle(id);
    if (!port) {
        return false;
    }
    if (port->State() != CPort::OpenState::kOpened) {
        Log(LogLevel::kError, L"port not open. cannot close");
        return true;
    }
    if (!port->HasChannel()) {
        Log(LogLevel::kError, L"cannot get print channel");
        return false;
    }
    if (job == OpenJob::kLeave) {
        port->LookAtChannel();
    } else if (!port->CloseChannel(CPort::Unfinished::kEnd)) {
        Log(LogLevel::kError, L"cannot close print channel");
        return false;
    }
    port->SetState(CPort::OpenState::kClosed);
    Log(LogLevel::kInfo, L"success close port");
    return true;
}

}  // namespace ksp
