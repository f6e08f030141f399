#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "ports/port.h"

namespace ksp {

// A port and the handle id by which the spooler knows it.
struct _stPort {
    std::shared_ptr<CPort> port;
    std::uint32_t id;
};

// Ports in an order that does not change, with an index by which one of thousands is found by its
// name. Immutable, so it may be read by any thread.
class CPortArray {
  public:
    using const_iterator = std::vector<_stPort>::const_iterator;

    CPortArray() = default;
    // The ids ascend.
    explicit CPortArray(std::vector<_stPort> ports);

    [[nodiscard]] const_iterator begin() const noexcept { return m_ports.begin(); }
    [[nodiscard]] const_iterator end() const noexcept { return m_ports.end(); }
    [[nodiscard]] std::size_t size() const noexcept { return m_ports.size(); }
    [[nodiscard]] bool empty() const noexcept { return m_ports.empty(); }

    // The first port of that name, compared code unit by code unit; null when there is none.
    [[nodiscard]] const _stPort* FindByName(std::wstring_view name) const noexcept;
    // Null when there is none.
    [[nodiscard]] const _stPort* FindById(std::uint32_t id) const noexcept;

    // Characters of all names, their terminators included.
    [[nodiscard]] std::size_t NameCharacters() const noexcept { return m_nameCharacters; }

  private:
    // The slot of a name: it holds the name's port, or nothing.
    [[nodiscard]] std::size_t SlotOf(std::wstring_view name) const noexcept;

    std::vector<_stPort> m_ports;
    std::size_t m_nameCharacters = 0;
    // A hash table with open addressing: positions in the array, counted from 1; 0 is empty. A power
    // of two, at least twice as many as ports.
    std::vector<std::uint32_t> m_slots;
};

}  // namespace ksp
