#include "tools/print/options.h"

#include <algorithm>

#include "tools/print/printer_address.h"

namespace ksp::print {
namespace {

constexpr size_t kPatienceDigits = 4;
constexpr size_t kMeaningColumn = 22;  // of the usage

std::wstring ProtocolNames() {
    std::wstring names;
    for (const Protocol& protocol : Protocols()) {
        names += (names.empty() ? L"" : L", ") + std::wstring(protocol.name);
    }
    return names;
}

std::wstring SettingLines() {
    std::wstring lines;
    for (const std::wstring_view name : JobSettingNames()) {
        lines += std::wstring(kMeaningColumn, L' ') + std::wstring(name) + L"\n";
    }
    return lines;
}

std::wstring TakeProtocol(const std::wstring& value, Options* options) {
    options->protocol = FindProtocol(value);
    if (options->protocol == nullptr) {
        return L"the protocol \"" + value + L"\" is not known; known: " + ProtocolNames();
    }
    return L"";
}

std::wstring TakePrinter(const std::wstring& value, Options* options) {
    options->printer = value;
    return CheckPrinterAddress(value);
}

std::wstring TakePatience(const std::wstring& value, Options* options) {
    const bool is_number =
        !value.empty() && value.size() <= kPatienceDigits &&
        std::all_of(value.begin(), value.end(), [](wchar_t c) { return c >= L'0' && c <= L'9'; });
    options->patience = is_number ? static_cast<unsigned>(std::stoul(value)) : 0;
    if (options->patience < 1 || options->patience > kLongestPatience) {
        return L"the patience is a number of seconds from 1 to " +
               std::to_wstring(kLongestPatience) + L", not \"" + value + L"\"";
    }
    return L"";
}

std::wstring TakeRecord(const std::wstring& value, Options* options) {
    options->record_file = value;
    return L"";
}

std::wstring TakeExeDirectory(const std::wstring& value, Options* options) {
    options->exe_directory = value;
    return L"";
}

std::wstring AddSetting(const std::wstring& value, Options* options) {
    return TakeSetting(value, &options->settings);
}

std::wstring AddNetwork(const std::wstring& value, Options* options) {
    return TakeNetwork(value, &options->settings);
}

struct ValueOption {
    std::wstring_view name;
    std::wstring (*take)(const std::wstring& value, Options* options);
};

constexpr ValueOption kValueOptions[] = {
    {L"--protocol", TakeProtocol},
    {L"--printer", TakePrinter},
    {L"--patience", TakePatience},
    {L"--record", TakeRecord},
    {L"--exe-directory", TakeExeDirectory},
    {L"--setting", AddSetting},
    {L"--subnet", AddNetwork},
};

std::wstring TakeFile(const std::wstring& name, Options* options) {
    if (name.empty()) {
        return L"the name of the file is empty";
    }
    if (!options->file.empty()) {
        return L"one file at a time: \"" + options->file + L"\" or \"" + name + L"\"";
    }
    options->file = name;
    return L"";
}

}  // namespace

std::wstring ParseOptions(std::span<const std::wstring> arguments, Options* options) {
    bool only_files = false;  // after --
    for (size_t i = 0; i < arguments.size(); ++i) {
        const std::wstring& argument = arguments[i];
        std::wstring problem;
        if (only_files || !argument.starts_with(L"-")) {
            problem = TakeFile(argument, options);
        } else if (argument == L"--") {
            only_files = true;
        } else if (argument == L"--help" || argument == L"-h") {
            options->help = true;
            return L"";
        } else if (argument == L"--id-print") {
            options->id_print = true;
        } else if (argument == L"--move") {
            options->move = true;
        } else {
            const auto option =
                std::find_if(std::begin(kValueOptions), std::end(kValueOptions),
                             [&](const ValueOption& entry) { return entry.name == argument; });
            if (option == std::end(kValueOptions)) {
                return L"unknown option " + argument;
            }
            if (++i == arguments.size()) {
                return argument + L" needs a value";
            }
            problem = option->take(arguments[i], options);
        }
        if (!problem.empty()) {
            return problem;
        }
    }
    if (!options->record_file.empty() && !options->printer.empty()) {
        return L"--record says which printer it is and goes without --printer";
    }
    if (options->id_print && !options->printer.empty()) {
        return L"--id-print plays its printer itself and goes without --printer";
    }
    if (options->move && !options->plays_printer()) {
        return L"--move moves the printer that the program plays and goes without --printer";
    }
    return L"";
}

std::wstring Usage() {
    return L"kspprint [--protocol NAME] [--printer ADDRESS] [--patience SECONDS] [--id-print]\n"
           L"         [--move] [--setting NAME=NUMBER]... [--subnet NETWORK;MASK]... [FILE]\n"
           L"\n"
           L"Prints a document through the print port monitor kspmon.dll and shows what happens.\n"
           L"Without FILE it prints a sample of its own: one page of PostScript.\n"
           L"\n"
           L"  --protocol NAME     how the job travels: " +
           ProtocolNames() +
           L" (default: raw)\n"
           L"  --printer ADDRESS   a real printer, by IPv4 address or host name. Without it the\n"
           L"                      program plays a printer on a loopback address and compares\n"
           L"                      what arrives there with what was sent.\n"
           L"  --patience SECONDS  give the job up when the printer takes nothing for so long and\n"
           L"                      its status stays as it is (default: 20)\n"
           L"  --id-print          as the ID-print monitor: the printer is asked whether it is\n"
           L"                      there, and a header says whose job it is\n"
           L"  --move              the printer that the program plays has got another address: it "
           L"is\n"
           L"                      found there by its MAC address\n"
           L"  --record FILE       a port as the monitor gives it out, 16412 bytes: its printer, "
           L"its\n"
           L"                      protocol and all the rest of it. With --id-print of that "
           L"monitor.\n"
           L"  --exe-directory DIR the directory of the discovery library (default: this "
           L"program's)\n"
           L"  --setting NAME=NUMBER\n"
           L"                      a setting of the monitor, 0 for its default; without the\n"
           L"                      option a time-out is a few seconds. NAME is one of\n" +
           SettingLines() +
           L"  --subnet NETWORK;MASK\n"
           L"                      a network in which a printer that moved is searched too, for\n"
           L"                      example 10.1.0.0;255.255.0.0\n"
           L"\n"
           L"The program plays the print spooler, with the kspmon.dll, the KSSTRMAPIe.dll (which\n"
           L"asks printers over SNMP) and the winspool.drv that lie in its own directory. The\n"
           L"system's spooler and the registry stay untouched: printers, jobs, ports and settings\n"
           L"exist in memory, and for this run only.\n"
           L"\n"
           L"Exit code: 0 when everything was printed (and arrived unchanged, where that can be\n"
           L"seen), 1 when not, 2 when the arguments or the file cannot be used, 3 when the\n"
           L"monitor cannot be started.\n";
}

}  // namespace ksp::print
