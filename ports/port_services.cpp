#include "ports/port_manager.h"

#include <cwchar>

#include "support/log.h"
#include "support/spooler_query.h"

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

// The port's job with everything that the spooler knows of it.
[[nodiscard]] SpoolerAnswer ReadJob(const CPort& port, SpoolerRecords& records) {
    return records.Read([&port](BYTE* buffer, DWORD size, DWORD* needed) {
        return ::GetJobW(port.Printer(), port.JobId(), 2, buffer, size, needed);
    });
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

bool CPortManager::IsJobEnded(std::uint32_t portId) {
    constexpr DWORD kEnded = JOB_STATUS_DELETED | JOB_STATUS_DELETING | JOB_STATUS_RESTART;
    const auto port = m_ports.FindPortById(portId);
    SpoolerRecords job;
    return port && port->GetJobInfo(job) && (job.As<JOB_INFO_1W>()->Status & kEnded) != 0;
}

bool CPortManager::SetJobError(std::uint32_t portId) {
    const auto port = m_ports.FindPortById(portId);
    SpoolerRecords records;
    const SpoolerAnswer answer = !port ? SpoolerAnswer::kNotRead : ReadJob(*port, records);
    if (answer == SpoolerAnswer::kNoMemory) {
        Log(LogLevel::kCritical, L"memory allocation failure");
        return false;
    }
    if (answer == SpoolerAnswer::kOk) {
        auto* const job = records.As<JOB_INFO_2W>();
        job->Status |= JOB_STATUS_ERROR;
        if (::SetJobW(port->Printer(), port->JobId(), 2, records.As<BYTE>(), 0) != FALSE) {
            return true;
        }
    }
    Log(LogLevel::kError, L"error retrieving job info");
    return false;
}

}  // namespace ksp
