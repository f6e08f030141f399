#pragma once

#include <cstdint>

namespace ksp {

// What the library is in this process; the registry value `KSPRINT_SECURE` says so at start-up.
enum class MonitorType : std::uint32_t {
    kNone = 0,  // missing or invalid: start-up fails
    kOrdinary = 1,
    kIdPrint = 2,
};

}  // namespace ksp
