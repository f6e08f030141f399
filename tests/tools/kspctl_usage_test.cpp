#include "tests/tools/kspctl_test.h"
#include "tools/kspctl/json.h"
#include "tools/kspctl/print_host.h"

namespace ksp::test {
namespace {

using KspctlUsageTest = KspctlTest;

TEST_F(KspctlUsageTest, WrongArgumentsAreRefusedWithAHint) {
    const std::vector<std::vector<std::wstring>> wrong = {
        {},
        {L"colour"},
        {L"help", L"colour"},
        {L"show"},
        {L"show", L"a", L"b"},
        {L"list", L"extra"},
        {L"list", L"--colour"},
        {L"list", L"--server"},
        {L"list", L"--server", L"\\\\"},
        {L"list", L"--server", L"a,b"},
        {L"list", L"--monitor", L""},
        {L"delete", L"a", L"--json"},
        {L"add", L"a"},
        {L"add", L"a", L"--address"},
        {L"add", L"a", L"--address", L"x", L"--protocol", L"ipp"},
        {L"add", L"a", L"--address", L"x", L"--type", L"tracked"},
        {L"add", L"a", L"--address", L"x", L"--raw-port", L"-1"},
        {L"add", L"a", L"--address", L"x", L"--check-port", L"9102"},
        {L"add", L"a", L"--address", L"x", L"--mac", L"0026AB12345"},
        {L"add", L"a", L"--address", L"x", L"--mac", L"0026AB12345g"},
        {L"settings", L"LogLevel=1", L"MaxLogSize"},
        {L"settings", L"--json", L"LogLevel=1"},
        {L"install", L"--server", L"printserver"},
        {L"print", L"a"},
        {L"print", L"a", L"no such file"},
    };
    ASSERT_TRUE(StartSpooler());
    for (const auto& arguments : wrong) {
        const KspctlRun run = Kspctl(arguments);
        ASSERT_EQ(run.code, ExitCode::kWrongUsage) << ::testing::PrintToString(arguments);
        ASSERT_EQ(run.errors.size(), 2u) << ::testing::PrintToString(arguments);
        EXPECT_TRUE(run.errors[1].starts_with(L"  see: kspctl help"));
        EXPECT_THAT(run.lines, IsEmpty());
    }
}

TEST_F(KspctlUsageTest, PrintRefusesWhatItCannotUseBeforeItLooksForThePort) {
    ASSERT_TRUE(StartSpooler());
    const std::wstring file = MonitorLibraryPath();
    for (const auto& [option, value] : std::vector<std::pair<std::wstring, std::wstring>>{
             {L"--patience", L"0"},
             {L"--patience", L"3601"},
             {L"--setting", L"LogLevel=1"},
             {L"--setting", L"WaitServerReplyTimeout"},
             {L"--setting", L"WaitServerReplyTimeout=0"},
             {L"--setting", L"WaitStatusReplyTimeout=3601"},
             {L"--setting", L"MaxFileSize=2147483648"},
             {L"--subnet", L"10.1.0.0"},
             {L"--subnet", L"10.1.0.0;255.255.0"}}) {
        const KspctlRun run = Kspctl({L"print", L"Nowhere", file, option, value});
        EXPECT_EQ(run.code, ExitCode::kWrongUsage) << ::testing::PrintToString(value);
        EXPECT_THAT(run.lines, IsEmpty());
    }
    EXPECT_THAT(OpenedObjects(), IsEmpty());
    EXPECT_EQ(Kspctl({L"print", L"Nowhere", file, L"--patience", L"3600", L"--setting",
                      L"MaxFileSize=2147483647", L"--subnet", L"10.1.0.0;255.255.0.0", L"--setting",
                      L"WaitServerReplyTimeout=3600", L"--setting", L"WaitServerReplyTimeout=1"})
                  .code,
              ExitCode::kNotFound);
}

TEST_F(KspctlUsageTest, HelpNamesEveryCommandAndEachHasHelpWithAnExample) {
    const KspctlRun help = Kspctl({L"help"});
    EXPECT_EQ(help.code, ExitCode::kDone);
    for (const ctl::Command& command : ctl::Commands()) {
        const std::wstring name(command.name);
        EXPECT_THAT(help.lines, ::testing::Contains(HasSubstr(L"  " + name + L" ")));
        const KspctlRun one = Kspctl({L"help", name});
        EXPECT_EQ(one.code, ExitCode::kDone);
        EXPECT_THAT(one.lines, ::testing::Contains(::testing::StartsWith(L"  kspctl " + name)));
        EXPECT_EQ(Kspctl({name, L"--help"}).lines, one.lines);
    }
}

TEST_F(KspctlUsageTest, HelpNamesWhatCanBeSet) {
    EXPECT_THAT(Kspctl({L"help", L"set"}).lines,
                ::testing::Contains(::testing::StartsWith(L"  QueueName ")));
    EXPECT_THAT(Kspctl({L"help", L"set"}).lines,
                ::testing::Not(::testing::Contains(::testing::StartsWith(L"  ProxyServer "))));
    for (const wchar_t* command : {L"settings", L"print"}) {
        EXPECT_THAT(Kspctl({L"help", command}).lines,
                    ::testing::Contains(::testing::StartsWith(L"  WaitServerReplyTimeout ")));
    }
}

TEST_F(KspctlUsageTest, HelpTellsWhichSettingsAreNotUsed) {
    for (const wchar_t* setting : {L"  MultiCastTTL ", L"  LocalSegment "}) {
        EXPECT_THAT(Kspctl({L"help", L"settings"}).lines,
                    ::testing::Contains(::testing::AllOf(::testing::StartsWith(setting),
                                                         HasSubstr(L"not used at present"))));
    }
}

TEST_F(KspctlUsageTest, HelpTellsWhichUserModePrintsNothing) {
    const auto said =
        ::testing::Contains(HasSubstr(L"2 the user's identity name, 1 prints nothing"));
    EXPECT_THAT(Kspctl({L"help", L"add"}).lines, said);
    EXPECT_THAT(Kspctl({L"help", L"set"}).lines, said);
}

TEST_F(KspctlUsageTest, WithoutTheMonitorItSaysHowToInstallIt) {
    for (const wchar_t* command : {L"list", L"type"}) {
        const KspctlRun run = Kspctl({command});
        ASSERT_EQ(run.code, ExitCode::kNotFound);
        ASSERT_EQ(run.errors.size(), 2u);
        EXPECT_THAT(run.errors[1], HasSubstr(L"kspctl install"));
    }
}

TEST_F(KspctlUsageTest, TheSpoolersRefusalsHaveExitCodes) {
    ASSERT_TRUE(StartSpooler());
    spooler().FailCall(WinspoolOpenPrinter, ERROR_ACCESS_DENIED);
    EXPECT_EQ(Kspctl({L"list"}).code, ExitCode::kAccessDenied);
    spooler().FailCall(WinspoolOpenPrinter, RPC_S_SERVER_UNAVAILABLE);
    const KspctlRun run = Kspctl({L"list"});
    ASSERT_EQ(run.code, ExitCode::kFailed);
    EXPECT_THAT(run.errors.back(), HasSubstr(L"net start spooler"));
    spooler().FailCallsFrom(WinspoolEnumPorts, ERROR_NOT_ENOUGH_MEMORY);
    EXPECT_EQ(Kspctl({L"list"}).code, ExitCode::kFailed);
    spooler().ClearFaults();
    spooler().FailCall(WinspoolXcvData, ERROR_ACCESS_DENIED);
    EXPECT_EQ(Kspctl({L"type"}).code, ExitCode::kAccessDenied);
}

TEST_F(KspctlUsageTest, ServerAndMonitorGoIntoEveryName) {
    AddPortKey({.name = L"Office", .PrinterAddress = L"127.0.0.5"});
    ASSERT_TRUE(StartSpooler());
    spooler().ClearCalls();
    EXPECT_EQ(Kspctl({L"list", L"--server", L"printserver"}).code, ExitCode::kDone);
    EXPECT_EQ(Kspctl({L"show", L"Office", L"--server", L"\\\\printserver"}).code, ExitCode::kDone);
    EXPECT_EQ(Kspctl({L"type", L"--monitor", L"Elsewhere"}).code, ExitCode::kNotFound);
    EXPECT_THAT(OpenedObjects(),
                ElementsAre(L"\\\\printserver\\,XcvMonitor Kestrel Print Port",
                            L"\\\\printserver\\,XcvPort Office", L",XcvMonitor Elsewhere"));
    EXPECT_EQ(std::wstring(spooler().Calls(WinspoolEnumPorts).front().printer), L"\\\\printserver");
}

TEST_F(KspctlUsageTest, RightsAreThoseOfTheCommand) {
    AddPortKey({.name = L"Office", .PrinterAddress = L"127.0.0.5"});
    ASSERT_TRUE(StartSpooler());
    spooler().ClearCalls();
    EXPECT_EQ(Kspctl({L"show", L"Office"}).code, ExitCode::kDone);
    EXPECT_EQ(Kspctl({L"delete", L"Office"}).code, ExitCode::kDone);
    const auto calls = spooler().Calls(WinspoolOpenPrinter);
    ASSERT_GE(calls.size(), 2u);
    EXPECT_EQ(calls[0].access, static_cast<ACCESS_MASK>(SERVER_ACCESS_ENUMERATE));
    EXPECT_EQ(calls[1].access, static_cast<ACCESS_MASK>(SERVER_ACCESS_ADMINISTER));
}

TEST_F(KspctlUsageTest, PatienceIsCheckedBeforeAnythingIsPrinted) {
    AddPortKey({.name = L"Office", .PrinterAddress = L"127.0.0.5"});
    ASSERT_TRUE(StartSpooler());
    for (const wchar_t* patience : {L"0", L"3601", L"soon"}) {
        const KspctlRun run =
            Kspctl({L"print", L"--patience", patience, L"Office", MonitorLibraryPath()});
        EXPECT_EQ(run.code, ExitCode::kWrongUsage) << patience;
        EXPECT_THAT(run.errors.front(), HasSubstr(L"from 1 to 3600"));
    }
}

TEST_F(KspctlUsageTest, AMonitorThatDoesNotTellWhosePortItIsIsAFailure) {
    AddPortKey({.name = L"Office", .PrinterAddress = L"127.0.0.5"});
    ASSERT_TRUE(StartSpooler());
    spooler().FailCall(WinspoolXcvData, RPC_S_SERVER_UNAVAILABLE, 2);
    EXPECT_EQ(Kspctl({L"exists", L"Office"}).code, ExitCode::kFailed);
}

TEST_F(KspctlUsageTest, TypeTellsTheKindOfTheMonitor) {
    SetMonitorType(2);
    ASSERT_TRUE(StartSpooler(kIdPrint));
    EXPECT_THAT(Kspctl({L"type"}).lines, ElementsAre(L"2 (ID print): Kestrel ID Print Port"));
    EXPECT_THAT(Kspctl({L"type", L"--json", L"--id-print"}).lines,
                ElementsAre(L"{\"monitor\":\"Kestrel ID Print Port\",\"type\":2,"
                            L"\"kind\":\"ID print\"}"));
}

TEST(JsonWriterTest, SeparatesAndNests) {
    ctl::JsonWriter json;
    json.BeginArray();
    json.Number(4294967295);
    json.BeginObject();
    json.Name(L"a");
    json.BeginArray();
    json.EndArray();
    json.Name(L"b");
    json.Null();
    json.Name(L"c");
    json.Bool(true);
    json.EndObject();
    json.Bool(false);
    json.EndArray();
    EXPECT_EQ(json.text(), L"[4294967295,{\"a\":[],\"b\":null,\"c\":true},false]");
}

TEST(JsonWriterTest, EscapesControlsQuotesAndLoneSurrogates) {
    const std::pair<std::wstring, std::wstring> texts[] = {
        {L"\"\\/", L"\"\\\"\\\\/\""},
        {std::wstring(L"a\0b", 3), L"\"a\\u0000b\""},
        {L"\u001F\u007F\u0080\u009F\u00A0", L"\"\\u001f\\u007f\\u0080\\u009f\u00A0\""},
        {L"\xD83D\xDDA8", L"\"\xD83D\xDDA8\""},
        {L"\xD83D", L"\"\\ud83d\""},
        {L"\xDDA8\xD83D", L"\"\\udda8\\ud83d\""},
        {L"\xD83D\xD83D\xDDA8", L"\"\\ud83d\xD83D\xDDA8\""},
    };
    for (const auto& [text, expected] : texts) {
        ctl::JsonWriter json;
        json.Text(text);
        EXPECT_EQ(json.text(), expected) << ::testing::PrintToString(text);
    }
}

TEST(QuotedArgumentTest, ProtectsWhatAProgramsStartTakesApart) {
    EXPECT_EQ(ctl::QuotedArgument(L"plain"), L"plain");
    EXPECT_EQ(ctl::QuotedArgument(L""), L"\"\"");
    EXPECT_EQ(ctl::QuotedArgument(L"a b"), L"\"a b\"");
    EXPECT_EQ(ctl::QuotedArgument(L"a\\b"), L"a\\b");
    EXPECT_EQ(ctl::QuotedArgument(L"a b\\"), L"\"a b\\\\\"");
    EXPECT_EQ(ctl::QuotedArgument(L"a\"b"), L"\"a\\\"b\"");
    EXPECT_EQ(ctl::QuotedArgument(L"a\\\"b"), L"\"a\\\\\\\"b\"");
}

}  // namespace
}  // namespace ksp::test
