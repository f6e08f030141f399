#pragma once

#include "tools/print/document.h"
#include "tools/print/options.h"

namespace ksp::print {

// Prints the document as the options say and shows everything about it. True when it was printed
// and, where that can be seen, arrived unchanged.
[[nodiscard]] bool PrintAndReport(const Options& options, Document document);

}  // namespace ksp::print
