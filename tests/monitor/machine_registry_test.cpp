// A spooler that brings no registry functions: the monitor works on the machine's own registry.

#include "tests/monitor/port_call_test.h"

namespace ksp::test {
namespace {

using ::testing::Contains;
using ::testing::IsEmpty;

constexpr wchar_t kSoftware[] = L"SOFTWARE\\Kestrel\\Kestrel Print";
constexpr wchar_t kPort[] =
    L"SYSTEM\\CurrentControlSet\\Control\\Print\\Monitors\\Ports\\kspmon-test machine port";

class MachineRegistryTest : public PortCallTest {
  protected:
    void SetUp() override {
        PortCallTest::SetUp();
        root_path_ = L"Software\\kspmon-test root " + std::to_wstring(GetCurrentProcessId());
        HKEY root = nullptr;
        ASSERT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, root_path_.c_str(), 0, nullptr, 0,
                                  KEY_ALL_ACCESS, nullptr, &root, nullptr),
                  ERROR_SUCCESS);
        machine_root_ = root;
        SetText(kSoftware, L"ExeDirectory", directory());
        SetText(kSoftware, L"LogDirectory", directory());
        SetText(kSoftware, L"LogFileName", L"log.txt");
        SetNumber(HKEY_LOCAL_MACHINE, kSoftware, L"LogLevel", 1);
        SetNumber(HKEY_LOCAL_MACHINE, kSoftware, L"WaitServerReplyTimeout", 2);
    }
    void TearDown() override {
        Unload();
        RegCloseKey(machine_root_);
        RegDeleteTreeW(HKEY_CURRENT_USER, root_path_.c_str());
        RegDeleteTreeW(HKEY_LOCAL_MACHINE, kPort);
        for (const wchar_t* name : {L"ExeDirectory", L"LogDirectory", L"LogFileName", L"LogLevel",
                                    L"WaitServerReplyTimeout"})
            RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, kSoftware, name);
        PortCallTest::TearDown();
    }

    static void SetNumber(HKEY root, const wchar_t* path, const wchar_t* name, DWORD number) {
        EXPECT_EQ(RegSetKeyValueW(root, path, name, REG_DWORD, &number, sizeof(number)),
                  ERROR_SUCCESS);
    }
    static void SetText(const wchar_t* path, const wchar_t* name, const std::wstring& text) {
        EXPECT_EQ(RegSetKeyValueW(HKEY_LOCAL_MACHINE, path, name, REG_SZ, text.c_str(),
                                  static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t))),
                  ERROR_SUCCESS);
    }
    void SetType(DWORD type) {
        SetNumber(HKEY_CURRENT_USER, root_path_.c_str(), L"KSPRINT_SECURE", type);
    }
    [[nodiscard]] bool StartWithRootOnly() {
        return library().Load(MonitorLibraryPath()) &&
               library().InitializeWithoutRegistry(machine_root_);
    }

    std::wstring root_path_;
    HKEY machine_root_ = nullptr;
};

TEST_F(MachineRegistryTest, PrintsThroughAPortOfTheMachine) {
    standins::LoopbackPrinter printer;
    ASSERT_TRUE(printer.ready());
    SetType(1);
    SetNumber(HKEY_LOCAL_MACHINE, kPort, L"ProtocolID", 2);
    SetNumber(HKEY_LOCAL_MACHINE, kPort, L"PrinterAddressType", 1);
    SetText(kPort, L"PrinterAddress", printer.wide_address());
    ASSERT_TRUE(StartWithRootOnly());
    const host::SpoolerJob job = QueueJob(L"kspmon-test machine port");
    EXPECT_TRUE(Print(job, Document(20'000)).printed());
    ASSERT_TRUE(printer.WaitForEndings(1));
    EXPECT_TRUE(SameBytes(Document(20'000), printer.received()));
    EXPECT_THAT(LogNow(), Contains("INFO Load Port : kspmon-test machine port"));
    EXPECT_THAT(registry().Calls(), IsEmpty());
}

TEST_F(MachineRegistryTest, RootWithoutTypeKeepsItFromStarting) {
    EXPECT_FALSE(StartWithRootOnly());
    EXPECT_THAT(LogNow(), Contains("CRITICAL Invalid Monitor Type."));
    EXPECT_THAT(LogNow(), Contains("CRITICAL PortMonitor initalize error"));
}

TEST_F(MachineRegistryTest, WithoutMonitorInitThereIsNoType) {
    SetType(1);
    ASSERT_TRUE(library().Load(MonitorLibraryPath()));
    EXPECT_FALSE(library().InitializeWithNull());
    EXPECT_THAT(LogNow(), Contains("CRITICAL Invalid Monitor Type."));
    EXPECT_EQ(LogNow().back(), "CRITICAL PortMonitor initalize error");
    HANDLE handle = Handle(99);
    EXPECT_EQ(library().initialize_function()(nullptr, &handle), nullptr);
    EXPECT_EQ(handle, nullptr);
    EXPECT_EQ(library().initialize_function()(nullptr, nullptr), nullptr);
}

}  // namespace
}  // namespace ksp::test
