#pragma once

#include <windows.h>

#include "support/windows_handles.h"

namespace ksp {

// A manual-reset event that is reset and signalled for every write of a job, and hardly ever waited
// for. The system's event behind it is touched only when somebody waits; otherwise a write makes no
// system call for it.
//
// Any thread may call it. Without Create there is no event, and every operation answers false.
class CJobEvent {
  public:
    CJobEvent() = default;
    CJobEvent(const CJobEvent&) = delete;
    CJobEvent& operator=(const CJobEvent&) = delete;

    // Signalled at first. An event that is there already stays as it is.
    [[nodiscard]] bool Create() noexcept;

    bool Signal() noexcept;
    bool Reset() noexcept;
    // Without time-out.
    bool Wait() noexcept;

  private:
    UniqueHandle m_event;
    SRWLOCK m_lock{};
    bool m_signalled = true;
    bool m_awaited = false;  // the system's event is reset, and somebody waits for it
};

}  // namespace ksp
