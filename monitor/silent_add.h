#pragma once

#include <windows.h>

#include <string>

#include "ports/port_manager.h"

namespace ksp {

// Adds a port from a text of key=value pairs, without the configuration interface: for installers.
// What the text does not say is asked of the printer, which need not answer.
//
// A Windows error code: 87 (ERROR_INVALID_PARAMETER) without an address or with an unknown
// protocol, else that of CPortManager::AddPort.
[[nodiscard]] DWORD SilentAddPort(CPortManager& manager, const std::wstring& text);

}  // namespace ksp
