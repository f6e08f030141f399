#pragma once

#include <windows.h>

#include <cstdint>

#include "channels/lpr_print_channel.h"

namespace ksp {

// LPR that streams: the commands of RFC 1179, but the data go out as the spooler hands them over,
// with no spool file. Instead of the job's length the data-file command announces one that no job
// reaches, and closing the connection ends the data. The job header is never sent.
class CXlprPrintChannel final : public CLprPrintChannel {
  public:
    CXlprPrintChannel(const CLprProtocolInfo& info, IPortServices& services)
        : CLprPrintChannel(info, services) {}

    // Always 0.
    std::int32_t StartDoc(std::uint32_t portId, const wchar_t* documentName) override;
    // Always 0.
    std::int32_t EndDoc() override { return EndStreamedDoc(); }
    std::int32_t WritePortWithHeader(const BYTE* data, std::int32_t length, const BYTE* combined,
                                     std::int32_t combinedLength) override;
    std::int32_t WritePort(const BYTE* data, std::int32_t length) override;

  private:
    std::int32_t ConnectAndSend(const BYTE* data, std::int32_t length);
    std::int32_t WaitAndSend(const BYTE* data, std::int32_t length);
    // What the result of a connect, or of waiting for one, means for the write.
    std::int32_t AfterConnect(std::uint32_t result, const BYTE* data, std::int32_t length);
    std::int32_t AwaitAcknowledgement(const BYTE* data, std::int32_t length);
    // The state that the commands after the acknowledgement end in.
    [[nodiscard]] ChannelState SendCommands(std::int32_t acknowledgement);
    [[nodiscard]] bool SendStreamCommand();
    std::int32_t SendData(const BYTE* data, std::int32_t length);
};

}  // namespace ksp
