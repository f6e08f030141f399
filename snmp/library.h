#pragma once

#include "snmp/handed_out.h"
#include "snmp/stream.h"

namespace ksp::snmp {

// It has no state: taking replies apart needs none.
struct CMimeUtility {
    char unused = 0;
};

// What the loaded library holds.
struct CLibrary {
    CHandedOut<CStream> streams;
    CHandedOut<CMimeUtility> mimeUtilities;
};

[[nodiscard]] CLibrary& Library() noexcept;

// What the exports return for success and for any failure that has no code of its own.
inline constexpr int kDone = 0;
inline constexpr int kFailed = -1;

// Runs the body of an export; what it throws makes the export return `failure`.
template <class Result, class Body>
Result Guarded(Result failure, Body&& body) noexcept {
    try {
        return body();
    } catch (...) {
        return failure;
    }
}

}  // namespace ksp::snmp
