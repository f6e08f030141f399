#include "tests/host/monitor_test.h"

#include "tests/host/warm_up.h"

namespace ksp::test {
namespace {

constexpr wchar_t kOrdinarySoftwareKey[] = L"SOFTWARE\\Kestrel\\Kestrel Print";
constexpr wchar_t kIdPrintSoftwareKey[] = L"SOFTWARE\\Kestrel\\Kestrel Print(ID Print)";
constexpr DWORD kIdPrint = 2;

std::string Names(const std::vector<std::wstring>& names) {
    std::string text;
    for (const std::wstring& name : names) {
        text += ::testing::PrintToString(name) + "\n";
    }
    return text;
}

std::string Names(const std::vector<WinspoolHandle>& handles) {
    std::string text;
    for (const WinspoolHandle& handle : handles) {
        text += ::testing::PrintToString(std::wstring(handle.printer)) + "\n";
    }
    return text;
}

}  // namespace

std::wstring BesideTheProgram(const std::wstring& file) {
    wchar_t program[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, program, MAX_PATH);
    const std::wstring path = program;
    return path.substr(0, path.find_last_of(L'\\') + 1) + file;
}

std::wstring MonitorLibraryPath() {
    return BesideTheProgram(L"kspmon.dll");
}

void MonitorTest::SetUpTestSuite() {
    WarmUp(MonitorLibraryPath());
}

void MonitorTest::SetUp() {
    ASSERT_TRUE(spooler_.Connect()) << "the program did not get the stand-in winspool.drv";
    spooler_.Reset();
    SetMonitorType(1);
    handles_before_ = CountHandles();
}

void MonitorTest::TearDown() {
    Unload();
    ExpectNothingOpen();
    spooler_.Reset();
}

void MonitorTest::ExpectNothingOpen() const {
    EXPECT_EQ(store_.OpenKeyCount(), 0u) << "open keys:\n" << Names(registry_.OpenKeys());
    EXPECT_EQ(spooler_.OpenHandles().size(), 0u) << "open printers:\n"
                                                 << Names(spooler_.OpenHandles());
    EXPECT_EQ(LeakedHandles(handles_before_, CountHandles()), HandleCensus()) << "open handles";
}

bool MonitorTest::Start() {
    if (!library_.loaded() && !library_.Load(MonitorLibraryPath())) {
        ADD_FAILURE() << "cannot load kspmon.dll: error " << GetLastError();
        return false;
    }
    return library_.Initialize(registry_);
}

bool MonitorTest::StartExpectingFailure() {
    return library_.Load(MonitorLibraryPath()) && !library_.Initialize(registry_);
}

void MonitorTest::Unload() {
    EXPECT_TRUE(library_.Unload()) << "the library stays in the process";
}

void MonitorTest::SetMonitorType(DWORD type) {
    if (!software_key_.empty()) {
        store_.RemoveKey(HKEY_LOCAL_MACHINE, software_key_);
    }
    software_key_ = type == kIdPrint ? kIdPrintSoftwareKey : kOrdinarySoftwareKey;
    store_.SetDword(root(), L"", L"KSPRINT_SECURE", type);
    WriteSettings();
}

void MonitorTest::WriteSettings() {
    SetSetting(L"ExeDirectory", directory());
    SetSetting(L"LogDirectory", directory());
    SetSetting(L"LogFileName", std::wstring(L"log.txt"));
    SetSetting(L"LogLevel", static_cast<DWORD>(LineLevel::kTrace));
    SetSetting(L"WaitServerReplyTimeout", 2);
}

void MonitorTest::SetSetting(const std::wstring& name, DWORD number) {
    store_.SetDword(HKEY_LOCAL_MACHINE, software_key_, name, number);
}

void MonitorTest::SetSetting(const std::wstring& name, const std::wstring& text) {
    store_.SetText(HKEY_LOCAL_MACHINE, software_key_, name, text);
}

void MonitorTest::AddPortKey(const PortKey& port) {
    const std::wstring path = PortPath(port.name);
    store_.SetDword(root(), path, L"ProtocolID", port.ProtocolID);
    store_.SetText(root(), path, L"PrinterAddress", port.PrinterAddress);
    store_.SetText(root(), path, L"QueueName", port.QueueName);
    store_.SetDword(root(), path, L"PrinterAddressType", port.PrinterAddressType);
    store_.SetText(root(), path, L"IpAddress", port.IpAddress);
    store_.SetText(root(), path, L"SubnetMask", port.SubnetMask);
    store_.SetText(root(), path, L"MacAddress", port.MacAddress);
}

host::SpoolerJob MonitorTest::QueueJob(const std::wstring& port, const std::wstring& printer,
                                       DWORD job_id) {
    spooler_.PutPrinter({.name = printer, .port_names = port});
    spooler_.PutJob(printer, WinspoolControl::SampleJob(job_id));
    return {.port = port, .printer = printer, .job_id = job_id};
}

host::JobOutcome MonitorTest::Print(const host::SpoolerJob& job, std::span<const uint8_t> data,
                                    const host::JobOptions& options) {
    return host::JobRunner(table(), monitor()).Run(job, data, options);
}

}  // namespace ksp::test
