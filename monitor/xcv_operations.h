#pragma once

#include <windows.h>

#include "monitor/xcv_buffers.h"
#include "ports/port_manager.h"

namespace ksp {

// The configuration channel: named commands with input and output buffers, from the spooler's Xcv
// calls. It is the only way in which ports are added, configured and deleted. An Xcv handle is a
// token without content; the commands take everything from their input.
class CXcvOperations {
  public:
    // The manager outlives the operations.
    explicit CXcvOperations(CPortManager& manager) : m_manager(manager) {}

    [[nodiscard]] static bool XcvOpenPort(HANDLE* xcv);
    // A Windows error code. 87 (ERROR_INVALID_PARAMETER) for an unknown command, 122 with the bytes
    // needed for an output that is too small, 1 after an exception; the others are each command's.
    [[nodiscard]] DWORD XcvDataPort(const wchar_t* command, BYTE* input, DWORD inputSize,
                                    BYTE* output, DWORD outputSize, DWORD* needed);
    [[nodiscard]] static bool XcvClosePort(HANDLE xcv);

  private:
    struct Command;
    static const Command kCommands[];

    [[nodiscard]] DWORD Run(const wchar_t* command, CXcvBuffers& buffers);

    // The name of the configuration interface's library.
    [[nodiscard]] DWORD MonitorUI(CXcvBuffers& buffers);
    // Takes the AddPort data string; the port's name is written back over it. 0 for a new port, 183
    // for one that existed and was configured.
    [[nodiscard]] DWORD AddPort(CXcvBuffers& buffers);
    [[nodiscard]] DWORD DeletePort(CXcvBuffers& buffers);
    // Over all monitors: 0 exists, 1796 does not.
    [[nodiscard]] DWORD PortExists(CXcvBuffers& buffers);
    // A 32-bit truth value: whether it is a port of this monitor.
    [[nodiscard]] DWORD IsKspPort(CXcvBuffers& buffers);
    [[nodiscard]] DWORD GetMonitorType(CXcvBuffers& buffers);
    // Takes an XcvPortInfo.
    [[nodiscard]] DWORD ConfigurePort(CXcvBuffers& buffers);
    // Gives an XcvPortInfo.
    [[nodiscard]] DWORD GetPortConfig(CXcvBuffers& buffers);
    // Takes the key=value text in the ANSI code page.
    [[nodiscard]] DWORD SilentAddPort(CXcvBuffers& buffers);

    CPortManager& m_manager;
};

}  // namespace ksp
