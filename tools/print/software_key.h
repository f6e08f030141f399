#pragma once

#include <string>

#include "ports/monitor_type.h"

namespace ksp::print {

// Where in HKEY_LOCAL_MACHINE the settings of that kind of the monitor lie.
[[nodiscard]] inline std::wstring SoftwareKeyPath(MonitorType type) {
    return type == MonitorType::kIdPrint ? L"SOFTWARE\\Kestrel\\Kestrel Print(ID Print)"
                                         : L"SOFTWARE\\Kestrel\\Kestrel Print";
}

}  // namespace ksp::print
