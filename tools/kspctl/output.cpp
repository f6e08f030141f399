#include "tools/kspctl/output.h"

#include "tools/print/console.h"

namespace ksp::ctl {

void ConsoleOutput::Line(std::wstring_view text) {
    print::PrintLine(text);
}

void ConsoleOutput::ErrorLine(std::wstring_view text) {
    print::PrintErrorLine(text);
}

void WriteLines(std::wstring_view text, void (Output::*line)(std::wstring_view), Output& output) {
    while (!text.empty()) {
        const auto end = text.find(L'\n');
        (output.*line)(text.substr(0, end));
        text = end == std::wstring_view::npos ? std::wstring_view() : text.substr(end + 1);
    }
}

}  // namespace ksp::ctl
