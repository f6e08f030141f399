#include "ports/port_list.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "support/immortal.h"
#include "support/srw_lock.h"

namespace ksp {

namespace {

// Outlives every list.
CImmortal<CPortArray> g_noPorts;

}  // namespace

// Needs no memory: the list is made while the library is loaded, and cleared where a failure could
// not be returned either.
CPortList::Snapshot CPortList::NoPorts() noexcept {
    return Snapshot(std::shared_ptr<void>(), &g_noPorts.Get());
}

CPortList::CPortList() noexcept : m_ports(NoPorts()) {}

CPortList::Snapshot CPortList::Ports() const {
    const CSharedLock lock(m_snapshotLock);
    return m_ports;
}

void CPortList::Publish(Snapshot ports) noexcept {
    {
        const CExclusiveLock lock(m_snapshotLock);
        m_ports.swap(ports);
    }
    // The former snapshot, and what only it kept alive, goes here, outside the lock.
}

void CPortList::AddPortToList(std::shared_ptr<CPort> port) {
    std::vector<std::shared_ptr<CPort>> ports;
    ports.push_back(std::move(port));
    AddPortsToList(std::move(ports));
}

void CPortList::AddPortsToList(std::vector<std::shared_ptr<CPort>> ports) {
    const CExclusiveLock lock(m_changeLock);
    const Snapshot present = Ports();
    std::vector<_stPort> next;
    next.reserve(present->size() + ports.size());
    next.assign(present->begin(), present->end());
    std::uint32_t id = m_lastId;
    for (auto& port : ports) {
        next.push_back({std::move(port), ++id});
    }
    Publish(std::make_shared<const CPortArray>(std::move(next)));
    m_lastId = id;
}

std::uint32_t CPortList::FindPortIdByName(const std::wstring& name) const {
    const Snapshot ports = Ports();
    const _stPort* const found = ports->FindByName(name);
    return found != nullptr ? found->id : kNoId;
}

std::shared_ptr<CPort> CPortList::FindPortByName(const std::wstring& name) const {
    const Snapshot ports = Ports();
    const _stPort* const found = ports->FindByName(name);
    return found != nullptr ? found->port : nullptr;
}

std::shared_ptr<CPort> CPortList::FindPortById(std::uint32_t id) const {
    const Snapshot ports = Ports();
    const _stPort* const found = ports->FindById(id);
    return found != nullptr ? found->port : nullptr;
}

bool CPortList::DeletePortById(std::uint32_t id) {
    std::shared_ptr<CPort> removed;  // destroyed after the lock is released
    const CExclusiveLock lock(m_changeLock);
    const Snapshot present = Ports();
    const _stPort* const found = present->FindById(id);
    if (found == nullptr) {
        return false;
    }
    removed = found->port;
    std::vector<_stPort> next;
    next.reserve(present->size() - 1);
    std::copy_if(present->begin(), present->end(), std::back_inserter(next),
                 [id](const _stPort& entry) { return entry.id != id; });
    Publish(std::make_shared<const CPortArray>(std::move(next)));
    return true;
}

void CPortList::Clear() noexcept {
    const CExclusiveLock lock(m_changeLock);
    Publish(NoPorts());
}

}  // namespace ksp
