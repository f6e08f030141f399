#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "net/ip_address.h"
#include "net/socket_library.h"
#include "tests/discovery/discovery_test.h"

namespace ksp::test {

// The address of a port whose printer is tracked by its MAC address. The port "Port" has the name
// text "127.0.0.1"; its printer was at "127.0.0.2" last.
class RelocationTest : public DiscoveryTest {
  protected:
    static constexpr wchar_t kMac[] = L"0026AB123456";
    static constexpr wchar_t kName[] = L"127.0.0.1";
    static constexpr wchar_t kStored[] = L"127.0.0.2";

    void SetUp() override;

    // A port in the registry. The address type 4 is that of tracked ports.
    void AddPort(const std::wstring& port, DWORD type, const std::wstring& printer_address,
                 const std::wstring& ip_address = L"", const std::wstring& mac = L"");
    void AddTrackedPort(const std::wstring& mac = kMac) {
        AddPort(L"Port", 4, kName, kStored, mac);
    }
    void AddDevice(const std::string& address, const std::string& mac) {
        library_.AddDevice({.address = address, .mac = mac});
    }

    // What the port's name text leads to: "127.0.0.2", or "error 4294967295".
    std::string Resolve(const std::wstring& name = kName);
    // What was written since the last call, in order: "Port\IpAddress".
    std::vector<std::string> Writes();
    // A value as it stands.
    std::wstring Value(const std::wstring& name, const std::wstring& port = L"Port") const;
    // The lines of discovery: without those of reading the port.
    std::vector<std::string> SearchLines();

    CSLIpAddr address_;

  private:
    CSocketLibrary sockets_;
};

}  // namespace ksp::test
