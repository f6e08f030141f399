#pragma once

#include <windows.h>

#include <cstdint>
#include <optional>
#include <string>

#include "channels/print_channel.h"
#include "channels/spool_file.h"
#include "support/log.h"

namespace ksp {

// The line printer daemon protocol (RFC 1179, port 515). The protocol announces a job's length
// before its data, so writes go to a spool file and EndDoc delivers the whole job, from a reserved
// source port (721 to 731, RFC 1179 section 3.1) when one is free.
//
// A job that is ended from outside, because its port is deleted, is not delivered: what is spooled
// of it may be half of it.
//
// EndDoc does not report failure: it marks the job as in error and holds it, asking the spooler
// every few seconds, until somebody deletes or restarts it. It blocks its thread for all that time.
//
// The XLPR channel derives from this one and uses its protocol steps.
class CLprPrintChannel : public CPrintChannel {
  public:
    CLprPrintChannel(const CLprProtocolInfo& info, IPortServices& services);

    std::int32_t SetProtocolInfo(const CProtocolInfo& info) override;
    // -1 when there is no spool file to be had.
    std::int32_t StartDoc(std::uint32_t portId, const wchar_t* documentName) override;
    // Always 0.
    std::int32_t EndDoc() override;
    std::int32_t WritePortWithHeader(const BYTE* data, std::int32_t length, const BYTE* combined,
                                     std::int32_t combinedLength) override;
    std::int32_t WritePort(const BYTE* data, std::int32_t length) override;

    // The daemon's answer to what was sent last: 1 acknowledged, 0 nothing came in time or the
    // connection was closed, -1 an error or a negative acknowledgement.
    virtual std::int32_t WaitforAck();
    // The two send a command and answer 0 or -1; the second also waits for acknowledgements.
    virtual std::int32_t SendPrintJobInformation();
    virtual std::int32_t SendControlInformation();

    [[nodiscard]] ChannelState State() const noexcept { return m_state; }

  protected:
    // A document without a name gets one.
    void SetDocumentName(const wchar_t* name);
    [[nodiscard]] bool SendWhole(const std::string& bytes);
    // Sends and waits for the acknowledgement.
    [[nodiscard]] bool SendCommand(const std::string& command);
    // The name of this computer, as file names carry it; none, with a log line, when it is unknown.
    [[nodiscard]] static std::optional<std::string> LocalHostName(std::size_t longest);

    static constexpr std::size_t kLongestHost = 31;  // RFC 1179 section 7.2

    ChannelState m_state = ChannelState::kIdle;
    CLprProtocolInfo m_info;
    std::wstring m_documentName;
    std::uint32_t m_jobNumber = 0;  // 0 to 999

  private:
    enum class Delivery { kDone, kAbandoned, kFailed };

    [[nodiscard]] std::int32_t Spool(const BYTE* data, std::int32_t length, std::int32_t taken);

    [[nodiscard]] std::int32_t openConnection();
    // Connects; 1460 is waited out on the same socket. 0 keeps the socket.
    [[nodiscard]] std::uint32_t Connect(std::unique_ptr<CSLStreamSocket> socket);
    [[nodiscard]] std::int32_t SendDataFileInformation();

    // The steps of EndDoc. Each answers false when there is nothing left to do but to clean up.
    void Deliver();
    [[nodiscard]] bool ConnectToDaemon();
    [[nodiscard]] bool AnnounceJob();
    [[nodiscard]] bool AwaitJobAcknowledgement();
    [[nodiscard]] bool SendData();
    [[nodiscard]] Delivery SendChunk(const char* data, std::int32_t length);
    void EndData();
    void CleanUp();

    // Marks the job as in error and reports the message until somebody deletes or restarts the job.
    void HoldInError(LogText message) noexcept;
    // False when the job was deleted or restarted; asked of the spooler at most every 6 seconds.
    [[nodiscard]] bool CheckJobAlive();
    std::int32_t SetJobError();

    CSpoolFile m_spoolFile;
    std::uint32_t m_lastJobCheck = 0;  // tick count, milliseconds
};

}  // namespace ksp
