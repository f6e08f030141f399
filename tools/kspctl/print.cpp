#include <vector>

#include "ports/registry_store.h"
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

// What the command line says of how the monitor is to print.
struct Wishes {
    std::optional<std::wstring> patience;
    print::JobSettings settings;
};

Problem TakePatience(const Request& request, Wishes* wishes) {
    wishes->patience = request.Value(L"--patience");
    std::uint32_t seconds = 0;
    if (wishes->patience && (ParseNumber(L"--patience", *wishes->patience, &seconds) ||
                             seconds < 1 || seconds > print::kLongestPatience)) {
        return WrongUsage(L"--patience is a number of seconds from 1 to " +
                          std::to_wstring(print::kLongestPatience) + L", not " +
                          Quoted(*wishes->patience));
    }
    return std::nullopt;
}

Problem TakeSettings(const Request& request, Wishes* wishes) {
    for (const std::wstring& text : request.Values(L"--setting")) {
        if (std::wstring wrong = print::TakeSetting(text, &wishes->settings); !wrong.empty()) {
            return WrongUsage(std::move(wrong));
        }
        const auto equals = text.find(L'=');
        if (Problem problem =
                CheckSetting(*FindSetting(text.substr(0, equals)), text.substr(equals + 1));
            problem) {
            return problem;
        }
    }
    for (const std::wstring& text : request.Values(L"--subnet")) {
        if (std::wstring wrong = print::TakeNetwork(text, &wishes->settings); !wrong.empty()) {
            return WrongUsage(std::move(wrong));
        }
    }
    return std::nullopt;
}

// What the monitor on this computer prints with.
struct MonitorOfThisComputer {
    // Of the discovery library; beside this program when no monitor is installed here, as it is
    // where `install` puts it.
    std::wstring exe_directory;
    print::JobSettings settings;
};

MonitorOfThisComputer ReadMonitor(MonitorType type) {
    MonitorOfThisComputer monitor;
    CRegistryStore& store = RegistryStore();
    // Opening it through the store would make it.
    CRegistryKey key;
    if (MachineRegistry registry;
        registry.Open(SoftwareKeyPath(type), KEY_READ, &key) == ERROR_SUCCESS) {
        store.OpenSoftwareKey(type);
    }
    monitor.exe_directory = store.GetExeDirectory();
    if (monitor.exe_directory.empty()) {
        monitor.exe_directory = print::ProgramDirectory();
    }
    for (const std::wstring_view view : print::JobSettingNames()) {
        const std::wstring name(view);
        monitor.settings.numbers[name] = store.ReadSetting(name.c_str()).value_or(0);
    }
    if (store.ReadSetting(L"SubnetSegment").value_or(0) != 0) {
        std::vector<CSubnet> networks;
        store.LoadSubnetList(networks);
        for (const CSubnet& network : networks) {
            // What is no network is searched by nobody.
            static_cast<void>(
                print::TakeNetwork(network.Address + L";" + network.Mask, &monitor.settings));
        }
    }
    store.CloseStore();
    return monitor;
}

// The wishes go before what this computer's monitor has.
std::vector<std::wstring> HostArguments(const Wishes& wishes, MonitorType type) {
    const auto [exe_directory, settings] = ReadMonitor(type);
    std::vector<std::wstring> arguments;
    if (type == MonitorType::kIdPrint) {
        arguments.emplace_back(L"--id-print");
    }
    arguments.insert(arguments.end(), {L"--exe-directory", exe_directory});
    if (wishes.patience) {
        arguments.insert(arguments.end(), {L"--patience", *wishes.patience});
    }
    auto numbers = wishes.settings.numbers;
    numbers.insert(settings.numbers.begin(), settings.numbers.end());
    for (const auto& [name, number] : numbers) {
        arguments.insert(arguments.end(), {L"--setting", name + L"=" + std::to_wstring(number)});
    }
    for (const std::wstring& network :
         wishes.settings.networks.empty() ? settings.networks : wishes.settings.networks) {
        arguments.insert(arguments.end(), {L"--subnet", network});
    }
    return arguments;
}

}  // namespace

Problem Print(const Request& request, Output& output) {
    const std::wstring& port = request.arguments[0];
    const std::wstring& file = request.arguments[1];
    if (!FileExists(file)) {
        return WrongUsage(L"there is no file " + Quoted(file));
    }
    Wishes wishes;
    if (Problem problem = TakePatience(request, &wishes); problem) {
        return problem;
    }
    if (Problem problem = TakeSettings(request, &wishes); problem) {
        return problem;
    }
    CPortInfo info;
    MonitorType type = MonitorType::kNone;
    if (Problem problem = ReadPort(request, port, &info, &type); problem) {
        return problem;
    }
    std::vector<std::wstring> arguments = HostArguments(wishes, type);
    arguments.insert(arguments.end(), {L"--", file});
    if (Problem problem = RunPrintHost(info, arguments); problem) {
        return problem;
    }
    output.Line(L"printed " + Quoted(file) + L" through the port " + Quoted(port));
    return std::nullopt;
}

}  // namespace ksp::ctl
