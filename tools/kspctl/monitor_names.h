#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "ports/monitor_type.h"

namespace ksp::ctl {

// Under which names the two kinds of the monitor are installed: those by which it introduces its
// ports to the spooler.
inline constexpr std::wstring_view kOrdinaryMonitor = L"Kestrel Print Port";
inline constexpr std::wstring_view kIdPrintMonitor = L"Kestrel ID Print Port";

inline std::wstring DefaultMonitorName(MonitorType type) {
    return std::wstring(type == MonitorType::kIdPrint ? kIdPrintMonitor : kOrdinaryMonitor);
}

inline std::wstring_view MonitorTypeWord(MonitorType type) {
    switch (type) {
        case MonitorType::kOrdinary:
            return L"ordinary";
        case MonitorType::kIdPrint:
            return L"ID print";
        case MonitorType::kNone:
            break;
    }
    return L"none";
}

}  // namespace ksp::ctl
