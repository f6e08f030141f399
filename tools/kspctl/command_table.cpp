#include <algorithm>

#include "tools/kspctl/command.h"
#include "tools/kspctl/commands.h"
#include "tools/kspctl/help.h"
#include "tools/kspctl/help_texts.h"

namespace ksp::ctl {
namespace {

constexpr Option kInstallOptions[] = {
    {L"--library", L"FILE", L"the monitor's library (default: kspmon.dll)"},
    {L"--exe-directory", L"DIR",
     L"where the discovery library KSSTRMAPIe.dll lies (default: beside kspctl.exe)"},
    {L"--no-copy", L"", L"the library lies in the system directory already"},
};
constexpr Option kUninstallOptions[] = {
    {L"--with-ports", L"", L"also when the monitor still has ports; they are lost"},
    {L"--purge", L"", L"removes the settings as well"},
};
constexpr Option kAddOptions[] = {
    {L"--address", L"ADDRESS", L"the printer: IPv4 address or host name (needed)"},
    {L"--protocol", L"NAME", L"raw (default), lpr or xlpr"},
    {L"--queue", L"NAME", L"LPR queue (default: KSPQueue)"},
    {L"--type", L"NAME", L"address, host, url or tracked (default: as the address looks)"},
    {L"--ip", L"ADDRESS", L"the printer's last known IPv4 address"},
    {L"--mask", L"MASK", L"its subnet mask"},
    {L"--mac", L"MAC", L"its MAC address, 12 hexadecimal digits"},
    {L"--raw-port", L"NUMBER", L"ID print: TCP port of raw printing (default: 59200)"},
    {L"--check-port", L"NUMBER", L"ID print: TCP port of the reachability check"},
    {L"--user-mode", L"NUMBER",
     L"ID print: 0 the user's name, 2 the user's identity name, 1 prints nothing"},
    {L"--identity", L"NAME", L"ID print: the identity name; user mode 1 needs it"},
    {L"--replace", L"", L"configures a port of this monitor that exists already"},
};
constexpr Option kPrintOptions[] = {
    {L"--patience", L"SECONDS",
     L"gives up when the printer takes nothing for so long, 1 to 3600 (default: 20)"},
    {L"--setting", L"NAME=NUMBER", L"a value in place of this computer's"},
    {L"--subnet", L"NETWORK;MASK",
     L"searched for a printer that moved, in place of this computer's networks"},
};

constexpr Command kCommands[] = {
    {L"install", L"", L"makes the monitor known to the print spooler", 0, 0, false, kInstallOptions,
     kInstallHelp, Install},
    {L"uninstall", L"", L"takes the monitor out of the print spooler", 0, 0, false,
     kUninstallOptions, kUninstallHelp, Uninstall},
    {L"list", L"", L"the monitor's ports", 0, 0, true, {}, kListHelp, List},
    {L"show", L"PORT", L"a port's record", 1, 1, true, {}, kShowHelp, Show},
    {L"add", L"PORT", L"adds a port", 1, 1, false, kAddOptions, kAddHelp, Add},
    {L"silent-add",
     L"TEXT",
     L"adds a port from a text of KEY=value pairs",
     1,
     1,
     false,
     {},
     kSilentAddHelp,
     SilentAdd},
    {L"set",
     L"PORT NAME=VALUE...",
     L"changes a port's record",
     2,
     kAnyNumber,
     false,
     {},
     kSetHelp,
     Set,
     FieldNames},
    {L"delete", L"PORT", L"deletes a port", 1, 1, false, {}, kDeleteHelp, Delete},
    {L"exists",
     L"NAME",
     L"whether any monitor has a port of that name",
     1,
     1,
     false,
     {},
     kExistsHelp,
     Exists},
    {L"type", L"", L"which kind of the monitor it is", 0, 0, true, {}, kTypeHelp, Type},
    {L"settings",
     L"[NAME | NAME=VALUE]...",
     L"shows or writes the monitor's settings",
     0,
     kAnyNumber,
     true,
     {},
     kSettingsHelp,
     ShowOrWriteSettings,
     SettingNames},
    {L"print", L"PORT FILE", L"prints a file through the port, without the spooler", 2, 2, false,
     kPrintOptions, kPrintHelp, Print, PrintSettingNames},
    {L"test",
     L"PORT",
     L"tells what is wrong with a port; prints nothing",
     1,
     1,
     true,
     {},
     kTestHelp,
     Test},
};

}  // namespace

std::span<const Command> Commands() {
    return kCommands;
}

const Command* FindCommand(std::wstring_view name) {
    const auto found = std::find_if(std::begin(kCommands), std::end(kCommands),
                                    [&](const Command& command) { return command.name == name; });
    return found == std::end(kCommands) ? nullptr : found;
}

}  // namespace ksp::ctl
