#pragma once

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "tests/host/monitor_test.h"
#include "tests/tools/captured_output.h"

namespace ksp::test {

using ctl::ExitCode;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

// kspctl in this process, with the stand-in spooler, which has the monitor under test loaded: the
// commands of the configuration channel reach kspmon.dll, and its ports are the spooler's.
class KspctlTest : public MonitorTest {
  protected:
    static constexpr wchar_t kOrdinary[] = L"Kestrel Print Port";
    static constexpr wchar_t kIdPrint[] = L"Kestrel ID Print Port";

    // Starts the monitor and makes it known to the spooler under its name.
    [[nodiscard]] bool StartSpooler(const std::wstring& name = kOrdinary);

    KspctlRun Kspctl(const std::vector<std::wstring>& arguments) { return RunKspctl(arguments); }

    // What the port's key holds; empty when there is no such value.
    std::wstring StoredText(const std::wstring& port, const std::wstring& value);
    DWORD StoredNumber(const std::wstring& port, const std::wstring& value);
    bool HasPortKey(const std::wstring& port) { return store().HasKey(root(), PortPath(port)); }

    // The objects of the channels that were opened, in order.
    std::vector<std::wstring> OpenedObjects();

  private:
    void ShowPortsToSpooler(const std::wstring& monitor_name);

    std::vector<std::wstring> shown_;
};

}  // namespace ksp::test
