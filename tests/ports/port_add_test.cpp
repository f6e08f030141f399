// Adding ports, the port list at start-up, and asking the spooler for ports.

#include <thread>

#include "tests/ports/port_manager_test.h"

namespace ksp::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

class PortAddTest : public PortManagerTest {
  protected:
    void SetUp() override {
        PortManagerTest::SetUp();
        spooler_.PutPort(L"LPT1:");
    }
    std::vector<std::wstring> ValuesOf(const std::wstring& port) const {
        return store_.ValueNames(store_.Root(), L"Ports\\" + port);
    }
    std::optional<std::wstring> Text(const std::wstring& port, const wchar_t* name) const {
        return store_.GetText(store_.Root(), L"Ports\\" + port, name);
    }
    std::optional<DWORD> Number(const std::wstring& port, const wchar_t* name) const {
        return store_.GetDword(store_.Root(), L"Ports\\" + port, name);
    }
    static CPortInfo FullRecord() {
        CPortInfo info = Raw(L"PORT", L"127.1.2.3");
        info.QueueName = L"replaced";
        info.PortNumber = 1;
        info.IpAddress = L"127.1.2.4";
        info.SubnetMask = L"255.255.255.0";
        info.MacAddress = L"00:11:22:33:44:55";
        info.SecureUserMode = 2;
        info.SecureRawPortNo = 59300;
        info.CheckPortNo = 59301;
        info.UserIdentityName = L"alice";
        info.ProxyServer = L"proxy";
        info.ProxyPort = 8080;
        return info;
    }
};

TEST_F(PortAddTest, NewPortIsListedAndStored) {
    ASSERT_TRUE(Initialize());
    const Answer answer = Add(FullRecord());
    EXPECT_TRUE(answer.result);
    EXPECT_EQ(answer.error, DWORD{ERROR_SUCCESS});
    EXPECT_THAT(PortNames(), ElementsAre(L"PORT"));
    EXPECT_EQ(manager().Ports().FindPortIdByName(L"PORT"), 1U);
    EXPECT_THAT(NewLines(), ElementsAre("ERROR invalidate Port", "INFO port added successfully"));
    EXPECT_THAT(
        ValuesOf(L"PORT"),
        UnorderedElementsAre(L"ProtocolID", L"PrinterAddress", L"QueueName", L"PrinterAddressType",
                             L"IpAddress", L"SubnetMask", L"MacAddress"));
    EXPECT_EQ(Number(L"PORT", L"ProtocolID"), 2U);
    EXPECT_EQ(Text(L"PORT", L"PrinterAddress"), L"127.1.2.3");
    EXPECT_EQ(Text(L"PORT", L"QueueName"), L"") << "raw ports have no queue";
    EXPECT_EQ(Number(L"PORT", L"PrinterAddressType"), 1U);
    EXPECT_EQ(Text(L"PORT", L"IpAddress"), L"127.1.2.4");
    EXPECT_EQ(Text(L"PORT", L"SubnetMask"), L"255.255.255.0");
    EXPECT_EQ(Text(L"PORT", L"MacAddress"), L"00:11:22:33:44:55");
}

TEST_F(PortAddTest, IdPrintMonitorStoresFourMoreValues) {
    ASSERT_TRUE(Initialize(2));
    const Answer answer = Add(FullRecord());
    EXPECT_TRUE(answer.result);
    EXPECT_EQ(answer.error, DWORD{ERROR_SUCCESS});
    EXPECT_THAT(
        ValuesOf(L"PORT"),
        UnorderedElementsAre(L"ProtocolID", L"PrinterAddress", L"QueueName", L"PrinterAddressType",
                             L"IpAddress", L"SubnetMask", L"MacAddress", L"SecureUserMode",
                             L"SecureRawPortNo", L"CheckPortNo", L"UserIdentityName"));
    EXPECT_EQ(Number(L"PORT", L"SecureUserMode"), 2U);
    EXPECT_EQ(Number(L"PORT", L"SecureRawPortNo"), 59300U);
    EXPECT_EQ(Number(L"PORT", L"CheckPortNo"), 59301U);
    EXPECT_EQ(Text(L"PORT", L"UserIdentityName"), L"alice");
}

TEST_F(PortAddTest, LprPortsGetTheDefaultQueue) {
    ASSERT_TRUE(Initialize());
    for (const std::uint32_t protocol : {0U, 1U}) {
        CPortInfo info = FullRecord();
        info.PortName = L"lpr " + std::to_wstring(protocol);
        info.ProtocolID = protocol;
        NewLines();
        const Answer answer = Add(info);
        EXPECT_TRUE(answer.result);
        EXPECT_EQ(answer.error, DWORD{ERROR_SUCCESS});
        EXPECT_THAT(NewLines(),
                    ElementsAre("TRACE initializing default lpr qname", "ERROR invalidate Port",
                                "INFO port added successfully"));
        EXPECT_EQ(Text(info.PortName, L"QueueName"), L"KSPQueue");
        EXPECT_EQ(Number(info.PortName, L"ProtocolID"), protocol);
    }
}

