#include "tools/kspctl/commands.h"
#include "tools/kspctl/json.h"
#include "tools/kspctl/port_fields.h"
#include "tools/kspctl/session.h"
#include "tools/print/console.h"

namespace ksp::ctl {

Problem Show(const Request& request, Output& output) {
    constexpr std::size_t kNameWidth = 20;
    const std::wstring& port = request.arguments.front();
    XcvHandle monitor;
    if (Problem problem = OpenPort(request, port, Access::kRead, &monitor); problem) {
        return problem;
    }
    CPortInfo info;
    if (Problem problem = ReadRecord(monitor, port, &info); problem) {
        return problem;
    }
    if (request.json) {
        JsonWriter json;
        json.BeginObject();
        WriteFields(info, &json);
        json.EndObject();
        output.Line(json.text());
        return std::nullopt;
    }
    for (const PortField& field : PortFields()) {
        const std::wstring value = ShownValue(field, info);
        output.Line(value.empty() ? std::wstring(field.name)
                                  : print::PadRight(field.name, kNameWidth) + value);
    }
    return std::nullopt;
}

}  // namespace ksp::ctl
