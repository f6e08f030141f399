#include "snmp/device.h"

#include <utility>

#include "snmp/mime_message.h"
#include "snmp/replies.h"
#include "support/srw_lock.h"

namespace ksp::snmp {

namespace {

RequestResult ResultOf(AskResult result) {
    switch (result) {
        case AskResult::kAnswered:
            return RequestResult::kDone;
        case AskResult::kNoAnswer:
            return RequestResult::kNoAnswer;
        case AskResult::kCancelled:
            return RequestResult::kCancelled;
        case AskResult::kFailed:
            break;
    }
    return RequestResult::kFailed;
}

}  // namespace

// An operation while it runs. A cancellation that came when none ran is forgotten.
class CDevice::COperation {
  public:
    explicit COperation(CDevice& device) noexcept : m_device(device) {
        const CExclusiveLock lock(m_device.m_lock);
        if (m_device.m_running++ == 0 && !m_device.m_closed) {
            ::ResetEvent(m_device.m_cancel.Get());
        }
    }
    ~COperation() {
        const CExclusiveLock lock(m_device.m_lock);
        --m_device.m_running;
    }
    COperation(const COperation&) = delete;
    COperation& operator=(const COperation&) = delete;

  private:
    CDevice& m_device;
};

CDevice::CDevice(std::shared_ptr<CWindowsSockets> sockets, Ipv4 address, const CAgentAccess& access,
                 const CTiming& timing)
    : m_sockets(std::move(sockets)),
      m_address(address),
      m_access(access),
      m_timing(timing),
      m_cancel(::CreateEventW(nullptr, TRUE, FALSE, nullptr)) {}

CDevice::CDevice(std::shared_ptr<CWindowsSockets> sockets, const CDeviceIdentity& identity,
                 const CAgentAccess& access, const CTiming& timing)
    : CDevice(std::move(sockets), identity.address, access, timing) {
    m_known = identity;
}

AskResult CDevice::Identify(CDeviceQuery& query) {
    CAgentClient client(m_address, m_access, m_timing, m_cancel.Get());
    bool answered = false;
    while (const auto question = query.Next()) {
        CAnswer answer;
        const AskResult result = client.Ask(*question, answer);
        if (result == AskResult::kNoAnswer && answered) {
            break;  // what is known by now has to do
        }
        if (result != AskResult::kAnswered) {
            return result;
        }
        answered = true;
        query.Take(answer);
    }
    return AskResult::kAnswered;
}

std::optional<std::string> CDevice::Capability() {
    if (m_known) {
        return CapabilityDocument(*m_known);
    }
    const COperation operation(*this);
    CDeviceQuery query(m_address);
    if (Identify(query) != AskResult::kAnswered) {
        return std::nullopt;
    }
    return CapabilityDocument(query.Identity());
}

RequestResult CDevice::Request(std::string_view document, std::string& reply) {
    const auto request = ReadDataRequest(document);
    if (!request) {
        return RequestResult::kBadRequest;
    }
    const COperation operation(*this);
    if (request->macAddress) {
        CDeviceQuery query(m_address, CDeviceQuery::Wanted::kMacAddress);
        const RequestResult result = ResultOf(Identify(query));
        if (result == RequestResult::kDone) {
            reply = MacAddressDocument(query.Identity());
        }
        return result;
    }
    CAgentClient client(m_address, m_access, m_timing, m_cancel.Get());
    CAnswer answer;
    const RequestResult result = ResultOf(client.Ask(request->question, answer));
    if (result != RequestResult::kDone) {
        return result;
    }
    const auto bytes = ValueBytes(*request, answer);
    if (!bytes) {
        return RequestResult::kNoSuchValue;
    }
    reply = MakeMimeReply(*bytes);
    return RequestResult::kDone;
}

void CDevice::Cancel() noexcept {
    const CExclusiveLock lock(m_lock);
    if (m_running > 0) {
        ::SetEvent(m_cancel.Get());
    }
}

void CDevice::Close() noexcept {
    const CExclusiveLock lock(m_lock);
    m_closed = true;
    ::SetEvent(m_cancel.Get());
}

}  // namespace ksp::snmp
