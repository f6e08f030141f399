#include "monitor/port_operations.h"

#include <algorithm>

#include "monitor/confirmation_print.h"
#include "monitor/handle_id.h"
#include "monitor/job_data.h"
#include "net/ip_address.h"
#include "ports/registry_store.h"
#include "support/log.h"

namespace ksp {

namespace {

constexpr std::int32_t kChannelOpened = 0;
constexpr std::int32_t kChannelOpenedAlready = 0x23000003;
constexpr DWORD kPausedJobPause = 2000;  // milliseconds

// A printer without full access is still good for everything but its status.
UniquePrinter OpenJobPrinter(wchar_t* printerName) {
    // What a failed call leaves in the handle is not ours to close.
    HANDLE printer = nullptr;
    PRINTER_DEFAULTSW defaults{nullptr, nullptr, PRINTER_ALL_ACCESS};
    if (::OpenPrinterW(printerName, &printer, &defaults) != FALSE) {
        return UniquePrinter(printer);
    }
    Log(LogLevel::kInfo, L"error opening printer with all access");
    defaults.DesiredAccess = PRINTER_ACCESS_USE;
    if (::OpenPrinterW(printerName, &printer, &defaults) != FALSE) {
        return UniquePrinter(printer);
    }
    Log(LogLevel::kError, L"error opening printer");
    return UniquePrinter();
}

// The job is written back as it is, which makes the spooler notice it, and then reported sent.
void ReportSent(const CPort& port) {
    SpoolerRecords job;
    if (job.Read([&port](BYTE* buffer, DWORD size, DWORD* needed) {
            return ::GetJobW(port.Printer(), port.JobId(), 2, buffer, size, needed);
        }) == SpoolerAnswer::kOk) {
        ::SetJobW(port.Printer(), port.JobId(), 2, job.As<BYTE>(), 0);
    }
    ::SetJobW(port.Printer(), port.JobId(), 0, nullptr, JOB_CONTROL_SENT_TO_PRINTER);
}

// Looks the port up in the registry. Only ID printing needs its record; the ordinary monitor, which
// asks before every write, leaves it empty.
[[nodiscard]] bool FindRecord(const CPort& port, CPortInfo& info) {
    if (port.Name().empty()) {
        return false;
    }
    CRegistryStore& store = RegistryStore();
    return store.Type() == MonitorType::kIdPrint ? store.ReadPort(port.Name().c_str(), info) != 0
                                                 : store.HasPort(port.Name().c_str());
}

// A record that cannot be read is an empty one.
CPortInfo ReadRecord(const CPort& port) {
    CPortInfo info;
    return FindRecord(port, info) ? info : CPortInfo();
}

// An ID-print printer that does not answer must not be sent a job: it would vanish in silence.
[[nodiscard]] bool IsPrinterReady(const CPort& port, const CPortInfo& info) {
    if (RegistryStore().Type() != MonitorType::kIdPrint || port.Channel() == nullptr) {
        return true;
    }
    const CProtocolInfo* const settings = port.Channel()->GetProtocolInfo();
    if (CSLIpAddr::isSecureReachable(settings->GetHostName(),
                                     static_cast<std::uint16_t>(info.CheckPortNo))) {
        return true;
    }
    Log(LogLevel::kCritical, L"CSLIpAddr::isSecureReachable not Connect");
    return false;
}

// False when the port has no channel or the spooler does not know the job.
[[nodiscard]] bool ReadJobState(CPort& port, bool& paused) {
    if (port.Channel() == nullptr) {
        Log(LogLevel::kError, L"print channel is no set");
        return false;
    }
    SpoolerRecords& job = port.JobRecords();
    if (!port.GetJobInfo(job)) {
        return false;
    }
    Log(LogLevel::kTrace, L"try check job status.");
    paused = (job.As<JOB_INFO_1W>()->Status & JOB_STATUS_PAUSED) != 0;
    return true;
}

// The channel's write result. A port that the registry does not know any more takes nothing.
std::int32_t WriteToChannel(const CPort& port, const BYTE* data, DWORD size) {
    CPortInfo info;
    if (!FindRecord(port, info)) {
        return 0;
    }
    return WriteJobData(port, info, data, size);
}

// The channel may have counted a job header too. A spooler that was told of more bytes than it
// offered would go on behind its buffer.
[[nodiscard]] bool ReportWritten(std::int32_t taken, DWORD offered, DWORD* written) {
    const DWORD count = taken > 0 ? std::min(static_cast<DWORD>(taken), offered) : 0;
    if (written != nullptr) {
        *written = count;
    }
    if (count == 0) {
        Log(LogLevel::kTrace, L"WritePort Failed");
        return false;
    }
    Log(LogLevel::kTrace, L"WritePort Success. written:%d", count);
    return true;
}

// The event is signalled again however the write ends: EndDocPort waits for it without limit.
class CSendingWrite {
  public:
    explicit CSendingWrite(CPort& port) : m_port(port) { m_port.ResetJobEvent(); }
    ~CSendingWrite() { m_port.SignalJobEvent(); }
    CSendingWrite(const CSendingWrite&) = delete;
    CSendingWrite& operator=(const CSendingWrite&) = delete;

