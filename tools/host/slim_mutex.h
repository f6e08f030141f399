#pragma once

#include <windows.h>

namespace ksp::host {

// A mutex that never costs a kernel handle. The ones of the standard library may make an event when
// two threads meet, which a host that counts a monitor's handles would take for a leak. Works with
// std::lock_guard and std::unique_lock.
class SlimMutex {
  public:
    SlimMutex() = default;
    SlimMutex(const SlimMutex&) = delete;
    SlimMutex& operator=(const SlimMutex&) = delete;

    void lock() { AcquireSRWLockExclusive(&lock_); }
    void unlock() { ReleaseSRWLockExclusive(&lock_); }

  private:
    SRWLOCK lock_ = {};
};

}  // namespace ksp::host
