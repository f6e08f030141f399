#include <exception>
#include <string>
#include <vector>

#include "tools/kspctl/command.h"
#include "tools/print/console.h"

// Of all entry functions a compiler expects only main to be declared by nobody.
int wmain(int count, wchar_t** arguments);

int wmain(int count, wchar_t** arguments) {
    const ksp::print::ConsoleText console;
    try {
        ksp::ctl::ConsoleOutput output;
        const std::vector<std::wstring> texts(arguments + (count > 0 ? 1 : 0), arguments + count);
        return static_cast<int>(ksp::ctl::RunProgram(texts, output));
    } catch (const std::exception&) {
        ksp::print::PrintErrorLine(L"kspctl: out of memory or another resource");
        return static_cast<int>(ksp::ctl::ExitCode::kFailed);
    }
}
