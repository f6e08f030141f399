#include "tools/kspctl/commands.h"
namespace ksp::ctl {
Problem Print(const Request&, Output&) {
    return WrongUsage(L"not yet");
}
}  // namespace ksp::ctl
