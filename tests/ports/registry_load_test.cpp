// Loading the ports and what becomes of each of a port's values.

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "ports/registry_store.h"
#include "tests/support/store_test.h"

namespace ksp {
namespace {

using test::RegistryOperation;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class RegistryLoadTest : public test::StoreTest {
  protected:
    std::vector<std::wstring> LoadNames() {
        list_.clear();
        EXPECT_EQ(store_.LoadPorts(list_), 1);
        std::vector<std::wstring> names;
        for (const auto& info : list_) {
            names.push_back(info->PortName);
        }
        return names;
    }
    // The only port, as it is loaded.
    CPortInfo LoadOne() {
        LoadNames();
        EXPECT_THAT(list_, SizeIs(1));
        return list_.empty() ? CPortInfo() : *list_.front();
    }

    CPortInfoList list_;
};

TEST(PortInfoTest, HasItsDefaults) {
    const CPortInfo info;
    EXPECT_EQ(info.PortName + info.PrinterAddress + info.QueueName + info.IpAddress +
                  info.SubnetMask + info.MacAddress + info.ProxyServer + info.UserIdentityName +
                  info.Reserved2 + info.Reserved3 + info.Reserved4,
              L"");
    EXPECT_EQ(info.ProtocolID | info.PortNumber | info.ProxyPort | info.SecureUserMode |
                  info.SecureRawPortNo | info.CheckPortNo | info.Reserved1 | info.Reserved5,
              0U);
    EXPECT_EQ(info.PrinterAddressType, 4U);
    EXPECT_TRUE(info.IsTracked());
}

TEST_F(RegistryLoadTest, LoadsEveryPortInTheOrderOfTheRegistry) {
    Open();
    for (const wchar_t* name : {L"c", L"a", L"b"}) {
        SetPortDword(name, L"ProtocolID", 2);
    }
    EXPECT_THAT(LoadNames(), ElementsAre(L"a", L"b", L"c"));
    EXPECT_THAT(Lines(),
                ElementsAre("INFO: Load Port : a", "INFO: Load Port : b", "INFO: Load Port : c"));
    EXPECT_THAT(registry_.OpenKeys(), SizeIs(2)) << "every port's key is closed again";
}

TEST_F(RegistryLoadTest, LoadsNothingWithoutPorts) {
    Open();
    EXPECT_THAT(LoadNames(), IsEmpty());
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(RegistryLoadTest, RefusesAListThatIsNotEmpty) {
    Open();
    SetPortDword(L"a", L"ProtocolID", 2);
    list_.push_back(std::make_unique<CPortInfo>());
    EXPECT_EQ(store_.LoadPorts(list_), 0);
    EXPECT_THAT(list_, SizeIs(1));
    EXPECT_THAT(Lines(), ElementsAre("ERROR: The list to store must be empty."));
    EXPECT_THAT(registry_.Calls(), IsEmpty());
}

TEST_F(RegistryLoadTest, SkipsAPortThatCannotBeOpened) {
    Open();
    for (const wchar_t* name : {L"a", L"b", L"c"}) {
        SetPortDword(name, L"ProtocolID", 2);
    }
    registry_.AddFault({.operation = RegistryOperation::kOpenKey, .name = L"b"});
    EXPECT_THAT(LoadNames(), ElementsAre(L"a", L"c"));
    EXPECT_THAT(Lines(), ElementsAre("INFO: Load Port : a", "ERROR: Unable to open key ( b )",
                                     "INFO: Load Port : c"));
}

TEST_F(RegistryLoadTest, AKeyThatCannotBeEnumeratedIsTriedAgain) {
    Open();
    for (const wchar_t* name : {L"a", L"b", L"c"}) {
        SetPortDword(name, L"ProtocolID", 2);
    }
    for (const LONG code : {ERROR_ACCESS_DENIED, ERROR_INVALID_HANDLE, ERROR_MORE_DATA}) {
        registry_.AddFault({.operation = RegistryOperation::kEnumKey, .code = code, .nth = 2});
        EXPECT_THAT(LoadNames(), ElementsAre(L"a", L"b", L"c")) << code;
        EXPECT_THAT(Lines(), Contains("ERROR: Unable to enumerate the ports ( " +
                                      std::to_string(code) + " )"));
    }
}

TEST_F(RegistryLoadTest, EndsAtAFailureThatStaysWithWhatWasReadSoFar) {
    Open();
    for (const wchar_t* name : {L"a", L"b", L"c"}) {
        SetPortDword(name, L"ProtocolID", 2);
    }
    registry_.AddFault({.operation = RegistryOperation::kEnumKey,
                        .code = ERROR_ACCESS_DENIED,
                        .nth = 3,
                        .and_later = true});
    EXPECT_THAT(LoadNames(), ElementsAre(L"a", L"b"));
    EXPECT_THAT(Lines(), ElementsAre("INFO: Load Port : a", "INFO: Load Port : b",
                                     "ERROR: Unable to enumerate the ports ( 5 )"));
}

TEST_F(RegistryLoadTest, DoesNotLoopWhenThePortsKeyCannotBeRead) {
    Open();
    registry_.AddFault({.operation = RegistryOperation::kEnumKey, .code = 6, .and_later = true});
    EXPECT_THAT(LoadNames(), IsEmpty());
}

TEST_F(RegistryLoadTest, DoesNotLoopWhenThePortsKeyIsNotOpen) {
    EXPECT_THAT(LoadNames(), IsEmpty());
    EXPECT_THAT(Lines(), ElementsAre("ERROR: Unable to enumerate the ports ( 6 )"));
    EXPECT_THAT(registry_.Calls(), IsEmpty());
}

TEST_F(RegistryLoadTest, LoadsEveryValueIntoItsField) {
    Open();
    SetPortDword(L"p", L"ProtocolID", 1);
    SetPortText(L"p", L"PrinterAddress", L"printer1");
    SetPortText(L"p", L"QueueName", L"queue");
    SetPortDword(L"p", L"PrinterAddressType", 2);
    SetPortText(L"p", L"IpAddress", L"10.0.0.5");
    SetPortText(L"p", L"SubnetMask", L"255.255.255.0");
    SetPortText(L"p", L"MacAddress", L"00:11:22:33:44:55");
    SetPortText(L"p", L"ProxyServer", L"proxy");
    SetPortDword(L"p", L"ProxyPort", 8080);
    SetPortDword(L"p", L"SecureUserMode", 11);
    SetPortDword(L"p", L"SecureRawPortNo", 12);
    SetPortDword(L"p", L"CheckPortNo", 13);
    SetPortText(L"p", L"UserIdentityName", L"user");
    const CPortInfo info = LoadOne();
    EXPECT_EQ(info.PortName, L"p");
    EXPECT_EQ(info.ProtocolID, 1U);
    EXPECT_EQ(info.PrinterAddress, L"printer1");
    EXPECT_EQ(info.QueueName, L"queue");
    EXPECT_EQ(info.PrinterAddressType, 2U);
    EXPECT_EQ(info.IpAddress, L"10.0.0.5");
    EXPECT_EQ(info.SubnetMask, L"255.255.255.0");
    EXPECT_EQ(info.MacAddress, L"00:11:22:33:44:55");
    EXPECT_EQ(info.ProxyServer, L"proxy");
    EXPECT_EQ(info.ProxyPort, 8080U);
    EXPECT_EQ(info.SecureUserMode, 11U);
    EXPECT_EQ(info.SecureRawPortNo, 12U);
    EXPECT_EQ(info.CheckPortNo, 13U);
    EXPECT_EQ(info.UserIdentityName, L"user");
    EXPECT_EQ(info.Reserved1 | info.Reserved5, 0U);
}

TEST_F(RegistryLoadTest, MissingValuesLoadAsZeroAndEmpty) {
    Open();
    memory_.MakeKey(memory_.Root(), L"Ports\\p");
    const CPortInfo info = LoadOne();
    EXPECT_EQ(info.PrinterAddress + info.QueueName + info.IpAddress + info.SubnetMask +
                  info.MacAddress + info.ProxyServer + info.UserIdentityName,
              L"");
    EXPECT_EQ(info.ProtocolID | info.ProxyPort | info.PrinterAddressType | info.SecureUserMode |
                  info.SecureRawPortNo | info.CheckPortNo,
              0U)
        << "also the address type, whose default is another";
    EXPECT_EQ(info.PortNumber, 515U);
}

TEST_F(RegistryLoadTest, ValuesOfAnotherTypeLoadAsZeroAndEmpty) {
    Open();
    SetPortText(L"p", L"ProtocolID", L"2");
    SetPortDword(L"p", L"PrinterAddress", 1);
    const CPortInfo info = LoadOne();
    EXPECT_EQ(info.ProtocolID, 0U);
    EXPECT_EQ(info.PrinterAddress, L"");
}

TEST_F(RegistryLoadTest, PortNameComesFromTheKeyAndNotFromAValue) {
    Open();
    SetPortText(L"p", L"PortName", L"other");
    SetPortDword(L"p", L"PortNumber", 77);
    const CPortInfo info = LoadOne();
    EXPECT_EQ(info.PortName, L"p");
    EXPECT_EQ(info.PortNumber, 515U);
}

TEST_F(RegistryLoadTest, RawPortNumberIs9100UnderTheOrdinaryMonitor) {
    Open(MonitorType::kOrdinary);
    SetPortDword(L"p", L"ProtocolID", 2);
    EXPECT_EQ(LoadOne().PortNumber, 9100U);
    SetPortDword(L"p", L"SecureRawPortNo", 59201);
    EXPECT_EQ(LoadOne().PortNumber, 9100U);
}

TEST_F(RegistryLoadTest, RawPortNumberIsTheSecureOneUnderTheIdPrintMonitor) {
    Open(MonitorType::kIdPrint);
    SetPortDword(L"p", L"ProtocolID", 2);
    EXPECT_EQ(LoadOne().PortNumber, 0U) << "missing, so it has no number";
    SetPortDword(L"p", L"SecureRawPortNo", 59201);
    EXPECT_EQ(LoadOne().PortNumber, 59201U);
}

TEST_F(RegistryLoadTest, PortNumberOfEveryOtherProtocolIs515) {
    for (const MonitorType type : {MonitorType::kOrdinary, MonitorType::kIdPrint}) {
        Open(type);
        for (const DWORD protocol : {0U, 1U, 3U, 4U, 0xFFFFFFFFU}) {
            SetPortDword(L"p", L"ProtocolID", protocol);
            SetPortDword(L"p", L"SecureRawPortNo", 59201);
            EXPECT_EQ(LoadOne().PortNumber, 515U) << protocol;
        }
    }
}

TEST_F(RegistryLoadTest, LoadsNamesOfPortsWithAnyCharacter) {
    Open();
    SetPortDword(L"KSP 10.0.0.5 (%s) \u00FC", L"ProtocolID", 2);
    EXPECT_THAT(LoadNames(), ElementsAre(L"KSP 10.0.0.5 (%s) \u00FC"));
}

}  // namespace
}  // namespace ksp
