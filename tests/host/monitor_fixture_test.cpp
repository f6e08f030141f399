// The fixture's own promises: what it prepares, and that it finds what a monitor leaves open.

#include <gtest/gtest-spi.h>

#include "tests/host/monitor_test.h"

namespace ksp::test {
namespace {

class MonitorFixtureTest : public MonitorTest {};

TEST_F(MonitorFixtureTest, PreparesTheSettingsOfTheMonitorsType) {
    EXPECT_EQ(store().GetDword(root(), L"", L"KSPRINT_SECURE"), 1u);
    EXPECT_EQ(software_key(), L"SOFTWARE\\Kestrel\\Kestrel Print");
    EXPECT_EQ(store().GetText(HKEY_LOCAL_MACHINE, software_key(), L"LogDirectory"), directory());
    EXPECT_EQ(store().GetDword(HKEY_LOCAL_MACHINE, software_key(), L"LogLevel"), 1u);

    SetMonitorType(2);
    EXPECT_EQ(store().GetDword(root(), L"", L"KSPRINT_SECURE"), 2u);
    EXPECT_EQ(store().SubkeyNames(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Kestrel"),
              std::vector<std::wstring>{L"Kestrel Print(ID Print)"});
    EXPECT_EQ(store().GetDword(HKEY_LOCAL_MACHINE, software_key(), L"LogLevel"), 1u);
}

TEST_F(MonitorFixtureTest, WritesEveryValueOfAPort) {
    AddPortKey({.name = L"KEY_A", .PrinterAddress = L"127.0.0.1", .QueueName = L"Q"});
    EXPECT_EQ(store().GetDword(root(), PortPath(L"KEY_A"), L"ProtocolID"), 2u);
    EXPECT_EQ(store().GetText(root(), PortPath(L"KEY_A"), L"PrinterAddress"), L"127.0.0.1");
    EXPECT_EQ(store().GetText(root(), PortPath(L"KEY_A"), L"QueueName"), L"Q");
    EXPECT_EQ(store().ValueNames(root(), PortPath(L"KEY_A")).size(), 7u);
}

TEST_F(MonitorFixtureTest, FindsAKeyThatStaysOpen) {
    HANDLE key = nullptr;
    ASSERT_EQ(registry().OpenKey(root(), L"", KEY_READ, &key), ERROR_SUCCESS);
    EXPECT_NONFATAL_FAILURE(ExpectNothingOpen(), "open keys");
    registry().CloseKey(key);
    ExpectNothingOpen();
}

TEST_F(MonitorFixtureTest, FindsAPrinterThatStaysOpen) {
    QueueJob(L"KEY_A");
    wchar_t name[] = L"Printer";
    HANDLE printer = nullptr;
    ASSERT_TRUE(OpenPrinterW(name, &printer, nullptr));
    EXPECT_NONFATAL_FAILURE(ExpectNothingOpen(), "open printers");
    ClosePrinter(printer);
    ExpectNothingOpen();
}

TEST_F(MonitorFixtureTest, FindsAnEventThatStaysOpen) {
    HANDLE event = CreateEventW(nullptr, TRUE, TRUE, nullptr);
    EXPECT_NONFATAL_FAILURE(ExpectNothingOpen(), "open handles");
    CloseHandle(event);
    ExpectNothingOpen();
}

TEST_F(MonitorFixtureTest, LogsWhereTheTestCanReadIt) {
    ASSERT_TRUE(Start());
    Unload();
    EXPECT_TRUE(ReadLog().ContainsLine(LineLevel::kTrace, L"Logger terminate"))
        << ReadLog().Describe();
}

}  // namespace
}  // namespace ksp::test
