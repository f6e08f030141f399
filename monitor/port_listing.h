#pragma once

#include <windows.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "ports/port_list.h"

namespace ksp {

// What EnumPorts answers at level 2 for a list of ports, prepared: all strings in one piece, as they
// stand at the end of the caller's buffer. Spoolers list their ports far more often than these
// change.
//
// Does not keep the ports alive. Its owner guards it.
class CPortListing {
  public:
    // Prepares the listing unless it is that of these very ports already.
    void Prepare(const CPortList::Snapshot& ports, const std::wstring& monitorName,
                 const std::wstring& description);
    // Bytes of the structures and the strings.
    [[nodiscard]] std::size_t Size() const noexcept;
    // The structures from the start of the buffer, the strings up to its end.
    void Fill(BYTE* buffer, DWORD size) const;

  private:
    std::weak_ptr<const CPortArray> m_ports;
    std::wstring m_monitorName;
    std::wstring m_description;
    // The last port's strings first: description, monitor name, port name.
    std::wstring m_strings;
    std::vector<std::uint32_t> m_nameStarts;  // in m_strings, by port
};

}  // namespace ksp
