#pragma once

namespace ksp {

// Answers whether a printer of this computer prints to a port; a port in use is not deleted. The
// answer comes from the spooler's printers, which are a higher room's concern.
class IPortUsage {
  public:
    virtual ~IPortUsage() = default;

    // False also when the printers cannot be listed.
    [[nodiscard]] virtual bool IsPortUsedByPrinter(const wchar_t* portName) = 0;
};

}  // namespace ksp
