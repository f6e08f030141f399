#include "ports/port_manager.h"

#include <cwchar>

#include "ports/spooler_query.h"
#include "support/log.h"

namespace ksp {

namespace {

constexpr std::uint32_t kOffline = PRINTER_STATUS_OFFLINE;  // 0x80

// The port's printer as the spooler has it.
[[nodiscard]] bool ReadPrinter(const CPort& port, SpoolerRecords& records) {
    const SpoolerAnswer answer = records.Read([&port](BYTE* buffer, DWORD size, DWORD* needed) {
        return ::GetPrinterW(port.Printer(), 2, buffer, size, needed);
    });
    if (answer == SpoolerAnswer::kNoMemory) {
        Log(LogLevel::kCritical, L"memory allocation failure");
    } else if (answer != SpoolerAnswer::kOk) {
        Log(LogLevel::kInfo, L"error retrieving printer info");
    }
    return answer == SpoolerAnswer::kOk;
}

// A pooled printer has several ports, listed with commas.
[[nodiscard]] bool IsPooled(const CPort& port) {
    SpoolerRecords records;
    if (!ReadPrinter(port, records)) {
        return false;
    }
    const wchar_t* ports = records.As<PRINTER_INFO_2W>()->pPortName;
    return ports != nullptr && std::wcschr(ports, L',') != nullptr;
}

}  // namespace

bool CPortManager::GetPrinterStatus(std::uint32_t portId, std::uint32_t& status) {
    const auto port = m_ports.FindPortById(portId);
    SpoolerRecords records;
    if (!port || !ReadPrinter(*port, records)) {
        return false;
    }
    status = records.As<PRINTER_INFO_2W>()->Status;
    return true;
}

bool CPortManager::SetPortStatus(std::uint32_t portId, std::uint32_t status) {
    const auto port = m_ports.FindPortById(portId);
    if (!port) {
        Log(LogLevel::kError, L"Invalide Port Handle");
        return false;
    }
    if ((status & kOffline) != 0 && IsPooled(*port)) {
        status &= ~kOffline;
    }
    return port->SetStatus(status);
}

bool CPortManager::ClearPortStatus(std::uint32_t portId) {
    const auto port = GetPortByHandle(portId);
    if (!port) {
        return false;
    }
    port->SetStatus(0);
    return true;
}

}  // namespace ksp
