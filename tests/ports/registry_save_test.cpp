// Adding, updating and deleting a port: which values are written, in which order, and how.

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "ports/registry_store.h"
#include "tests/support/store_test.h"

namespace ksp {
namespace {

using test::RegistryOperation;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr wchar_t kPath[] = L"Ports\\p";

class RegistrySaveTest : public test::StoreTest {
  protected:
    RegistrySaveTest() {
        info_.PortName = L"p";
        info_.PrinterAddress = L"printer1";
        info_.QueueName = L"";
        info_.ProtocolID = 2;
        info_.PortNumber = 9100;
        info_.PrinterAddressType = 1;
        info_.IpAddress = L"10.0.0.5";
        info_.SubnetMask = L"255.255.255.0";
        info_.MacAddress = L"00:11:22:33:44:55";
        info_.ProxyServer = L"proxy";
        info_.ProxyPort = 8080;
        info_.SecureUserMode = 11;
        info_.SecureRawPortNo = 12;
        info_.CheckPortNo = 13;
        info_.UserIdentityName = L"us\u00E9r";
    }

    void MakePort() { memory_.MakeKey(memory_.Root(), kPath); }
    std::optional<DWORD> Dword(const wchar_t* name) {
        return memory_.GetDword(memory_.Root(), kPath, name);
    }
    // The stored characters, all of them.
    std::optional<std::wstring> Text(const wchar_t* name) {
        return memory_.GetText(memory_.Root(), kPath, name);
    }

