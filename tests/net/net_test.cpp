#include "tests/net/net_test.h"

#include <array>

#include "support/logger.h"
#include "tests/support/spooler_start.h"

namespace ksp::test {

NetTest::NetTest() {
    RegistryStore().CreateLock();
    GiveRegistry(RegistryStore(), registry_);
}

void NetTest::SetUp() {
    BecomeMonitor(MonitorType::kOrdinary);
    ASSERT_TRUE(sockets_->StartupSockets());
}

void NetTest::TearDown() {
    Logger().Stop();
    RegistryStore().CloseStore();
    EXPECT_EQ(registry_.OpenKeyCount(), 0u);
}

void NetTest::BecomeMonitor(MonitorType type) {
    software_key_ = type == MonitorType::kIdPrint ? kIdPrintSoftwareKey : kSoftwareKey;
    registry_.SetText(HKEY_LOCAL_MACHINE, software_key_, L"LogDirectory", directory_.path());
    registry_.SetDword(HKEY_LOCAL_MACHINE, software_key_, L"LogLevel",
                       static_cast<DWORD>(LineLevel::kTrace));
    SetReplyTimeout(1);
    ASSERT_EQ(RegistryStore().OpenPortsKey(), ERROR_SUCCESS);
    ASSERT_EQ(RegistryStore().OpenSoftwareKey(type), ERROR_SUCCESS);
    Logger().Stop();
    ASSERT_TRUE(Logger().Start(RegistryStore()));
}

void NetTest::SetReplyTimeout(DWORD seconds) {
    registry_.SetDword(HKEY_LOCAL_MACHINE, software_key_, L"WaitServerReplyTimeout", seconds);
}

void NetTest::RemoveReplyTimeout() {
    registry_.RemoveValue(HKEY_LOCAL_MACHINE, software_key_, L"WaitServerReplyTimeout");
}

void NetTest::AddPortKey(const std::wstring& name, DWORD address_type) {
    const std::wstring path = L"Ports\\" + name;
    registry_.SetDword(registry_.Root(), path, L"ProtocolID", 2);
    registry_.SetText(registry_.Root(), path, L"PrinterAddress", name);
    registry_.SetDword(registry_.Root(), path, L"PrinterAddressType", address_type);
}

size_t NetTest::Count(LineLevel level, const std::wstring& message) const {
    return ReadLog().CountLines(level, message);
}

CSLIpAddr AddressOf(const std::string& dotted) {
    CSLIpAddr address;
    EXPECT_EQ(address.getByName(std::wstring(dotted.begin(), dotted.end())), 0u);
    return address;
}

std::wstring SystemText(DWORD code) {
    std::array<wchar_t, 1024> text = {};
    const DWORD length =
        FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, code, 0,
                       text.data(), static_cast<DWORD>(text.size()), nullptr);
    return length != 0 ? std::wstring(text.data(), length)
                       : L"Error while retrieving message using FormatMessage method";
}

}  // namespace ksp::test
