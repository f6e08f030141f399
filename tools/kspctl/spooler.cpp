#include "tools/kspctl/spooler.h"

namespace ksp::ctl {
namespace {

// The one that this library runs in.
constexpr wchar_t kEnvironment[] = L"Windows x64";

// The spooler's functions take names that they do not change as writable texts.
wchar_t* NameOrNull(std::wstring& name) {
    return name.empty() ? nullptr : name.data();
}

}  // namespace

DWORD XcvHandle::Send(const wchar_t* command, std::span<BYTE> input, std::span<BYTE> output,
                      DWORD* needed) const {
    DWORD bytes_needed = 0;
    DWORD status = ERROR_SUCCESS;
    if (::XcvDataW(handle_.Get(), command, input.data(), static_cast<DWORD>(input.size()),
                   output.data(), static_cast<DWORD>(output.size()), &bytes_needed,
                   &status) == FALSE) {
        return ::GetLastError();
    }
    if (needed != nullptr) {
        *needed = bytes_needed;
    }
    return status;
}

DWORD Spooler::OpenMonitor(const std::wstring& monitor, ACCESS_MASK access,
                           XcvHandle* handle) const {
    return Open(L",XcvMonitor " + monitor, access, handle);
}

DWORD Spooler::OpenPort(const std::wstring& port, ACCESS_MASK access, XcvHandle* handle) const {
    return Open(L",XcvPort " + port, access, handle);
}

DWORD Spooler::Open(const std::wstring& object, ACCESS_MASK access, XcvHandle* handle) const {
    std::wstring name = server_.empty() ? object : unc_name() + L"\\" + object;
    PRINTER_DEFAULTSW defaults = {};
    defaults.DesiredAccess = access;
    UniquePrinter printer;
    if (::OpenPrinterW(name.data(), printer.Receive(), &defaults) == FALSE) {
        return ::GetLastError();
    }
    *handle = XcvHandle(std::move(printer));
    return ERROR_SUCCESS;
}

DWORD Spooler::ListPorts(std::vector<std::wstring>* names) const {
    // Ports may be added between asking for the size and reading.
    constexpr int kAttempts = 5;
    std::wstring server = unc_name();
    DWORD error = ERROR_INSUFFICIENT_BUFFER;
    std::vector<BYTE> buffer;
    for (int attempt = 0; attempt < kAttempts && error == ERROR_INSUFFICIENT_BUFFER; ++attempt) {
        DWORD needed = 0;
        DWORD count = 0;
        if (::EnumPortsW(NameOrNull(server), 1, buffer.data(), static_cast<DWORD>(buffer.size()),
                         &needed, &count) == FALSE) {
            error = ::GetLastError();
            buffer.resize(needed);
            continue;
        }
        error = ERROR_SUCCESS;
        const auto* const ports = reinterpret_cast<const PORT_INFO_1W*>(buffer.data());
        for (DWORD i = 0; i < count; ++i) {
            // A monitor can answer with a port that has no name.
            if (ports[i].pName != nullptr) {
                names->emplace_back(ports[i].pName);
            }
        }
    }
    return error;
}

DWORD Spooler::AddMonitor(const std::wstring& monitor, const std::wstring& library) const {
    std::wstring server = unc_name();
    std::wstring name = monitor;
    std::wstring environment = kEnvironment;
    std::wstring file = library;
    MONITOR_INFO_2W info = {name.data(), environment.data(), file.data()};
    return ::AddMonitorW(NameOrNull(server), 2, reinterpret_cast<BYTE*>(&info)) != FALSE
               ? ERROR_SUCCESS
               : ::GetLastError();
}

DWORD Spooler::DeleteMonitor(const std::wstring& monitor) const {
    std::wstring server = unc_name();
    std::wstring name = monitor;
    std::wstring environment = kEnvironment;
    return ::DeleteMonitorW(NameOrNull(server), environment.data(), name.data()) != FALSE
               ? ERROR_SUCCESS
               : ::GetLastError();
}

}  // namespace ksp::ctl
