#pragma once

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "ports/registry_store.h"
#include "tests/host/discovery_control.h"
#include "tests/host/faulty_registry.h"
#include "tests/support/log_setup.h"
#include "tools/host/memory_registry.h"

namespace ksp::test {

// The object ids of hrPrinterStatus and hrPrinterDetectedErrorState.
inline constexpr char kStatusOid[] = "1.3.6.1.2.1.25.3.5.1.1";
inline constexpr char kErrorStateOid[] = "1.3.6.1.2.1.25.3.5.1.2";

// Discovery in this process, as a start of the ordinary monitor leaves it: the process's store over
// a registry in memory, the log at TRACE, the path to the stand-in with every export. A search
// waits 1 second unless a test says otherwise. After each test the stand-in holds nothing and was
// not misused.
class DiscoveryTest : public ::testing::Test {
  protected:
    DiscoveryTest();
    void SetUp() override;
    void TearDown() override;

    void SetSetting(const std::wstring& name, DWORD number);
    void RemoveSetting(const std::wstring& name);
    // The networks to search, each "address;mask", and whether they are to be searched.
    void SetSubnets(DWORD subnet_segment, const std::vector<std::wstring>& subnets);

    // The lines logged since the last call, as "LEVEL: message".
    std::vector<std::string> NewLines();
    // The lines of that kind among all.
    [[nodiscard]] size_t CountLines(const std::string& line) const;
    // What was called in the library, in order: "KSCreateStream".
    [[nodiscard]] std::vector<std::string> CallNames() const;

    host::MemoryRegistry memory_;
    FaultyRegistry registry_{memory_};
    LogSetup log_;
    DiscoveryControl library_;

  private:
    size_t seen_ = 0;
};

// A capability document with these elements in it.
std::string CapabilityDocument(const std::string& elements);
// The reply to a MAC-address request with these elements in its group.
std::string MacReplyDocument(const std::string& elements);

// The reason that the system's parser gives for refusing a text, as the log has it.
std::string ParserReason(const std::wstring& text);

}  // namespace ksp::test
