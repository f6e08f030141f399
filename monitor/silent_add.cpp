#include "monitor/silent_add.h"

#include <optional>

#include "discovery/oryx_wrapper.h"
#include "monitor/silent_text.h"
#include "ports/printer_address.h"
#include "support/log.h"

namespace ksp {

namespace {

constexpr wchar_t kQueue[] = L"KSPQueue";

// What the printer at the address says of itself.
std::optional<CDeviceRecord> AskPrinter(const std::wstring& address) {
    CKspOryxWrapper wrapper;
    if (!wrapper.StartUp()) {
        Log(LogLevel::kError, L"SilentAddPort: Failed Initialized Oryx.");
        return std::nullopt;
    }
    CDeviceRecord device;
    if (!wrapper.ReadDeviceIdentity(address, device)) {
        Log(LogLevel::kError, L"SilentAddPort: Probe IP is FALSE!");
        return std::nullopt;
    }
    return device;
}

std::wstring ModelName(const std::wstring& text, const std::optional<CDeviceRecord>& device) {
    std::wstring model = SilentValue(text, L"MN");
    if (!model.empty()) {
        return model;
    }
    if (device) {
        return device->DeviceName;
    }
    Log(LogLevel::kInfo, L"SilentAddPort: error obtaining printer model name");
    return std::wstring();
}

// The addresses. True for a printer that is known by its DHCP host name and tracked.
bool StoreAddresses(const std::wstring& text, CPortInfo& info) {
    const std::wstring dhcpName = SilentValue(text, L"DP");
    if (dhcpName.empty()) {
        Log(LogLevel::kTrace, L"SilentAddPort: not dhcp port name");
    } else {
        info.IpAddress = info.PrinterAddress;
        info.PrinterAddress = dhcpName;
        info.PrinterAddressType = static_cast<std::uint32_t>(AddressType::kTracked);
    }
    info.SubnetMask = SilentValue(text, L"SN");
    if (info.SubnetMask.empty()) {
        Log(LogLevel::kTrace, L"SilentAddPort: not  subnetmask name");
    }
    if (std::wstring macAddress = SilentValue(text, L"MA"); macAddress.empty()) {
        Log(LogLevel::kTrace, L"SilentAddPort: not  macaddr name");
    } else {
        info.MacAddress = std::move(macAddress);
    }
    return !dhcpName.empty();
}

[[nodiscard]] bool StoreProtocol(const std::wstring& protocol, MonitorType type, CPortInfo& info) {
    if (protocol == L"RAW") {
        info.ProtocolID = static_cast<std::uint32_t>(ProtocolId::kRaw);
        // The reverse of what adding the port then stores; kept, since installers see the same port
        // either way.
        info.PortNumber = type == MonitorType::kIdPrint ? kRawPort : kSecureRawPort;
        return true;
    }
    if (protocol == L"LPR" || protocol == L"XLPR") {
        info.ProtocolID =
            static_cast<std::uint32_t>(protocol == L"LPR" ? ProtocolId::kLpr : ProtocolId::kXlpr);
        info.QueueName = kQueue;
        info.PortNumber = kLprPort;
        return true;
    }
    return false;
}

DWORD Add(CPortManager& manager, const CPortInfo& info) {
    const bool added = manager.AddPort(info);
    const DWORD code = ::GetLastError();
    if (!added) {
        Log(LogLevel::kTrace, L"Failed AddPortToList : %s", info.PortName.c_str());
    } else if (CPortManager::PortExistsInSystem(info.PortName.c_str()) == ERROR_SUCCESS) {
        Log(LogLevel::kTrace, L"EnumPorts has been called");
    }
    return code;
}

}  // namespace

DWORD SilentAddPort(CPortManager& manager, const std::wstring& text) {
    CPortInfo info;
    info.PrinterAddress = SilentValue(text, L"AR");
    if (info.PrinterAddress.empty()) {
        Log(LogLevel::kError, L"SilentAddPort: error parsing printer address");
        return ERROR_INVALID_PARAMETER;
    }
    const auto device = AskPrinter(info.PrinterAddress);
    if (device) {
        info.MacAddress = device->MacAddress;
    }
    const std::wstring model = ModelName(text, device);
    const bool tracked = StoreAddresses(text, info);
    const std::wstring ipAddress = SilentValue(text, L"XX");
    if (!StoreProtocol(SilentValue(text, L"PR"), manager.Type(), info)) {
        Log(LogLevel::kError, L"SilentAddPort: error parsing protocol id");
        return ERROR_INVALID_PARAMETER;
    }
    if (!tracked) {
        info.PrinterAddressType = GetPrinterAddressType(info.PrinterAddress);
        info.IpAddress = ipAddress;
    }
    info.PortName = info.PrinterAddress + L":" + model;
    if (std::wstring name = SilentValue(text, L"PN"); !name.empty()) {
        info.PortName = std::move(name);
    }
    return Add(manager, info);
}

}  // namespace ksp
