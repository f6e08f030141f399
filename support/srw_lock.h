#pragma once

#include <windows.h>

namespace ksp {

// Scoped holders of slim locks, which guard single objects for moments. (The monitor's process-wide
// locks are critical sections: support/critical_section.h.)

class CExclusiveLock {
  public:
    explicit CExclusiveLock(SRWLOCK& lock) noexcept : m_lock(lock) {
        ::AcquireSRWLockExclusive(&m_lock);
    }
    ~CExclusiveLock() { ::ReleaseSRWLockExclusive(&m_lock); }
    CExclusiveLock(const CExclusiveLock&) = delete;
    CExclusiveLock& operator=(const CExclusiveLock&) = delete;

  private:
    SRWLOCK& m_lock;
};

class CSharedLock {
  public:
    explicit CSharedLock(SRWLOCK& lock) noexcept : m_lock(lock) { ::AcquireSRWLockShared(&m_lock); }
    ~CSharedLock() { ::ReleaseSRWLockShared(&m_lock); }
    CSharedLock(const CSharedLock&) = delete;
    CSharedLock& operator=(const CSharedLock&) = delete;

  private:
    SRWLOCK& m_lock;
};

}  // namespace ksp
