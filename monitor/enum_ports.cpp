#include "monitor/port_operations.h"

#include <cstring>
#include <string>

#include "support/log.h"

namespace ksp {

namespace {

constexpr DWORD kPortType = PORT_TYPE_WRITE | PORT_TYPE_READ;

std::size_t BytesOf(const std::wstring& text) {
    return (text.size() + 1) * sizeof(wchar_t);
}

std::size_t BytesNeeded(const std::vector<_stPort>& ports, DWORD level,
                        const CPortManager& manager) {
    const std::size_t perPort = level == 1 ? sizeof(PORT_INFO_1W)
                                           : sizeof(PORT_INFO_2W) + BytesOf(manager.DisplayName()) +
                                                 BytesOf(manager.PortDescription());
    std::size_t needed = ports.size() * perPort;
    for (const _stPort& entry : ports) {
        needed += BytesOf(entry.port->Name());
    }
    return needed;
}

// Packs strings from the end of a buffer downwards.
class CStringPacker {
  public:
    explicit CStringPacker(BYTE* end) : m_position(end) {}

    [[nodiscard]] wchar_t* Place(const std::wstring& text) {
        m_position -= BytesOf(text);
        std::memcpy(m_position, text.c_str(), BytesOf(text));
        return reinterpret_cast<wchar_t*>(m_position);
    }

  private:
    BYTE* m_position;
};

void Fill(const std::vector<_stPort>& ports, DWORD level, BYTE* buffer, DWORD size,
          const CPortManager& manager) {
    CStringPacker strings(buffer + size);
    BYTE* position = buffer;
    for (const _stPort& entry : ports) {
        wchar_t* const name = strings.Place(entry.port->Name());
        if (level == 1) {
            const PORT_INFO_1W info{name};
            std::memcpy(position, &info, sizeof(info));
            position += sizeof(info);
        } else {
            PORT_INFO_2W info{};
            info.pPortName = name;
            info.pMonitorName = strings.Place(manager.DisplayName());
            info.pDescription = strings.Place(manager.PortDescription());
            info.fPortType = kPortType;
            std::memcpy(position, &info, sizeof(info));
            position += sizeof(info);
        }
    }
}

void Store(DWORD* target, std::size_t value) {
    if (target != nullptr) {
        *target = static_cast<DWORD>(value);
    }
}

}  // namespace

DWORD CPortOperations::EnumPorts(DWORD level, BYTE* buffer, DWORD size, DWORD* needed,
                                 DWORD* returned) {
    try {
        return EnumPortsNow(level, buffer, size, needed, returned);
    } catch (...) {
        Log(LogLevel::kCritical, L"Exception error in EnumPorts.");
        return ERROR_INVALID_FUNCTION;
    }
}

DWORD CPortOperations::EnumPortsNow(DWORD level, BYTE* buffer, DWORD size, DWORD* needed,
                                    DWORD* returned) {
    const CAutoLogCritSec guard(&m_manager.Lock());
    if (!m_manager.IsInitialized()) {
        Log(LogLevel::kError, L"CPortManager is not initialized.");
        return ERROR_NOT_READY;
    }
    Log(LogLevel::kTrace, L"called enum ports : level %d", level);
    if (level != 1 && level != 2) {
        Log(LogLevel::kError, L"Input Level is not support. (level %d)", level);
        return ERROR_INVALID_LEVEL;
    }
    const CPortList::Snapshot ports = m_manager.Ports().Ports();
    if (ports->empty()) {
        Log(LogLevel::kInfo, L"No. Of Ports is 0");
        Store(needed, 0);
        Store(returned, 0);
        return ERROR_SUCCESS;
    }
    const std::size_t bytes = BytesNeeded(*ports, level, m_manager);
    Store(needed, bytes);
    if (size < bytes) {
        Log(LogLevel::kTrace, L"buffer size is too small : buffer size=%d, need size=%d", size,
            static_cast<DWORD>(bytes));
        return ERROR_INSUFFICIENT_BUFFER;
    }
    if (buffer == nullptr) {
        Log(LogLevel::kError, L"buffer pointer is null");
        return ERROR_INSUFFICIENT_BUFFER;
    }
    Fill(*ports, level, buffer, size, m_manager);
    if (returned == nullptr) {
        Log(LogLevel::kError, L"ERROR_INSUFFICIENT_BUFFER");
        return ERROR_INSUFFICIENT_BUFFER;
    }
    Store(returned, ports->size());
    Log(LogLevel::kTrace, L"EnumPorts Success");
    return ERROR_SUCCESS;
}

}  // namespace ksp
