#pragma once

#include <windows.h>

#include "monitor/port_listing.h"
#include "ports/port_manager.h"

namespace ksp {

// The spooler's operations on ports, over the port manager: what the MONITOR2 entries forward to.
// Each catches what is thrown inside it, logs a CRITICAL line and fails.
//
// One job makes OpenPort, StartDocPort, WritePort any number of times, EndDocPort and at last
// ClosePort. The spooler calls from several threads at once; the operations of one port's job come
// one after the other, except that EndDocPort may come while a WritePort still sends, and then
// waits for it.
class CPortOperations {
  public:
    // The manager outlives the operations.
    explicit CPortOperations(CPortManager& manager) : m_manager(manager) {}

    // A Windows error code: 0, 21 not initialised, 122 buffer too small, 124 level, 1 exception.
    // The structures stand at the start of the buffer, their strings at its end: spoolers join the
    // answers of several monitors and move the two apart.
    [[nodiscard]] DWORD EnumPorts(DWORD level, BYTE* buffer, DWORD size, DWORD* needed,
                                  DWORD* returned);
    [[nodiscard]] bool OpenPort(const wchar_t* name, HANDLE* handle);
    // The last error is 59 (ERROR_UNEXP_NET_ERR) when the channel cannot be opened.
    [[nodiscard]] bool StartDocPort(HANDLE handle, wchar_t* printerName, DWORD jobId,
                                    const DOC_INFO_1W* document);
    // False with nothing written means: call again, as long as the job lives.
    [[nodiscard]] bool WritePort(HANDLE handle, const BYTE* data, DWORD size, DWORD* written);
    [[nodiscard]] bool EndDocPort(HANDLE handle);
    [[nodiscard]] bool ClosePort(HANDLE handle);

  private:
    [[nodiscard]] DWORD EnumPortsNow(DWORD level, BYTE* buffer, DWORD size, DWORD* needed,
                                     DWORD* returned);
    [[nodiscard]] bool OpenPortNow(const wchar_t* name, HANDLE* handle);
    [[nodiscard]] bool StartDocPortNow(HANDLE handle, wchar_t* printerName, DWORD jobId,
                                       const DOC_INFO_1W* document, bool& channelOpened);
    [[nodiscard]] bool WritePortNow(HANDLE handle, const BYTE* data, DWORD size, DWORD* written);
    [[nodiscard]] bool EndDocPortNow(HANDLE handle);

    CPortManager& m_manager;
    CPortListing m_listing;  // guarded by the port manager lock
};

}  // namespace ksp
