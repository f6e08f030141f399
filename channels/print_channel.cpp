#include "channels/print_channel.h"

#include "discovery/printer_status.h"
#include "discovery/status_values.h"
#include "net/reply_timeout.h"
#include "ports/registry_store.h"
#include "support/log.h"

namespace ksp {

namespace {

constexpr std::uint32_t kPollSeconds = 10;  // more than these must have passed
constexpr int kMostZeroResults = 2;

class CPrintingResolver final : public IAddressResolver {
  public:
    std::optional<std::wstring> ResolvePrinter(const std::wstring& name) override {
        CSLIpAddr address;
        if (address.getByNamePrinting(name, CSLIpAddr::kFamily) != 0) {
            return std::nullopt;
        }
        return address.Text();
    }
};

// A query that cannot even be made for lack of memory is one that failed: the job goes on.
std::uint32_t AskPrinter(const std::wstring& hostName) noexcept {
    try {
        CPrintingResolver resolver;
        return GetPrinterStatus(hostName, resolver);
    } catch (...) {
        return kServerUnknown;
    }
}

}  // namespace

bool CPrintChannel::IsReachable() {
    Log(LogLevel::kInfo, L"The reachable should be done through SNMP/KSPC calls");
    return true;
}

bool CPrintChannel::IsOpen() {
    Log(LogLevel::kTrace, L"print channel is  %s", m_open ? L"OPEN" : L"CLOSE");
    return m_open;
}

std::uint32_t CPrintChannel::PollPrinterStatus(const std::wstring& hostName) {
    if (RegistryStore().Type() == MonitorType::kIdPrint) {
        return 0;
    }
    // Unsigned arithmetic, so that a tick count that has wrapped around still gives the time
    // passed.
    const std::uint32_t now = ::GetTickCount();
    if ((now - m_lastPoll) / 1000 > kPollSeconds) {
        m_lastPoll = now;
        m_cachedStatus = AskPrinter(hostName);
    }
    return m_cachedStatus;
}

std::int32_t CPrintChannel::SendToServer(const void* data, std::int32_t length) {
    if (data == nullptr) {
        return -1;
    }
    const char* rest = static_cast<const char*>(data);
    std::int32_t total = 0;
    int zeroResults = 0;
    while (total < length) {
        const std::int32_t sent = SendOnce(rest, length - total);
        if (sent < 0) {
            Log(LogLevel::kTrace, L"send to server : send error");
            return -1;
        }
        // Counted over the whole call: a printer that takes a little now and then still has an end.
        if (sent == 0 && ++zeroResults == kMostZeroResults) {
            Log(LogLevel::kTrace, L"send to server : over retry count");
            return total;
        }
        rest += sent;
        total += sent;
    }
    return total;
}

void CPrintChannel::OpenJob(std::uint32_t portId) {
    m_open = true;
    m_savedStatus = 0;  // not the one before an earlier job
    if (!m_services.GetPrinterStatus(portId, m_savedStatus)) {
        Log(LogLevel::kError, L"Getting the print status failed");
    }
    m_portId = portId;
}

void CPrintChannel::UpdatePortStatus() noexcept {
    if (m_protocolInfo == nullptr) {
        return;
    }
    try {
        const std::uint32_t status = PollPrinterStatus(m_protocolInfo->HostName());
        m_services.SetPortStatus(m_portId, status);
    } catch (...) {
        // What has been sent is sent: a write that failed for the sake of its report would be
        // offered, and printed, again.
    }
}

std::uint32_t CPrintChannel::ConnectTo(const CSLIpAddr& address, std::uint16_t port,
                                       ChannelState& state) {
    return OnConnection(state, [&] {
        m_pStreamSocket = std::make_unique<CSLStreamSocket>(address, port);
        return m_pStreamSocket->connect();
    });
}

std::uint32_t CPrintChannel::GoOnConnecting(ChannelState& state) {
    return OnConnection(state, [&] { return m_pStreamSocket->selectforconnect(); });
}

std::int32_t CPrintChannel::EndStreamedDoc() {
    if (!m_open) {
        return 0;
    }
    CloseConnection();
    m_services.SetPortStatus(m_portId, m_savedStatus);
    if (!m_services.ClearPortStatus(m_portId)) {
        Log(LogLevel::kError, L"Invalide Port Handle");
    }
    m_open = false;
    return 0;
}

std::int32_t CPrintChannel::AfterFailedConnect(std::uint32_t result, ChannelState& state) {
    switch (result) {
        case ERROR_TIMEOUT:  // 1460: still being made
            state = ChannelState::kConnectPending;
            UpdatePortStatus();
            return 0;
        case WSAETIMEDOUT:  // 10060
            state = ChannelState::kConnectTimedOut;
            UpdatePortStatus();
            CloseConnection();
            return 0;
        default:
            state = ChannelState::kConnectFailed;
            UpdatePortStatus();
            m_pStreamSocket.reset();
            return -1;
    }
}

void CPrintChannel::CloseConnection() noexcept {
    if (m_pStreamSocket) {
        try {
            if (IsEndRequested()) {
                // Whoever gives a job up may hold the port manager's lock: a sleeping printer must
                // not hold up every other port.
                m_pStreamSocket->Abandon();
            } else {
                m_pStreamSocket->close();
            }
        } catch (...) {
            // The socket's destructor closes it; the job that comes next must not find it.
        }
        m_pStreamSocket.reset();
    }
}

std::int32_t CPrintChannel::SendOnce(const void* data, std::int32_t length) {
    if (!m_pStreamSocket) {
        return -1;
    }
    if (const auto sent = m_pStreamSocket->SendNow(data, length); sent) {
        return *sent;
    }
    return m_pStreamSocket->send(data, length, GetWaitServerReplyTimeout());
}

}  // namespace ksp
