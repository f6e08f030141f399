#pragma once

#include <windows.h>

#include <atomic>

namespace ksp {

// The lock around a port's channel. Work on it can last as long as a printer sleeps; whoever only
// looks in from outside holds the lock for moments. Outsiders therefore wait for one another, and
// never for work.
class CJobLock {
  public:
    CJobLock() = default;
    CJobLock(const CJobLock&) = delete;
    CJobLock& operator=(const CJobLock&) = delete;

    // For work: waits for whoever holds the lock.
    void Acquire() noexcept {
        ::AcquireSRWLockExclusive(&m_lock);
        m_atWork = true;
    }
    // For an outsider: false while somebody works.
    [[nodiscard]] bool TryAcquire() noexcept {
        while (::TryAcquireSRWLockExclusive(&m_lock) == FALSE) {
            if (m_atWork) {
                return false;
            }
            ::Sleep(1);
        }
        return true;
    }
    // An outsider that holds the lock begins work that can last.
    void BeginWork() noexcept { m_atWork = true; }
    void Release() noexcept {
        m_atWork = false;
        ::ReleaseSRWLockExclusive(&m_lock);
    }

  private:
    SRWLOCK m_lock{};
    std::atomic<bool> m_atWork{false};
};

// An outsider's hold, if nobody worked.
class CTryJobLock {
  public:
    explicit CTryJobLock(CJobLock& lock) noexcept : m_lock(lock.TryAcquire() ? &lock : nullptr) {}
    ~CTryJobLock() {
        if (m_lock != nullptr) {
            m_lock->Release();
        }
    }
    CTryJobLock(const CTryJobLock&) = delete;
    CTryJobLock& operator=(const CTryJobLock&) = delete;

    [[nodiscard]] bool IsHeld() const noexcept { return m_lock != nullptr; }

  private:
    CJobLock* m_lock;
};

}  // namespace ksp