  private:
    CPort& m_port;
};

}  // namespace

bool CPortOperations::OpenPort(const wchar_t* name, HANDLE* handle) {
    try {
        return OpenPortNow(name, handle);
    } catch (...) {
        Log(LogLevel::kCritical, L"Exception error in OpenPort.");
        return false;
    }
}

bool CPortOperations::OpenPortNow(const wchar_t* name, HANDLE* handle) {
    const CAutoLogCritSec guard(&m_manager.Lock());
    if (!m_manager.IsInitialized()) {
        Log(LogLevel::kError, L"CPortManager is not initialized.");
        return false;
    }
    Log(LogLevel::kTrace, L"called open port : %s", name);
    if (handle != nullptr) {
        *handle = nullptr;
    }
    const std::uint32_t id =
        name != nullptr ? m_manager.Ports().FindPortIdByName(name) : CPortManager::kNoId;
    if (id == CPortManager::kNoId) {
        Log(LogLevel::kError, L"port not found");
        return false;
    }
    const auto port = m_manager.Ports().FindPortById(id);
    if (!port) {
        Log(LogLevel::kError, L"invalidate port");
        return false;
    }
    port->SetState(CPort::OpenState::kOpened);
    if (handle != nullptr) {
        *handle = HandleOfId(id);
    }
    Log(LogLevel::kTrace, L"success open port");
    return true;
}

bool CPortOperations::StartDocPort(HANDLE handle, wchar_t* printerName, DWORD jobId,
                                   const DOC_INFO_1W* document) {
    try {
        bool opened = true;
        const bool started = StartDocPortNow(handle, printerName, jobId, document, opened);
        if (!opened) {
            // Last: giving the port back could change it.
            ::SetLastError(ERROR_UNEXP_NET_ERR);
        }
        return started;
    } catch (...) {
        Log(LogLevel::kCritical, L"Exception error in StartDocPort.");
        return false;
    }
}

bool CPortOperations::StartDocPortNow(HANDLE handle, wchar_t* printerName, DWORD jobId,
                                      const DOC_INFO_1W* document, bool& channelOpened) {
    Log(LogLevel::kTrace, L"called start doc port");
    const auto port = m_manager.GetPortByHandle(IdOfHandle(handle));
    if (!port) {
        return false;
    }
    UniquePrinter printer = OpenJobPrinter(printerName);
    if (!printer) {
        return false;
    }
    const CJobScope scope(*port);
    port->SetJob(std::move(printer), jobId);
    // It was deleted while the printer was opened.
    if (port->IsGivenUp()) {
        Log(LogLevel::kError, L"invalid port handle");
        port->ClearJob();
        return false;
    }
    if (!IsPrinterReady(*port, ReadRecord(*port))) {
        return false;
    }
    port->SetStatus(0);
    LaunchConfirmationPrint(port->Name().c_str(), printerName, document);
    Log(LogLevel::kTrace, L"try open print channel.");
    CPrintChannel* const channel = port->Channel();
    if (channel == nullptr) {
        Log(LogLevel::kError, L"failed get print channel.");
        return false;
    }
    const std::int32_t opened =
        channel->StartDoc(IdOfHandle(handle), document != nullptr ? document->pDocName : nullptr);
    if (opened != kChannelOpened && opened != kChannelOpenedAlready) {
        Log(LogLevel::kError, L"error opening print channel");
        channelOpened = false;
        return false;
    }
    port->SignalJobEvent();
    Log(LogLevel::kTrace, L"success start doc port");
    return true;
}

bool CPortOperations::WritePort(HANDLE handle, const BYTE* data, DWORD size, DWORD* written) {
    try {
        return WritePortNow(handle, data, size, written);
    } catch (...) {
        Log(LogLevel::kCritical, L"Exception error in WritePort.");
        return false;
    }
}

bool CPortOperations::WritePortNow(HANDLE handle, const BYTE* data, DWORD size, DWORD* written) {
    Log(LogLevel::kTrace, L"called write port");
    if (data == nullptr || size == 0) {
        Log(LogLevel::kInfo, L"buffer ptr is null or the size of the buffer is 0");
        return false;
    }
    const auto port = m_manager.GetPortByHandle(IdOfHandle(handle));
    if (!port) {
        return false;
    }
    std::int32_t taken = 0;
    bool paused = false;
    {
        const CJobScope scope(*port);
        Log(LogLevel::kTrace, L"job id = %d", port->JobId());
        if (!ReadJobState(*port, paused)) {
            Log(LogLevel::kError, L"error get job info.");
            return false;
        }
        if (!paused) {
            const CSendingWrite sending(*port);
            // The channel of a job that was given up must not connect again.
            taken = port->IsGivenUp() ? 0 : WriteToChannel(*port, data, size);
        }
    }
    if (paused) {
        // The spooler calls again at once; the pause makes that a poll every two seconds.
        Log(LogLevel::kError, L"error job status paused.");
        ::Sleep(kPausedJobPause);
        return false;
    }
    return ReportWritten(taken, size, written);
}

bool CPortOperations::EndDocPort(HANDLE handle) {
    try {
        return EndDocPortNow(handle);
    } catch (...) {
        Log(LogLevel::kCritical, L"Exception error in EndDocPort.");
        return false;
    }
}

bool CPortOperations::EndDocPortNow(HANDLE handle) {
    Log(LogLevel::kTrace, L"called end doc port");
    const auto port = m_manager.GetPortByHandle(IdOfHandle(handle));
    if (!port) {
        return false;
    }
    // A missing event is logged and does not hold the job up.
    static_cast<void>(port->WaitJobEvent());
    const CJobScope scope(*port);
    CPrintChannel* const channel = port->Channel();
    // A job that was given up has not been sent.
    if (channel == nullptr || channel->EndDoc() != 0 || port->IsGivenUp()) {
        Log(LogLevel::kError, L"cannot close print channel");
        port->ClearJob();
        return false;
    }
    if (port->Printer() != nullptr) {
        ReportSent(*port);
        port->ClearJob();
    }
    return true;
}

bool CPortOperations::ClosePort(HANDLE handle) {
    return m_manager.ClosePort(IdOfHandle(handle));
}

}  // namespace ksp
