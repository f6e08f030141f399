#pragma once

#include "tools/print/document.h"
#include "tools/print/options.h"

namespace ksp::print {

enum class PrintResult {
    kPrinted,     // and arrived unchanged, where that can be seen
    kNotPrinted,  // the printer did not take it
    kNotStarted,  // the program could not set up what a job needs
};

// Prints the document as the options say and shows everything about it.
[[nodiscard]] PrintResult PrintAndReport(const Options& options, Document document);

}  // namespace ksp::print
