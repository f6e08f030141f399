#include <vector>

#include "tools/kspctl/commands.h"
#include "tools/kspctl/json.h"
#include "tools/kspctl/session.h"
#include "tools/kspctl/settings_table.h"
#include "tools/print/console.h"

namespace ksp::ctl {
namespace {

constexpr wchar_t kDefault[] = L"default";

struct Wanted {
    const Setting* setting;
    std::optional<std::wstring> value;  // none: show it
};

Problem ParseWanted(const std::wstring& text, Wanted* wanted) {
    const auto equals = text.find(L'=');
    const std::wstring name = text.substr(0, equals);
    wanted->setting = FindSetting(name);
    if (wanted->setting == nullptr) {
        return WrongUsage(L"there is no setting " + Quoted(name) +
                          L"; kspctl settings shows them all");
    }
    if (equals == std::wstring::npos) {
        return std::nullopt;
    }
    wanted->value = text.substr(equals + 1);
    // The default of a setting that only the monitor writes is not for us either.
    const bool removes = *wanted->value == kDefault && wanted->setting->writable;
    return removes ? Problem() : CheckSetting(*wanted->setting, *wanted->value);
}

// Whose settings are meant. The registry knows it of a monitor that does not run, too. Without a name
// settings can be written before the monitor is installed.
Problem FindType(const Request& request, MachineRegistry& registry, MonitorType* type) {
    *type = request.id_print ? MonitorType::kIdPrint : MonitorType::kOrdinary;
    if (request.id_print && request.monitor.empty()) {
        return std::nullopt;
    }
    for (const std::wstring& name : MonitorsToTry(request)) {
        if (const auto installed = registry.InstalledType(name); installed) {
            *type = *installed;
            return std::nullopt;
        }
    }
    XcvHandle monitor;
    if (Problem problem = OpenMonitor(request, Access::kRead, &monitor); problem) {
        return request.monitor.empty() ? std::nullopt : problem;
    }
    const DWORD code = AskMonitorType(monitor, type);
    return code == ERROR_SUCCESS ? Problem()
                                 : SystemFailure(L"the monitor does not tell what it is", code);
}

Problem Write(const std::vector<Wanted>& all, const CRegistryKey& key, Output& output) {
    for (const Wanted& wanted : all) {
        const std::wstring name(wanted.setting->name);
        const bool removes = *wanted.value == kDefault;
        const LONG code = removes ? RemoveSetting(*wanted.setting, key)
                                  : WriteSetting(*wanted.setting, key, *wanted.value);
        if (code != ERROR_SUCCESS) {
            return SystemFailure(L"cannot write " + name, static_cast<DWORD>(code));
        }
        output.Line(name + (removes ? L" is back to its default" : L" = " + *wanted.value));
    }
    return std::nullopt;
}

// A key that is not there has no values.
std::optional<std::wstring> Read(const Setting& setting, MachineRegistry& registry,
                                 const CRegistryKey& key) {
    return key.IsOpen() ? ReadSetting(setting, registry, key) : std::nullopt;
}

void ShowJson(const std::vector<Wanted>& all, MachineRegistry& registry, const CRegistryKey& key,
              Output& output) {
    JsonWriter json;
    json.BeginObject();
    for (const Wanted& wanted : all) {
        const auto value = Read(*wanted.setting, registry, key);
        json.Name(wanted.setting->name);
        if (!value) {
            json.Null();
        } else if (wanted.setting->kind == SettingKind::kText) {
            json.Text(*value);
        } else {
            json.Number(std::stoul(*value));
        }
    }
    json.EndObject();
    output.Line(json.text());
}

void ShowTable(const std::vector<Wanted>& all, MachineRegistry& registry, const CRegistryKey& key,
               Output& output) {
    constexpr std::size_t kNameWidth = 25;
    for (const Wanted& wanted : all) {
        const Setting& setting = *wanted.setting;
        const auto value = Read(setting, registry, key);
        std::wstring line = print::PadRight(setting.name, kNameWidth) +
                            value.value_or(std::wstring(setting.otherwise));
        if (!setting.unit.empty()) {
            line += L" " + std::wstring(setting.unit);
        }
        output.Line(line + (value ? L"" : L"  (default)"));
    }
}

}  // namespace

Problem ShowOrWriteSettings(const Request& request, Output& output) {
    std::vector<Wanted> all;
    std::size_t writes = 0;
    for (const std::wstring& argument : request.arguments) {
        if (Problem problem = ParseWanted(argument, &all.emplace_back()); problem) {
            return problem;
        }
        writes += all.back().value ? std::size_t{1} : 0;
    }
    if (writes > 0 && (writes < all.size() || request.json)) {
        return WrongUsage(
            L"settings are shown or written, not both at once: leave out NAME and --json, or =VALUE");
    }
    if (all.empty()) {
        for (const Setting& setting : Settings()) {
            all.push_back({&setting, std::nullopt});
        }
    }
    MachineRegistry registry;
    LONG code = registry.Connect(Spooler(request.server).unc_name());
    if (code != ERROR_SUCCESS) {
        return SystemFailure(L"cannot reach the registry", static_cast<DWORD>(code));
    }
    MonitorType type = MonitorType::kNone;
    if (Problem problem = FindType(request, registry, &type); problem) {
        return problem;
    }
    CRegistryKey key;
    const std::wstring path = SoftwareKeyPath(type);
    if (writes > 0) {
        code = registry.Create(path, &key);
        return code == ERROR_SUCCESS
                   ? Write(all, key, output)
                   : SystemFailure(L"cannot open the settings", static_cast<DWORD>(code));
    }
    code = registry.Open(path, KEY_READ, &key);
    if (code != ERROR_SUCCESS && code != ERROR_FILE_NOT_FOUND) {
        return SystemFailure(L"cannot open the settings", static_cast<DWORD>(code));
    }
    (request.json ? ShowJson : ShowTable)(all, registry, key, output);
    return std::nullopt;
}

}  // namespace ksp::ctl
