#pragma once

#include <windows.h>

#include <map>
#include <memory>
#include <utility>

#include "support/srw_lock.h"

namespace ksp::snmp {

// The objects that the library has handed out as pointers. A pointer that is not among them, or no
// longer, leads to nothing. An object in use when it is given back lives until that use ends.
template <class T>
class CHandedOut {
  public:
    [[nodiscard]] void* Add(std::shared_ptr<T> object) {
        void* const address = object.get();
        const CExclusiveLock lock(m_lock);
        m_objects.insert_or_assign(address, std::move(object));
        return address;
    }

    // Null when there is none there.
    [[nodiscard]] std::shared_ptr<T> Find(void* address) {
        const CSharedLock lock(m_lock);
        const auto found = m_objects.find(address);
        return found != m_objects.end() ? found->second : nullptr;
    }

    // The same, and it is no longer among them.
    [[nodiscard]] std::shared_ptr<T> Take(void* address) {
        const CExclusiveLock lock(m_lock);
        const auto found = m_objects.find(address);
        if (found == m_objects.end()) {
            return nullptr;
        }
        std::shared_ptr<T> object = std::move(found->second);
        m_objects.erase(found);
        return object;
    }

    void Clear() noexcept { m_objects.clear(); }

  private:
    SRWLOCK m_lock{};
    std::map<void*, std::shared_ptr<T>> m_objects;
};

}  // namespace ksp::snmp
