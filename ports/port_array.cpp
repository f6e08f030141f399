#include "ports/port_array.h"

#include <algorithm>
#include <bit>
#include <functional>
#include <utility>

namespace ksp {

CPortArray::CPortArray(std::vector<_stPort> ports) : m_ports(std::move(ports)) {
    m_slots.resize(std::bit_ceil(2 * m_ports.size() + 1));
    std::uint32_t position = 0;
    for (const _stPort& entry : m_ports) {
        const std::wstring& name = entry.port->Name();
        m_nameCharacters += name.size() + 1;
        ++position;
        std::uint32_t& slot = m_slots[SlotOf(name)];
        if (slot == 0) {
            slot = position;
        }
    }
}

std::size_t CPortArray::SlotOf(std::wstring_view name) const noexcept {
    const std::size_t mask = m_slots.size() - 1;
    std::size_t slot = std::hash<std::wstring_view>()(name) & mask;
    while (m_slots[slot] != 0 && m_ports[m_slots[slot] - 1].port->Name() != name) {
        slot = (slot + 1) & mask;
    }
    return slot;
}

const _stPort* CPortArray::FindByName(std::wstring_view name) const noexcept {
    if (m_ports.empty()) {
        return nullptr;
    }
    const std::uint32_t position = m_slots[SlotOf(name)];
    return position != 0 ? &m_ports[position - 1] : nullptr;
}

const _stPort* CPortArray::FindById(std::uint32_t id) const noexcept {
    const auto found = std::lower_bound(
        m_ports.begin(), m_ports.end(), id,
        [](const _stPort& entry, std::uint32_t wanted) { return entry.id < wanted; });
    return found != m_ports.end() && found->id == id ? &*found : nullptr;
}

}  // namespace ksp
