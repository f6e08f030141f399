#include "tests/tools/kspctl_test.h"
#include "tools/kspctl/machine_registry.h"

namespace ksp::test {
namespace {

// Commands that write the registry of the machine that the tests run on; what they wrote is removed
// at the end.
class KspctlSettingsTest : public KspctlTest {
  protected:
    void SetUp() override {
        KspctlTest::SetUp();
        Clean();
    }
    void TearDown() override {
        Clean();
        KspctlTest::TearDown();
    }

    static std::optional<std::wstring> Text(const std::wstring& path, const wchar_t* name) {
        ctl::MachineRegistry registry;
        CRegistryKey key;
        return registry.Open(path, KEY_READ, &key) == ERROR_SUCCESS ? key.ReadText(name)
                                                                    : std::nullopt;
    }
    static std::optional<std::uint32_t> Number(const std::wstring& path, const wchar_t* name) {
        ctl::MachineRegistry registry;
        CRegistryKey key;
        return registry.Open(path, KEY_READ, &key) == ERROR_SUCCESS ? key.ReadDword(name)
                                                                    : std::nullopt;
    }

    const std::wstring software_ = ctl::SoftwareKeyPath(MonitorType::kOrdinary);
    const std::wstring id_print_software_ = ctl::SoftwareKeyPath(MonitorType::kIdPrint);

