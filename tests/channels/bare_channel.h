#pragma once

#include <memory>
#include <utility>

#include "channels/print_channel.h"

namespace ksp::test {

// What all channels share, with a hand on their fields and no protocol around it.
class BareChannel final : public CPrintChannel {
  public:
    explicit BareChannel(IPortServices& services) : CPrintChannel(services) {}

    std::int32_t SetProtocolInfo(const CProtocolInfo& /*info*/) override { return 0; }
    std::int32_t StartDoc(std::uint32_t port_id, const wchar_t* /*name*/) override {
        OpenJob(port_id);
        return 0;
    }
    std::int32_t EndDoc() override { return EndStreamedDoc(); }
    std::int32_t WritePortWithHeader(const BYTE* /*data*/, std::int32_t /*length*/,
                                     const BYTE* /*combined*/,
                                     std::int32_t /*combined_length*/) override {
        return -1;
    }
    std::int32_t WritePort(const BYTE* /*data*/, std::int32_t /*length*/) override { return -1; }

    using CPrintChannel::UpdatePortStatus;

    void UseSocket(std::unique_ptr<CSLStreamSocket> socket) { m_pStreamSocket = std::move(socket); }
    CSLStreamSocket& socket() { return *m_pStreamSocket; }
    void UseProtocolInfo(CProtocolInfo* info) { m_protocolInfo = info; }
    // As though the last poll had been at that tick count.
    void SetLastPoll(std::uint32_t milliseconds) { m_lastPoll = milliseconds; }
    std::uint32_t last_poll() const { return m_lastPoll; }
    std::uint32_t cached_status() const { return m_cachedStatus; }
};

}  // namespace ksp::test
