#include "support/critical_section.h"

#include "support/process_state.h"

namespace ksp {

void CCriticalSection::Create() noexcept {
    if (!m_created) {
        ::InitializeCriticalSection(&m_section);
        m_created = true;
    }
}

void CCriticalSection::Delete() noexcept {
    if (m_created) {
        m_created = false;
        ::DeleteCriticalSection(&m_section);
    }
}

bool CCriticalSection::Enter() noexcept {
    if (!m_created) {
        return false;
    }
    if (IsProcessEnding()) {
        return ::TryEnterCriticalSection(&m_section) != FALSE;
    }
    ::EnterCriticalSection(&m_section);
    return true;
}

void CCriticalSection::Leave() noexcept {
    ::LeaveCriticalSection(&m_section);
}

}  // namespace ksp
