#pragma once

#include <gmock/gmock.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "monitor/port_operations.h"
#include "ports/port_manager.h"
#include "tests/host/faulty_registry.h"
#include "tests/host/temp_directory.h"
#include "tests/host/winspool_control.h"
#include "tests/monitor/log_lines.h"
#include "tests/monitor/port_call_test.h"
#include "tests/ports/port_sheltered_registry.h"
#include "tools/host/memory_registry.h"

namespace ksp::test {

// Answers which ports printers use as a test says.
class ScriptedUsage final : public IPortUsage {
  public:
    [[nodiscard]] bool IsPortUsedByPrinter(const wchar_t* portName) override {
        asked.emplace_back(portName);
        return in_use;
    }

    bool in_use = false;
    std::vector<std::wstring> asked;
};

// A port manager in this very program, over a registry in memory, the stand-in spooler and a log at
// TRACE: for what the library's own entries do not reach.
class PortManagerTest : public ::testing::Test {
  protected:
    void SetUp() override;
    void TearDown() override;

    // Starts the manager as a spooler does. Use as ASSERT_TRUE(Initialize()).
    [[nodiscard]] bool Initialize(DWORD monitorType = 1);
    void AddRawKey(const std::wstring& name, const std::wstring& address = L"127.0.0.1");
    // The record of a raw port.
    static CPortInfo Raw(const std::wstring& name, const std::wstring& address = L"127.0.0.1");

    struct Answer {
        bool result;
        DWORD error;  // the thread's last error; kUntouched when the call left it alone
    };
    static constexpr DWORD kUntouched = 0xABCD;
    Answer Add(const CPortInfo& info);

    // A job on a port that printer `Printer` prints to.
    void QueueJob(const std::wstring& printer = L"Printer");
    HANDLE StartJob(const std::wstring& port, std::wstring printer = L"Printer");

    std::vector<std::string> NewLines() { return lines_.Next(); }
    [[nodiscard]] std::vector<std::wstring> PortNames() const;
    [[nodiscard]] bool HasKey(const std::wstring& port) const {
        return store_.HasKey(store_.Root(), L"Ports\\" + port);
    }
    CPortManager& manager() { return *manager_; }
    CPortOperations& operations() { return *operations_; }

    TempDirectory directory_;
    LogLines lines_{directory_.File(L"log.txt")};
    host::MemoryRegistry store_;
    FaultyRegistry registry_{store_};
    ShelteredRegistry sheltered_{registry_};
    WinspoolControl spooler_;
    ScriptedUsage usage_;
    std::optional<CPortManager> manager_;
    std::optional<CPortOperations> operations_;
};

}  // namespace ksp::test
