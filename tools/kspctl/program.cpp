#include "tools/kspctl/command.h"
#include "tools/kspctl/help.h"

namespace ksp::ctl {
namespace {

bool AsksForHelp(const std::wstring& argument) {
    return argument == L"--help" || argument == L"-h";
}

ExitCode Report(const Failure& failure, Output& output) {
    output.ErrorLine(L"kspctl: " + failure.text);
    if (!failure.advice.empty()) {
        output.ErrorLine(L"  " + failure.advice);
    }
    return failure.code;
}

ExitCode RefuseUsage(std::wstring text, const Command* command, Output& output) {
    Failure failure = WrongUsage(std::move(text));
    failure.advice = L"see: kspctl help";
    if (command != nullptr) {
        failure.advice += L" " + std::wstring(command->name);
    }
    return Report(failure, output);
}

ExitCode ShowHelp(std::span<const std::wstring> topics, Output& output) {
    if (topics.empty()) {
        WriteLines(ProgramHelp(), &Output::Line, output);
        return ExitCode::kDone;
    }
    const Command* const command = FindCommand(topics.front());
    if (command == nullptr) {
        return RefuseUsage(L"there is no command " + Quoted(topics.front()), nullptr, output);
    }
    WriteLines(CommandHelp(*command), &Output::Line, output);
    return ExitCode::kDone;
}

// A help option counts only in front of "--".
bool HasHelpOption(std::span<const std::wstring> arguments) {
    for (const std::wstring& argument : arguments) {
        if (argument == L"--") {
            return false;
        }
        if (AsksForHelp(argument)) {
            return true;
        }
    }
    return false;
}

}  // namespace

ExitCode RunProgram(std::span<const std::wstring> arguments, Output& output) {
    if (arguments.empty()) {
        return RefuseUsage(L"which command?", nullptr, output);
    }
    const std::wstring& name = arguments.front();
    const auto rest = arguments.subspan(1);
    if (name == L"help" || AsksForHelp(name)) {
        return ShowHelp(rest, output);
    }
    const Command* const command = FindCommand(name);
    if (command == nullptr) {
        return RefuseUsage(L"there is no command " + Quoted(name), nullptr, output);
    }
    if (HasHelpOption(rest)) {
        return ShowHelp({&name, 1}, output);
    }
    Request request;
    if (const Problem problem = ParseRequest(*command, rest, &request); problem) {
        return RefuseUsage(problem->text, command, output);
    }
    const Problem problem = command->run(request, output);
    if (!problem) {
        return ExitCode::kDone;
    }
    if (problem->code == ExitCode::kWrongUsage) {
        return RefuseUsage(problem->text, command, output);
    }
    return Report(*problem, output);
}

}  // namespace ksp::ctl
