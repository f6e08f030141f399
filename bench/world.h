#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "bench/private_registry.h"
#include "tests/host/winspool_control.h"
#include "tools/host/job_runner.h"
#include "tools/host/monitor_library.h"

namespace ksp::bench {

// The monitor with its ports, between the machine's registry and the stand-in spooler; logging is
// off. One monitor at a time.
class World {
  public:
    // Null address: 127.0.0.1.
    explicit World(std::wstring printer_address) : address_(std::move(printer_address)) {}

    // False when the stand-in spooler or the private registry is not to be had.
    [[nodiscard]] bool Prepare();

    // Ends the monitor that runs, writes the ports, starts the monitor. Ports that were written just
    // now are not trusted by the monitor for a few seconds; `settle` waits until they are.
    [[nodiscard]] bool StartWith(size_t ports, DWORD protocol, bool settle = true);
    [[nodiscard]] bool WriteKeys(size_t ports, DWORD protocol);
    [[nodiscard]] bool Load();
    // Start-up alone: from the call of InitializePrintMonitor2 to its return, in seconds.
    [[nodiscard]] double TimedInitialize();
    bool Stop() { return library_.Unload(); }

    // A job of so many bytes to a port of the set, in writes of so many bytes. Seconds from OpenPort
    // to ClosePort's return; negative when it failed. `tick` is called now and then.
    using Tick = std::function<void(uint64_t bytes)>;
    [[nodiscard]] double Print(size_t port, uint64_t bytes, size_t chunk, const Tick& tick = {});

    [[nodiscard]] const MONITOR2& table() const { return *library_.table(); }
    [[nodiscard]] HANDLE monitor() const { return library_.monitor(); }
    [[nodiscard]] HMODULE module() const { return library_.module(); }
    PrivateRegistry& registry() { return registry_; }
    test::WinspoolControl& spooler() { return spooler_; }
    // The printer and job that jobs of this program belong to.
    static constexpr wchar_t kPrinter[] = L"Bench";
    static constexpr DWORD kJob = 1;

  private:
    std::wstring address_;
    PrivateRegistry registry_;
    test::WinspoolControl spooler_;
    host::MonitorLibrary library_;
};

}  // namespace ksp::bench
