#include "tools/kspctl/commands.h"
#include "tools/kspctl/session.h"

namespace ksp::ctl {

Problem Delete(const Request& request, Output& output) {
    const std::wstring& port = request.arguments.front();
    XcvHandle monitor;
    if (Problem problem = OpenPort(request, port, Access::kChange, &monitor); problem) {
        return problem;
    }
    const DWORD code = SendDeletePort(monitor, port);
    if (code == ERROR_NOT_READY) {
        return Failure{ExitCode::kInUse, L"the monitor does not delete the port " + Quoted(port),
                       L"give the printers that use it another port; the monitor's log tells if "
                       L"it is something else"};
    }
    if (code != ERROR_SUCCESS) {
        return SystemFailure(L"the monitor does not delete the port " + Quoted(port), code);
    }
    output.Line(L"deleted the port " + Quoted(port));
    return std::nullopt;
}

}  // namespace ksp::ctl
