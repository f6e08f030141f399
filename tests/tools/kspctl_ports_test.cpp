#include "tests/tools/kspctl_test.h"

namespace ksp::test {
namespace {

TEST_F(KspctlTest, AddStoresAPortWithItsProtocolsDefaults) {
    ASSERT_TRUE(StartSpooler());
    const KspctlRun run = Kspctl({L"add", L"Office", L"--address", L"127.0.0.5"});
    EXPECT_EQ(run.code, ExitCode::kDone);
    EXPECT_THAT(run.lines, ElementsAre(L"added the port \"Office\""));
    EXPECT_EQ(StoredText(L"Office", L"PrinterAddress"), L"127.0.0.5");
    EXPECT_EQ(StoredNumber(L"Office", L"ProtocolID"), 2u);
    EXPECT_EQ(StoredNumber(L"Office", L"PrinterAddressType"), 1u);
}

TEST_F(KspctlTest, AddTakesEveryOption) {
    ASSERT_TRUE(StartSpooler());
    EXPECT_EQ(Kspctl({L"add", L"Desk", L"--address", L"prn01", L"--protocol", L"lpr", L"--queue",
                      L"auto", L"--type", L"tracked", L"--ip", L"127.0.0.6", L"--mask",
                      L"255.0.0.0", L"--mac", L"0026AB123456"})
                  .code,
              ExitCode::kDone);
    EXPECT_EQ(StoredText(L"Desk", L"PrinterAddress"), L"prn01");
    EXPECT_EQ(StoredNumber(L"Desk", L"ProtocolID"), 0u);
    EXPECT_EQ(StoredText(L"Desk", L"QueueName"), L"auto");
    EXPECT_EQ(StoredNumber(L"Desk", L"PrinterAddressType"), 4u);
    EXPECT_EQ(StoredText(L"Desk", L"IpAddress"), L"127.0.0.6");
    EXPECT_EQ(StoredText(L"Desk", L"SubnetMask"), L"255.0.0.0");
    EXPECT_EQ(StoredText(L"Desk", L"MacAddress"), L"0026AB123456");
}

TEST_F(KspctlTest, AddTakesTheValuesOfIdPrint) {
    SetMonitorType(2);
    ASSERT_TRUE(StartSpooler(kIdPrint));
    EXPECT_EQ(Kspctl({L"add", L"Desk", L"--address", L"127.0.0.6", L"--raw-port", L"9101",
                      L"--check-port", L"9102", L"--user-mode", L"1", L"--identity", L"alice"})
                  .code,
              ExitCode::kDone);
    EXPECT_EQ(StoredNumber(L"Desk", L"SecureRawPortNo"), 9101u);
    EXPECT_EQ(StoredNumber(L"Desk", L"CheckPortNo"), 9102u);
    EXPECT_EQ(StoredNumber(L"Desk", L"SecureUserMode"), 1u);
    EXPECT_EQ(StoredText(L"Desk", L"UserIdentityName"), L"alice");
}

TEST_F(KspctlTest, AnIdPrintPortTakesTcpPortsOnly) {
    SetMonitorType(2);
    AddPortKey({.name = L"Office", .PrinterAddress = L"127.0.0.5"});
    ASSERT_TRUE(StartSpooler(kIdPrint));
    for (const wchar_t* number : {L"0", L"65536"}) {
        for (const wchar_t* option : {L"--raw-port", L"--check-port"}) {
            EXPECT_EQ(Kspctl({L"add", L"Desk", L"--address", L"127.0.0.6", option, number}).code,
                      ExitCode::kWrongUsage);
        }
        EXPECT_EQ(Kspctl({L"set", L"Office", std::wstring(L"CheckPortNo=") + number}).code,
                  ExitCode::kWrongUsage);
    }
    EXPECT_FALSE(HasPortKey(L"Desk"));
}

TEST_F(KspctlTest, AddRefusesANameThatIsThere) {
    AddPortKey({.name = L"Office", .PrinterAddress = L"127.0.0.5"});
    ASSERT_TRUE(StartSpooler());
    spooler().PutPort(L"LPT1:");
    EXPECT_EQ(Kspctl({L"add", L"Office", L"--address", L"127.0.0.9"}).code, ExitCode::kExists);
    EXPECT_EQ(Kspctl({L"add", L"LPT1:", L"--address", L"127.0.0.9"}).code, ExitCode::kExists);
    EXPECT_EQ(Kspctl({L"add", L"LPT1:", L"--address", L"127.0.0.9", L"--replace"}).code,
              ExitCode::kExists);
    EXPECT_EQ(StoredText(L"Office", L"PrinterAddress"), L"127.0.0.5");
}

TEST_F(KspctlTest, AddReplacesAPortWithItsQueue) {
    AddPortKey({.name = L"Office", .PrinterAddress = L"127.0.0.5"});
    ASSERT_TRUE(StartSpooler());
    const KspctlRun run = Kspctl({L"add", L"Office", L"--address", L"127.0.0.9", L"--protocol",
                                  L"xlpr", L"--queue", L"q", L"--replace"});
    EXPECT_EQ(run.code, ExitCode::kDone);
    EXPECT_THAT(run.lines, ElementsAre(L"configured the port \"Office\""));
    EXPECT_EQ(StoredText(L"Office", L"PrinterAddress"), L"127.0.0.9");
    EXPECT_EQ(StoredNumber(L"Office", L"ProtocolID"), 1u);
    EXPECT_EQ(StoredText(L"Office", L"QueueName"), L"q");
}

TEST_F(KspctlTest, NamesThatNoPortCanHaveAreRefusedBeforeAnythingIsDone) {
    ASSERT_TRUE(StartSpooler());
    for (const std::wstring& name :
         {std::wstring(), std::wstring(L"a\\b"), std::wstring(256, L'x'), std::wstring(L"a,b")}) {
        EXPECT_EQ(Kspctl({L"add", name, L"--address", L"127.0.0.5"}).code, ExitCode::kWrongUsage)
            << ::testing::PrintToString(name);
    }
    EXPECT_THAT(Kspctl({L"list"}).lines, IsEmpty());
    for (const wchar_t* command : {L"show", L"delete", L"test"}) {
        EXPECT_EQ(Kspctl({command, L"a\\b"}).code, ExitCode::kWrongUsage);
    }
    EXPECT_EQ(Kspctl({L"add", L"a", L"--address", L"1,2"}).code, ExitCode::kWrongUsage);
    EXPECT_EQ(Kspctl({L"add", L"a", L"--address", std::wstring(1024, L'x')}).code,
              ExitCode::kWrongUsage);
}

TEST_F(KspctlTest, EveryNameThatAPortCanHaveGoesThere_AndBack) {
    ASSERT_TRUE(StartSpooler());
    const std::wstring names[] = {L"Büro \"1\" €", L"  ",
                                  L"%s%n%d",       std::wstring(255, L'x'),
                                  L"-rf",          L"\u00e9\U0001F5A8",
                                  L"a:b=c",        L"'; --",
                                  L"a\tb\u0007"};
    for (const std::wstring& name : names) {
        EXPECT_EQ(Kspctl({L"add", L"--address", L"127.0.0.5", L"--", name}).code, ExitCode::kDone)
            << ::testing::PrintToString(name);
        EXPECT_TRUE(HasPortKey(name)) << ::testing::PrintToString(name);
        EXPECT_EQ(Kspctl({L"exists", L"--", name}).code, ExitCode::kDone);
        const KspctlRun shown = Kspctl({L"show", L"--", name});
        ASSERT_EQ(shown.code, ExitCode::kDone) << ::testing::PrintToString(name);
        EXPECT_THAT(shown.lines.front(), HasSubstr(name));
        EXPECT_EQ(Kspctl({L"delete", L"--", name}).code, ExitCode::kDone);
        EXPECT_FALSE(HasPortKey(name)) << ::testing::PrintToString(name);
    }
}

TEST_F(KspctlTest, ListShowsTheMonitorsOwnPorts) {
    AddPortKey({.name = L"Office", .PrinterAddress = L"127.0.0.5"});
    AddPortKey({.name = L"Stores", .PrinterAddress = L"prn01", .ProtocolID = 0});
    ASSERT_TRUE(StartSpooler());
    spooler().PutPort(L"LPT1:");
    EXPECT_THAT(Kspctl({L"list"}).lines,
                ElementsAre(L"Office  raw   127.0.0.5 port 9100", L"Stores  lpr   prn01 port 515"));
}

TEST_F(KspctlTest, ListPassesOverAPortThatASpoolerTellsWithoutItsName) {
    AddPortKey({.name = L"Office", .PrinterAddress = L"127.0.0.5"});
    ASSERT_TRUE(StartSpooler());
    spooler().PutPort(L"");
    EXPECT_THAT(Kspctl({L"list"}).lines, ElementsAre(L"Office  raw   127.0.0.5 port 9100"));
}

TEST_F(KspctlTest, ListAsJsonEscapesWhatAPortNameCanHold) {
    AddPortKey({.name = L"a\"b\n\xD800", .PrinterAddress = L"C:/x"});
    ASSERT_TRUE(StartSpooler());
    const KspctlRun run = Kspctl({L"list", L"--json"});
    ASSERT_EQ(run.lines.size(), 1u);
    EXPECT_TRUE(run.lines[0].starts_with(
        L"[{\"PortName\":\"a\\\"b\\u000a\\ud800\",\"PrinterAddress\":\"C:/x\",\"ProtocolID\":2,"
        L"\"PortNumber\":9100,\"QueueName\":\"\",\"PrinterAddressType\":1,"));
    EXPECT_TRUE(run.lines[0].ends_with(L"\"UserIdentityName\":\"\"}]"));
}

TEST_F(KspctlTest, ListOfNoPortsIsEmpty) {
    ASSERT_TRUE(StartSpooler());
    EXPECT_THAT(Kspctl({L"list"}).lines, IsEmpty());
    EXPECT_THAT(Kspctl({L"list", L"--json"}).lines, ElementsAre(L"[]"));
}

TEST_F(KspctlTest, AnotherPortsRecordIsNotShownForOnesOwn) {
    AddPortKey({.name = L"A tracked", .PrinterAddressType = 4});
    AddPortKey({.name = L"Office", .PrinterAddress = L"127.0.0.5"});
    ASSERT_TRUE(StartSpooler());
    const KspctlRun shown = Kspctl({L"show", L"Office"});
    ASSERT_EQ(shown.code, ExitCode::kFailed);
    EXPECT_THAT(shown.errors.front(), HasSubstr(L"the record of the port \"A tracked\""));
    EXPECT_EQ(Kspctl({L"set", L"Office", L"PrinterAddress=127.0.0.8"}).code, ExitCode::kFailed);
    EXPECT_EQ(StoredText(L"Office", L"PrinterAddress"), L"127.0.0.5");
    EXPECT_THAT(Kspctl({L"list"}).lines.back(),
                HasSubstr(L"Office     (the monitor does not give its record)"));
}

TEST_F(KspctlTest, SetChangesWhatIsNamedAndNothingElse) {
    AddPortKey({.name = L"Office",
                .PrinterAddress = L"127.0.0.5",
                .ProtocolID = 0,
                .QueueName = L"auto",
                .MacAddress = L"0026AB123456"});
    ASSERT_TRUE(StartSpooler());
    EXPECT_EQ(Kspctl({L"set", L"Office", L"PrinterAddress=127.0.0.8"}).code, ExitCode::kDone);
    EXPECT_EQ(StoredText(L"Office", L"PrinterAddress"), L"127.0.0.8");
    EXPECT_EQ(StoredNumber(L"Office", L"ProtocolID"), 0u);
    EXPECT_EQ(StoredText(L"Office", L"QueueName"), L"auto");
    EXPECT_EQ(StoredText(L"Office", L"MacAddress"), L"0026AB123456");
}

TEST_F(KspctlTest, SetStoresAddressValuesWhichConfiguringAloneDoesNot) {
    AddPortKey(
        {.name = L"Office", .PrinterAddress = L"127.0.0.5", .ProtocolID = 0, .QueueName = L"auto"});
    ASSERT_TRUE(StartSpooler());
    EXPECT_EQ(Kspctl({L"set", L"Office", L"MacAddress=0026AB123456", L"SubnetMask=255.0.0.0",
                      L"IpAddress=127.0.0.5", L"PrinterAddressType=tracked"})
                  .code,
              ExitCode::kDone);
    EXPECT_EQ(StoredText(L"Office", L"MacAddress"), L"0026AB123456");
    EXPECT_EQ(StoredText(L"Office", L"SubnetMask"), L"255.0.0.0");
    EXPECT_EQ(StoredText(L"Office", L"IpAddress"), L"127.0.0.5");
    EXPECT_EQ(StoredNumber(L"Office", L"PrinterAddressType"), 4u);
    EXPECT_EQ(StoredText(L"Office", L"QueueName"), L"auto");
}

TEST_F(KspctlTest, SetOfAnotherProtocolGivesThePortThatProtocolsQueue) {
    AddPortKey({.name = L"Office", .PrinterAddress = L"127.0.0.5"});
    ASSERT_TRUE(StartSpooler());
    EXPECT_EQ(Kspctl({L"set", L"Office", L"ProtocolID=lpr"}).code, ExitCode::kDone);
    EXPECT_EQ(StoredText(L"Office", L"QueueName"), L"KSPQueue");
    EXPECT_EQ(Kspctl({L"set", L"Office", L"ProtocolID=2"}).code, ExitCode::kDone);
    EXPECT_EQ(StoredText(L"Office", L"QueueName"), L"");
}

TEST_F(KspctlTest, SetRefusesWhatAPortCannotHave) {
    AddPortKey({.name = L"Office", .PrinterAddress = L"127.0.0.5"});
    ASSERT_TRUE(StartSpooler());
    for (const wchar_t* assignment :
         {L"PortName=Other", L"PortNumber=1", L"ProxyServer=x", L"Colour=red", L"PrinterAddress",
          L"ProtocolID=ipp", L"ProtocolID=4294967298", L"CheckPortNo=5", L"QueueName=a,b",
          L"PrinterAddressType=tracked", L"MacAddress=0026AB12345"}) {
        EXPECT_EQ(Kspctl({L"set", L"Office", assignment}).code, ExitCode::kWrongUsage)
            << ::testing::PrintToString(assignment);
    }
    EXPECT_EQ(Kspctl({L"set", L"Office"}).code, ExitCode::kWrongUsage);
    EXPECT_EQ(StoredNumber(L"Office", L"ProtocolID"), 2u);
}

TEST_F(KspctlTest, DeleteRefusesAPortThatAPrinterUses) {
    AddPortKey({.name = L"Office", .PrinterAddress = L"127.0.0.5"});
    ASSERT_TRUE(StartSpooler());
    spooler().PutPrinter({.name = L"Printer", .port_names = L"Office"});
    EXPECT_EQ(Kspctl({L"delete", L"Office"}).code, ExitCode::kInUse);
    EXPECT_TRUE(HasPortKey(L"Office"));
    spooler().RemovePrinter(L"Printer");
    EXPECT_EQ(Kspctl({L"delete", L"Office"}).code, ExitCode::kDone);
    EXPECT_FALSE(HasPortKey(L"Office"));
}

TEST_F(KspctlTest, APortThatIsNotThereIsNotFound) {
    ASSERT_TRUE(StartSpooler());
    for (const wchar_t* command : {L"show", L"delete", L"exists", L"test"}) {
        EXPECT_EQ(Kspctl({command, L"nowhere"}).code, ExitCode::kNotFound) << command;
    }
    EXPECT_EQ(Kspctl({L"set", L"nowhere", L"QueueName=q"}).code, ExitCode::kNotFound);
}

TEST_F(KspctlTest, APortThatTheMonitorHasDroppedIsNotFound) {
    ASSERT_TRUE(StartSpooler());
    spooler().PutPort(L"Dropped", kOrdinary);
    const KspctlRun run = Kspctl({L"delete", L"Dropped"});
    EXPECT_EQ(run.code, ExitCode::kNotFound);
    EXPECT_THAT(run.errors, ::testing::Contains(HasSubstr(L"there is no port \"Dropped\"")));
}

TEST_F(KspctlTest, APortOfAnotherMonitorIsToldFromOnesOwn) {
    ASSERT_TRUE(StartSpooler());
    spooler().PutMonitor(L"Other Port");
    spooler().PutPort(L"Foreign");
    const KspctlRun run = Kspctl({L"show", L"Foreign"});
    ASSERT_EQ(run.code, ExitCode::kNotFound);
    EXPECT_THAT(run.errors.front(), HasSubstr(L"belongs to another monitor"));
    EXPECT_THAT(Kspctl({L"exists", L"Foreign"}).lines,
                ElementsAre(L"\"Foreign\" is a port of another monitor"));
}

TEST_F(KspctlTest, SilentAddHandsTheTextToTheMonitor) {
    ASSERT_TRUE(StartSpooler());
    EXPECT_EQ(Kspctl({L"silent-add", L"AR=127.0.0.5:PR=LPR:PN=Silent"}).code, ExitCode::kDone);
    EXPECT_EQ(StoredText(L"Silent", L"QueueName"), L"KSPQueue");
    EXPECT_EQ(Kspctl({L"silent-add", L"AR=127.0.0.5:PR=LPR:PN=Silent"}).code, ExitCode::kExists);
    EXPECT_EQ(Kspctl({L"silent-add", L"PR=LPR"}).code, ExitCode::kWrongUsage);
    EXPECT_EQ(Kspctl({L"silent-add", L"AR=127.0.0.5:PN=\u4E2D:PR=RAW"}).code,
              ExitCode::kWrongUsage);
}

}  // namespace
}  // namespace ksp::test
