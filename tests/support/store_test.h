#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ports/registry_store.h"
#include "tests/host/faulty_registry.h"
#include "tests/support/log_setup.h"
#include "tools/host/memory_registry.h"

namespace ksp::test {

// A store over a registry in memory, started as a spooler starts it, and the lines that it logs.
class StoreTest : public ::testing::Test {
  protected:
    StoreTest();
    void SetUp() override;

    // Opens both keys, then forgets the calls that this took.
    void Open(MonitorType type = MonitorType::kOrdinary);

    // A value below the Ports key, or of the ordinary monitor's software key.
    void SetPortDword(const std::wstring& port, const std::wstring& name, DWORD number);
    void SetPortText(const std::wstring& port, const std::wstring& name, const std::wstring& text);
    void SetSetting(const std::wstring& name, DWORD number);
    void SetSetting(const std::wstring& name, const std::wstring& text);

    [[nodiscard]] std::vector<std::string> Lines() const { return log_.Lines(); }
    // The names of the values written since Open, in order.
    [[nodiscard]] std::vector<std::wstring> Writes() const;

    host::MemoryRegistry memory_;
    FaultyRegistry registry_{memory_};
    LogSetup log_{Logger()};
    CRegistryStore store_;
};

}  // namespace ksp::test
