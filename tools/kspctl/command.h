#pragma once

#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "tools/kspctl/failure.h"
#include "tools/kspctl/output.h"

namespace ksp::ctl {

// An option of one command. Those with a value take the argument behind them.
struct Option {
    std::wstring_view name;   // with its dashes
    std::wstring_view value;  // what the help calls the value; empty for a switch
    std::wstring_view meaning;
};

// What the command line says, taken apart.
struct Request {
    std::vector<std::wstring> arguments;  // behind the command, without options
    // The command's own, each with its values in their order; a switch has an empty one.
    std::map<std::wstring, std::vector<std::wstring>> options;
    std::wstring server;   // empty: this computer
    std::wstring monitor;  // a name given with --monitor, or empty
    bool id_print = false;
    bool json = false;

    [[nodiscard]] bool Has(const std::wstring& option) const { return options.contains(option); }
    // The last one that was given.
    [[nodiscard]] std::optional<std::wstring> Value(const std::wstring& option) const {
        const auto found = options.find(option);
        return found == options.end() ? std::nullopt : std::optional(found->second.back());
    }
    [[nodiscard]] std::vector<std::wstring> Values(const std::wstring& option) const {
        const auto found = options.find(option);
        return found == options.end() ? std::vector<std::wstring>() : found->second;
    }
};

// One command of the program. A plain record; the table of them is in command_table.cpp.
struct Command {
    std::wstring_view name;
    std::wstring_view arguments;  // as the usage shows them
    std::wstring_view summary;    // a line
    std::size_t fewest = 0;       // arguments
    std::size_t most = 0;
    bool lists = false;  // takes --json
    std::span<const Option> options;
    std::wstring_view help;  // paragraphs and examples, behind the usage
    Problem (*run)(const Request& request, Output& output) = nullptr;
    // The names that the command takes, for its help: a line each. Null when there are none.
    std::wstring (*names)() = nullptr;
};

inline constexpr std::size_t kAnyNumber = static_cast<std::size_t>(-1);

std::span<const Command> Commands();
// Null when there is none of that name.
const Command* FindCommand(std::wstring_view name);

// Takes the arguments behind the command's name apart. None means that the request is filled.
[[nodiscard]] Problem ParseRequest(const Command& command, std::span<const std::wstring> arguments,
                                   Request* request);

// The whole program behind its console: the arguments after the program's name, and the exit code.
[[nodiscard]] ExitCode RunProgram(std::span<const std::wstring> arguments, Output& output);

}  // namespace ksp::ctl
