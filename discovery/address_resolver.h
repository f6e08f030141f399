#pragma once

#include <optional>
#include <string>

namespace ksp {

// How the status query learns where a printer is. Finding an address may itself need discovery, so
// it is done by a higher room.
class IAddressResolver {
  public:
    virtual ~IAddressResolver() = default;

    // The printer's current address, dotted; none when it cannot be resolved.
    [[nodiscard]] virtual std::optional<std::wstring> ResolvePrinter(const std::wstring& name) = 0;
};

}  // namespace ksp
