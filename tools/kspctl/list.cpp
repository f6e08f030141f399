#include <algorithm>

#include "tools/kspctl/commands.h"
#include "tools/kspctl/json.h"
#include "tools/kspctl/our_ports.h"
#include "tools/kspctl/port_fields.h"
#include "tools/print/console.h"

namespace ksp::ctl {
namespace {

struct ListedPort {
    std::wstring name;
    bool known = false;  // the monitor gave its record
    CPortInfo info;
};

std::vector<ListedPort> ReadPorts(const XcvHandle& monitor,
                                  const std::vector<std::wstring>& names) {
    std::vector<ListedPort> ports;
    for (const std::wstring& name : names) {
        ListedPort& port = ports.emplace_back();
        port.name = name;
        port.known = !ReadRecord(monitor, name, &port.info);
    }
    return ports;
}

void WriteJson(const std::vector<ListedPort>& ports, Output& output) {
    JsonWriter json;
    json.BeginArray();
    for (const ListedPort& port : ports) {
        json.BeginObject();
        if (port.known) {
            WriteFields(port.info, &json);
        } else {
            json.TextMember(L"PortName", port.name);
        }
        json.EndObject();
    }
    json.EndArray();
    output.Line(json.text());
}

void WriteTable(const std::vector<ListedPort>& ports, Output& output) {
    constexpr std::size_t kGap = 2;
    constexpr std::size_t kProtocolWidth = 6;
    std::size_t widest = 0;
    for (const ListedPort& port : ports) {
        widest = std::max(widest, port.name.size());
    }
    for (const ListedPort& port : ports) {
        std::wstring line = print::PadRight(port.name, widest + kGap);
        line += port.known ? print::PadRight(ProtocolWord(port.info.ProtocolID), kProtocolWidth) +
                                 port.info.PrinterAddress + L" port " +
                                 std::to_wstring(port.info.PortNumber)
                           : std::wstring(L"(the monitor does not give its record)");
        output.Line(line);
    }
}

}  // namespace

Problem List(const Request& request, Output& output) {
    XcvHandle monitor;
    if (Problem problem = OpenMonitor(request, Access::kRead, &monitor); problem) {
        return problem;
    }
    std::vector<std::wstring> names;
    if (Problem problem = ListOurPorts(request, monitor, &names); problem) {
        return problem;
    }
    const std::vector<ListedPort> ports = ReadPorts(monitor, names);
    (request.json ? WriteJson : WriteTable)(ports, output);
    return std::nullopt;
}

}  // namespace ksp::ctl
