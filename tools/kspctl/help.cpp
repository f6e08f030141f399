#include "tools/kspctl/help.h"

#include "tools/kspctl/port_fields.h"
#include "tools/kspctl/settings_table.h"
#include "tools/print/console.h"
#include "tools/print/job_settings.h"

namespace ksp::ctl {
namespace {

constexpr std::size_t kCommandColumn = 12;
constexpr std::size_t kOptionColumn = 26;

constexpr Option kCommonOptions[] = {
    {L"--server", L"NAME", L"the spooler of another computer"},
    {L"--id-print", L"", L"the ID-print monitor (default: the ordinary one, if installed)"},
    {L"--monitor", L"NAME", L"a monitor that was installed under another name"},
};
constexpr Option kJsonOption = {L"--json", L"", L"JSON, on one line"};

std::wstring OptionLine(const Option& option) {
    std::wstring name(option.name);
    if (!option.value.empty()) {
        name += L" " + std::wstring(option.value);
    }
    return L"  " + print::PadRight(name, kOptionColumn) + std::wstring(option.meaning) + L"\n";
}

}  // namespace

std::wstring ProgramHelp() {
    std::wstring text =
        L"kspctl COMMAND [ARGUMENT]... [OPTION]...\n"
        L"\n"
        L"Administers the Kestrel print port monitor.\n"
        L"\n";
    for (const Command& command : Commands()) {
        text += L"  " + print::PadRight(command.name, kCommandColumn) +
                std::wstring(command.summary) + L"\n";
    }
    text += L"  " + print::PadRight(L"help", kCommandColumn) +
            L"this text, or with a command all about it\n\nOptions of every command:\n";
    for (const Option& option : kCommonOptions) {
        text += OptionLine(option);
    }
    return text + L"\nExit codes:\n" + ExitCodeTable();
}

std::wstring CommandHelp(const Command& command) {
    std::wstring text = L"kspctl " + std::wstring(command.name);
    if (!command.arguments.empty()) {
        text += L" " + std::wstring(command.arguments);
    }
    text += L" [OPTION]...\n\n" + std::wstring(command.help) + L"\n";
    if (command.names != nullptr) {
        text += command.names() + L"\n";
    }
    for (const Option& option : command.options) {
        text += OptionLine(option);
    }
    if (command.lists) {
        text += OptionLine(kJsonOption);
    }
    for (const Option& option : kCommonOptions) {
        text += OptionLine(option);
    }
    return text;
}

std::wstring FieldNames() {
    std::wstring text;
    for (const PortField& field : PortFields()) {
        if (field.change != FieldChange::kFixed) {
            text += OptionLine({field.name, L"", field.meaning});
        }
    }
    return text;
}

std::wstring SettingNames() {
    std::wstring text;
    for (const Setting& setting : Settings()) {
        text += OptionLine({setting.name, L"", setting.meaning});
    }
    return text;
}

std::wstring PrintSettingNames() {
    std::wstring text;
    for (const std::wstring_view name : print::JobSettingNames()) {
        text += OptionLine({name, L"", FindSetting(name)->meaning});
    }
    return text;
}

}  // namespace ksp::ctl
