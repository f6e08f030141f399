#pragma once

#include <windows.h>

#include "ports/port_manager.h"

namespace ksp {

// The configuration channel: named commands with input and output buffers, from the spooler's Xcv
// calls. An Xcv handle is a token without content; the commands take everything from their input.
class CXcvOperations {
  public:
    // The manager outlives the operations.
    explicit CXcvOperations(CPortManager& manager) : m_manager(manager) {}

    [[nodiscard]] static bool XcvOpenPort(HANDLE* xcv);
    // A Windows error code: 87 (ERROR_INVALID_PARAMETER) for an unknown command, 1 after an
    // exception.
    [[nodiscard]] DWORD XcvDataPort(const wchar_t* command, BYTE* input, DWORD inputSize,
                                    BYTE* output, DWORD outputSize, DWORD* needed);
    [[nodiscard]] static bool XcvClosePort(HANDLE xcv);

  private:
    CPortManager& m_manager;
};

}  // namespace ksp
