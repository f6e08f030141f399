#include "discovery/probe_session.h"

#include <cstdint>
#include <map>
#include <utility>

#include "discovery/library_owners.h"
#include "discovery/xml_document.h"
#include "support/immortal.h"
#include "support/log.h"
#include "support/srw_lock.h"

namespace ksp {

namespace {

// The sessions that run, by the number that the library holds. The lock is held for moments only:
// no search waits for another one's devices.
class CRunningSessions {
  public:
    [[nodiscard]] void* Add(const std::shared_ptr<CProbeSession>& session) {
        const CExclusiveLock lock(m_lock);
        m_sessions.emplace(++m_last, session);
        return reinterpret_cast<void*>(m_last);
    }

    void Remove(void* context) noexcept {
        const CExclusiveLock lock(m_lock);
        m_sessions.erase(reinterpret_cast<std::uintptr_t>(context));
    }

    [[nodiscard]] std::shared_ptr<CProbeSession> Find(void* context) {
        const CSharedLock lock(m_lock);
        const auto found = m_sessions.find(reinterpret_cast<std::uintptr_t>(context));
        return found != m_sessions.end() ? found->second.lock() : nullptr;
    }

  private:
    SRWLOCK m_lock{};
    std::map<std::uintptr_t, std::weak_ptr<CProbeSession>> m_sessions;
    std::uintptr_t m_last = 0;
};

CImmortal<CRunningSessions> g_runningSessions;

CRunningSessions& RunningSessions() {
    return g_runningSessions.Get();
}

}  // namespace

CProbeSession::CProbeSession(const OryxFunctions& library, void* stream, HANDLE done,
                             ResultHandler handler)
    : m_library(library), m_stream(stream), m_done(done), m_handler(std::move(handler)) {}

std::shared_ptr<CProbeSession> CProbeSession::Begin(const OryxFunctions& library, void* stream,
                                                    HANDLE done, ResultHandler handler) {
    // make_shared cannot reach the constructor; the pointer owns the object at once.
    std::shared_ptr<CProbeSession> session(
        new CProbeSession(library, stream, done, std::move(handler)));
    session->m_context = RunningSessions().Add(session);
    return session;
}

CProbeSession::~CProbeSession() {
    RunningSessions().Remove(m_context);
}

void CProbeSession::Callback(DeviceHandle device, int code, void* context) noexcept {
    switch (code) {
        case 0:
            break;
        case -1:
        case -2:
        case -3:
            Log(LogLevel::kTrace, L"RecvProbeCallBackFunc (Error = %d)", code);
            return;
        default:
            return;
    }
    try {
        if (const auto session = RunningSessions().Find(context); session) {
            session->DeviceAnswered(device);
        }
    } catch (...) {
        // A device whose answer cannot be worked on is one that did not answer; nothing may be
        // thrown into the library.
    }
}

void CProbeSession::DeviceAnswered(DeviceHandle device) {
    const CSharedLock use(m_useLock);
    if (m_ended) {
        return;
    }
    CLibraryBuffer document(m_library, m_stream, device);
    if (m_library.KSGetDeviceCapability(m_stream, device, document.Receive()) == 0 ||
        document.Text() == nullptr) {
        return;
    }
    const std::wstring capability = DocumentText(document.Text());
    const CExclusiveLock result(m_resultLock);
    if (!m_found) {
        m_found = m_handler(capability);
    }
    if (m_found) {
        ::SetEvent(m_done);
    }
}

bool CProbeSession::End() noexcept {
    const CExclusiveLock use(m_useLock);
    m_ended = true;
    return m_found;
}

}  // namespace ksp
