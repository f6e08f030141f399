#pragma once

#include <gtest/gtest.h>

#include <span>
#include <string>

#include "tests/host/faulty_registry.h"
#include "tests/host/handle_census.h"
#include "tests/host/log_file.h"
#include "tests/host/temp_directory.h"
#include "tests/host/winspool_control.h"
#include "tools/host/job_runner.h"
#include "tools/host/memory_registry.h"
#include "tools/host/monitor_library.h"

namespace ksp::test {

// A port as it is configured in the registry. The members are named as their values.
struct PortKey {
    std::wstring name = {};
    std::wstring PrinterAddress = {};
    DWORD ProtocolID = 2;  // raw TCP
    DWORD PrinterAddressType = 1;
    std::wstring QueueName = {};
    std::wstring IpAddress = {};
    std::wstring SubnetMask = {};
    std::wstring MacAddress = {};
};

// Loads kspmon.dll from beside the test program into a world of its own:
//   - a fresh registry in memory, reached through a FaultyRegistry, with the monitor type 1 and the
//     monitor's settings: log at TRACE into a private directory, replies waited for 2 seconds;
//   - an empty spooler (the stand-in winspool.drv);
//   - no port: put some with AddPortKey before Start.
// After each test the library is unloaded, and the test fails when a registry key, a printer
// handle, an event, a file, a socket or a process is still open that was not when the test began.
// What a test opens itself it closes before it ends; printers on the loopback live in the test's
// body.
class MonitorTest : public ::testing::Test {
  protected:
    static void SetUpTestSuite();

    void SetUp() override;
    void TearDown() override;

    // Loads the library and starts the monitor with registry(). Use as ASSERT_TRUE(Start()).
    [[nodiscard]] bool Start();
    // As Start, for a monitor that is to refuse: true when it was loaded and returned no table.
    [[nodiscard]] bool StartExpectingFailure();
    // Shuts the monitor down and frees the library, as TearDown does. For looking at what that did.
    void Unload();

    // Fails the test for whatever of these is open and was not when the test began. TearDown asks
    // this after unloading.
    void ExpectNothingOpen() const;

    // Settings of the monitor, in the software key of its type; before Start, or on the fly.
    void SetMonitorType(DWORD type);
    void SetSetting(const std::wstring& name, DWORD number);
    void SetSetting(const std::wstring& name, const std::wstring& text);
    const std::wstring& software_key() const { return software_key_; }

    // A port's key under the root's "Ports" key, with every value that PortKey has.
    void AddPortKey(const PortKey& port);
    static std::wstring PortPath(const std::wstring& port) { return L"Ports\\" + port; }

    // A printer of the spooler on that port, with one job in it.
    host::SpoolerJob QueueJob(const std::wstring& port, const std::wstring& printer = L"Printer",
                              DWORD job_id = 1);
    host::JobOutcome Print(const host::SpoolerJob& job, std::span<const uint8_t> data,
                           const host::JobOptions& options = {});

    // The log as it stands now.
    LogFile ReadLog() const { return LogFile::Read(log_path()); }
    std::wstring log_path() const { return directory_.File(L"log.txt"); }
    const std::wstring& directory() const { return directory_.path(); }

    // The registry behind the faults, for looking at values and preparing them.
    host::MemoryRegistry& store() { return store_; }
    HANDLE root() const { return store_.Root(); }
    // The registry that the monitor is given.
    FaultyRegistry& registry() { return registry_; }
    WinspoolControl& spooler() { return spooler_; }
    host::MonitorLibrary& library() { return library_; }
    // Only after a successful Start.
    const MONITOR2& table() const { return *library_.table(); }
    HANDLE monitor() const { return library_.monitor(); }

  private:
    void WriteSettings();

    TempDirectory directory_;
    host::MemoryRegistry store_;
    FaultyRegistry registry_{store_};
    WinspoolControl spooler_;
    std::wstring software_key_;
    HandleCensus handles_before_;
    host::MonitorLibrary library_;
};

// Where a file lies that was built for the test program.
std::wstring BesideTheProgram(const std::wstring& file);
// Where the library under test lies.
std::wstring MonitorLibraryPath();

}  // namespace ksp::test
