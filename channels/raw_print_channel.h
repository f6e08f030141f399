#pragma once

#include <windows.h>

#include <cstdint>

#include "channels/print_channel.h"

namespace ksp {

// Raw TCP (by custom port 9100): a job's bytes go over one connection as the spooler hands them
// over, with no framing. The connection is made by the job's first write; one that is still being
// made, or timed out, makes the spooler call again instead of failing the job.
class CRawPrintChannel final : public CPrintChannel {
  public:
    CRawPrintChannel(const CRawProtocolInfo& info, IPortServices& services);

    std::int32_t SetProtocolInfo(const CProtocolInfo& info) override;
    // Always 0. The document name is not used.
    std::int32_t StartDoc(std::uint32_t portId, const wchar_t* documentName) override;
    // Always 0.
    std::int32_t EndDoc() override { return EndStreamedDoc(); }
    std::int32_t WritePortWithHeader(const BYTE* data, std::int32_t length, const BYTE* combined,
                                     std::int32_t combinedLength) override;
    std::int32_t WritePort(const BYTE* data, std::int32_t length) override;

    [[nodiscard]] ChannelState State() const noexcept { return m_state; }

  private:
    struct Bytes {
        const BYTE* data;
        std::int32_t length;
    };

    // By state: `first` goes out on a new connection, `next` on one that already carries the job.
    std::int32_t Write(Bytes first, Bytes next);
    std::int32_t ConnectAndSend(Bytes bytes);
    std::int32_t WaitAndSend(Bytes bytes);
    // What the result of a connect, or of waiting for one, means for the write.
    std::int32_t AfterConnect(std::uint32_t result, Bytes bytes);
    std::int32_t Send(Bytes bytes);

    ChannelState m_state = ChannelState::kIdle;
    CRawProtocolInfo m_info;
};

}  // namespace ksp
