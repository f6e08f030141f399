#include "tools/kspctl/our_ports.h"

namespace ksp::ctl {

Problem ListOurPorts(const Request& request, const XcvHandle& monitor,
                     std::vector<std::wstring>* names) {
    std::vector<std::wstring> all;
    DWORD error = Spooler(request.server).ListPorts(&all);
    if (error != ERROR_SUCCESS) {
        return SystemFailure(L"the spooler does not list its ports", error);
    }
    for (std::wstring& name : all) {
        bool ours = false;
        error = AskIsOurPort(monitor, name, &ours);
        if (error != ERROR_SUCCESS) {
            return SystemFailure(L"the monitor does not tell which ports are its own", error);
        }
        if (ours) {
            names->push_back(std::move(name));
        }
    }
    return std::nullopt;
}

}  // namespace ksp::ctl
