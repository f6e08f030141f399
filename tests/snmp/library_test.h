#pragma once

#include <gmock/gmock.h>

#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "discovery/discovery_library.h"
#include "tests/host/handle_census.h"
#include "tests/snmp/agent_responder.h"

namespace ksp::test {

// The library's settings in the registry, as a test wants them.
struct RegistrySettings {
    std::optional<std::wstring> community = std::nullopt;
    std::optional<DWORD> version = std::nullopt;
    std::optional<DWORD> port = std::nullopt;
    std::optional<DWORD> search_loopback = std::nullopt;
};

// The discovery library, loaded for each test and freed after it; then no thread and no handle more
// is there than before.
class SnmpLibraryTest : public ::testing::Test {
  protected:
    static void SetUpTestSuite();
    void SetUp() override;
    void TearDown() override;

    void Load();
    void Free();

    // A stream that was initialised with these settings.
    void* BeginStream(const RegistrySettings& settings);
    // The same for agents at that one's port.
    void* BeginStream(const AgentResponder& agent) { return BeginStream({.port = agent.port()}); }
    void EndStream(void* stream);

    // A device on it, waited for that long in all (milliseconds).
    DeviceHandle Open(void* stream, const std::string& address, unsigned timeout = 5000,
                      unsigned retry = 2, unsigned interval = 200);

    // The document; empty when the call fails.
    std::string Capability(void* stream, DeviceHandle device);
    struct Reply {
        int result = 0;
        std::string text;
    };
    Reply Send(void* stream, DeviceHandle device, const std::string& request);
    // The bytes of a MIB variable, taken out of the reply as the monitor does; none when the
    // library has none to give.
    std::optional<std::string> Value(void* stream, DeviceHandle device, const std::string& oid,
                                     const std::string& type = "integer");
    static std::string MibRequest(const std::string& oid, const std::string& type = "integer",
                                  const std::string& rtype = "GetNextRequest");

    HMODULE module_ = nullptr;
    OryxFunctions library_ = {};

  private:
    void TestBody() override {}

    HandleCensus before_;
};

inline constexpr char kStatusColumn[] = "1.3.6.1.2.1.25.3.5.1.1";
inline constexpr char kErrorsColumn[] = "1.3.6.1.2.1.25.3.5.1.2";
inline constexpr char kMacRequest[] =
    "<?xml version=\"1.0\" encoding=\"utf-8\"?><GetData><DataInfo><Data><Group id=\"GetData\">"
    "<d id=\"MACAddress\" /></Group></Data></DataInfo></GetData>";

// The text of the document's first element of that name.
std::string ElementText(const std::string& document, const std::string& name);

// How many threads this process has.
size_t CountThreads();

}  // namespace ksp::test
