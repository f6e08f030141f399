// The manager's own life, its types, and its services for the channels.

#include "monitor/handle_id.h"
#include "ports/registry_store.h"
#include "tests/ports/port_manager_test.h"

namespace ksp::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class PortManagerLifeTest : public PortManagerTest {
  protected:
    // A job on a port, so that the port has a printer to tell its status to.
    HANDLE StartJobOn(const std::wstring& portNames) {
        AddRawKey(L"PORT");
        if (!Initialize())
            return nullptr;
        QueueJob();
        spooler_.PutPrinter({.name = L"Printer", .port_names = portNames});
        const HANDLE handle = StartJob(L"PORT");
        NewLines();
        spooler_.ClearCalls();
        return handle;
    }
    std::vector<std::string> StatusWritten() {
        return Describe(spooler_.Calls(WinspoolSetPrinter));
    }
};

TEST_F(PortManagerLifeTest, OperationsWaitForInitialization) {
    DWORD needed = 77;
    DWORD returned = 77;
    EXPECT_EQ(operations().EnumPorts(1, nullptr, 0, &needed, &returned), DWORD{ERROR_NOT_READY});
    EXPECT_EQ(operations().EnumPorts(9, nullptr, 0, &needed, &returned), DWORD{ERROR_NOT_READY})
        << "before the level is looked at";
    EXPECT_EQ(needed, 77U);
    HANDLE handle = nullptr;
    EXPECT_FALSE(operations().OpenPort(L"PORT", &handle));
}

TEST_F(PortManagerLifeTest, OperationsAfterTerminationAreRefused) {
    AddRawKey(L"PORT");
    ASSERT_TRUE(Initialize());
    manager().Terminate();
    EXPECT_THAT(NewLines(), ElementsAre("TRACE Logger terminate"));
    EXPECT_FALSE(manager().IsInitialized());
    DWORD needed = 0;
    DWORD returned = 0;
    EXPECT_EQ(operations().EnumPorts(1, nullptr, 0, &needed, &returned), DWORD{ERROR_NOT_READY});
    EXPECT_FALSE(operations().OpenPort(L"PORT", nullptr));
    manager().Terminate();
    EXPECT_THAT(NewLines(), IsEmpty());
}

TEST_F(PortManagerLifeTest, NotInitializedIsLogged) {
    ASSERT_TRUE(Initialize());
    // A second manager in the same process shares the log and nothing else.
    ScriptedUsage usage;
    CPortManager other(usage);
    CPortOperations otherOperations(other);
    DWORD needed = 0;
    EXPECT_EQ(otherOperations.EnumPorts(1, nullptr, 0, &needed, &needed), DWORD{ERROR_NOT_READY});
    EXPECT_THAT(NewLines(), ElementsAre("ERROR CPortManager is not initialized."));
    EXPECT_FALSE(otherOperations.OpenPort(L"PORT", nullptr));
    EXPECT_THAT(NewLines(), ElementsAre("ERROR CPortManager is not initialized."));
}

TEST_F(PortManagerLifeTest, TerminatedManagerStartsAgain) {
    AddRawKey(L"PORT");
    ASSERT_TRUE(Initialize());
    EXPECT_EQ(manager().Ports().FindPortIdByName(L"PORT"), 1U);
    manager().Terminate();
    EXPECT_THAT(PortNames(), IsEmpty());
    EXPECT_EQ(store_.OpenKeyCount(), 0U);
    ASSERT_TRUE(Initialize());
    EXPECT_EQ(manager().Ports().FindPortIdByName(L"PORT"), 2U) << "ids are never used again";
}

TEST_F(PortManagerLifeTest, SecondInitializationDoesNothing) {
    ASSERT_TRUE(Initialize());
    AddRawKey(L"LATER");
    registry_.ClearCalls();
    EXPECT_TRUE(manager().Initialize(nullptr));
    EXPECT_THAT(registry_.Calls(), IsEmpty());
    EXPECT_THAT(PortNames(), IsEmpty());
}

TEST_F(PortManagerLifeTest, TypeGivesTheNames) {
    ASSERT_TRUE(Initialize());
    const struct {
        std::uint32_t type;
        const wchar_t* name;
    } cases[] = {{2, L"Kestrel ID Print Port"}, {0, L""}, {1, L"Kestrel Print Port"}};
    for (const auto& one : cases) {
        NewLines();
        EXPECT_TRUE(manager().SetMonitorType(one.type));
        EXPECT_EQ(manager().DisplayName(), one.name);
        EXPECT_EQ(manager().PortDescription(), one.name);
        EXPECT_EQ(static_cast<std::uint32_t>(manager().Type()), one.type);
        EXPECT_EQ(RegistryStore().Type(), manager().Type()) << "the store is told";
        EXPECT_EQ(NewLines().back(), "TRACE set monitor type " + std::to_string(one.type));
    }
}

