#pragma once

#include <gmock/gmock.h>

#include <cstdint>
#include <string>
#include <vector>

#include "tests/host/discovery_control.h"
#include "tests/host/monitor_test.h"

namespace ksp::test {

// The monitor library with the discovery library's stand-in, the build with every export unless a
// test chooses another. A search waits 1 second. After each test the stand-in holds nothing and was
// not misused.
class MonitorDiscoveryTest : public MonitorTest {
  protected:
    static constexpr wchar_t kMac[] = L"0026AB123456";
    static constexpr char kNarrowMac[] = "0026AB123456";

    static void SetUpTestSuite();
    void SetUp() override;
    void TearDown() override;

    // The monitor gets another build; before Start.
    void UseBuild(const std::wstring& directory);

    // The messages of a level whose text begins like that, in order.
    std::vector<std::wstring> Messages(LineLevel level, const std::wstring& beginning) const;
    // What was written to the registry since the start: "Port\IpAddress".
    std::vector<std::wstring> PortWrites();
    // The status words that the spooler was given, in order.
    std::vector<DWORD> StatusWords();

    DiscoveryControl discovery_;
};

}  // namespace ksp::test
