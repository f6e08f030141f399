#pragma once

#include <string_view>

namespace ksp::ctl {

// What `kspctl help COMMAND` says behind the usage line; the options follow from the table.

inline constexpr std::wstring_view kInstallHelp =
    L"Copies the monitor's library from beside kspctl.exe into the system directory, writes the\n"
    L"settings that it needs (KSPRINT_SECURE and ExeDirectory) and registers it with the spooler.\n"
    L"With --id-print it becomes the ID-print monitor, in a file of its own: kspmonid.dll. With\n"
    L"--server nothing is copied, and --exe-directory names a directory of that computer.\n"
    L"\n"
    L"  kspctl install\n"
    L"  kspctl install --id-print\n"
    L"  kspctl install --exe-directory \"C:\\Program Files\\Kestrel\"\n";

inline constexpr std::wstring_view kUninstallHelp =
    L"Takes the registration back. The settings stay for the next installation, and so does the\n"
    L"library's file in the system directory.\n"
    L"\n"
    L"  kspctl uninstall\n"
    L"  kspctl uninstall --id-print --with-ports --purge\n";

inline constexpr std::wstring_view kListHelp =
    L"One line for each port: name, protocol, printer, TCP port.\n"
    L"\n"
    L"  kspctl list\n"
    L"  kspctl list --json\n"
    L"  kspctl list --server printserver\n";

inline constexpr std::wstring_view kShowHelp =
    L"Every value of the port's record, under its registry name.\n"
    L"\n"
    L"  kspctl show Office\n"
    L"  kspctl show --json Office\n";

inline constexpr std::wstring_view kAddHelp =
    L"Exit code 4 when any monitor has a port of that name. No value may hold a comma.\n"
    L"\n"
    L"  kspctl add Office --address 10.0.0.5\n"
    L"  kspctl add Stores --address prn01 --protocol lpr --queue auto\n"
    L"  kspctl add Desk --address 10.0.0.6 --type tracked --ip 10.0.0.6 --mac 0026AB123456\n"
    L"  kspctl add Office --address 10.0.0.7 --replace\n";

inline constexpr std::wstring_view kSilentAddHelp =
    L"The text that installers use: pairs KEY=value with \":\" between them. AR (address) and PR\n"
    L"(RAW, LPR or XLPR) are needed; MN model name, DP DHCP host name, SN subnet mask, MA MAC\n"
    L"address, XX IP address, PN port name. What is missing is asked of the printer.\n"
    L"\n"
    L"  kspctl silent-add AR=10.0.0.5:PR=RAW:PN=Office\n"
    L"  kspctl silent-add AR=10.0.0.5:DP=prn01:MN=M1:PR=LPR\n";

inline constexpr std::wstring_view kSetHelp =
    L"Reads the record, changes the values named and writes it back. The names are those that\n"
    L"`show` shows; ProtocolID takes raw, lpr or xlpr, PrinterAddressType takes address, host, "
    L"url\n"
    L"or tracked. Exit code 6 while a job is on the port.\n"
    L"\n"
    L"  kspctl set Office PrinterAddress=10.0.0.7\n"
    L"  kspctl set Office ProtocolID=lpr QueueName=auto\n";

inline constexpr std::wstring_view kDeleteHelp =
    L"Exit code 6 when a printer uses the port.\n"
    L"\n"
    L"  kspctl delete Office\n";

inline constexpr std::wstring_view kExistsHelp =
    L"Exit code 0 when it exists, 3 when not.\n"
    L"\n"
    L"  kspctl exists Office\n";

inline constexpr std::wstring_view kTypeHelp =
    L"1 is the ordinary monitor, 2 the ID-print monitor.\n"
    L"\n"
    L"  kspctl type\n";

inline constexpr std::wstring_view kSettingsHelp =
    L"Without an argument shows all settings; with a name, that one; with NAME=VALUE writes it;\n"
    L"with NAME=default removes the value. The values of the log and ExeDirectory hold when the\n"
    L"spooler is started again (net stop spooler, net start spooler), the others at once.\n"
    L"\n"
    L"  kspctl settings\n"
    L"  kspctl settings LogLevel=1 \"LogDirectory=C:\\Kestrel Print\"\n"
    L"  kspctl settings WaitServerReplyTimeout=60\n"
    L"  kspctl settings LogLevel=default\n";

inline constexpr std::wstring_view kPrintHelp =
    L"Reads the port's record and prints the file through the monitor's library in a process of\n"
    L"its own, which plays the spooler: a look at what the monitor does with a job, with its log.\n"
    L"The file must be one that the printer understands, PostScript for example.\n"
    L"It prints with this computer's settings: the discovery library, the networks that are "
    L"searched\n"
    L"and those below. --setting and --subnet, each as often as needed, go before them this once.\n"
    L"\n"
    L"  kspctl print Office page.ps\n"
    L"  kspctl print Office page.ps --setting WaitServerReplyTimeout=60\n"
    L"  kspctl print Desk page.ps --subnet 10.1.0.0;255.255.0.0 --subnet 10.2.0.0;255.255.0.0\n";

inline constexpr std::wstring_view kTestHelp =
    L"Step by step: the record, the address, the connection, who answers and how it is, for LPR "
    L"the\n"
    L"queue, for ID print the reachability check. Each step with its time and a verdict. Exit "
    L"code\n"
    L"7 when a job would not arrive.\n"
    L"\n"
    L"  kspctl test Office\n"
    L"  kspctl test --json Office\n";

}  // namespace ksp::ctl
