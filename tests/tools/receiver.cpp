// A printer for scripts: receiver ADDRESS PROTOCOL BYTES FILE [snmp]
//
// Listens there for "raw" printing or as an "lpr" daemon, says "ready", and waits two minutes at
// most: raw for so many bytes, over however many connections; the daemon for the end of one. Then
// writes what came of the document to the file, and each command that the daemon got on a line.
// With "snmp" it tells who asks that its MAC address is 0026AB123456. Exit code: 0 when so many
// bytes came, 1 when not, 2 when it cannot listen there.

#include <cstdio>
#include <fstream>
#include <memory>
#include <string>

#include "tests/lpr/lpd_printer.h"
#include "tests/standins/loopback_printer.h"
#include "tools/snmp_agent/printer_rows.h"
#include "tools/snmp_agent/snmp_agent.h"

namespace {

constexpr int kPatience = 120000;  // milliseconds
constexpr int kReceived = 0;
constexpr int kIncomplete = 1;
constexpr int kUnusable = 2;

void SayReady() {
    std::puts("ready");
    std::fflush(stdout);
}

int Write(const std::string& document, std::size_t expected, const char* path) {
    std::ofstream file(path, std::ios::binary);
    file << document;
    return document.size() == expected && file.flush() ? kReceived : kIncomplete;
}

int ReceiveRaw(const std::string& address, std::size_t expected, const char* path) {
    ksp::standins::LoopbackPrinter printer({}, {address, ksp::standins::LoopbackPrinter::kRawPort});
    if (!printer.ready()) {
        return kUnusable;
    }
    SayReady();
    static_cast<void>(printer.WaitForBytes(expected, kPatience));
    const auto bytes = printer.received();
    return Write({bytes.begin(), bytes.end()}, expected, path);
}

int ReceiveLpr(const std::string& address, std::size_t expected, const char* path) {
    ksp::standins::LpdPrinter printer({}, {address, ksp::standins::LpdPrinter::kPort});
    if (!printer.ready()) {
        return kUnusable;
    }
    SayReady();
    static_cast<void>(printer.WaitForEndings(1));
    const auto connections = printer.connections();
    if (connections.empty()) {
        return kIncomplete;
    }
    for (const std::string& command : connections.front().commands) {
        std::printf("%d %s\n", command.front(), command.substr(1).c_str());
    }
    if (!connections.front().violation.empty()) {
        std::printf("against the protocol: %s\n", connections.front().violation.c_str());
        return kIncomplete;
    }
    return Write(connections.front().data, expected, path);
}

}  // namespace

int main(int count, char** arguments) {
    constexpr int kArguments = 5;
    if (count < kArguments) {
        return kUnusable;
    }
    const std::string address = arguments[1];
    std::unique_ptr<ksp::agent::SnmpAgent> agent;
    if (count > kArguments) {
        agent = std::make_unique<ksp::agent::SnmpAgent>(
            ksp::agent::SnmpAgentSettings{.address = address},
            ksp::agent::PrinterRows({.address = address}));
        if (!agent->ready()) {
            return kUnusable;
        }
    }
    const bool is_lpr = arguments[2] == std::string("lpr");
    return (is_lpr ? ReceiveLpr : ReceiveRaw)(address, std::stoul(arguments[3]), arguments[4]);
}
