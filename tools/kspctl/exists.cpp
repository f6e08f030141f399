#include "tools/kspctl/commands.h"
#include "tools/kspctl/session.h"

namespace ksp::ctl {

Problem Exists(const Request& request, Output& output) {
    const std::wstring& port = request.arguments.front();
    XcvHandle monitor;
    if (Problem problem = OpenMonitor(request, Access::kRead, &monitor); problem) {
        return problem;
    }
    const DWORD code = AskPortExists(monitor, port);
    // 13 is an empty name, and what a monitor says on a computer without any port.
    if (code == ERROR_UNKNOWN_PORT || code == ERROR_INVALID_DATA) {
        return NoSuchPort(port);
    }
    if (code != ERROR_SUCCESS) {
        return SystemFailure(L"the monitor does not tell whether the port exists", code);
    }
    bool ours = false;
    if (Problem problem = AskOwner(monitor, port, &ours); problem) {
        return problem;
    }
    output.Line(Quoted(port) +
                (ours ? L" is a port of this monitor" : L" is a port of another monitor"));
    return std::nullopt;
}

}  // namespace ksp::ctl
