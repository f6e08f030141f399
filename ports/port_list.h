#pragma once

#include <windows.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "ports/port_array.h"

namespace ksp {

// The ports in the order in which they were inserted, which is also the order of their ids.
//
// Readers work on a snapshot: an immutable array that a change replaces by another one. So a
// look-up never waits for a change, and a port found in a snapshot lives for as long as it is used,
// even when it is deleted meanwhile. Changes may come from any thread; they take turns.
//
// Names are compared exactly, code unit by code unit; the first match wins.
class CPortList {
  public:
    static constexpr std::uint32_t kNoId = 0xFFFFFFFF;
    using Snapshot = std::shared_ptr<const CPortArray>;

    CPortList() noexcept;
    CPortList(const CPortList&) = delete;
    CPortList& operator=(const CPortList&) = delete;

    // Each port gets the next handle id: 1 for the first of the process, and never one that was
    // used.
    void AddPortToList(std::shared_ptr<CPort> port);
    // The same for many ports at once.
    void AddPortsToList(std::vector<std::shared_ptr<CPort>> ports);

    // kNoId when there is none.
    [[nodiscard]] std::uint32_t FindPortIdByName(const std::wstring& name) const;
    // Null when there is none.
    [[nodiscard]] std::shared_ptr<CPort> FindPortByName(const std::wstring& name) const;
    [[nodiscard]] std::shared_ptr<CPort> FindPortById(std::uint32_t id) const;

    // Removes a port; it is destroyed when nobody uses it any more.
    bool DeletePortById(std::uint32_t id);
    void Clear() noexcept;

    [[nodiscard]] Snapshot Ports() const;

  private:
    [[nodiscard]] static Snapshot NoPorts() noexcept;
    void Publish(Snapshot ports) noexcept;

    mutable SRWLOCK m_snapshotLock{};  // held only to copy or exchange the pointer
    SRWLOCK m_changeLock{};            // held over a change
    Snapshot m_ports;
    std::uint32_t m_lastId = 0;
};

}  // namespace ksp
