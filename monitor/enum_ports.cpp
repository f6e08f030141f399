#include "monitor/port_operations.h"

#include <cstring>
#include <string>

#include "support/log.h"

namespace ksp {

namespace {

std::size_t SizeOfNames(const CPortArray& ports) {
    return ports.size() * sizeof(PORT_INFO_1W) + ports.NameCharacters() * sizeof(wchar_t);
}

// The structures from the start, the names from the end of the buffer downwards.
void FillNames(const CPortArray& ports, BYTE* buffer, DWORD size) {
    BYTE* names = buffer + size;
    for (const _stPort& entry : ports) {
        const std::wstring& name = entry.port->Name();
        const std::size_t bytes = (name.size() + 1) * sizeof(wchar_t);
        names -= bytes;
        std::memcpy(names, name.c_str(), bytes);
        const PORT_INFO_1W info{reinterpret_cast<wchar_t*>(names)};
        std::memcpy(buffer, &info, sizeof(info));
        buffer += sizeof(info);
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
    if (level == 2) {
        m_listing.Prepare(ports, m_manager.DisplayName(), m_manager.PortDescription());
    }
    const std::size_t bytes = level == 1 ? SizeOfNames(*ports) : m_listing.Size();
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
    if (level == 1) {
        FillNames(*ports, buffer, size);
    } else {
        m_listing.Fill(buffer, size);
    }
    if (returned == nullptr) {
        Log(LogLevel::kError, L"ERROR_INSUFFICIENT_BUFFER");
        return ERROR_INSUFFICIENT_BUFFER;
    }
    Store(returned, ports->size());
    Log(LogLevel::kTrace, L"EnumPorts Success");
    return ERROR_SUCCESS;
}

}  // namespace ksp
