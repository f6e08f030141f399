#include "support/text.h"
#include "tools/kspctl/commands.h"
#include "tools/kspctl/session.h"

namespace ksp::ctl {

Problem SilentAdd(const Request& request, Output& output) {
    const std::wstring& text = request.arguments.front();
    const std::string bytes = ToAnsi(text);
    if (FromAnsi(bytes) != text) {
        return WrongUsage(L"the text has a character that the system's ANSI code page lacks");
    }
    XcvHandle monitor;
    if (Problem problem = OpenMonitor(request, Access::kChange, &monitor); problem) {
        return problem;
    }
    const DWORD code = SendSilentAdd(monitor, bytes);
    switch (code) {
        case ERROR_SUCCESS:
            output.Line(L"added a port");
            return std::nullopt;
        case ERROR_ALREADY_EXISTS:
            return Failure{ExitCode::kExists,
                           L"there is a port of that name already; if it is one of this monitor, "
                           L"it has been configured anew",
                           L"look at it with: kspctl list"};
        case ERROR_INVALID_PARAMETER:
            return WrongUsage(L"the text needs AR=address and PR=RAW, PR=LPR or PR=XLPR");
        default:
            break;
    }
    Failure failure = SystemFailure(L"the monitor does not add the port", code);
    if (failure.advice.empty()) {
        failure.advice = L"the monitor's log tells why; see: kspctl help settings";
    }
    return failure;
}

}  // namespace ksp::ctl
