#include "tools/print/monitor_setup.h"

#include "tools/print/printer_address.h"

namespace ksp::print {
namespace {

constexpr const wchar_t* kSoftwareKey = L"SOFTWARE\\Kestrel\\Kestrel Print";
constexpr const wchar_t* kLogFileName = L"log.txt";
constexpr DWORD kOrdinaryMonitor = 1;
constexpr DWORD kTraceLevel = 1;
constexpr DWORD kLargestLog = 256;  // megabytes; one file holds the whole run
constexpr DWORD kReplyTimeout = 5;  // seconds; shorter than usual, for somebody who watches
constexpr DWORD kDottedAddress = 1;
constexpr DWORD kHostName = 2;

void WriteSettings(const MonitorSetup& setup, host::MemoryRegistry* registry) {
    const HKEY machine = HKEY_LOCAL_MACHINE;
    registry->SetDword(registry->Root(), L"", L"KSPRINT_SECURE", kOrdinaryMonitor);
    registry->SetText(machine, kSoftwareKey, L"ExeDirectory", setup.program_directory);
    registry->SetText(machine, kSoftwareKey, L"LogDirectory", setup.log_directory);
    registry->SetText(machine, kSoftwareKey, L"LogFileName", kLogFileName);
    registry->SetText(machine, kSoftwareKey, L"LPRDirectory", setup.log_directory);
    registry->SetDword(machine, kSoftwareKey, L"LogLevel", kTraceLevel);
    registry->SetDword(machine, kSoftwareKey, L"MaxLogSize", kLargestLog);
    registry->SetDword(machine, kSoftwareKey, L"WaitServerReplyTimeout", kReplyTimeout);
}

void WritePort(const MonitorSetup& setup, host::MemoryRegistry* registry) {
    const bool dotted = IsDottedAddress(setup.printer_address);
    const HANDLE root = registry->Root();
    const std::wstring key = PortKey(setup);
    registry->SetDword(root, key, L"PrinterAddressType", dotted ? kDottedAddress : kHostName);
    registry->SetText(root, key, L"IpAddress", dotted ? setup.printer_address : L"");
    registry->SetText(root, key, L"SubnetMask", L"");
    registry->SetText(root, key, L"MacAddress", L"");
    registry->SetDword(root, key, L"ProtocolID", setup.protocol_id);
    registry->SetText(root, key, L"PrinterAddress", setup.printer_address);
    registry->SetText(root, key, L"QueueName", setup.queue);
}

}  // namespace

void Configure(const MonitorSetup& setup, host::MemoryRegistry* registry) {
    WriteSettings(setup, registry);
    WritePort(setup, registry);
}

std::wstring LogPath(const MonitorSetup& setup) {
    return setup.log_directory + L"\\" + kLogFileName;
}

std::wstring PortKey(const MonitorSetup& setup) {
    return L"Ports\\" + setup.port;
}

}  // namespace ksp::print
