// How the monitor starts, and what keeps it from starting.

#include "tests/monitor/port_call_test.h"

namespace ksp::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

constexpr char kStartFailed[] = "CRITICAL PortMonitor initalize error";

class StartupTest : public PortCallTest {
  protected:
    std::vector<std::wstring> PortNames() {
        DWORD needed = 0;
        DWORD returned = 0;
        table().pfnEnumPorts(monitor(), nullptr, 1, nullptr, 0, &needed, &returned);
        Bytes buffer(needed);
        EXPECT_TRUE(
            table().pfnEnumPorts(monitor(), nullptr, 1, buffer.data(), needed, &needed, &returned));
        std::vector<std::wstring> names;
        const auto* ports = reinterpret_cast<const PORT_INFO_1W*>(buffer.data());
        for (DWORD index = 0; index < returned; ++index)
            names.emplace_back(ports[index].pName);
        return names;
    }
};

TEST_F(StartupTest, LoadsEveryPortInTheOrderOfTheRegistry) {
    AddRawPort(L"b");
    AddRawPort(L"a");
    AddRawPort(L"c");
    ASSERT_TRUE(Start());
    EXPECT_THAT(NewLines(),
                ElementsAre("INFO Load Port : a", "INFO Load Port : b", "INFO Load Port : c"))
        << "the log starts when the monitor type is known";
    EXPECT_EQ(PortNames(), (std::vector<std::wstring>{L"a", L"b", L"c"}));
}

TEST_F(StartupTest, IdPrintMonitorStartsWithItsOwnSoftwareKey) {
    SetMonitorType(2);
    ASSERT_TRUE(Start());
    std::vector<std::wstring> opened = registry().OpenKeys();
    EXPECT_THAT(opened, Contains(L"HKLM\\SOFTWARE\\Kestrel\\Kestrel Print(ID Print)"));
    EXPECT_THAT(opened, Not(Contains(L"HKLM\\SOFTWARE\\Kestrel\\Kestrel Print")));
}

TEST_F(StartupTest, TypesThatAreNoneKeepItFromStarting) {
    for (const DWORD type : {0UL, 3UL, 4UL, 0xFFFFFFFFUL}) {
        SCOPED_TRACE(type);
        SetMonitorType(type);
        AddRawPort(L"PORT");
        NewLines();
        ASSERT_TRUE(StartExpectingFailure());
        EXPECT_THAT(NewLines(), ElementsAre("INFO Load Port : PORT",
                                            "CRITICAL Invalid Monitor Type.", kStartFailed));
        Unload();
    }
}

TEST_F(StartupTest, MissingTypeKeepsItFromStarting) {
    store().RemoveValue(root(), L"", L"KSPRINT_SECURE");
    ASSERT_TRUE(StartExpectingFailure());
    EXPECT_THAT(NewLines(), ElementsAre("CRITICAL Invalid Monitor Type.", kStartFailed));
}

TEST_F(StartupTest, TypeThatIsNoNumberKeepsItFromStarting) {
    store().SetText(root(), L"", L"KSPRINT_SECURE", L"1");
    ASSERT_TRUE(StartExpectingFailure());
    EXPECT_THAT(NewLines(), ElementsAre("CRITICAL Invalid Monitor Type.", kStartFailed));
}

TEST_F(StartupTest, FailureClearsTheMonitorHandleAndIsLoggedOnce) {
    SetMonitorType(3);
    ASSERT_TRUE(library().Load(MonitorLibraryPath()));
    MONITORREG functions = host::MonitorRegFunctions();
    MONITORINIT init = {};
    init.cbSize = sizeof(init);
    init.hSpooler = host::SpoolerHandle(registry());
    init.hckRegistryRoot = static_cast<HKEYMONITOR>(root());
    init.pMonitorReg = &functions;
    HANDLE handle = Handle(99);
    EXPECT_EQ(library().initialize_function()(&init, &handle), nullptr);
    EXPECT_EQ(handle, nullptr);
    EXPECT_EQ(ReadLog().CountLines(LineLevel::kCritical, L"PortMonitor initalize error"), 1U);
    EXPECT_EQ(library().initialize_function()(&init, nullptr), nullptr) << "no handle, no crash";
    EXPECT_EQ(ReadLog().CountLines(LineLevel::kCritical, L"PortMonitor initalize error"), 2U);
}

TEST_F(StartupTest, WithoutLibraryDirectoryItDoesNotStart) {
    SetSetting(L"ExeDirectory", std::wstring());
    ASSERT_TRUE(StartExpectingFailure());
    EXPECT_THAT(NewLines(), ElementsAre("TRACE Failed GetExeDirectory()", kStartFailed));
}

