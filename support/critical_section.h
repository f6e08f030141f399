#pragma once

#include <windows.h>

namespace ksp {

// A critical section that exists only between Create and Delete, because the monitor's locks are
// made and given up at stated points of its life. It is re-entrant on one thread. Create and Delete
// are not themselves thread-safe: start-up and termination call them.
class CCriticalSection {
  public:
    CCriticalSection() noexcept = default;
    ~CCriticalSection() { Delete(); }
    CCriticalSection(const CCriticalSection&) = delete;
    CCriticalSection& operator=(const CCriticalSection&) = delete;

    void Create() noexcept;
    void Delete() noexcept;
    [[nodiscard]] bool IsCreated() const noexcept { return m_created; }

    // False when the section does not exist, or when the process is ending and a thread that is
    // gone still owns it (waiting for that thread would hang the process).
    [[nodiscard]] bool Enter() noexcept;
    void Leave() noexcept;

  private:
    CRITICAL_SECTION m_section{};
    bool m_created = false;
};

// Holds a critical section for a scope. Made with none, or with one that cannot be entered, it
// holds nothing and leaves nothing.
class CAutoLogCritSec {
  public:
    explicit CAutoLogCritSec(CCriticalSection* section) noexcept
        : m_section(section != nullptr && section->Enter() ? section : nullptr) {}
    virtual ~CAutoLogCritSec() {
        if (m_section != nullptr) {
            m_section->Leave();
        }
    }
    CAutoLogCritSec(const CAutoLogCritSec&) = delete;
    CAutoLogCritSec& operator=(const CAutoLogCritSec&) = delete;

    [[nodiscard]] bool IsHeld() const noexcept { return m_section != nullptr; }

  private:
    CCriticalSection* m_section;
};

}  // namespace ksp
