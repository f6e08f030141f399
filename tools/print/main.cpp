#include <exception>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "tools/print/console.h"
#include "tools/print/document.h"
#include "tools/print/interruption.h"
#include "tools/print/options.h"
#include "tools/print/print_run.h"

namespace {

constexpr int kPrinted = 0;
constexpr int kNotPrinted = 1;
constexpr int kUnusable = 2;  // arguments or file
constexpr int kNotStarted = 3;

using ksp::print::CatchInterruption;
using ksp::print::ConsoleText;
using ksp::print::Document;
using ksp::print::Options;
using ksp::print::ParseOptions;
using ksp::print::PrintAndReport;
using ksp::print::PrintErrorLine;
using ksp::print::PrintLine;
using ksp::print::PrintResult;
using ksp::print::Usage;
using ksp::print::UseRecord;

void PrintUsage(void (*print_line)(std::wstring_view)) {
    std::wistringstream usage(Usage());
    for (std::wstring line; std::getline(usage, line);) {
        print_line(line);
    }
}

int Run(const std::vector<std::wstring>& arguments) {
    Options options;
    if (const std::wstring problem = ParseOptions(arguments, &options); !problem.empty()) {
        PrintErrorLine(L"kspprint: " + problem);
        PrintErrorLine(L"");
        PrintUsage(PrintErrorLine);
        return kUnusable;
    }
    if (const std::wstring problem = UseRecord(&options); !problem.empty()) {
        PrintErrorLine(L"kspprint: " + problem);
        return kUnusable;
    }
    if (options.help) {
        PrintUsage(PrintLine);
        return kPrinted;
    }
    std::optional<Document> document =
        options.file.empty() ? Document::Sample() : Document::Open(options.file);
    if (!document) {
        PrintErrorLine(L"kspprint: cannot read the file " + options.file);
        return kUnusable;
    }
    CatchInterruption();
    switch (PrintAndReport(options, std::move(*document))) {
        case PrintResult::kPrinted:
            return kPrinted;
        case PrintResult::kNotPrinted:
            return kNotPrinted;
        case PrintResult::kNotStarted:
            break;
    }
    return kNotStarted;
}

}  // namespace

// Of all entry functions a compiler expects only main to be declared by nobody.
int wmain(int count, wchar_t** arguments);

int wmain(int count, wchar_t** arguments) {
    const ConsoleText console;
    try {
        return Run({arguments + (count > 0 ? 1 : 0), arguments + count});
    } catch (const std::exception&) {
        PrintErrorLine(L"kspprint: out of memory or another resource");
        return kNotStarted;
    }
}
