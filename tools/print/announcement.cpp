#include "tools/print/announcement.h"

#include "tools/print/console.h"

namespace ksp::print {
namespace {

void AnnounceSettings(const JobSettings& settings) {
    for (const auto& [name, number] : settings.numbers) {
        PrintField(L"setting",
                   name + L" = " + (number == 0 ? L"its default" : std::to_wstring(number)));
    }
    for (const std::wstring& network : settings.networks) {
        PrintField(L"searched", network);
    }
}

void AnnounceRealPrinter(const Parties& parties) {
    PrintField(L"printer", L"a real one; the job is given up when it takes nothing for " +
                               Counted(parties.options.patience, L"second"));
}

void AnnounceStatus(const Parties& parties) {
    if (!parties.printer->speaks_snmp()) {
        PrintField(L"", L"UDP port 161 cannot be taken here, so it does not answer SNMP: the");
        PrintField(L"", L"monitor does not find out how it is.");
    } else if (parties.confirmation != nullptr) {
        PrintField(L"", L"The ID-print monitor does not ask how a printer is.");
    } else if (!parties.options.move) {
        PrintField(L"",
                   L"It is out of paper and takes no job. Somebody opens its door, puts some in");
        PrintField(L"",
                   L"and closes it. The monitor asks it over SNMP how it is, at most once in 11");
        PrintField(L"", L"seconds, and tells the spooler.");
    }
}

void AnnounceMove(const MonitorSetup& setup) {
    PrintField(L"", L"Its MAC address is " + setup.mac + L". It was at " + setup.printer_address +
                        L" when the");
    PrintField(L"", L"port was made, and nobody is there any more. The monitor waits some seconds");
    PrintField(L"", L"for an answer, then asks the network " + setup.settings.networks.back());
    PrintField(L"", L"who has that MAC address.");
}

}  // namespace

void Announce(const Parties& parties) {
    const MonitorSetup& setup = parties.setup;
    const Protocol& protocol = *parties.options.protocol;
    PrintLine(L"Printing through the port monitor");
    PrintField(L"document",
               parties.document.name() + L", " + Counted(parties.document.size(), L"byte"));
    PrintField(L"monitor", parties.program_directory + L"\\kspmon.dll");
    PrintField(L"port",
               setup.port + L": " + std::wstring(protocol.title) + L" to " + setup.printer_address +
                   L" port " +
                   std::to_wstring(setup.record ? setup.record->PortNumber : protocol.port));
    AnnounceSettings(parties.options.settings);
    if (parties.printer == nullptr) {
        AnnounceRealPrinter(parties);
        return;
    }
    PrintField(L"printer", L"played by this program on " + parties.printer->address());
    if (parties.confirmation != nullptr) {
        PrintField(L"", L"It confirms on port " + std::to_wstring(parties.confirmation->port()) +
                            L" that it is there.");
    }
    if (!setup.mac.empty()) {
        AnnounceMove(setup);
    }
    AnnounceStatus(parties);
}

}  // namespace ksp::print
