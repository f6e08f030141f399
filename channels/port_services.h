#pragma once

#include <cstdint>

namespace ksp {

// What a channel asks of the ports above it, by the handle id of its port. The port manager
// answers; an id whose port is gone is logged there and answered with false.
class IPortServices {
  public:
    virtual ~IPortServices() = default;

    // The printer's status word (PRINTER_STATUS_* bits) as the spooler has it.
    [[nodiscard]] virtual bool GetPrinterStatus(std::uint32_t portId, std::uint32_t& status) = 0;
    // Writes a status word to the spooler, unless the port has already written the same.
    virtual bool SetPortStatus(std::uint32_t portId, std::uint32_t status) = 0;
    // Writes status 0, also to a pooled printer. False when the id is unknown.
    virtual bool ClearPortStatus(std::uint32_t portId) = 0;
    // Whether the spooler says that the port's job was deleted, or is to be printed anew. False
    // while it cannot be told.
    [[nodiscard]] virtual bool IsJobEnded(std::uint32_t portId) = 0;
    // Marks the port's job as in error, for everybody who looks at the queue. False when it cannot
    // be marked.
    virtual bool SetJobError(std::uint32_t portId) = 0;
};

}  // namespace ksp
