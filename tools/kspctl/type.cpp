#include "tools/kspctl/commands.h"
#include "tools/kspctl/json.h"
#include "tools/kspctl/monitor_names.h"
#include "tools/kspctl/session.h"

namespace ksp::ctl {

Problem Type(const Request& request, Output& output) {
    XcvHandle monitor;
    std::wstring name;
    if (Problem problem = OpenMonitor(request, Access::kRead, &monitor, &name); problem) {
        return problem;
    }
    MonitorType type = MonitorType::kNone;
    if (const DWORD code = AskMonitorType(monitor, &type); code != ERROR_SUCCESS) {
        return SystemFailure(L"the monitor does not tell what it is", code);
    }
    const auto number = static_cast<std::uint32_t>(type);
    if (request.json) {
        JsonWriter json;
        json.BeginObject();
        json.TextMember(L"monitor", name);
        json.NumberMember(L"type", number);
        json.TextMember(L"kind", MonitorTypeWord(type));
        json.EndObject();
        output.Line(json.text());
    } else {
        output.Line(std::to_wstring(number) + L" (" + std::wstring(MonitorTypeWord(type)) + L"): " +
                    name);
    }
    return std::nullopt;
}

}  // namespace ksp::ctl