TEST_F(PortAddTest, ProtocolsWithoutChannelAreRefused) {
    ASSERT_TRUE(Initialize());
    for (const std::uint32_t protocol : {3U, 7U}) {
        CPortInfo info = FullRecord();
        info.ProtocolID = protocol;
        const Answer answer = Add(info);
        EXPECT_FALSE(answer.result);
        EXPECT_EQ(answer.error, DWORD{ERROR_INVALID_DATA});
        EXPECT_EQ(NewLines().back(), "INFO Port Initialize Failed : PORT");
    }
    EXPECT_THAT(PortNames(), IsEmpty());
    EXPECT_FALSE(HasKey(L"PORT"));
}

TEST_F(PortAddTest, NamesThatTheRegistryCannotHoldAreRefused) {
    ASSERT_TRUE(Initialize());
    for (const std::wstring& name :
         {std::wstring(), std::wstring(L"a\\b"), std::wstring(256, L'n')}) {
        NewLines();
        const Answer answer = Add(Raw(name));
        EXPECT_FALSE(answer.result);
        EXPECT_EQ(answer.error, DWORD{ERROR_INVALID_DATA});
        EXPECT_THAT(NewLines(), ElementsAre("ERROR invalidate Port"));
    }
    EXPECT_THAT(PortNames(), IsEmpty());
    EXPECT_TRUE(Add(Raw(std::wstring(255, L'n'))).result);
}

TEST_F(PortAddTest, NameOfAnotherMonitorIsRefused) {
    ASSERT_TRUE(Initialize());
    spooler_.PutPort(L"PORT");
    const Answer answer = Add(FullRecord());
    EXPECT_FALSE(answer.result);
    EXPECT_EQ(answer.error, DWORD{ERROR_ALREADY_EXISTS});
    EXPECT_THAT(NewLines(), ElementsAre("TRACE returning port exists", "ERROR invalidate Port",
                                        "ERROR port already exists"));
    EXPECT_THAT(PortNames(), IsEmpty());
    EXPECT_FALSE(HasKey(L"PORT"));
}

TEST_F(PortAddTest, PortOfThisMonitorIsConfiguredAnew) {
    ASSERT_TRUE(Initialize());
    ASSERT_TRUE(Add(Raw(L"PORT", L"127.0.0.1")).result);
    spooler_.PutPort(L"PORT", L"Kestrel Print Port");
    NewLines();
    const Answer answer = Add(FullRecord());
    EXPECT_TRUE(answer.result);
    EXPECT_EQ(answer.error, DWORD{ERROR_ALREADY_EXISTS});
    EXPECT_THAT(
        NewLines(),
        ElementsAre("TRACE returning port exists", "TRACE configuring qname =    m_addrtype = 1",
                    "TRACE print channel is  CLOSE", "INFO port configured successfully",
                    "INFO port added successfully"));
    EXPECT_THAT(PortNames(), ElementsAre(L"PORT"));
    EXPECT_EQ(manager().Ports().FindPortIdByName(L"PORT"), 1U) << "it stays the same port";
    EXPECT_EQ(Text(L"PORT", L"PrinterAddress"), L"127.1.2.3");
    EXPECT_EQ(Text(L"PORT", L"IpAddress"), L"127.1.2.4") << "the address values are saved too";
    EXPECT_EQ(Text(L"PORT", L"MacAddress"), L"00:11:22:33:44:55");
    EXPECT_EQ(manager().Ports().FindPortById(1)->Channel()->GetProtocolInfo()->GetHostName(),
              L"127.1.2.3");
}

TEST_F(PortAddTest, PortThatIsPrintingIsNotConfigured) {
    ASSERT_TRUE(Initialize());
    QueueJob();
    ASSERT_TRUE(Add(Raw(L"PORT")).result);
    const HANDLE handle = StartJob(L"PORT");
    ASSERT_NE(handle, nullptr);
    NewLines();
    const Answer answer = Add(FullRecord());
    EXPECT_FALSE(answer.result);
    EXPECT_EQ(answer.error, DWORD{ERROR_INVALID_DATA});
    EXPECT_THAT(NewLines(), ElementsAre("TRACE configuring qname =    m_addrtype = 1",
                                        "TRACE print channel is  OPEN",
                                        "ERROR print channel is open: cannot configure now",
                                        "INFO failed update port info"));
    EXPECT_EQ(Text(L"PORT", L"PrinterAddress"), L"127.0.0.1");
    EXPECT_TRUE(operations().EndDocPort(handle));
}

TEST_F(PortAddTest, SpoolerThatCannotListPortsDoesNotPreventIt) {
    ASSERT_TRUE(Initialize());
    spooler_.FailCall(WinspoolEnumPorts, ERROR_ACCESS_DENIED);
    const Answer answer = Add(Raw(L"PORT"));
    EXPECT_TRUE(answer.result);
    EXPECT_EQ(answer.error, DWORD{ERROR_SUCCESS});
    EXPECT_EQ(NewLines().front(), "ERROR error doing enumports");
}

