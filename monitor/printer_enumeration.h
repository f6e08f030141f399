#pragma once

#include "ports/port_usage.h"

namespace ksp {

// Looks through the local printers of the computer. The whole port field of a printer must equal
// the name: a pooled printer, which lists several ports, uses none of them in this sense.
class CPrinterEnumeration final : public IPortUsage {
  public:
    [[nodiscard]] bool IsPortUsedByPrinter(const wchar_t* portName) override;
};

}  // namespace ksp
