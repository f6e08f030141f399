#include "tests/ports/port_manager_test.h"

#include "channels/protocol_info.h"
#include "ports/registry_store.h"
#include "support/logger.h"

namespace ksp::test {

void PortManagerTest::SetUp() {
    // An ID-print monitor leaves its own behind, for the whole process.
    CRawProtocolInfo::SetDefaultPortNumber(static_cast<std::uint16_t>(kRawPort));
    ASSERT_TRUE(spooler_.Connect()) << "the program did not get the stand-in winspool.drv";
    spooler_.Reset();
    manager_.emplace(usage_);
    operations_.emplace(*manager_);
}

void PortManagerTest::TearDown() {
    operations_.reset();
    manager_.reset();
    Logger().Stop();
    RegistryStore().CloseStore();
    EXPECT_EQ(spooler_.OpenHandles().size(), 0U) << "printers are open";
    EXPECT_EQ(store_.OpenKeyCount(), 0U) << "registry keys are open";
    spooler_.Reset();
}

bool PortManagerTest::Initialize(DWORD monitorType) {
    const std::wstring software = monitorType == 2 ? L"SOFTWARE\\Kestrel\\Kestrel Print(ID Print)"
                                                   : L"SOFTWARE\\Kestrel\\Kestrel Print";
    const auto set = [&](const wchar_t* name, const std::wstring& text) {
        store_.SetText(HKEY_LOCAL_MACHINE, software, name, text);
    };
    set(L"ExeDirectory", directory_.path());
    set(L"LogDirectory", directory_.path());
    set(L"LogFileName", L"log.txt");
    store_.SetDword(HKEY_LOCAL_MACHINE, software, L"LogLevel", 1);
    store_.SetDword(HKEY_LOCAL_MACHINE, software, L"WaitServerReplyTimeout", 2);
    store_.SetDword(store_.Root(), L"", L"KSPRINT_SECURE", monitorType);

    MONITORREG functions = host::MonitorRegFunctions();
    MONITORINIT init{};
    init.cbSize = sizeof(init);
    init.hSpooler = host::SpoolerHandle(sheltered_);
    init.hckRegistryRoot = static_cast<decltype(init.hckRegistryRoot)>(registry_.Root());
    init.pMonitorReg = &functions;
    const bool started = manager_->Initialize(&init);
    lines_.Skip();
    return started;
}

void PortManagerTest::AddRawKey(const std::wstring& name, const std::wstring& address) {
    const std::wstring path = L"Ports\\" + name;
    store_.SetDword(store_.Root(), path, L"ProtocolID", 2);
    store_.SetDword(store_.Root(), path, L"PrinterAddressType", 1);
    store_.SetText(store_.Root(), path, L"PrinterAddress", address);
}

CPortInfo PortManagerTest::Raw(const std::wstring& name, const std::wstring& address) {
    CPortInfo info;
    info.PortName = name;
    info.PrinterAddress = address;
    info.ProtocolID = static_cast<std::uint32_t>(ProtocolId::kRaw);
    info.PrinterAddressType = static_cast<std::uint32_t>(AddressType::kIpAddress);
    return info;
}

PortManagerTest::Answer PortManagerTest::Add(const CPortInfo& info) {
    ::SetLastError(kUntouched);
    const bool result = manager_->AddPort(info);
    return {result, ::GetLastError()};
}

void PortManagerTest::QueueJob(const std::wstring& printer) {
    spooler_.PutPrinter({.name = printer, .port_names = L"PORT"});
    spooler_.PutJob(printer, WinspoolControl::SampleJob(1));
}

HANDLE PortManagerTest::StartJob(const std::wstring& port, std::wstring printer) {
    HANDLE handle = nullptr;
    DOC_INFO_1W document{};
    const bool started = operations_->OpenPort(port.c_str(), &handle) &&
                         operations_->StartDocPort(handle, printer.data(), 1, &document);
    return started ? handle : nullptr;
}

std::vector<std::wstring> PortManagerTest::PortNames() const {
    std::vector<std::wstring> names;
    for (const _stPort& entry : *manager_->Ports().Ports()) {
        names.push_back(entry.port->Name());
    }
    return names;
}

}  // namespace ksp::test