TEST_F(PortAddTest, SpoolerMayAskForPortsMeanwhile) {
    AddRawKey(L"OLD");
    ASSERT_TRUE(Initialize());
    DWORD code = ERROR_GEN_FAILURE;
    spooler_.SetHook(WinspoolEnumPorts, [&] {
        std::thread([&] {
            DWORD needed = 0;
            DWORD returned = 0;
            code = operations().EnumPorts(1, nullptr, 0, &needed, &returned);
        }).join();
    });
    EXPECT_TRUE(Add(Raw(L"PORT")).result);
    spooler_.SetHook(WinspoolEnumPorts, {});
    EXPECT_EQ(code, DWORD{ERROR_INSUFFICIENT_BUFFER}) << "it did not wait for the lock";
}

TEST_F(PortAddTest, IdsGoOnAfterADeletion) {
    ASSERT_TRUE(Initialize());
    ASSERT_TRUE(Add(Raw(L"PORT")).result);
    ASSERT_TRUE(manager().DeletePort(L"PORT"));
    ASSERT_TRUE(Add(Raw(L"PORT")).result);
    EXPECT_EQ(manager().Ports().FindPortIdByName(L"PORT"), 2U);
}

TEST_F(PortAddTest, SystemIsAskedForTheExactName) {
    ASSERT_TRUE(Initialize());
    spooler_.PutPort(L"Port");
    EXPECT_EQ(CPortManager::PortExistsInSystem(L"Port"), DWORD{ERROR_SUCCESS});
    EXPECT_THAT(NewLines(), ElementsAre("TRACE returning port exists"));
    EXPECT_EQ(CPortManager::PortExistsInSystem(L"LPT1:"), DWORD{ERROR_SUCCESS});
    NewLines();
    for (const wchar_t* name : {L"port", L"Port ", L"Por"}) {
        EXPECT_EQ(CPortManager::PortExistsInSystem(name), DWORD{ERROR_UNKNOWN_PORT}) << name;
    }
    EXPECT_THAT(NewLines(), IsEmpty());
    for (const WinspoolCall& call : spooler_.Calls(WinspoolEnumPorts)) {
        EXPECT_EQ(call.level, 1U);
    }
}

TEST_F(PortAddTest, SystemIsNotAskedForNoName) {
    ASSERT_TRUE(Initialize());
    EXPECT_EQ(CPortManager::PortExistsInSystem(nullptr), DWORD{ERROR_INVALID_DATA});
    EXPECT_EQ(CPortManager::PortExistsInSystem(L""), DWORD{ERROR_INVALID_DATA});
    EXPECT_THAT(spooler_.Calls(), IsEmpty());
    EXPECT_THAT(NewLines(), IsEmpty());
}

TEST_F(PortAddTest, SystemThatDoesNotAnswerIsAnError) {
    ASSERT_TRUE(Initialize());
    spooler_.FailCall(WinspoolEnumPorts, ERROR_ACCESS_DENIED);
    EXPECT_EQ(CPortManager::PortExistsInSystem(L"LPT1:"), DWORD{ERROR_INVALID_DATA});
    EXPECT_THAT(NewLines(), ElementsAre("ERROR error doing enumports"));
    spooler_.FailCall(WinspoolEnumPorts, ERROR_ACCESS_DENIED, 2);
    EXPECT_EQ(CPortManager::PortExistsInSystem(L"LPT1:"), DWORD{ERROR_INVALID_DATA});
    EXPECT_THAT(NewLines(), ElementsAre("ERROR error doing enumports"));
    spooler_.EmptyCall(WinspoolEnumPorts);
    EXPECT_EQ(CPortManager::PortExistsInSystem(L"LPT1:"), DWORD{ERROR_INVALID_DATA});
    EXPECT_THAT(NewLines(), IsEmpty());
}

TEST_F(PortAddTest, NullRecordAtStartUpClearsTheList) {
    ASSERT_TRUE(Initialize());
    ASSERT_TRUE(Add(Raw(L"old")).result);
    CPortInfoList list;
    list.push_back(std::make_unique<CPortInfo>(Raw(L"a")));
    list.push_back(nullptr);
    list.push_back(std::make_unique<CPortInfo>(Raw(L"b")));
    EXPECT_FALSE(manager().InitPorts(list));
    EXPECT_THAT(PortNames(), IsEmpty());
}

TEST_F(PortAddTest, EmptyListAtStartUpSucceeds) {
    ASSERT_TRUE(Initialize());
    EXPECT_TRUE(manager().InitPorts({}));
    EXPECT_THAT(PortNames(), IsEmpty());
}

TEST_F(PortAddTest, BadRecordsAtStartUpAreLeftOut) {
    ASSERT_TRUE(Initialize());
    CPortInfoList list;
    for (const wchar_t* name : {L"a", L"bad", L"b"}) {
        list.push_back(std::make_unique<CPortInfo>(Raw(name)));
    }
    list[1]->ProtocolID = 3;
    EXPECT_TRUE(manager().InitPorts(list));
    EXPECT_THAT(PortNames(), ElementsAre(L"a", L"b"));
    EXPECT_THAT(NewLines(), Contains("INFO Port Initialize Failed : bad"));
}

}  // namespace
}  // namespace ksp::test
