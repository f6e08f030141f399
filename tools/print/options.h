#pragma once

#include <optional>
#include <span>
#include <string>

#include "ports/port_info.h"
#include "tools/print/job_settings.h"
#include "tools/print/protocol.h"

namespace ksp::print {

inline constexpr unsigned kLongestPatience = 3600;  // seconds

// What the command line asks for.
struct Options {
    const Protocol* protocol = FindProtocol(L"raw");
    std::wstring printer;           // address of a real printer; empty: this program plays one
    std::wstring file;              // empty: the sample document
    std::wstring record_file;       // a port's record, in the form that the monitor gives it out
    std::optional<CPortInfo> port;  // what the record says, once UseRecord has read it
    std::wstring exe_directory;     // of the discovery library; empty: beside this program
    JobSettings settings;           // what is missing is this program's choice
    unsigned patience = 20;         // seconds without progress until the job is given up
    bool id_print = false;          // as the ID-print monitor
    bool move = false;              // the played printer has got another address
    bool help = false;

    [[nodiscard]] bool plays_printer() const { return printer.empty(); }
};

// Reads the arguments that follow the program's name. An empty result means that `options` is
// filled; otherwise it says what is wrong.
[[nodiscard]] std::wstring ParseOptions(std::span<const std::wstring> arguments, Options* options);

// Reads the record, if one was given: its printer and protocol then hold. An empty result means
// success; otherwise it says what is wrong.
[[nodiscard]] std::wstring UseRecord(Options* options);

// What --help shows, in lines.
std::wstring Usage();

}  // namespace ksp::print