    CPortInfo info_;
};

TEST_F(RegistrySaveTest, AddWritesTheAddressAndThePortUnderTheOrdinaryMonitor) {
    Open(MonitorType::kOrdinary);
    EXPECT_EQ(store_.AddPortKey(info_), 1);
    EXPECT_THAT(Writes(),
                ElementsAre(L"PrinterAddressType", L"IpAddress", L"SubnetMask", L"MacAddress",
                            L"ProtocolID", L"PrinterAddress", L"QueueName"));
    EXPECT_THAT(memory_.ValueNames(memory_.Root(), kPath), SizeIs(7));
    EXPECT_THAT(registry_.OpenKeys(), SizeIs(2)) << "the port's key is closed again";
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(RegistrySaveTest, AddWritesTheIdPrintValuesTooUnderTheIdPrintMonitor) {
    Open(MonitorType::kIdPrint);
    EXPECT_EQ(store_.AddPortKey(info_), 1);
    EXPECT_THAT(Writes(),
                ElementsAre(L"PrinterAddressType", L"IpAddress", L"SubnetMask", L"MacAddress",
                            L"ProtocolID", L"PrinterAddress", L"QueueName", L"SecureRawPortNo",
                            L"CheckPortNo", L"SecureUserMode", L"UserIdentityName"));
    EXPECT_THAT(memory_.ValueNames(memory_.Root(), kPath), SizeIs(11));
}

TEST_F(RegistrySaveTest, UpdateWritesTheAddressWhenAskedTo) {
    MakePort();
    Open(MonitorType::kOrdinary);
    EXPECT_EQ(store_.UpdatePortKey(info_, true), 1);
    EXPECT_THAT(Writes(),
                ElementsAre(L"PrinterAddressType", L"IpAddress", L"SubnetMask", L"MacAddress",
                            L"ProtocolID", L"PrinterAddress", L"QueueName"));
}

TEST_F(RegistrySaveTest, UpdateLeavesTheAddressAloneOtherwise) {
    MakePort();
    Open(MonitorType::kOrdinary);
    EXPECT_EQ(store_.UpdatePortKey(info_, false), 1);
    EXPECT_THAT(Writes(), ElementsAre(L"ProtocolID", L"PrinterAddress", L"QueueName"));
}

TEST_F(RegistrySaveTest, UpdateWritesTheIdPrintValuesUnderTheIdPrintMonitor) {
    MakePort();
    Open(MonitorType::kIdPrint);
    EXPECT_EQ(store_.UpdatePortKey(info_, false), 1);
    EXPECT_THAT(Writes(),
                ElementsAre(L"ProtocolID", L"PrinterAddress", L"QueueName", L"SecureRawPortNo",
                            L"CheckPortNo", L"SecureUserMode", L"UserIdentityName"));
    registry_.ClearCalls();
    EXPECT_EQ(store_.UpdatePortKey(info_, true), 1);
    EXPECT_THAT(Writes(), SizeIs(11));
}

TEST_F(RegistrySaveTest, WritesEveryFieldIntoItsValue) {
    Open(MonitorType::kIdPrint);
    EXPECT_EQ(store_.AddPortKey(info_), 1);
    EXPECT_EQ(Dword(L"PrinterAddressType"), 1U);
    EXPECT_EQ(Text(L"IpAddress"), L"10.0.0.5");
    EXPECT_EQ(Text(L"SubnetMask"), L"255.255.255.0");
    EXPECT_EQ(Text(L"MacAddress"), L"00:11:22:33:44:55");
    EXPECT_EQ(Dword(L"ProtocolID"), 2U);
    EXPECT_EQ(Text(L"PrinterAddress"), L"printer1");
    EXPECT_EQ(Text(L"QueueName"), L"");
    EXPECT_EQ(Dword(L"SecureRawPortNo"), 12U);
    EXPECT_EQ(Dword(L"CheckPortNo"), 13U);
    EXPECT_EQ(Dword(L"SecureUserMode"), 11U);
    EXPECT_EQ(Text(L"UserIdentityName"), L"us\u00E9r");
}

TEST_F(RegistrySaveTest, WritesTextsOfExactlyTwoBytesACharacter) {
    Open(MonitorType::kIdPrint);
    EXPECT_EQ(store_.AddPortKey(info_), 1);
    const auto sizeOf = [&](const wchar_t* name) {
        return memory_.GetValue(memory_.Root(), kPath, name).value().data.size();
    };
    EXPECT_EQ(sizeOf(L"PrinterAddress"), 16U);
    EXPECT_EQ(sizeOf(L"IpAddress"), 16U);
    EXPECT_EQ(sizeOf(L"QueueName"), 0U);
    EXPECT_EQ(sizeOf(L"UserIdentityName"), 8U);
}

TEST_F(RegistrySaveTest, NeverWritesTheProxyOrThePortNumber) {
    Open(MonitorType::kIdPrint);
    EXPECT_EQ(store_.AddPortKey(info_), 1);
    EXPECT_EQ(store_.UpdatePortKey(info_, true), 1);
    for (const wchar_t* name : {L"ProxyServer", L"ProxyPort", L"PortNumber", L"PortName"}) {
        EXPECT_EQ(memory_.GetValue(memory_.Root(), kPath, name), std::nullopt);
    }
}

TEST_F(RegistrySaveTest, WhatIsAddedIsLoadedAgain) {
    Open(MonitorType::kIdPrint);
    EXPECT_EQ(store_.AddPortKey(info_), 1);
    CPortInfoList list;
    EXPECT_EQ(store_.LoadPorts(list), 1);
    ASSERT_THAT(list, SizeIs(1));
    EXPECT_EQ(list[0]->PrinterAddress, info_.PrinterAddress);
    EXPECT_EQ(list[0]->UserIdentityName, info_.UserIdentityName);
    EXPECT_EQ(list[0]->PortNumber, info_.SecureRawPortNo);
}

TEST_F(RegistrySaveTest, AddOfAnExistingPortOverwritesItsValues) {
    SetPortText(L"p", L"PrinterAddress", L"old");
    Open();
    EXPECT_EQ(store_.AddPortKey(info_), 1);
    EXPECT_EQ(Text(L"PrinterAddress"), L"printer1");
}

TEST_F(RegistrySaveTest, AddThatCannotCreateTheKeyFails) {
    Open();
    registry_.AddFault({.operation = RegistryOperation::kCreateKey});
    EXPECT_EQ(store_.AddPortKey(info_), 0);
    EXPECT_THAT(Writes(), IsEmpty());
    EXPECT_FALSE(memory_.HasKey(memory_.Root(), kPath));
}

// A spooler takes a null parent for the monitor's root.
TEST_F(RegistrySaveTest, AddWithoutAPortsKeyMakesNoKeyElsewhere) {
    registry_.AddFault({.operation = RegistryOperation::kCreateKey});
    EXPECT_EQ(store_.OpenPortsKey(), ERROR_ACCESS_DENIED);
    EXPECT_EQ(store_.AddPortKey(info_), 0);
    EXPECT_THAT(memory_.SubkeyNames(memory_.Root(), L""), IsEmpty());
    EXPECT_THAT(Lines(), ::testing::Contains("ERROR: Unable to open key ( p )"));
}

TEST_F(RegistrySaveTest, UpdateOfAMissingPortIsLoggedAndMakesNoKey) {
    Open();
    EXPECT_EQ(store_.UpdatePortKey(info_, true), 0);
    EXPECT_THAT(Lines(), ElementsAre("ERROR: Unable to open key ( p )"));
    EXPECT_FALSE(memory_.HasKey(memory_.Root(), kPath));
}

TEST_F(RegistrySaveTest, ValueThatCannotBeWrittenDoesNotKeepTheOthersBack) {
    Open();
    registry_.AddFault({.operation = RegistryOperation::kSetValue, .name = L"IpAddress"});
    EXPECT_EQ(store_.AddPortKey(info_), 1);
    EXPECT_EQ(Text(L"IpAddress"), std::nullopt);
    EXPECT_EQ(Text(L"QueueName"), L"");
    EXPECT_THAT(Writes(), SizeIs(7));
}

TEST_F(RegistrySaveTest, UpdatesTheIpAddressAlone) {
    MakePort();
    Open();
    EXPECT_EQ(store_.UpdateIpAddress(info_), 1);
    EXPECT_THAT(Writes(), ElementsAre(L"IpAddress"));
    EXPECT_EQ(Text(L"IpAddress"), L"10.0.0.5");
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(RegistrySaveTest, UpdatesTheMacAddressAlone) {
    MakePort();
    Open();
    EXPECT_EQ(store_.UpdateMacAddress(info_), 1);
    EXPECT_THAT(Writes(), ElementsAre(L"MacAddress"));
    EXPECT_EQ(Text(L"MacAddress"), L"00:11:22:33:44:55");
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(RegistrySaveTest, UpdatingAnAddressOfAMissingPortIsLogged) {
    Open();
    EXPECT_EQ(store_.UpdateIpAddress(info_), 0);
    EXPECT_EQ(store_.UpdateMacAddress(info_), 0);
    EXPECT_THAT(Lines(),
                ElementsAre("ERROR: Unable to open key ( p )", "ERROR: Unable to open key ( p )"));
    EXPECT_FALSE(memory_.HasKey(memory_.Root(), kPath));
}

TEST_F(RegistrySaveTest, AddressThatCannotBeWrittenIsLogged) {
    MakePort();
    Open();
    registry_.AddFault({.operation = RegistryOperation::kSetValue, .and_later = true});
    EXPECT_EQ(store_.UpdateIpAddress(info_), 0);
    EXPECT_EQ(store_.UpdateMacAddress(info_), 0);
    EXPECT_THAT(Lines(), ElementsAre("ERROR: error write ipaddress value fail.",
                                     "ERROR: error write mac address value fail."));
    EXPECT_THAT(registry_.OpenKeys(), SizeIs(2)) << "the port's key is closed all the same";
}

TEST_F(RegistrySaveTest, DeletesThePortsKey) {
    MakePort();
    memory_.MakeKey(memory_.Root(), L"Ports\\other");
    Open();
    EXPECT_EQ(store_.DeletePortKey(L"p"), 1);
    EXPECT_THAT(memory_.SubkeyNames(memory_.Root(), L"Ports"), ElementsAre(L"other"));
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(RegistrySaveTest, KeyThatCannotBeDeletedIsLogged) {
    Open();
    EXPECT_EQ(store_.DeletePortKey(L"p"), 0);
    EXPECT_THAT(Lines(), ElementsAre("ERROR: Unable to delete key ( p )"));
}

}  // namespace
}  // namespace ksp
