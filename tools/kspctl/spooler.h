#pragma once

#include <windows.h>

#include <span>
#include <string>
#include <vector>

#include "support/spooler_query.h"
#include "tools/kspctl/failure.h"

namespace ksp::ctl {

// An open configuration channel to a monitor, through the spooler.
class XcvHandle {
  public:
    XcvHandle() = default;
    explicit XcvHandle(UniquePrinter handle) : handle_(std::move(handle)) {}

    [[nodiscard]] bool IsOpen() const { return static_cast<bool>(handle_); }

    // The command's Windows code: the monitor's, or that of a spooler which did not deliver it.
    // `needed` gets what the monitor would have written; it may be null.
    [[nodiscard]] DWORD Send(const wchar_t* command, std::span<BYTE> input, std::span<BYTE> output,
                             DWORD* needed = nullptr) const;

  private:
    UniquePrinter handle_;
};

// The print spooler of a computer, through its published calls. Each returns a Windows code.
class Spooler {
  public:
    // An empty name is this computer.
    explicit Spooler(const std::wstring& server) : server_(server) {}

    // Rights for reading (SERVER_ACCESS_ENUMERATE) or for changing (SERVER_ACCESS_ADMINISTER).
    [[nodiscard]] DWORD OpenMonitor(const std::wstring& monitor, ACCESS_MASK access,
                                    XcvHandle* handle) const;
    // The monitor that a port belongs to, whichever it is.
    [[nodiscard]] DWORD OpenPort(const std::wstring& port, ACCESS_MASK access,
                                 XcvHandle* handle) const;

    // The names of all ports, of every monitor.
    [[nodiscard]] DWORD ListPorts(std::vector<std::wstring>* names) const;

    [[nodiscard]] DWORD AddMonitor(const std::wstring& monitor, const std::wstring& library) const;
    [[nodiscard]] DWORD DeleteMonitor(const std::wstring& monitor) const;

    [[nodiscard]] const std::wstring& server() const { return server_; }
    // "\\NAME", or empty for this computer.
    [[nodiscard]] std::wstring unc_name() const {
        return server_.empty() ? std::wstring() : L"\\\\" + server_;
    }

  private:
    [[nodiscard]] DWORD Open(const std::wstring& object, ACCESS_MASK access,
                             XcvHandle* handle) const;

    std::wstring server_;
};

}  // namespace ksp::ctl