TEST_F(StartupTest, MissingLibraryDirectoryCountsAsEmpty) {
    store().RemoveValue(HKEY_LOCAL_MACHINE, software_key(), L"ExeDirectory");
    ASSERT_TRUE(StartExpectingFailure());
    EXPECT_THAT(NewLines(), Contains("TRACE Failed GetExeDirectory()"));
}

TEST_F(StartupTest, StartsAfterAFailedAttempt) {
    AddRawPort(L"PORT");
    SetSetting(L"ExeDirectory", std::wstring());
    ASSERT_TRUE(StartExpectingFailure());
    SetSetting(L"ExeDirectory", directory());
    ASSERT_TRUE(Start());
    EXPECT_EQ(PortNames(), (std::vector<std::wstring>{L"PORT"}));
    EXPECT_EQ(store().OpenKeyCount(), 2U) << "the keys of the failed attempt are closed";
}

TEST_F(StartupTest, StartsWhenTheTypeWasPutRight) {
    AddRawPort(L"PORT");
    SetMonitorType(7);
    ASSERT_TRUE(StartExpectingFailure());
    SetMonitorType(2);
    ASSERT_TRUE(Start());
    EXPECT_EQ(PortNames(), (std::vector<std::wstring>{L"PORT"}));
}

TEST_F(StartupTest, FailedAttemptLeavesNothingBehindAtUnload) {
    SetMonitorType(0);
    ASSERT_TRUE(StartExpectingFailure());
    EXPECT_EQ(store().OpenKeyCount(), 2U);
    NewLines();
    Unload();
    EXPECT_EQ(store().OpenKeyCount(), 0U);
    EXPECT_THAT(NewLines(), IsEmpty()) << "what never started is not terminated";
}

TEST_F(StartupTest, LogThatCannotStartDoesNotKeepItFromStarting) {
    AddRawPort(L"PORT");
    SetSetting(L"LogDirectory", directory() + L"\\missing\\below");
    ASSERT_TRUE(Start());
    EXPECT_EQ(PortNames(), (std::vector<std::wstring>{L"PORT"}));
    Unload();
    EXPECT_TRUE(ReadLog().empty());
}

TEST_F(StartupTest, PortsKeyThatCannotBeOpenedLeavesItWithoutPorts) {
    AddRawPort(L"PORT");
    registry().AddFault({.operation = RegistryOperation::kCreateKey, .name = L"Ports"});
    registry().AddFault({.operation = RegistryOperation::kOpenKey, .name = L"Ports"});
    ASSERT_TRUE(Start());
    EXPECT_THAT(PortNames(), IsEmpty());
}

TEST_F(StartupTest, RecordsWithoutUsableProtocolAreLeftOut) {
    AddRawPort(L"first");
    AddPortKey({.name = L"ipp", .PrinterAddress = L"127.0.0.1", .ProtocolID = 3});
    AddPortKey({.name = L"odd", .PrinterAddress = L"127.0.0.1", .ProtocolID = 9});
    AddRawPort(L"last");
    ASSERT_TRUE(Start());
    std::vector<std::string> lines = NewLines();
    lines.erase(lines.begin(), lines.begin() + 4);  // the records were read
    EXPECT_THAT(lines, ElementsAre("INFO creating ipp print channel",
                                   "ERROR ipp print channel not supported",
                                   "ERROR CreatePrintChannel Failed. ProtocolID=3",
                                   "INFO could not create print channel for port: ipp",
                                   "INFO Port Initialize Failed : ipp",  //
                                   "ERROR Invalid Protocol ID : 9",
                                   "ERROR CreatePrintChannel Failed. ProtocolID=9",
                                   "INFO could not create print channel for port: odd",
                                   "INFO Port Initialize Failed : odd"));
    EXPECT_EQ(PortNames(), (std::vector<std::wstring>{L"first", L"last"}));
    EXPECT_EQ(Open(L"first"), Handle(1));
    EXPECT_EQ(Open(L"last"), Handle(2)) << "ids count the ports, not the records";
}

TEST_F(StartupTest, TerminationIsLoggedLast) {
    ASSERT_TRUE(Start());
    NewLines();
    Unload();
    EXPECT_THAT(NewLines(), ElementsAre("TRACE Logger terminate"));
}

TEST_F(StartupTest, LoadedLibraryThatNeverStartedUnloadsSilently) {
    ASSERT_TRUE(library().Load(MonitorLibraryPath()));
    Unload();
    EXPECT_TRUE(ReadLog().empty());
    EXPECT_THAT(registry().Calls(), IsEmpty());
}

TEST_F(StartupTest, StartsAgainAfterUnloading) {
    AddRawPort(L"PORT");
    for (int round = 0; round < 2; ++round) {
        ASSERT_TRUE(Start());
        EXPECT_EQ(Open(L"PORT"), Handle(1)) << "a new library counts from the start";
        Unload();
    }
}

}  // namespace
}  // namespace ksp::test
