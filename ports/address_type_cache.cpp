#include "ports/address_type_cache.h"

#include "support/srw_lock.h"

namespace ksp {

namespace {

// How old a subkey must be to be trusted: far more than any clock's step, and than a clock is set
// right by.
constexpr std::uint64_t kSettled = 5ULL * 10'000'000;  // 5 seconds, in units of 100 ns

}  // namespace

std::uint64_t CAddressTypeCache::Now() noexcept {
    FILETIME now{};
    ::GetSystemTimeAsFileTime(&now);
    return NumberOf(now);
}

std::optional<std::uint32_t> CAddressTypeCache::Find(DWORD index, const CSubkey& subkey) const {
    if (subkey.lastWrite == 0) {
        return std::nullopt;
    }
    const CSharedLock lock(m_lock);
    if (index >= m_entries.size()) {
        return std::nullopt;
    }
    const Entry& entry = m_entries[index];
    return entry.lastWrite == subkey.lastWrite && entry.name == subkey.name
               ? std::optional(entry.type)
               : std::nullopt;
}

void CAddressTypeCache::Note(DWORD index, const CSubkey& subkey, std::uint64_t readAt,
                             std::uint32_t type) noexcept {
    if (subkey.lastWrite == 0 || readAt < subkey.lastWrite ||
        readAt - subkey.lastWrite < kSettled) {
        return;
    }
    try {
        const CExclusiveLock lock(m_lock);
        if (index >= m_entries.size()) {
            m_entries.resize(std::size_t{index} + 1);
        }
        Entry& entry = m_entries[index];
        entry.lastWrite = 0;
        entry.name = subkey.name;
        entry.type = type;
        entry.lastWrite = subkey.lastWrite;
    } catch (...) {
        // The next look-up reads the subkey again.
    }
}

void CAddressTypeCache::Clear() noexcept {
    const CExclusiveLock lock(m_lock);
    m_entries = std::vector<Entry>();
}

}  // namespace ksp
