#pragma once

#include <gmock/gmock.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "tests/host/monitor_test.h"
#include "tests/monitor/log_lines.h"
#include "tests/standins/loopback_printer.h"

namespace ksp::test {

using Bytes = std::vector<std::uint8_t>;

// So many bytes in which every position differs from its neighbourhood, so that bytes that are
// lost, doubled or swapped show.
Bytes Document(size_t size, unsigned seed = 0);

// Where two byte sequences first differ, in words; success when they are equal. (Printing megabytes
// would hide the message.)
::testing::AssertionResult SameBytes(const Bytes& sent, const Bytes& received);

// Spooler calls on one line each, the calls that only learn a size left out:
// "GetJob 'Printer' job 1 level 1 -> TRUE".
std::vector<std::string> Describe(const std::vector<WinspoolCall>& calls);

// What a MONITOR2 port entry answered.
struct CallResult {
    bool result = false;
    DWORD error = ERROR_SUCCESS;  // the thread's last error; kUntouched when the call left it alone
};

struct WriteResult {
    bool result = false;
    DWORD written = 0;
};

// Calls the entries of a started monitor one by one, as the spooler does.
class PortCallTest : public MonitorTest {
  protected:
    static constexpr DWORD kUntouched = 0xABCD;
    static constexpr DWORD kUnwritten = 0x5A5A5A5A;  // what *written holds before a WritePort

    // A raw port to a printer; before Start.
    void AddRawPort(const std::wstring& name, const std::wstring& address = L"127.0.0.1");
    void AddRawPort(const std::wstring& name, const standins::LoopbackPrinter& printer) {
        AddRawPort(name, printer.wide_address());
    }

    // Null when the monitor refused.
    HANDLE Open(std::wstring name);
    CallResult StartDoc(HANDLE port, std::wstring printer = L"Printer", DWORD job_id = 1);
    WriteResult Write(HANDLE port, const Bytes& data);
    bool EndDoc(HANDLE port) { return table().pfnEndDocPort(port) != FALSE; }
    bool Close(HANDLE port) { return table().pfnClosePort(port) != FALSE; }
    // Writes until everything is taken; false when the monitor refuses twenty times in a row.
    bool WriteAll(HANDLE port, const Bytes& data, size_t chunk = 64 * 1024);

    // The Xcv command; its code.
    DWORD DeletePort(std::wstring name);

    // Log lines since the last call of this function.
    std::vector<std::string> NewLines() { return lines_.Next(); }
    std::vector<std::string> LogNow() const { return AllLines(log_path()); }
    // Spooler calls since the last call of this function.
    std::vector<std::string> NewCalls();

    static HANDLE Handle(std::uintptr_t value) { return reinterpret_cast<HANDLE>(value); }

  private:
    LogLines lines_{log_path()};
};

}  // namespace ksp::test
