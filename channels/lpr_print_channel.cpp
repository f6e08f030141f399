#include "channels/lpr_print_channel.h"

#include <lmcons.h>

#include <algorithm>

#include "channels/job_counter.h"
#include "channels/lpr_commands.h"
#include "net/reply_timeout.h"
#include "support/log.h"
#include "support/text.h"

namespace ksp {

namespace {

constexpr std::size_t kLongestUser = 31;           // RFC 1179 section 7.2
constexpr std::size_t kLongestJob = 99;            // RFC 1179 section 7.2
constexpr std::uint16_t kFirstReservedPort = 721;  // RFC 1179 section 3.1
constexpr std::uint16_t kLastReservedPort = 731;

std::wstring CurrentUser() {
    wchar_t name[UNLEN + 1] = {};
    DWORD length = UNLEN + 1;
    return ::GetUserNameW(name, &length) != FALSE ? name : L"DefaultUser";
}

}  // namespace

CLprPrintChannel::CLprPrintChannel(const CLprProtocolInfo& info, IPortServices& services)
    : CPrintChannel(services), m_info(info) {
    m_protocolInfo = &m_info;
}

std::int32_t CLprPrintChannel::SetProtocolInfo(const CProtocolInfo& info) {
    CloseConnection();
    if (const auto* lpr = dynamic_cast<const CLprProtocolInfo*>(&info);
        lpr != nullptr && lpr != &m_info) {
        m_info = *lpr;
    }
    m_state = ChannelState::kIdle;
    m_open = false;
    return 0;
}

void CLprPrintChannel::SetDocumentName(const wchar_t* name) {
    m_documentName = name != nullptr ? name : L"TEMP.TXT";
}

std::int32_t CLprPrintChannel::StartDoc(std::uint32_t portId, const wchar_t* documentName) {
    // Whatever the job before left, a job that cannot be spooled has nothing to send.
    m_state = ChannelState::kIdle;
    OpenJob(portId);
    m_jobNumber = TakeJobNumber();
    SetDocumentName(documentName);
    if (!m_spoolFile.Create(m_jobNumber)) {
        return -1;
    }
    m_state = ChannelState::kStarted;
    return 0;
}

std::int32_t CLprPrintChannel::WritePort(const BYTE* data, std::int32_t length) {
    if (m_state != ChannelState::kStarted && m_state != ChannelState::kSpooled) {
        return -1;
    }
    return Spool(data, length, length);
}

std::int32_t CLprPrintChannel::WritePortWithHeader(const BYTE* data, std::int32_t length,
                                                   const BYTE* combined,
                                                   std::int32_t combinedLength) {
    return m_state == ChannelState::kStarted ? Spool(combined, combinedLength, length)
                                             : WritePort(data, length);
}

std::int32_t CLprPrintChannel::Spool(const BYTE* data, std::int32_t length, std::int32_t taken) {
    if (!m_spoolFile.Write(data, static_cast<std::uint32_t>(length))) {
        m_state = ChannelState::kSpoolFailed;
        return -1;
    }
    m_state = ChannelState::kSpooled;
    return taken;
}

std::int32_t CLprPrintChannel::WaitforAck() {
    if (!m_pStreamSocket) {
        return -1;
    }
    char answer = 0;
    const std::int32_t received = m_pStreamSocket->recv(&answer, 1, GetWaitServerReplyTimeout());
    if (received <= 0) {
        return received;
    }
    if (answer != 0) {
        Log(LogLevel::kInfo, L"WaitforAck() = ERROR, bytes=%d", received);
        return -1;
    }
    return 1;
}

bool CLprPrintChannel::SendWhole(const std::string& bytes) {
    const auto length = static_cast<std::int32_t>(bytes.size());
    return SendToServer(bytes.data(), length) == length;
}

bool CLprPrintChannel::SendCommand(const std::string& command) {
    return SendWhole(command) && WaitforAck() > 0;
}

std::int32_t CLprPrintChannel::SendPrintJobInformation() {
    return SendWhole(LprReceiveJobCommand(ToAnsi(m_info.GetQueueName()))) ? 0 : -1;
}

std::int32_t CLprPrintChannel::SendControlInformation() {
    const auto host = LocalHostName(std::string::npos);
    if (!host) {
        return -1;
    }
    const CLprJobNames names{*host, LprLineText(ToAnsi(CurrentUser()), kLongestUser),
                             LprLineText(ToAnsi(m_documentName), kLongestJob)};
    m_jobNumber = TakeJobNumber();
    const std::string control = LprControlFile(names, m_jobNumber);
    if (!SendCommand(LprControlFileCommand(control.size(), m_jobNumber, *host))) {
        return -1;
    }
    // A file ends with a zero octet (RFC 1179 section 6.2): the text's own terminator.
    return SendCommand(control + '\0') ? 0 : -1;
}

std::int32_t CLprPrintChannel::SendDataFileInformation() {
    // Daemons count in 32 bits with a sign; a longer job cannot be announced.
    constexpr std::uint64_t kMost = 0x7FFFFFFF;
    const std::uint64_t size = m_spoolFile.Size().value_or(0);
    const auto host = LocalHostName(kLongestHost);
    if (!host || size > kMost) {
        return -1;
    }
    return SendCommand(LprDataFileCommand(std::to_string(size), m_jobNumber, *host)) ? 0 : -1;
}

std::optional<std::string> CLprPrintChannel::LocalHostName(std::size_t longest) {
    wchar_t name[MAX_COMPUTERNAME_LENGTH + 1] = {};
    DWORD length = MAX_COMPUTERNAME_LENGTH + 1;
    if (::GetComputerNameW(name, &length) == FALSE) {
        Log(LogLevel::kInfo, L"GetComputerName failed");
        return std::nullopt;
    }
    return LprLineText(ToAnsi(name), longest);
}

std::int32_t CLprPrintChannel::openConnection() {
    if (m_pStreamSocket) {
        Log(LogLevel::kError, L"severe error, the m_pStreamSocket should be NULL ");
        return -1;
    }
    CSLIpAddr printer;
    if (printer.getByNamePrinting(m_info.GetHostName(), CSLIpAddr::kFamily) != 0) {
        Log(LogLevel::kInfo, L"getByName failed");
        return -1;
    }
    CSLIpAddr local;
    if (local.getLocalHost() == 0) {
        for (std::uint16_t port = kFirstReservedPort; port <= kLastReservedPort; ++port) {
            auto socket = std::make_unique<CSLStreamSocket>(printer, m_info.GetPortNumber());
            socket->SetLocalAddress(local);
            socket->KeepLocalPort(port);
            const std::uint32_t result = Connect(std::move(socket));
            if (result != WSAEADDRINUSE) {
                return result == 0 ? 0 : -1;
            }
        }
    }
    return Connect(std::make_unique<CSLStreamSocket>(printer, m_info.GetPortNumber())) == 0 ? 0
                                                                                            : -1;
}

std::uint32_t CLprPrintChannel::Connect(std::unique_ptr<CSLStreamSocket> socket) {
    std::uint32_t result = socket->connect();
    while (result == ERROR_TIMEOUT) {
        UpdatePortStatus();
        result = socket->selectforconnect();
    }
    if (result == 0) {
        m_pStreamSocket = std::move(socket);
    }
    return result;
}

}  // namespace ksp
