#include "tests/faults/port_user.h"

#include <cstring>

#include "ports/xcv_port_info.h"

namespace ksp::test {
namespace {

std::vector<BYTE> BytesOf(const std::wstring& text) {
    std::vector<BYTE> bytes((text.size() + 1) * sizeof(wchar_t));
    std::memcpy(bytes.data(), text.c_str(), bytes.size());
    return bytes;
}

}  // namespace

PortUser::PortUser(FaultWorld& world, const host::MonitorLibrary& library)
    : world_(world), table_(*library.table()), monitor_(library.monitor()) {}

DWORD PortUser::Xcv(const wchar_t* command, std::vector<BYTE>& input, std::vector<BYTE>& output) {
    HANDLE xcv = nullptr;
    if (!table_.pfnXcvOpenPort(monitor_, L"", SERVER_ACCESS_ADMINISTER, &xcv)) {
        return ERROR_OPEN_FAILED;
    }
    DWORD needed = 0;
    const DWORD code =
        table_.pfnXcvDataPort(xcv, command, input.data(), static_cast<DWORD>(input.size()),
                              output.data(), static_cast<DWORD>(output.size()), &needed);
    return table_.pfnXcvClosePort(xcv) ? code : static_cast<DWORD>(ERROR_INVALID_HANDLE);
}

DWORD PortUser::XcvText(const wchar_t* command, const std::wstring& text) {
    std::vector<BYTE> input = BytesOf(text);
    std::vector<BYTE> output(sizeof(DWORD));
    return Xcv(command, input, output);
}

DWORD PortUser::DeletePort(const std::wstring& name) {
    return XcvText(L"DeletePort", name);
}

DWORD PortUser::AddPort(const std::wstring& name, DWORD address_type) {
    const Printers& printers = world_.printers();
    return XcvText(L"AddPort", name + L"," + std::to_wstring(world_.protocol()) + L"," +
                                   Wide(printers.second()) + L"," + name + L"," +
                                   Wide(printers.first()) + L",NONE," + FaultWorld::kMac + L"," +
                                   std::to_wstring(address_type) + L",2," +
                                   std::to_wstring(Printers::kRawPort) + L"," +
                                   std::to_wstring(Printers::kCheckPort) + L",");
}

DWORD PortUser::SilentAdd() {
    constexpr const char* kProtocols[] = {"LPR", "XLPR", "RAW"};
    const Printers& printers = world_.printers();
    const std::string text =
        "AR=" + (world_.transport() == Transport::kLpr ? printers.refusing() : printers.first()) +
        ":PR=" + kProtocols[world_.protocol()] + ":PN=Silent";
    std::vector<BYTE> input(text.begin(), text.end());
    input.push_back(0);
    std::vector<BYTE> output(sizeof(DWORD));
    return Xcv(L"SilentAddPort", input, output);
}

DWORD PortUser::Configure() {
    std::vector<BYTE> name = BytesOf(FaultWorld::kTrackedPort);
    std::vector<BYTE> record(sizeof(XcvPortInfo));
    if (const DWORD code = Xcv(L"GetPortConfig", name, record); code != ERROR_SUCCESS) {
        return code;
    }
    // A value that cannot be read is 0 or empty; a user sees that, and asks again.
    if (!IsAsAdded(record)) {
        return ERROR_INVALID_DATA;
    }
    std::vector<BYTE> nothing(sizeof(DWORD));
    return Xcv(L"ConfigurePort", record, nothing);
}

bool PortUser::IsAsAdded(const std::vector<BYTE>& bytes) const {
    XcvPortInfo record;
    std::memcpy(&record, bytes.data(), sizeof(record));
    const auto text_of = [](const XcvPortInfo::Text& text) {
        const std::u16string units = text;
        return std::wstring(units.begin(), units.end());
    };
    const Printers& printers = world_.printers();
    const bool id_print = world_.transport() == Transport::kIdPrint;
    const std::wstring queue = id_print || world_.protocol() == 2 ? L"" : L"KSPQueue";
    return text_of(record.QueueName) == queue && record.ProtocolID == world_.protocol() &&
           record.PrinterAddressType == 4 &&
           text_of(record.PrinterAddress) == Wide(printers.second()) &&
           text_of(record.IpAddress) == Wide(printers.first()) &&
           text_of(record.MacAddress) == FaultWorld::kMac &&
           (!id_print || (record.SecureRawPortNo == Printers::kRawPort &&
                          record.CheckPortNo == Printers::kCheckPort));
}

bool PortUser::Enumerate(std::set<std::wstring>* names) {
    DWORD needed = 0;
    DWORD count = 0;
    if (table_.pfnEnumPorts(monitor_, nullptr, 2, nullptr, 0, &needed, &count)) {
        names->clear();
        return true;
    }
    if (GetLastError() != ERROR_INSUFFICIENT_BUFFER) {
        return false;
    }
    std::vector<BYTE> buffer(needed);
    if (!table_.pfnEnumPorts(monitor_, nullptr, 2, buffer.data(), needed, &needed, &count)) {
        return false;
    }
    names->clear();
    const auto* ports = reinterpret_cast<const PORT_INFO_2W*>(buffer.data());
    for (DWORD index = 0; index < count; ++index) {
        names->insert(ports[index].pPortName);
    }
    return true;
}

bool PortUser::AskAround() {
    std::set<std::wstring> names;
    std::vector<BYTE> none(sizeof(DWORD));
    std::vector<BYTE> library(64);
    return Enumerate(&names) && Xcv(L"MonitorUI", none, library) == ERROR_SUCCESS &&
           Xcv(L"GetMonitorType", none, none) == ERROR_SUCCESS &&
           XcvText(L"IsKspPort", FaultWorld::kTrackedPort) == ERROR_SUCCESS &&
           XcvText(L"PortExists", L"LPT1:") == ERROR_SUCCESS;
}

}  // namespace ksp::test
