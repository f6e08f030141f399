#include "channels/raw_print_channel.h"

#include "support/log.h"

namespace ksp {

CRawPrintChannel::CRawPrintChannel(const CRawProtocolInfo& info, IPortServices& services)
    : CPrintChannel(services), m_info(info) {
    m_protocolInfo = &m_info;
}

std::int32_t CRawPrintChannel::SetProtocolInfo(const CProtocolInfo& info) {
    CloseConnection();
    if (&info != &m_info) {
        m_info.SetPortNumber(info.GetPortNumber());
        m_info.SetHostName(info.GetHostName());
    }
    m_state = ChannelState::kIdle;
    m_open = false;
    return 0;
}

std::int32_t CRawPrintChannel::StartDoc(std::uint32_t portId, const wchar_t* /*documentName*/) {
    OpenJob(portId);
    m_state = ChannelState::kStarted;
    return 0;
}

std::int32_t CRawPrintChannel::WritePort(const BYTE* data, std::int32_t length) {
    const Bytes bytes{data, length};
    return Write(bytes, bytes);
}

std::int32_t CRawPrintChannel::WritePortWithHeader(const BYTE* data, std::int32_t length,
                                                   const BYTE* combined,
                                                   std::int32_t combinedLength) {
    // The spooler counts its own bytes only. That holds where the connection is made by this very
    // write; a write that completes a pending connection answers with the bytes on the wire.
    const bool connects = m_state == ChannelState::kStarted ||
                          m_state == ChannelState::kConnectTimedOut ||
                          m_state == ChannelState::kConnectFailed;
    const std::int32_t taken = Write({combined, combinedLength}, {data, length});
    return connects && taken == combinedLength ? length : taken;
}

std::int32_t CRawPrintChannel::Write(Bytes first, Bytes next) {
    switch (m_state) {
        case ChannelState::kStarted:
        case ChannelState::kConnectTimedOut:
        case ChannelState::kConnectFailed:
            return ConnectAndSend(first);
        case ChannelState::kConnectPending:
            return WaitAndSend(first);
        case ChannelState::kSending:
        case ChannelState::kNothingSent:
            return Send(next);
        case ChannelState::kSendFailed:
            UpdatePortStatus();
            return -1;
        default:
            Log(LogLevel::kError, L"RawPrintChannel::unknown state in the writeport call");
            return -1;
    }
}

std::int32_t CRawPrintChannel::ConnectAndSend(Bytes bytes) {
    if (m_pStreamSocket) {
        Log(LogLevel::kError, L"severe error, the m_pStreamSocket should be NULL ");
        return -1;
    }
    CSLIpAddr address;
    if (address.getByNamePrinting(m_info.GetHostName(), CSLIpAddr::kFamily) != 0) {
        return -1;
    }
    return AfterConnect(ConnectTo(address, m_info.GetPortNumber(), m_state), bytes);
}

std::int32_t CRawPrintChannel::WaitAndSend(Bytes bytes) {
    if (!m_pStreamSocket) {
        Log(LogLevel::kError, L"severe error, the m_pStreamSocket should be not be NULL ");
        return -1;
    }
    return AfterConnect(GoOnConnecting(m_state), bytes);
}

std::int32_t CRawPrintChannel::AfterConnect(std::uint32_t result, Bytes bytes) {
    return result == 0 ? Send(bytes) : AfterFailedConnect(result, m_state);
}

std::int32_t CRawPrintChannel::Send(Bytes bytes) {
    const std::int32_t sent = SendOnce(bytes.data, bytes.length);
    if (sent > 0) {
        m_state = ChannelState::kSending;
        m_services.SetPortStatus(m_portId, 0);
        return sent;
    }
    m_state = sent == 0 ? ChannelState::kNothingSent : ChannelState::kSendFailed;
    UpdatePortStatus();
    return sent;
}

}  // namespace ksp
