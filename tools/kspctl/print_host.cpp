#include "tools/kspctl/print_host.h"

#include <windows.h>

#include <filesystem>
#include <fstream>
#include <memory>

#include "ports/port_record_forms.h"
#include "support/windows_handles.h"
#include "tools/host/temp_directory.h"
#include "tools/print/interruption.h"
#include "tools/print/program_directory.h"

namespace ksp::ctl {
namespace {

constexpr DWORD kPrinted = 0;
constexpr DWORD kNotPrinted = 1;

[[nodiscard]] bool WriteRecord(const CPortInfo& port, const std::wstring& path) {
    const auto record = std::make_unique<XcvPortInfo>();
    if (!FillRecord(port, *record)) {
        return false;
    }
    std::ofstream file(std::filesystem::path(path), std::ios::binary);
    file.write(reinterpret_cast<const char*>(record.get()), sizeof(*record));
    return static_cast<bool>(file.flush());
}

// A Windows code; `exit_code` is the program's.
[[nodiscard]] DWORD RunAndWait(const std::wstring& program, std::wstring command_line,
                               DWORD* exit_code) {
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION information = {};
    // The program gives the job up in order, and this one says so when it has.
    print::CatchInterruption();
    if (CreateProcessW(program.c_str(), command_line.data(), nullptr, nullptr, TRUE, 0, nullptr,
                       nullptr, &startup, &information) == FALSE) {
        return GetLastError();
    }
    const UniqueHandle thread(information.hThread);
    const UniqueHandle process(information.hProcess);
    WaitForSingleObject(process.Get(), INFINITE);
    return GetExitCodeProcess(process.Get(), exit_code) != FALSE ? ERROR_SUCCESS : GetLastError();
}

}  // namespace

std::wstring PrintHostPath() {
    return print::ProgramDirectory() + L"\\host\\kspprint.exe";
}

Problem RunPrintHost(const CPortInfo& port, std::span<const std::wstring> arguments) {
    const host::TempDirectory directory;
    const std::wstring record = directory.path() + L"\\port";
    if (directory.path().empty() || !WriteRecord(port, record)) {
        return Failure{ExitCode::kFailed, L"cannot write a temporary file"};
    }
    const std::wstring program = PrintHostPath();
    std::wstring command_line = QuotedArgument(program) + L" --record " + QuotedArgument(record);
    for (const std::wstring& argument : arguments) {
        command_line += L" " + QuotedArgument(argument);
    }
    DWORD exit_code = kPrinted;
    const DWORD error = RunAndWait(program, command_line, &exit_code);
    if (error != ERROR_SUCCESS) {
        Failure failure = SystemFailure(L"cannot start " + program, error);
        failure.advice =
            L"kspprint.exe, kspmon.dll and its winspool.drv belong into the directory "
            L"\"host\" beside kspctl.exe";
        return failure;
    }
    if (exit_code == kPrinted) {
        return std::nullopt;
    }
    return exit_code == kNotPrinted
               ? Failure{ExitCode::kPrinterSilent, L"the file was not printed",
                         L"look for the reason with: kspctl test " + QuotedArgument(port.PortName)}
               : Failure{ExitCode::kFailed, L"the printing could not be begun",
                         L"what is missing stands above"};
}

std::wstring QuotedArgument(const std::wstring& argument) {
    if (!argument.empty() && argument.find_first_of(L" \t\n\v\"") == std::wstring::npos) {
        return argument;
    }
    // Backslashes count double where they stand before a quote.
    std::wstring text = L"\"";
    std::size_t backslashes = 0;
    for (const wchar_t character : argument) {
        if (character == L'"') {
            text.append(backslashes + 1, L'\\');
        }
        backslashes = character == L'\\' ? backslashes + 1 : 0;
        text += character;
    }
    text.append(backslashes, L'\\');
    return text + L"\"";
}

}  // namespace ksp::ctl