TEST_F(PortManagerLifeTest, TypesAboveTwoAreRefused) {
    ASSERT_TRUE(Initialize());
    for (const std::uint32_t type : {3U, 4U, 0xFFFFFFFFU}) {
        EXPECT_FALSE(manager().SetMonitorType(type));
        EXPECT_THAT(NewLines(), ElementsAre("TRACE set value is not monitor type"));
        EXPECT_EQ(manager().DisplayName(), L"Kestrel Print Port");
        EXPECT_EQ(manager().Type(), MonitorType::kOrdinary);
    }
}

TEST_F(PortManagerLifeTest, SameTypeDoesNotOpenTheSettingsAgain) {
    ASSERT_TRUE(Initialize());
    registry_.ClearCalls();
    EXPECT_TRUE(manager().SetMonitorType(1));
    EXPECT_THAT(registry_.Calls(), IsEmpty());
    EXPECT_TRUE(manager().SetMonitorType(2));
    EXPECT_THAT(registry_.OpenKeys(),
                Contains(L"HKLM\\SOFTWARE\\Kestrel\\Kestrel Print(ID Print)"));
}

TEST_F(PortManagerLifeTest, TypeMakesTheRegistryLockWhenThereIsNone) {
    ASSERT_FALSE(RegistryStore().HasLock());
    EXPECT_TRUE(manager().SetMonitorType(0));
    EXPECT_TRUE(RegistryStore().HasLock());
}

TEST_F(PortManagerLifeTest, PortsAreNotLoadedWithoutType) {
    AddRawKey(L"PORT");
    ASSERT_TRUE(Initialize());
    ASSERT_TRUE(manager().SetMonitorType(0));
    EXPECT_FALSE(manager().LoadPorts());
    EXPECT_EQ(NewLines().back(), "CRITICAL Invalid Monitor Type.");
    EXPECT_THAT(PortNames(), ElementsAre(L"PORT")) << "nothing was added";
}

TEST_F(PortManagerLifeTest, UnknownHandleIsLogged) {
    ASSERT_TRUE(Initialize());
    EXPECT_EQ(manager().GetPortByHandle(1), nullptr);
    EXPECT_THAT(NewLines(), ElementsAre("ERROR invalid port handle"));
    EXPECT_EQ(manager().Ports().FindPortById(1), nullptr);
    EXPECT_THAT(NewLines(), IsEmpty());
}

TEST_F(PortManagerLifeTest, StatusOfAnUnknownPortIsNotSet) {
    ASSERT_TRUE(Initialize());
    EXPECT_FALSE(manager().SetPortStatus(1, 0));
    EXPECT_THAT(NewLines(), ElementsAre("ERROR Invalide Port Handle"));
    std::uint32_t status = 77;
    EXPECT_FALSE(manager().GetPrinterStatus(1, status));
    EXPECT_EQ(status, 77U);
}

TEST_F(PortManagerLifeTest, PrinterStatusIsThatOfTheSpooler) {
    const HANDLE handle = StartJobOn(L"PORT");
    spooler_.SetPrinterStatus(L"Printer", PRINTER_STATUS_TONER_LOW | PRINTER_STATUS_DOOR_OPEN);
    std::uint32_t status = 0;
    EXPECT_TRUE(manager().GetPrinterStatus(1, status));
    EXPECT_EQ(status, DWORD{PRINTER_STATUS_TONER_LOW | PRINTER_STATUS_DOOR_OPEN});
    for (const DWORD nth : {1UL, 2UL}) {
        spooler_.FailCall(WinspoolGetPrinter, ERROR_ACCESS_DENIED, nth);
        EXPECT_FALSE(manager().GetPrinterStatus(1, status));
        EXPECT_THAT(NewLines(), ElementsAre("INFO error retrieving printer info"));
    }
    EXPECT_TRUE(operations().EndDocPort(handle));
}

