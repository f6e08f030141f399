#include <algorithm>
#include <filesystem>
#include <fstream>
#include <memory>

#include "ports/port_record_forms.h"
#include "tools/print/options.h"

namespace ksp::print {

std::wstring UseRecord(Options* options) {
    if (options->record_file.empty()) {
        return L"";
    }
    const auto record = std::make_unique<XcvPortInfo>();
    std::ifstream file(std::filesystem::path(options->record_file), std::ios::binary);
    if (!file.read(reinterpret_cast<char*>(record.get()), sizeof(*record))) {
        return L"cannot read the record in " + options->record_file;
    }
    CPortInfo port;
    ReadRecord(*record, port);
    const auto protocols = Protocols();
    const auto protocol =
        std::find_if(protocols.begin(), protocols.end(),
                     [&](const Protocol& entry) { return entry.id == port.ProtocolID; });
    if (protocol == protocols.end()) {
        return L"the port's protocol " + std::to_wstring(port.ProtocolID) + L" cannot print";
    }
    if (port.PortName.empty() || port.PrinterAddress.empty()) {
        return L"the record has no port name or no printer address";
    }
    options->protocol = &*protocol;
    options->printer = port.PrinterAddress;
    options->port = std::move(port);
    return L"";
}

}  // namespace ksp::print
