#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "discovery/address_resolver.h"
#include "discovery/printer_status.h"
#include "net/ip_address.h"
#include "net/socket_library.h"
#include "tests/discovery/discovery_test.h"

namespace ksp::test {

// A printer that is asked how it is, idle and without errors at first. It is found as a channel
// finds it.
class StatusTest : public DiscoveryTest, private IAddressResolver {
  protected:
    static constexpr char kDevice[] = "127.0.0.2";
    static constexpr std::uint32_t kUnknown = 0x800000;

    void SetUp() override;

    std::uint32_t Status(const std::wstring& name = L"127.0.0.2") {
        return GetPrinterStatus(name, *this);
    }
    // The values of the two queries.
    void SetValues(const std::vector<uint8_t>& state, const std::vector<uint8_t>& errors);
    // The lines that deal with discovery, without those of finding the address.
    std::vector<std::string> StatusLines();
    // A query that fails, with the line of its step.
    void ExpectUnknown(const std::string& line);

  private:
    std::optional<std::wstring> ResolvePrinter(const std::wstring& name) override;

    CSocketLibrary sockets_;
};

}  // namespace ksp::test