TEST_F(PortManagerLifeTest, PooledPrinterIsNotSetOffline) {
    const HANDLE handle = StartJobOn(L"PORT,OTHER");
    EXPECT_TRUE(manager().SetPortStatus(1, PRINTER_STATUS_OFFLINE | PRINTER_STATUS_PAPER_OUT));
    EXPECT_THAT(StatusWritten(),
                ElementsAre("SetPrinter 'Printer' level 0 command 4 status 0x10 -> TRUE"));
    spooler_.ClearCalls();
    EXPECT_TRUE(manager().SetPortStatus(1, PRINTER_STATUS_PAPER_OUT));
    EXPECT_THAT(StatusWritten(), IsEmpty()) << "the same status is not written twice";
    EXPECT_THAT(spooler_.Calls(WinspoolGetPrinter), IsEmpty())
        << "only the offline bit asks for the pool";
    EXPECT_TRUE(operations().EndDocPort(handle));
}

TEST_F(PortManagerLifeTest, OtherPrintersAreSetOffline) {
    const HANDLE handle = StartJobOn(L"PORT");
    EXPECT_TRUE(manager().SetPortStatus(1, PRINTER_STATUS_OFFLINE));
    EXPECT_TRUE(manager().SetPortStatus(1, PRINTER_STATUS_OFFLINE));
    EXPECT_THAT(StatusWritten(),
                ElementsAre("SetPrinter 'Printer' level 0 command 4 status 0x80 -> TRUE"));
    EXPECT_TRUE(operations().EndDocPort(handle));
}

TEST_F(PortManagerLifeTest, PrinterThatCannotBeReadCountsAsNotPooled) {
    const HANDLE handle = StartJobOn(L"PORT,OTHER");
    spooler_.FailCall(WinspoolGetPrinter, ERROR_ACCESS_DENIED);
    EXPECT_TRUE(manager().SetPortStatus(1, PRINTER_STATUS_OFFLINE));
    EXPECT_THAT(NewLines(),
                ElementsAre("INFO error retrieving printer info", "INFO Old Stat=0 NewStat=128"));
    EXPECT_THAT(StatusWritten(),
                ElementsAre("SetPrinter 'Printer' level 0 command 4 status 0x80 -> TRUE"));
    EXPECT_TRUE(operations().EndDocPort(handle));
}

TEST_F(PortManagerLifeTest, StatusThatTheSpoolerRefusesIsAFailure) {
    const HANDLE handle = StartJobOn(L"PORT");
    spooler_.FailCall(WinspoolSetPrinter, ERROR_ACCESS_DENIED);
    EXPECT_FALSE(manager().SetPortStatus(1, PRINTER_STATUS_ERROR));
    EXPECT_TRUE(operations().EndDocPort(handle));
}

// A port in the list that lost its channel, which only a configuration that failed leaves behind.
TEST_F(PortManagerLifeTest, OperationsOnAPortWithoutChannelSaySo) {
    AddRawKey(L"PORT");
    ASSERT_TRUE(Initialize());
    QueueJob();
    const HANDLE handle = HandleOfId(1);
    HANDLE opened = nullptr;
    ASSERT_TRUE(operations().OpenPort(L"PORT", &opened));
    manager().Ports().FindPortById(1)->DeletePrintChannel();
    NewLines();

    std::wstring printer = L"Printer";
    EXPECT_FALSE(operations().StartDocPort(handle, printer.data(), 1, nullptr));
    std::vector<std::string> lines = NewLines();
    EXPECT_EQ(lines.back(), "ERROR failed get print channel.");
    EXPECT_EQ(spooler_.OpenHandles().size(), 1U) << "kept until the job ends";

    DWORD written = 77;
    const BYTE byte = 1;
    EXPECT_FALSE(operations().WritePort(handle, &byte, 1, &written));
    EXPECT_THAT(NewLines(),
                ElementsAre("TRACE called write port", "TRACE job id = 1",
                            "ERROR print channel is no set", "ERROR error get job info."));
    EXPECT_FALSE(operations().EndDocPort(handle));
    EXPECT_THAT(NewLines(),
                ElementsAre("TRACE called end doc port", "ERROR cannot close print channel"));
    EXPECT_THAT(spooler_.OpenHandles(), IsEmpty());
    EXPECT_THAT(spooler_.Calls(WinspoolSetJob), IsEmpty());
    EXPECT_FALSE(operations().ClosePort(handle));
    EXPECT_THAT(NewLines(),
                ElementsAre("TRACE called close port", "ERROR cannot get print channel"));
}

}  // namespace
}  // namespace ksp::test
