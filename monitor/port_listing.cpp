#include "monitor/port_listing.h"

#include <cstring>
#include <iterator>

namespace ksp {

namespace {

constexpr DWORD kPortType = PORT_TYPE_WRITE | PORT_TYPE_READ;

// Also of ports that are gone.
bool IsSame(const std::weak_ptr<const CPortArray>& left, const CPortList::Snapshot& right) {
    return !left.owner_before(right) && !right.owner_before(left);
}

}  // namespace

void CPortListing::Prepare(const CPortList::Snapshot& ports, const std::wstring& monitorName,
                           const std::wstring& description) {
    if (IsSame(m_ports, ports) && m_monitorName == monitorName && m_description == description) {
        return;
    }
    m_ports.reset();
    m_monitorName = monitorName;
    m_description = description;
    m_nameStarts.resize(ports->size());
    m_strings.clear();
    m_strings.reserve(ports->NameCharacters() +
                      ports->size() * (monitorName.size() + description.size() + 2));
    for (std::size_t index = ports->size(); index-- > 0;) {
        m_strings.append(description).append(1, L'\0').append(monitorName).append(1, L'\0');
        m_nameStarts[index] = static_cast<std::uint32_t>(m_strings.size());
        m_strings.append(
            std::next(ports->begin(), static_cast<std::ptrdiff_t>(index))->port->Name());
        m_strings.append(1, L'\0');
    }
    m_ports = ports;
}

std::size_t CPortListing::Size() const noexcept {
    return m_nameStarts.size() * sizeof(PORT_INFO_2W) + m_strings.size() * sizeof(wchar_t);
}

void CPortListing::Fill(BYTE* buffer, DWORD size) const {
    if (m_nameStarts.empty()) {
        return;
    }
    BYTE* const strings = buffer + size - m_strings.size() * sizeof(wchar_t);
    std::memcpy(strings, m_strings.data(), m_strings.size() * sizeof(wchar_t));
    auto* const text = reinterpret_cast<wchar_t*>(strings);
    for (const std::uint32_t nameStart : m_nameStarts) {
        PORT_INFO_2W info{};
        info.pPortName = text + nameStart;
        info.pMonitorName = info.pPortName - (m_monitorName.size() + 1);
        info.pDescription = info.pMonitorName - (m_description.size() + 1);
        info.fPortType = kPortType;
        std::memcpy(buffer, &info, sizeof(info));
        buffer += sizeof(info);
    }
}

}  // namespace ksp
