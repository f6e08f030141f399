#include "ports/job_event.h"

#include "support/srw_lock.h"

namespace ksp {

bool CJobEvent::Create() noexcept {
    if (!m_event) {
        m_event.Reset(::CreateEventW(nullptr, TRUE, TRUE, nullptr));
    }
    return static_cast<bool>(m_event);
}

bool CJobEvent::Signal() noexcept {
    const CExclusiveLock lock(m_lock);
    m_signalled = true;
    if (!m_awaited) {
        return static_cast<bool>(m_event);
    }
    m_awaited = false;
    return ::SetEvent(m_event.Get()) != FALSE;
}

bool CJobEvent::Reset() noexcept {
    if (!m_event) {
        return false;
    }
    const CExclusiveLock lock(m_lock);
    m_signalled = false;
    return true;
}

bool CJobEvent::Wait() noexcept {
    if (!m_event) {
        return false;
    }
    for (;;) {
        {
            const CExclusiveLock lock(m_lock);
            if (m_signalled) {
                return true;
            }
            if (!m_awaited) {
                m_awaited = ::ResetEvent(m_event.Get()) != FALSE;
            }
        }
        if (::WaitForSingleObject(m_event.Get(), INFINITE) != WAIT_OBJECT_0) {
            return false;
        }
    }
}

}  // namespace ksp
