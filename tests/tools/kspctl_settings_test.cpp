#include <filesystem>
#include <fstream>
#include <iterator>

#include "support/windows_handles.h"
#include "tests/host/faulty_registry.h"
#include "tests/tools/kspctl_test.h"
#include "tests/tools/machine_settings.h"
#include "tools/host/memory_registry.h"
#include "tools/host/temp_directory.h"
#include "tools/kspctl/machine_registry.h"

namespace ksp::test {
namespace {

// Commands that write the registry of the machine that the tests run on; what they wrote is removed
// at the end.
class KspctlSettingsTest : public KspctlTest {
  protected:
    void SetUp() override {
        KspctlTest::SetUp();
        if (!MachineIsOurs()) {
            GTEST_SKIP() << "the registry of this machine is not the tests' own";
        }
        Clean();
    }
    void TearDown() override {
        if (MachineIsOurs()) {
            Clean();
        }
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

    static void PutSetting(const std::wstring& path, const wchar_t* name, const wchar_t* text) {
        ctl::MachineRegistry registry;
        CRegistryKey key;
        ASSERT_EQ(registry.Create(path, &key), ERROR_SUCCESS);
        EXPECT_EQ(key.WriteText(name, text), ERROR_SUCCESS);
    }
    static void PutMonitorKey(const std::wstring& monitor, std::uint32_t type) {
        ctl::MachineRegistry registry;
        CRegistryKey key;
        ASSERT_EQ(registry.Create(ctl::MonitorKeyPath(monitor), &key), ERROR_SUCCESS);
        EXPECT_EQ(key.WriteDword(ctl::kMonitorTypeValue, type), ERROR_SUCCESS);
    }

    static std::wstring SystemFile(const std::wstring& name) {
        wchar_t path[MAX_PATH] = {};
        return std::wstring(path, GetSystemDirectoryW(path, MAX_PATH)) + L"\\" + name;
    }
    static void WriteFile(const std::wstring& path, const std::string& text) {
        std::ofstream(std::filesystem::path(path), std::ios::binary) << text;
    }
    static std::string ReadFile(const std::wstring& path) {
        std::ifstream file(std::filesystem::path(path), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    // Another vendor's monitor with a port; the spooler has it as far as it starts.
    static void PutForeignMonitor() {
        PutSetting(ctl::MonitorKeyPath(kForeign), L"Driver", L"foreign.dll");
        PutSetting(ctl::MonitorKeyPath(kForeign) + L"\\Ports\\Stores", L"Address", L"1");
    }

    static constexpr wchar_t kForeign[] = L"Foreign";
    const std::wstring software_ = ctl::SoftwareKeyPath(MonitorType::kOrdinary);
    const std::wstring id_print_software_ = ctl::SoftwareKeyPath(MonitorType::kIdPrint);

  private:
    void Clean() const {
        ctl::MachineRegistry registry;
        for (const std::wstring& path :
             {software_, id_print_software_, ctl::MonitorKeyPath(kOrdinary),
              ctl::MonitorKeyPath(kIdPrint), ctl::MonitorKeyPath(L"Renamed"),
              ctl::MonitorKeyPath(kForeign)}) {
            registry.DeleteTree(path);
        }
        DeleteFileW(SystemFile(L"kspctl-test.dll").c_str());
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

TEST_F(KspctlSettingsTest, AreFoundForAMonitorThatDoesNotStart) {
    ASSERT_TRUE(StartSpooler(L"Elsewhere"));
    PutMonitorKey(L"Renamed", 2);
    EXPECT_EQ(Kspctl({L"settings", L"--monitor", L"Renamed", L"LogLevel=3"}).code, ExitCode::kDone);
    EXPECT_EQ(Number(id_print_software_, L"LogLevel"), 3u);
    EXPECT_EQ(Number(software_, L"LogLevel"), std::nullopt);
    EXPECT_EQ(Kspctl({L"settings", L"--monitor", L"Nowhere", L"LogLevel=3"}).code,
              ExitCode::kNotFound);
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

TEST_F(KspctlSettingsTest, InstallOfIdPrintHasAFileOfItsOwnAndUninstallPurgesItsSettingsAlone) {
    SetMonitorType(2);
    ASSERT_TRUE(StartSpooler(L"Elsewhere"));
    PutSetting(software_, L"LogFileName", L"ordinary.txt");
    EXPECT_EQ(Kspctl({L"install", L"--id-print", L"--no-copy"}).code, ExitCode::kDone);
    EXPECT_EQ(spooler().MonitorLibrary(kIdPrint), L"kspmonid.dll");
    EXPECT_EQ(Number(ctl::MonitorKeyPath(kIdPrint), L"KSPRINT_SECURE"), 2u);
    ASSERT_NE(Text(id_print_software_, L"ExeDirectory"), std::nullopt);
    EXPECT_EQ(Kspctl({L"uninstall", L"--id-print"}).code, ExitCode::kDone);
    EXPECT_NE(Text(id_print_software_, L"ExeDirectory"), std::nullopt);

    EXPECT_EQ(Kspctl({L"install", L"--id-print", L"--no-copy", L"--library", L"other.dll"}).code,
              ExitCode::kDone);
    EXPECT_EQ(spooler().MonitorLibrary(kIdPrint), L"other.dll");
    // The name alone does not tell the kind; the monitor's key does.
    EXPECT_EQ(Kspctl({L"uninstall", L"--monitor", kIdPrint, L"--purge"}).code, ExitCode::kDone);
    EXPECT_EQ(Text(id_print_software_, L"ExeDirectory"), std::nullopt);
    EXPECT_EQ(Text(software_, L"LogFileName"), L"ordinary.txt");
}

TEST_F(KspctlSettingsTest, UninstallOfAMonitorThatDoesNotStartPurgesTheSettingsOfItsKind) {
    ASSERT_TRUE(StartSpooler(L"Elsewhere"));
    PutSetting(software_, L"LogFileName", L"ordinary.txt");
    PutSetting(id_print_software_, L"LogFileName", L"idprint.txt");
    PutMonitorKey(L"Renamed", 2);
    spooler().PutMonitor(L"Renamed");
    spooler().FailCall(WinspoolOpenPrinter, ERROR_INVALID_PRINTER_NAME);
    EXPECT_EQ(Kspctl({L"uninstall", L"--monitor", L"Renamed", L"--purge"}).code, ExitCode::kDone);
    EXPECT_EQ(Text(id_print_software_, L"LogFileName"), std::nullopt);
    EXPECT_EQ(Text(software_, L"LogFileName"), L"ordinary.txt");
}

TEST_F(KspctlSettingsTest, InstallIsTakenBackWhenTheLibraryRunsAsTheOtherKind) {
    ASSERT_TRUE(StartSpooler(L"Elsewhere"));  // ordinary
    const KspctlRun run = Kspctl({L"install", L"--id-print", L"--no-copy"});
    ASSERT_EQ(run.code, ExitCode::kFailed);
    EXPECT_THAT(run.errors.front(), HasSubstr(L"runs as the other kind"));
    EXPECT_THAT(run.lines, IsEmpty());
    EXPECT_EQ(spooler().MonitorLibrary(kIdPrint), std::nullopt);
    EXPECT_EQ(Number(ctl::MonitorKeyPath(kIdPrint), L"KSPRINT_SECURE"), std::nullopt);
}

TEST_F(KspctlSettingsTest, InstallThatCannotWriteTheSettingsLeavesNoKey) {
    ASSERT_TRUE(StartSpooler(L"Elsewhere"));
    // Nothing that lasts can be made below a key that does not.
    ::RegDeleteTreeW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Kestrel");
    HKEY parent = nullptr;
    ASSERT_EQ(::RegCreateKeyExW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Kestrel", 0, nullptr,
                                REG_OPTION_VOLATILE, KEY_READ, nullptr, &parent, nullptr),
              ERROR_SUCCESS);
    ::RegCloseKey(parent);
    EXPECT_EQ(Kspctl({L"install", L"--no-copy"}).code, ExitCode::kFailed);
    ::RegDeleteTreeW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Kestrel");
    EXPECT_EQ(Number(ctl::MonitorKeyPath(kOrdinary), L"KSPRINT_SECURE"), std::nullopt);
    EXPECT_EQ(spooler().MonitorLibrary(kOrdinary), std::nullopt);
}

TEST_F(KspctlSettingsTest, InstallCopiesTheLibraryUnlessItIsThereAlready) {
    ASSERT_TRUE(StartSpooler(L"Elsewhere"));
    const host::TempDirectory source;
    const std::wstring library = source.path() + L"\\kspctl-test.dll";
    const std::wstring target = SystemFile(L"kspctl-test.dll");
    WriteFile(library, "one");
    EXPECT_EQ(Kspctl({L"install", L"--library", library}).code, ExitCode::kDone);
    EXPECT_EQ(ReadFile(target), "one");
    EXPECT_EQ(Kspctl({L"uninstall"}).code, ExitCode::kDone);

    // As the spooler holds a library that it has loaded.
    const UniqueFile held(CreateFileW(target.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                      OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    ASSERT_TRUE(held);
    EXPECT_EQ(Kspctl({L"install", L"--library", library}).code, ExitCode::kDone);
    EXPECT_EQ(Kspctl({L"uninstall"}).code, ExitCode::kDone);
    WriteFile(library, "two");
    const KspctlRun run = Kspctl({L"install", L"--library", library});
    EXPECT_EQ(run.code, ExitCode::kFailed);
    EXPECT_THAT(run.errors, ::testing::Contains(HasSubstr(L"net stop spooler")));
    EXPECT_EQ(spooler().MonitorLibrary(kOrdinary), std::nullopt);
}

TEST_F(KspctlSettingsTest, InstallOnAServerNeedsADirectoryOfThatServer) {
    EXPECT_EQ(Kspctl({L"install", L"--server", L"printserver"}).code, ExitCode::kWrongUsage);
    EXPECT_THAT(OpenedObjects(), IsEmpty());
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

TEST_F(KspctlSettingsTest, UninstallLeavesAnotherVendorsMonitorAlone) {
    ASSERT_TRUE(StartSpooler(L"Elsewhere"));
    PutSetting(software_, L"LogFileName", L"ordinary.txt");
    PutForeignMonitor();
    spooler().PutMonitor(kForeign);
    // One that answers, and one that does not start.
    for (const bool starts : {true, false}) {
        if (!starts) {
            spooler().FailCall(WinspoolOpenPrinter, ERROR_INVALID_PRINTER_NAME);
        }
        EXPECT_EQ(Kspctl({L"uninstall", L"--monitor", kForeign, L"--with-ports", L"--purge"}).code,
                  ExitCode::kNotFound);
        EXPECT_NE(spooler().MonitorLibrary(kForeign), std::nullopt);
        EXPECT_EQ(Text(ctl::MonitorKeyPath(kForeign) + L"\\Ports\\Stores", L"Address"), L"1");
        EXPECT_EQ(Text(software_, L"LogFileName"), L"ordinary.txt");
    }
    spooler().FailCall(WinspoolOpenPrinter, ERROR_ACCESS_DENIED);
    EXPECT_EQ(Kspctl({L"uninstall", L"--monitor", kForeign}).code, ExitCode::kAccessDenied);
}

TEST_F(KspctlSettingsTest, InstallLeavesTheKeyOfAnotherVendorsMonitorAlone) {
    ASSERT_TRUE(StartSpooler(L"Elsewhere"));
    PutForeignMonitor();
    const KspctlRun run = Kspctl({L"install", L"--no-copy", L"--monitor", kForeign});
    ASSERT_EQ(run.code, ExitCode::kExists);
    EXPECT_THAT(run.errors.front(), HasSubstr(L"its key has no KSPRINT_SECURE"));
    EXPECT_EQ(Number(ctl::MonitorKeyPath(kForeign), L"KSPRINT_SECURE"), std::nullopt);
    EXPECT_EQ(Text(ctl::MonitorKeyPath(kForeign), L"Driver"), L"foreign.dll");
    EXPECT_EQ(spooler().MonitorLibrary(kForeign), std::nullopt);
}

// A new key is removed with all below it when an installation fails.
TEST(KspctlRegistryTest, AKeyThatCouldNotBeReadIsNotTakenForANewOne) {
    host::MemoryRegistry memory;
    FaultyRegistry faulty(memory);
    MONITORINIT init = {};
    MONITORREG functions = host::MonitorRegFunctions();
    init.cbSize = sizeof(init);
    init.hSpooler = static_cast<host::MonitorRegistry*>(&faulty);
    init.pMonitorReg = &functions;
    ctl::MachineRegistry registry;
    registry.access().SetMonitorInit(&init);
    const std::wstring path = ctl::MonitorKeyPath(L"Renamed");
    bool created = false;
    for (const bool is_new : {true, false}) {
        CRegistryKey key;
        ASSERT_EQ(registry.Create(path, &key, &created), ERROR_SUCCESS);
        EXPECT_EQ(created, is_new);
    }
    faulty.AddFault({.operation = RegistryOperation::kOpenKey, .code = ERROR_ACCESS_DENIED});
    CRegistryKey key;
    ASSERT_EQ(registry.Create(path, &key, &created), ERROR_SUCCESS);
    EXPECT_FALSE(created);
    created = true;
    faulty.AddFault({.operation = RegistryOperation::kCreateKey, .code = ERROR_ACCESS_DENIED});
    EXPECT_EQ(registry.Create(ctl::MonitorKeyPath(L"Another"), &key, &created),
              ERROR_ACCESS_DENIED);
    EXPECT_FALSE(created);
}

TEST_F(KspctlSettingsTest, UninstallKeepsAMonitorThatHasPorts) {
    AddPortKey({.name = L"Office", .PrinterAddress = L"127.0.0.5"});
    ASSERT_TRUE(StartSpooler());
    EXPECT_EQ(Kspctl({L"uninstall"}).code, ExitCode::kInUse);
    EXPECT_NE(spooler().MonitorLibrary(kOrdinary), std::nullopt);
    EXPECT_EQ(Kspctl({L"uninstall", L"--with-ports"}).code, ExitCode::kDone);
    EXPECT_EQ(spooler().MonitorLibrary(kOrdinary), std::nullopt);
}

TEST_F(KspctlSettingsTest, UninstallKeepsThePortsOfAMonitorThatDoesNotStart) {
    ASSERT_TRUE(StartSpooler(L"Elsewhere"));
    PutMonitorKey(kOrdinary, 1);
    PutMonitorKey(std::wstring(kOrdinary) + L"\\Ports\\Office", 1);
    // The spooler does not know it: it has forgotten a monitor that did not start.
    EXPECT_EQ(Kspctl({L"uninstall"}).code, ExitCode::kInUse);
    EXPECT_EQ(Number(ctl::MonitorKeyPath(kOrdinary), L"KSPRINT_SECURE"), 1u);
    EXPECT_EQ(Kspctl({L"uninstall", L"--with-ports"}).code, ExitCode::kDone);
    EXPECT_EQ(Number(ctl::MonitorKeyPath(kOrdinary), L"KSPRINT_SECURE"), std::nullopt);
    EXPECT_EQ(Kspctl({L"uninstall", L"--with-ports"}).code, ExitCode::kNotFound);
}

}  // namespace
}  // namespace ksp::test
