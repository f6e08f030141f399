#include "tools/kspctl/commands.h"
namespace ksp::ctl {
Problem Test(const Request&, Output&) {
    return WrongUsage(L"not yet");
}
}  // namespace ksp::ctl
