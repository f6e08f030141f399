// The monitor's settings, their defaults, and the notifier's configuration.

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "ports/registry_store.h"
#include "tests/support/spooler_start.h"
#include "tests/support/store_test.h"

namespace ksp {
namespace {

using test::RegistryOperation;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr wchar_t kSpoolSettings[] = L"SYSTEM\\CurrentControlSet\\Control\\Print\\Printers";
constexpr wchar_t kNotifier[] = L"SOFTWARE\\TAVRIN\\PNOTIFY";

class RegistrySettingsTest : public test::StoreTest {
  protected:
    void SetUp() override {
        StoreTest::SetUp();
        Open();
    }
};

TEST_F(RegistrySettingsTest, HaveTheirDefaultsWhenMissing) {
    EXPECT_EQ(store_.GetLogDirectory(), L"C:\\Kestrel Print");
    EXPECT_EQ(store_.GetLogFileName(), L"log.txt");
    EXPECT_EQ(store_.GetExeDirectory(), L"");
    EXPECT_EQ(store_.GetLprDirectory(), L"");
    EXPECT_EQ(store_.ReadSetting(L"LogLevel"), std::nullopt);
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(RegistrySettingsTest, HaveTheirDefaultsWhenOfAnotherType) {
    for (const wchar_t* name : {L"LogDirectory", L"LogFileName", L"ExeDirectory"}) {
        SetSetting(name, DWORD{1});
    }
    SetSetting(L"LogLevel", L"1");
    EXPECT_EQ(store_.GetLogDirectory(), L"C:\\Kestrel Print");
    EXPECT_EQ(store_.GetLogFileName(), L"log.txt");
    EXPECT_EQ(store_.GetExeDirectory(), L"");
    EXPECT_EQ(store_.ReadSetting(L"LogLevel"), std::nullopt);
}

TEST_F(RegistrySettingsTest, AreReadFromTheSoftwareKey) {
    SetSetting(L"LogDirectory", L"D:\\logs");
    SetSetting(L"LogFileName", L"trace");
    SetSetting(L"ExeDirectory", L"D:\\exe");
    SetSetting(L"LPRDirectory", L"D:\\lpr");
    SetSetting(L"WaitServerReplyTimeout", DWORD{7});
    EXPECT_EQ(store_.GetLogDirectory(), L"D:\\logs");
    EXPECT_EQ(store_.GetLogFileName(), L"trace");
    EXPECT_EQ(store_.GetExeDirectory(), L"D:\\exe");
    EXPECT_EQ(store_.GetLprDirectory(), L"D:\\lpr");
    EXPECT_EQ(store_.ReadSetting(L"WaitServerReplyTimeout"), 7U);
}

TEST_F(RegistrySettingsTest, OfTheIdPrintMonitorAreItsOwn) {
    SetSetting(L"ExeDirectory", L"D:\\ordinary");
    memory_.SetText(HKEY_LOCAL_MACHINE, test::kIdPrintSoftwareKey, L"ExeDirectory", L"D:\\id");
    Open(MonitorType::kIdPrint);
    EXPECT_EQ(store_.GetExeDirectory(), L"D:\\id");
}

TEST_F(RegistrySettingsTest, EmptyTextIsASettingAndNotAMissingOne) {
    SetSetting(L"LogDirectory", L"");
    SetSetting(L"LogFileName", L"");
    EXPECT_EQ(store_.GetLogDirectory(), L"");
    EXPECT_EQ(store_.GetLogFileName(), L"");
}

TEST_F(RegistrySettingsTest, AreWrittenAsDwords) {
    EXPECT_TRUE(store_.WriteSetting(L"LogFileIndex", 3));
    EXPECT_EQ(memory_.GetDword(HKEY_LOCAL_MACHINE, test::kSoftwareKey, L"LogFileIndex"), 3U);
    registry_.AddFault({.operation = RegistryOperation::kSetValue});
    EXPECT_FALSE(store_.WriteSetting(L"LogFileIndex", 4));
}

TEST_F(RegistrySettingsTest, LprDirectoryFallsBackToTheSpoolersDirectory) {
    memory_.SetText(HKEY_LOCAL_MACHINE, kSpoolSettings, L"DefaultSpoolDirectory", L"C:\\spool");
    EXPECT_EQ(store_.GetLprDirectory(), L"C:\\spool");
    EXPECT_THAT(registry_.OpenKeys(), SizeIs(2)) << "the spooler's key is closed again";
    SetSetting(L"LPRDirectory", L"D:\\lpr");
    EXPECT_EQ(store_.GetLprDirectory(), L"D:\\lpr");
}

TEST_F(RegistrySettingsTest, LprDirectoryIsEmptyWhenTheSpoolerHasNone) {
    memory_.MakeKey(HKEY_LOCAL_MACHINE, kSpoolSettings);
    EXPECT_EQ(store_.GetLprDirectory(), L"");
}

TEST_F(RegistrySettingsTest, SpoolersDirectoryIsReadWithoutWriteRights) {
    memory_.SetText(HKEY_LOCAL_MACHINE, kSpoolSettings, L"DefaultSpoolDirectory", L"C:\\spool");
    memory_.SetWritable(HKEY_LOCAL_MACHINE, kSpoolSettings, false);
    EXPECT_EQ(store_.GetLprDirectory(), L"C:\\spool");
}

class RegistryNotifierTest : public RegistrySettingsTest {
  protected:
    void SetValue(const std::wstring& name, const std::wstring& text) {
        memory_.SetText(HKEY_LOCAL_MACHINE, kNotifier, name, text);
    }
    int Notifier() {
        command_.clear();
        return store_.GetNotifierCommand(command_);
    }

    std::wstring command_;
};

TEST_F(RegistryNotifierTest, IsTheFirstValueWhoseNameContainsNAME) {
    SetValue(L"Path", L"C:\\path");
    SetValue(L"PROGNAME1", L"C:\\notify.exe");
    SetValue(L"NAME", L"C:\\other.exe");
    EXPECT_EQ(Notifier(), 1);
    EXPECT_EQ(command_, L"C:\\notify.exe");
    EXPECT_THAT(registry_.OpenKeys(), SizeIs(2)) << "the notifier's key is closed again";
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(RegistryNotifierTest, IsNoneWithoutSuchAValue) {
    SetValue(L"Path", L"NAME");
    SetValue(L"name", L"C:\\lower.exe");
    SetValue(L"NAM", L"C:\\short.exe");
    EXPECT_EQ(Notifier(), 0);
    EXPECT_EQ(command_, L"");
}

TEST_F(RegistryNotifierTest, IsNoneWithoutTheKeyAndWithoutALine) {
    EXPECT_EQ(Notifier(), 0);
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(RegistryNotifierTest, IsNoneInAnEmptyKey) {
    memory_.MakeKey(HKEY_LOCAL_MACHINE, kNotifier);
    EXPECT_EQ(Notifier(), 0);
}

TEST_F(RegistryNotifierTest, IsReadWithoutWriteRights) {
    SetValue(L"NAME", L"C:\\notify.exe");
    memory_.SetWritable(HKEY_LOCAL_MACHINE, kNotifier, false);
    EXPECT_EQ(Notifier(), 1);
}

TEST_F(RegistryNotifierTest, CommandOfTheWholeBufferNeedsNoTerminator) {
    SetValue(L"NAME", std::wstring(261, L'x'));
    EXPECT_EQ(Notifier(), 1);
    EXPECT_EQ(command_, std::wstring(261, L'x'));
    SetValue(L"NAME", std::wstring(L"C:\\notify.exe\0\0", 15));
    EXPECT_EQ(Notifier(), 1);
    EXPECT_EQ(command_, L"C:\\notify.exe");
}

TEST_F(RegistryNotifierTest, IsFoundBehindAValueTooLongForTheBuffer) {
    SetValue(L"A", std::wstring(262, L'x'));
    SetValue(L"NAME", L"C:\\notify.exe");
    EXPECT_EQ(Notifier(), 1);
    EXPECT_EQ(command_, L"C:\\notify.exe");
}

TEST_F(RegistryNotifierTest, IsNoneWhenTheEnumerationFails) {
    SetValue(L"NAME", L"C:\\notify.exe");
    registry_.AddFault({.operation = RegistryOperation::kEnumValue, .code = 5, .and_later = true});
    EXPECT_EQ(Notifier(), 0);
}

TEST_F(RegistryNotifierTest, IsNoneWhenTheFirstSuchValueIsNoText) {
    memory_.SetDword(HKEY_LOCAL_MACHINE, kNotifier, L"NAME", 1);
    SetValue(L"NAME2", L"C:\\notify.exe");
    EXPECT_EQ(Notifier(), 0);
    EXPECT_EQ(command_, L"");
}

}  // namespace
}  // namespace ksp
