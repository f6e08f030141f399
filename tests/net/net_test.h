#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "net/ip_address.h"
#include "net/socket_library.h"
#include "ports/registry_store.h"
#include "tests/host/log_file.h"
#include "tests/host/temp_directory.h"
#include "tests/standins/loopback_printer.h"
#include "tools/host/memory_registry.h"

namespace ksp::test {

// What lies below the channels, in this process, as a start of the ordinary monitor leaves it: the
// process's store over a registry in memory, the log at TRACE, Windows Sockets. Replies are waited
// for 1 second.
class NetTest : public ::testing::Test {
  protected:
    NetTest();
    void SetUp() override;
    void TearDown() override;

    // The store and the log go on with the settings of another monitor type.
    void BecomeMonitor(MonitorType type);
    void SetReplyTimeout(DWORD seconds);
    void RemoveReplyTimeout();
    // A raw port in the registry; its address type is a dotted address by custom.
    void AddPortKey(const std::wstring& name, DWORD address_type = 1);

    host::MemoryRegistry& registry() { return registry_; }
    CSocketLibrary& sockets() { return *sockets_; }
    void StopSockets() { sockets_.reset(); }

    LogFile ReadLog() const { return LogFile::Read(directory_.File(L"log.txt")); }
    // How often the whole log holds the line.
    size_t Count(LineLevel level, const std::wstring& message) const;

  private:
    host::MemoryRegistry registry_;
    TempDirectory directory_;
    std::wstring software_key_;
    std::unique_ptr<CSocketLibrary> sockets_ = std::make_unique<CSocketLibrary>();
};

CSLIpAddr AddressOf(const std::string& dotted);

// The text that the system has for an error code, with the line end that it has; where it has none,
// what stands in the log instead.
std::wstring SystemText(DWORD code);

// A name that no system resolves, and that none asks the network about.
inline constexpr wchar_t kNoHost[] = L"no such host";

}  // namespace ksp::test
