#include "ports/port_list.h"

#include <algorithm>
#include <utility>

#include "support/immortal.h"
#include "support/srw_lock.h"

namespace ksp {

namespace {

// Outlives every list.
CImmortal<std::vector<_stPort>> g_noPorts;

auto FindByName(const std::vector<_stPort>& ports, const std::wstring& name) {
    return std::find_if(ports.begin(), ports.end(),
                        [&name](const _stPort& entry) { return entry.port->Name() == name; });
}

// The ids ascend.
auto FindById(const std::vector<_stPort>& ports, std::uint32_t id) {
    const auto found = std::lower_bound(
        ports.begin(), ports.end(), id,
        [](const _stPort& entry, std::uint32_t wanted) { return entry.id < wanted; });
    return found != ports.end() && found->id == id ? found : ports.end();
}

}  // namespace

// Without a request for memory: the list is made while the library is loaded, where a failure could
// not be returned.
CPortList::CPortList() : m_ports(std::shared_ptr<void>(), &g_noPorts.Get()) {}

CPortList::Snapshot CPortList::Ports() const {
    const CSharedLock lock(m_snapshotLock);
    return m_ports;
}

void CPortList::Publish(Snapshot ports) {
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
    auto next = std::make_shared<std::vector<_stPort>>();
    next->reserve(present->size() + ports.size());
    *next = *present;
    std::uint32_t id = m_lastId;
    for (auto& port : ports) {
        next->push_back({std::move(port), ++id});
    }
    m_lastId = id;
    Publish(std::move(next));
}

std::uint32_t CPortList::FindPortIdByName(const std::wstring& name) const {
    const Snapshot ports = Ports();
    const auto found = FindByName(*ports, name);
    return found != ports->end() ? found->id : kNoId;
}

std::shared_ptr<CPort> CPortList::FindPortByName(const std::wstring& name) const {
    const Snapshot ports = Ports();
    const auto found = FindByName(*ports, name);
    return found != ports->end() ? found->port : nullptr;
}

std::shared_ptr<CPort> CPortList::FindPortById(std::uint32_t id) const {
    const Snapshot ports = Ports();
    const auto found = FindById(*ports, id);
    return found != ports->end() ? found->port : nullptr;
}

bool CPortList::DeletePortById(std::uint32_t id) {
    std::shared_ptr<CPort> removed;  // destroyed after the lock is released
    const CExclusiveLock lock(m_changeLock);
    const Snapshot present = Ports();
    const auto found = FindById(*present, id);
    if (found == present->end()) {
        return false;
    }
    removed = found->port;
    auto next = std::make_shared<std::vector<_stPort>>();
    next->reserve(present->size() - 1);
    std::copy_if(present->begin(), present->end(), std::back_inserter(*next),
                 [id](const _stPort& entry) { return entry.id != id; });
    Publish(std::move(next));
    return true;
}

void CPortList::Clear() {
    const CExclusiveLock lock(m_changeLock);
    Publish(std::make_shared<const std::vector<_stPort>>());
}

}  // namespace ksp
