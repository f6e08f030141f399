#include "tools/print/monitor_setup.h"

#include "ports/monitor_type.h"
#include "tools/print/printer_address.h"
#include "tools/print/software_key.h"

namespace ksp::print {
namespace {

constexpr const wchar_t* kLogFileName = L"log.txt";
constexpr DWORD kTraceLevel = 1;
constexpr DWORD kLargestLog = 256;  // megabytes; one file holds the whole run
constexpr DWORD kSnmpTimeout = 5;   // seconds

void WriteSettings(const MonitorSetup& setup, host::MemoryRegistry* registry) {
    const HKEY machine = HKEY_LOCAL_MACHINE;
    const MonitorType type = setup.id_print ? MonitorType::kIdPrint : MonitorType::kOrdinary;
    const std::wstring software = SoftwareKeyPath(type);
    registry->SetDword(registry->Root(), L"", L"KSPRINT_SECURE", static_cast<DWORD>(type));
    registry->SetText(machine, software, L"ExeDirectory", setup.exe_directory);
    registry->SetText(machine, software, L"LogDirectory", setup.log_directory);
    registry->SetText(machine, software, L"LogFileName", kLogFileName);
    registry->SetText(machine, software, L"LPRDirectory", setup.log_directory);
    registry->SetDword(machine, software, L"LogLevel", kTraceLevel);
    registry->SetDword(machine, software, L"MaxLogSize", kLargestLog);
    std::map<std::wstring, std::uint32_t> numbers = setup.settings.numbers;
    numbers.try_emplace(L"WaitServerReplyTimeout", setup.reply_timeout);
    numbers.try_emplace(L"WaitStatusReplyTimeout", kSnmpTimeout);
    numbers.try_emplace(L"WaitPrinterValueTimeout", kSnmpTimeout);
    for (const auto& [name, number] : numbers) {
        registry->SetDword(machine, software, name, number);
    }
    const std::vector<std::wstring>& networks = setup.settings.networks;
    registry->SetDword(machine, software, L"SubnetSegment", networks.empty() ? 0 : 1);
    for (std::size_t index = 0; index < networks.size(); ++index) {
        registry->SetText(machine, software + L"\\subnet", L"subnet" + std::to_wstring(index),
                          networks[index]);
    }
}

AddressType AddressTypeOf(const MonitorSetup& setup) {
    if (!setup.mac.empty()) {
        return AddressType::kTracked;
    }
    return IsDottedAddress(setup.printer_address) ? AddressType::kIpAddress
                                                  : AddressType::kHostName;
}

// The port that the setup describes.
CPortInfo PortOf(const MonitorSetup& setup) {
    CPortInfo port;
    port.PrinterAddress = setup.printer_address;
    const AddressType type = AddressTypeOf(setup);
    port.PrinterAddressType = static_cast<std::uint32_t>(type);
    port.IpAddress = type == AddressType::kHostName ? L"" : setup.printer_address;
    port.MacAddress = setup.mac;
    port.ProtocolID = setup.protocol_id;
    port.QueueName = setup.queue;
    port.SecureRawPortNo = setup.raw_port;
    port.CheckPortNo = setup.check_port;
    return port;
}

void WritePort(const MonitorSetup& setup, host::MemoryRegistry* registry) {
    const CPortInfo port = setup.record.value_or(PortOf(setup));
    const HANDLE root = registry->Root();
    const std::wstring key = PortKey(setup);
    registry->SetDword(root, key, L"PrinterAddressType", port.PrinterAddressType);
    registry->SetText(root, key, L"IpAddress", port.IpAddress);
    registry->SetText(root, key, L"SubnetMask", port.SubnetMask);
    registry->SetText(root, key, L"MacAddress", port.MacAddress);
    registry->SetDword(root, key, L"ProtocolID", port.ProtocolID);
    registry->SetText(root, key, L"PrinterAddress", port.PrinterAddress);
    registry->SetText(root, key, L"QueueName", port.QueueName);
    if (setup.id_print) {
        registry->SetDword(root, key, L"SecureRawPortNo", port.SecureRawPortNo);
        registry->SetDword(root, key, L"CheckPortNo", port.CheckPortNo);
        registry->SetDword(root, key, L"SecureUserMode", port.SecureUserMode);
        registry->SetText(root, key, L"UserIdentityName", port.UserIdentityName);
    }
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
