#include <vector>

#include "tools/kspctl/commands.h"
#include "tools/kspctl/library_file.h"
#include "tools/kspctl/port_fields.h"
#include "tools/kspctl/print_host.h"
#include "tools/kspctl/session.h"
#include "tools/kspctl/settings_table.h"
#include "tools/print/options.h"
#include "tools/print/program_directory.h"

namespace ksp::ctl {
namespace {

// Where the discovery library lies on this computer; beside this program when no monitor is installed
// here, as it is where `install` puts it.
std::wstring ExeDirectory(MonitorType type) {
    MachineRegistry registry;
    CRegistryKey key;
    std::optional<std::wstring> directory;
    if (registry.Open(SoftwareKeyPath(type), KEY_READ, &key) == ERROR_SUCCESS) {
        directory = ReadSetting(*FindSetting(L"ExeDirectory"), registry, key);
    }
    return directory.value_or(print::ProgramDirectory());
}

}  // namespace

Problem Print(const Request& request, Output& output) {
    const std::wstring& port = request.arguments[0];
    const std::wstring& file = request.arguments[1];
    if (!FileExists(file)) {
        return WrongUsage(L"there is no file " + Quoted(file));
    }
    CPortInfo info;
    MonitorType type = MonitorType::kNone;
    if (Problem problem = ReadPort(request, port, &info, &type); problem) {
        return problem;
    }
    std::vector<std::wstring> arguments;
    if (type == MonitorType::kIdPrint) {
        arguments.emplace_back(L"--id-print");
    }
    arguments.insert(arguments.end(), {L"--exe-directory", ExeDirectory(type)});
    if (const auto patience = request.Value(L"--patience"); patience) {
        std::uint32_t seconds = 0;
        if (ParseNumber(L"--patience", *patience, &seconds) || seconds < 1 ||
            seconds > print::kLongestPatience) {
            return WrongUsage(L"--patience is a number of seconds from 1 to " +
                              std::to_wstring(print::kLongestPatience) + L", not " +
                              Quoted(*patience));
        }
        arguments.insert(arguments.end(), {L"--patience", *patience});
    }
    arguments.insert(arguments.end(), {L"--", file});
    if (Problem problem = RunPrintHost(info, arguments); problem) {
        return problem;
    }
    output.Line(L"printed " + Quoted(file) + L" through the port " + Quoted(port));
    return std::nullopt;
}

}  // namespace ksp::ctl
