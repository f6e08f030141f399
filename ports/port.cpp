#include "ports/port.h"

#include "channels/lpr_print_channel.h"
#include "channels/raw_print_channel.h"
#include "channels/xlpr_print_channel.h"
#include "ports/registry_store.h"
#include "support/log.h"
#include "support/process_state.h"

namespace ksp {

namespace {

std::unique_ptr<CPrintChannel> NewRawChannel(const CPortInfo& info, IPortServices& services) {
    if (RegistryStore().Type() != MonitorType::kIdPrint) {
        return std::make_unique<CRawPrintChannel>(CRawProtocolInfo(info.PrinterAddress), services);
    }
    const auto portNumber = static_cast<std::uint16_t>(info.SecureRawPortNo);
    CRawProtocolInfo::SetDefaultPortNumber(portNumber);
    CRawProtocolInfo settings(info.PrinterAddress);
    // Another thread may have set the default for its own port in between.
    settings.SetPortNumber(portNumber);
    return std::make_unique<CRawPrintChannel>(settings, services);
}

std::unique_ptr<CPrintChannel> NewLprChannel(const CPortInfo& info, bool extended,
                                             IPortServices& services) {
    const CLprProtocolInfo settings(info.PrinterAddress, info.QueueName, extended);
    if (extended) {
        return std::make_unique<CXlprPrintChannel>(settings, services);
    }
    return std::make_unique<CLprPrintChannel>(settings, services);
}

// The channel for the record's protocol; null, with its log lines, when there is none.
std::unique_ptr<CPrintChannel> NewChannel(const CPortInfo& info, IPortServices& services) {
    try {
        switch (static_cast<ProtocolId>(info.ProtocolID)) {
            case ProtocolId::kLpr:
                return NewLprChannel(info, false, services);
            case ProtocolId::kXlpr:
                return NewLprChannel(info, true, services);
            case ProtocolId::kRaw:
                return NewRawChannel(info, services);
            case ProtocolId::kIpp:
                Log(LogLevel::kInfo, L"creating ipp print channel");
                Log(LogLevel::kError, L"ipp print channel not supported");
                return nullptr;
        }
    } catch (const std::bad_alloc&) {
        Log(LogLevel::kError, L"error creating print channel");
        return nullptr;
    }
    Log(LogLevel::kError, L"Invalid Protocol ID : %d", info.ProtocolID);
    return nullptr;
}

}  // namespace

CPort::~CPort() {
    if (IsProcessEnding()) {
        // Closing would wait for the printer and call the spooler; the system takes everything
        // back.
        static_cast<void>(m_channel.release());
        static_cast<void>(m_printer.Release());
        return;
    }
    m_printer.Reset();
    m_channel.reset();
}

bool CPort::Initialize(const CPortInfo& info) {
    if (!info.PortName.empty()) {
        m_name = info.PortName;
    }
    if (!CreatePrintChannel(info)) {
        Log(LogLevel::kInfo, L"could not create print channel for port: %s", info.PortName.c_str());
        return false;
    }
    if (!m_jobEvent.Create()) {
        Log(LogLevel::kInfo, L"could not create event handle");
        return false;
    }
    return true;
}

bool CPort::CreatePrintChannel(const CPortInfo& info) {
    m_channel = NewChannel(info, m_services);
    if (!m_channel) {
        Log(LogLevel::kError, L"CreatePrintChannel Failed. ProtocolID=%d", info.ProtocolID);
        return false;
    }
    m_channel->WatchEndRequest(m_giveUpRequested);
    return true;
}

bool CPort::DeletePrintChannel() {
    m_channel.reset();
    return true;
}

CPort::ExchangeResult CPort::ExchangePrintChannel(const CPortInfo& info) {
    const CTryJobLock lock(m_jobLock);
    if (!lock.IsHeld() || (m_channel && m_channel->IsOpen())) {
        return ExchangeResult::kOpen;
    }
    DeletePrintChannel();
    return CreatePrintChannel(info) ? ExchangeResult::kExchanged : ExchangeResult::kNoChannel;
}

bool CPort::HasChannel() {
    const CTryJobLock lock(m_jobLock);
    return !lock.IsHeld() || m_channel != nullptr;
}

bool CPort::CloseChannel(Unfinished job) {
    if (job == Unfinished::kGiveUp) {
        m_deleted = true;
        m_giveUpRequested = true;
    }
    m_closeRequested = true;
    return RunRequestedClose();
}

void CPort::LookAtChannel() {
    const CTryJobLock lock(m_jobLock);
    if (lock.IsHeld() && m_channel) {
        static_cast<void>(m_channel->IsOpen());
    }
}

// A port that is deleted was looked at when it was closed.
bool CPort::IsToBeClosed(CPrintChannel& channel) const {
    return m_giveUpRequested ? channel.HasJob() : channel.IsOpen();
}

bool CPort::RunRequestedClose() {
    bool closed = true;
    // Looked at again after every release: a request that came in meanwhile found this thread at
    // work and relies on it.
    while (m_closeRequested) {
        const CTryJobLock lock(m_jobLock);
        if (!lock.IsHeld()) {
            break;
        }
        m_closeRequested = false;
        try {
            if (m_channel && IsToBeClosed(*m_channel)) {
                m_jobLock.BeginWork();
                closed = m_channel->EndDoc() == 0;
            }
        } catch (...) {
            NoteGivenUp();
            throw;
        }
        NoteGivenUp();
    }
    return closed;
}

// Whoever ends the job afterwards must still learn what became of it, also when the request came
// while the channel was being closed.
void CPort::NoteGivenUp() noexcept {
    m_jobGivenUp = m_giveUpRequested.exchange(false) || m_jobGivenUp;
}

void CPort::LeaveJob() noexcept {
    m_jobLock.Release();
    try {
        if (!RunRequestedClose()) {
            Log(LogLevel::kError, L"cannot close print channel");
        }
    } catch (...) {
        Log(LogLevel::kCritical, L"Exception error in ClosePort.");
    }
}

void CPort::SetJob(UniquePrinter printer, DWORD jobId) noexcept {
    m_printer = std::move(printer);
    m_jobId = jobId;
    m_jobGivenUp = m_deleted.load();
    m_jobRecords = SpoolerRecords();
}

bool CPort::SetStatus(std::uint32_t status) {
    if (status == m_status) {
        return true;
    }
    Log(LogLevel::kInfo, L"Old Stat=%d NewStat=%d", m_status, status);
    m_status = status;
    if (m_channel) {
        m_channel->SetPrinterStatus(status);
    }
    // With this command the spooler takes the buffer pointer itself for the status.
    const auto statusAsBuffer = reinterpret_cast<BYTE*>(static_cast<std::uintptr_t>(status));
    return ::SetPrinterW(m_printer.Get(), 0, statusAsBuffer, PRINTER_CONTROL_SET_STATUS) != FALSE;
}

bool CPort::GetJobInfo(SpoolerRecords& job) const {
    if (!m_printer) {
        Log(LogLevel::kError, L"print handle is not set");
        return false;
    }
    const SpoolerAnswer answer = job.Read([this](BYTE* buffer, DWORD size, DWORD* needed) {
        return ::GetJobW(m_printer.Get(), m_jobId, 1, buffer, size, needed);
    });
    switch (answer) {
        case SpoolerAnswer::kOk:
            return true;
        case SpoolerAnswer::kEmpty:
            return false;
        case SpoolerAnswer::kNoMemory:
            Log(LogLevel::kCritical, L"memory allocation failure");
            return false;
        case SpoolerAnswer::kNoSize:
        case SpoolerAnswer::kNotRead:
            break;
    }
    Log(LogLevel::kError, L"error retrieving job info");
    return false;
}

bool CPort::LogJobEvent(bool there) {
    if (!there) {
        Log(LogLevel::kError, L"Invalid Event Handle.");
    }
    return there;
}

bool CPort::SignalJobEvent() {
    return LogJobEvent(m_jobEvent.Signal());
}

bool CPort::ResetJobEvent() {
    return LogJobEvent(m_jobEvent.Reset());
}

bool CPort::WaitJobEvent() {
    return LogJobEvent(m_jobEvent.Wait());
}

}  // namespace ksp
