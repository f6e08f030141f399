#include "channels/xlpr_print_channel.h"

#include <string>

#include "channels/lpr_commands.h"
#include "ports/registry_store.h"
#include "support/log.h"

namespace ksp {

namespace {

// The announced count is this many times 1000, by three zeros behind its digits: more than any job.
constexpr std::uint32_t kDefaultMaxFileSize = 0x40000000;
constexpr std::uint32_t kMostMaxFileSize = 0x7FFFFFFF;

std::uint32_t Number(ChannelState state) {
    return static_cast<std::uint32_t>(state);
}

std::string AnnouncedCount() {
    const std::uint32_t size = RegistryStore().ReadSetting(L"MaxFileSize").value_or(0);
    const bool usable = size != 0 && size <= kMostMaxFileSize;
    return std::to_string(usable ? size : kDefaultMaxFileSize) + "000";
}

}  // namespace

std::int32_t CXlprPrintChannel::StartDoc(std::uint32_t portId, const wchar_t* documentName) {
    OpenJob(portId);
    m_state = ChannelState::kStarted;
    SetDocumentName(documentName);
    return 0;
}

std::int32_t CXlprPrintChannel::WritePortWithHeader(const BYTE* data, std::int32_t length,
                                                    const BYTE* /*combined*/,
                                                    std::int32_t /*combinedLength*/) {
    return WritePort(data, length);
}

std::int32_t CXlprPrintChannel::WritePort(const BYTE* data, std::int32_t length) {
    Log(LogLevel::kTrace, L"Xlpr write : hostname %s, state %d", m_info.HostName().c_str(),
        Number(m_state));
    switch (m_state) {
        case ChannelState::kStarted:
        case ChannelState::kConnectTimedOut:
        case ChannelState::kConnectFailed:
            return ConnectAndSend(data, length);
        case ChannelState::kConnectPending:
            return WaitAndSend(data, length);
        case ChannelState::kWaitingForAck:
            return AwaitAcknowledgement(data, length);
        case ChannelState::kStreaming:
        case ChannelState::kStreamedNothing:
            return SendData(data, length);
        case ChannelState::kJobCommandFailed:
        case ChannelState::kAckFailed:
        case ChannelState::kCommandFailed:
        case ChannelState::kStreamFailed:
            UpdatePortStatus();
            return -1;
        default:
            Log(LogLevel::kError, L"CXlprPrintChannel::unknown state in the writeport call");
            return -1;
    }
}

std::int32_t CXlprPrintChannel::ConnectAndSend(const BYTE* data, std::int32_t length) {
    if (m_pStreamSocket) {
        Log(LogLevel::kError, L"severe error, the m_pStreamSocket should be NULL ");
        return -1;
    }
    CSLIpAddr address;
    if (address.getByNamePrinting(m_info.GetHostName(), CSLIpAddr::kFamily) != 0) {
        Log(LogLevel::kTrace, L"get by name printing returned error");
        return -1;
    }
    const std::uint32_t result = ConnectTo(address, m_info.GetPortNumber(), m_state);
    Log(LogLevel::kTrace, L"StreamSocket connect return %d", result);
    return AfterConnect(result, data, length);
}

std::int32_t CXlprPrintChannel::WaitAndSend(const BYTE* data, std::int32_t length) {
    if (!m_pStreamSocket) {
        Log(LogLevel::kError, L"severe error, the m_pStreamSocket should be not be NULL ");
        return -1;
    }
    const std::uint32_t result = GoOnConnecting(m_state);
    Log(LogLevel::kTrace, L"StreamSocket selectforconnection return %d", result);
    return AfterConnect(result, data, length);
}

std::int32_t CXlprPrintChannel::AfterConnect(std::uint32_t result, const BYTE* data,
                                             std::int32_t length) {
    if (result != 0) {
        return AfterFailedConnect(result, m_state);
    }
    if (OnConnection(m_state, [this] { return SendPrintJobInformation(); }) != 0) {
        m_state = ChannelState::kJobCommandFailed;
        UpdatePortStatus();
        return -1;
    }
    return AwaitAcknowledgement(data, length);
}

std::int32_t CXlprPrintChannel::AwaitAcknowledgement(const BYTE* data, std::int32_t length) {
    Log(LogLevel::kTrace, L"Channel State Before WaitAck = %d", Number(m_state));
    const ChannelState outcome =
        OnConnection(m_state, [this] { return SendCommands(WaitforAck()); });
    std::int32_t result = -1;
    if (outcome == ChannelState::kStreaming) {
        result = SendData(data, length);
    } else {
        m_state = outcome;
        UpdatePortStatus();
        result = outcome == ChannelState::kWaitingForAck ? 0 : -1;
    }
    Log(LogLevel::kTrace, L"Channel State After WaitAck  = %d", Number(m_state));
    return result;
}

ChannelState CXlprPrintChannel::SendCommands(std::int32_t acknowledgement) {
    if (acknowledgement == 0) {
        return ChannelState::kWaitingForAck;
    }
    if (acknowledgement < 0) {
        return ChannelState::kAckFailed;
    }
    return SendControlInformation() == 0 && SendStreamCommand() ? ChannelState::kStreaming
                                                                : ChannelState::kCommandFailed;
}

bool CXlprPrintChannel::SendStreamCommand() {
    const auto host = LocalHostName(kLongestHost);
    return host && SendCommand(LprDataFileCommand(AnnouncedCount(), m_jobNumber, *host));
}

std::int32_t CXlprPrintChannel::SendData(const BYTE* data, std::int32_t length) {
    Log(LogLevel::kTrace, L"Channel State = %d, len = %d", Number(m_state), length);
    const std::int32_t sent = SendOnce(data, length);
    m_state = sent > 0    ? ChannelState::kStreaming
              : sent == 0 ? ChannelState::kStreamedNothing
                          : ChannelState::kStreamFailed;
    // Also after a good send: the stream has no answers of its own by which a printer could
    // complain.
    UpdatePortStatus();
    return sent;
}

}  // namespace ksp
