#pragma once

#include <windows.h>

#include <atomic>
#include <cstdint>
#include <memory>

#include "channels/channel_state.h"
#include "channels/port_services.h"
#include "channels/protocol_info.h"
#include "net/stream_socket.h"

namespace ksp {

// Carries the bytes of one print job at a time from a port to its printer. A port owns at most one
// channel, made for the port's protocol and used for every job of the port.
//
// Write operations return the number of the caller's bytes taken; 0 when nothing was taken now and
// the spooler is to call again; -1 for a failure.
//
// A channel takes no lock: its port sees to it that one thread at a time is in it.
class CPrintChannel {
  public:
    virtual ~CPrintChannel() = default;
    CPrintChannel(const CPrintChannel&) = delete;
    CPrintChannel& operator=(const CPrintChannel&) = delete;

    [[nodiscard]] virtual CProtocolInfo* GetProtocolInfo() { return m_protocolInfo; }
    [[nodiscard]] virtual const CProtocolInfo* GetProtocolInfo() const { return m_protocolInfo; }
    // Takes over new settings of the channel's own kind and ends any connection; 0.
    virtual std::int32_t SetProtocolInfo(const CProtocolInfo& info) = 0;
    virtual bool IsReachable();
    // Whether a job is on: between StartDoc and EndDoc.
    [[nodiscard]] virtual bool IsOpen();
    // The same without a log line.
    [[nodiscard]] bool HasJob() const noexcept { return m_open; }
    // Starts a job of the port with this handle id. The document name may be null. 0, or -1.
    virtual std::int32_t StartDoc(std::uint32_t portId, const wchar_t* documentName) = 0;
    // Ends the job. 0, or -1.
    virtual std::int32_t EndDoc() = 0;
    // For the writes of a job that a header precedes: `combined` is the header followed by the
    // data. The header goes out once, in front of the job's first bytes.
    virtual std::int32_t WritePortWithHeader(const BYTE* data, std::int32_t length,
                                             const BYTE* combined, std::int32_t combinedLength) = 0;
    virtual std::int32_t WritePort(const BYTE* data, std::int32_t length) = 0;
    // The printer's status word, asked of the printer at most once in 11 seconds; always 0 on the
    // ID-print monitor, which does not ask.
    virtual std::uint32_t PollPrinterStatus(const std::wstring& hostName);
    // The port's word that somebody wants the job to end now; it outlives the channel. A channel
    // that waits for its printer looks at it.
    void WatchEndRequest(const std::atomic<bool>& requested) noexcept { m_endRequest = &requested; }
    // Told by the port whenever it changes the printer's status.
    virtual void SetPrinterStatus(std::uint32_t status) { m_cachedStatus = status; }
    // Sends everything: the bytes sent (fewer than asked after the second time-out), or -1.
    virtual std::int32_t SendToServer(const void* data, std::int32_t length);

  protected:
    explicit CPrintChannel(IPortServices& services) : m_services(services) {}

    // What every StartDoc begins with: remembers the port and the printer's status.
    void OpenJob(std::uint32_t portId);
    // Asks the printer how it is and tells the spooler. After everything that may mean a problem.
    // Fails nothing: a report that cannot be made is left out.
    void UpdatePortStatus() noexcept;
    // The two ways to a connection, for a channel in this state; a Windows Sockets code. The second
    // waits for one that is being made.
    [[nodiscard]] std::uint32_t ConnectTo(const CSLIpAddr& address, std::uint16_t port,
                                          ChannelState& state);
    [[nodiscard]] std::uint32_t GoOnConnecting(ChannelState& state);
    // Runs a step on a connection that has not taken anything of the job's data. When it throws,
    // nobody knows how far it came: the connection is given up, and the next write makes another.
    template <class Step>
    auto OnConnection(ChannelState& state, Step step) {
        try {
            return step();
        } catch (...) {
            CloseConnection();
            state = ChannelState::kConnectFailed;
            throw;
        }
    }
    // EndDoc of the channels that deliver while the job is written: ends the connection and gives
    // the printer its former status back.
    std::int32_t EndStreamedDoc();
    // What a connect that did not yield a connection means for a write, and the state it leads to:
    // 1460 keeps the pending socket, 10060 and every other failure end it. 0 to be called again, or
    // -1.
    std::int32_t AfterFailedConnect(std::uint32_t result, ChannelState& state);
    void CloseConnection() noexcept;
    // One send with the reply time-out, which is read only when there is something to wait for. A job
    // whose connection was ended from outside cannot go on: -1.
    std::int32_t SendOnce(const void* data, std::int32_t length);
    [[nodiscard]] bool IsEndRequested() const noexcept {
        return m_endRequest != nullptr && m_endRequest->load();
    }

    IPortServices& m_services;
    std::uint32_t m_lastPoll = 0;      // tick count, milliseconds
    std::uint32_t m_cachedStatus = 0;  // the last status word polled or set
    bool m_open = false;
    std::unique_ptr<CSLStreamSocket> m_pStreamSocket;  // null without a connection
    std::uint32_t m_savedStatus = 0;                   // the printer's status at StartDoc
    std::uint32_t m_portId = 0;
    CProtocolInfo* m_protocolInfo = nullptr;  // the derived channel's own settings

  private:
    const std::atomic<bool>* m_endRequest = nullptr;
};

}  // namespace ksp