  private:
    void Clean() const {
        ctl::MachineRegistry registry;
        for (const std::wstring& path :
             {software_, id_print_software_, ctl::MonitorKeyPath(kOrdinary),
              ctl::MonitorKeyPath(kIdPrint)}) {
            registry.DeleteTree(path);
        }
    }
};

TEST_F(KspctlSettingsTest, WritesReadsAndRemoves) {
    ASSERT_TRUE(StartSpooler());
    EXPECT_EQ(
        Kspctl({L"settings", L"LogLevel=2", L"LogDirectory=C:\\Log s", L"LocalSegment=0"}).code,
        ExitCode::kDone);
    EXPECT_EQ(Number(software_, L"LogLevel"), 2u);
    EXPECT_EQ(Text(software_, L"LogDirectory"), L"C:\\Log s");
    EXPECT_THAT(
        Kspctl({L"settings", L"LogLevel", L"MaxLogSize", L"LocalSegment"}).lines,
        ElementsAre(L"LogLevel                 2", L"MaxLogSize               1 MB  (default)",
                    L"LocalSegment             0"));
    EXPECT_THAT(
        Kspctl({L"settings", L"--json", L"LogDirectory", L"LogLevel", L"MaxLogFiles"}).lines,
        ElementsAre(L"{\"LogDirectory\":\"C:\\\\Log s\",\"LogLevel\":2,"
                    L"\"MaxLogFiles\":null}"));
    EXPECT_EQ(Kspctl({L"settings", L"LogLevel=default"}).code, ExitCode::kDone);
    EXPECT_EQ(Number(software_, L"LogLevel"), std::nullopt);
    EXPECT_EQ(Kspctl({L"settings", L"LogLevel=default"}).code, ExitCode::kDone);
}

TEST_F(KspctlSettingsTest, RefusesAllWhenOneIsWrong) {
    ASSERT_TRUE(StartSpooler());
    for (const wchar_t* wrong :
         {L"LogLevel=6", L"LogLevel=0", L"LogLevel=", L"LogLevel=1x", L"MaxLogSize=4096",
          L"WaitServerReplyTimeout=0", L"LogFileIndex=1", L"LogFileIndex=default", L"Colour=1",
          L"LogDirectory=", L"LocalSegment=2"}) {
        EXPECT_EQ(Kspctl({L"settings", L"MaxLogFiles=7", wrong}).code, ExitCode::kWrongUsage)
            << ::testing::PrintToString(wrong);
        EXPECT_EQ(Number(software_, L"MaxLogFiles"), std::nullopt);
    }
}

TEST_F(KspctlSettingsTest, AreThoseOfTheMonitorThatIsInstalled) {
    SetMonitorType(2);
    ASSERT_TRUE(StartSpooler(kIdPrint));
    EXPECT_EQ(Kspctl({L"settings", L"LogLevel=3"}).code, ExitCode::kDone);
    EXPECT_EQ(Number(id_print_software_, L"LogLevel"), 3u);
    EXPECT_EQ(Number(software_, L"LogLevel"), std::nullopt);
}

TEST_F(KspctlSettingsTest, InstallRegistersAndUninstallTakesItBack) {
    ASSERT_TRUE(StartSpooler(L"Elsewhere"));
    const KspctlRun run = Kspctl({L"install", L"--no-copy", L"--exe-directory", L"C:\\Kestrel"});
    ASSERT_EQ(run.code, ExitCode::kDone);
    EXPECT_EQ(run.lines.front(), L"installed the monitor \"Kestrel Print Port\" (ordinary)");
    EXPECT_EQ(spooler().MonitorLibrary(kOrdinary), L"kspmon.dll");
    EXPECT_EQ(Number(ctl::MonitorKeyPath(kOrdinary), L"KSPRINT_SECURE"), 1u);
    EXPECT_EQ(Text(software_, L"ExeDirectory"), L"C:\\Kestrel");

    EXPECT_EQ(Kspctl({L"install", L"--no-copy"}).code, ExitCode::kExists);
    EXPECT_EQ(Kspctl({L"uninstall"}).code, ExitCode::kDone);
    EXPECT_EQ(spooler().MonitorLibrary(kOrdinary), std::nullopt);
    EXPECT_EQ(Number(ctl::MonitorKeyPath(kOrdinary), L"KSPRINT_SECURE"), std::nullopt);
    EXPECT_EQ(Text(software_, L"ExeDirectory"), L"C:\\Kestrel");
    EXPECT_EQ(Kspctl({L"uninstall"}).code, ExitCode::kNotFound);
}

TEST_F(KspctlSettingsTest, InstallOfIdPrintWritesItsTypeAndUninstallPurgesItsSettings) {
    ASSERT_TRUE(StartSpooler(L"Elsewhere"));
    EXPECT_EQ(Kspctl({L"install", L"--id-print", L"--no-copy", L"--library", L"other.dll"}).code,
              ExitCode::kDone);
    EXPECT_EQ(spooler().MonitorLibrary(kIdPrint), L"other.dll");
    EXPECT_EQ(Number(ctl::MonitorKeyPath(kIdPrint), L"KSPRINT_SECURE"), 2u);
    EXPECT_NE(Text(id_print_software_, L"ExeDirectory"), std::nullopt);
    SetMonitorType(2);
    EXPECT_EQ(Kspctl({L"uninstall", L"--monitor", kIdPrint, L"--id-print", L"--purge"}).code,
              ExitCode::kDone);
}

TEST_F(KspctlSettingsTest, ARefusedInstallLeavesNothingAtTheSpooler) {
    ASSERT_TRUE(StartSpooler(L"Elsewhere"));
    spooler().FailCall(WinspoolAddMonitor, ERROR_MOD_NOT_FOUND);
    const KspctlRun run = Kspctl({L"install", L"--no-copy"});
    ASSERT_EQ(run.code, ExitCode::kFailed);
    EXPECT_THAT(run.errors.back(), HasSubstr(L"kspmon.dll must lie in the system directory"));
    EXPECT_EQ(Number(ctl::MonitorKeyPath(kOrdinary), L"KSPRINT_SECURE"), std::nullopt);
    spooler().FailCall(WinspoolAddMonitor, ERROR_ACCESS_DENIED);
    EXPECT_EQ(Kspctl({L"install", L"--no-copy"}).code, ExitCode::kAccessDenied);
}

TEST_F(KspctlSettingsTest, UninstallKeepsAMonitorThatHasPorts) {
    AddPortKey({.name = L"Office", .PrinterAddress = L"127.0.0.5"});
    ASSERT_TRUE(StartSpooler());
    EXPECT_EQ(Kspctl({L"uninstall"}).code, ExitCode::kInUse);
    EXPECT_NE(spooler().MonitorLibrary(kOrdinary), std::nullopt);
    EXPECT_EQ(Kspctl({L"uninstall", L"--with-ports"}).code, ExitCode::kDone);
    EXPECT_EQ(spooler().MonitorLibrary(kOrdinary), std::nullopt);
}

}  // namespace
}  // namespace ksp::test
