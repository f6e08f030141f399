#pragma once

#include <string>

#include "bench/report.h"
#include "bench/world.h"

namespace ksp::bench {

// How much is measured: everything as documented, or a glance that only shows that it works.
struct Extent {
    size_t rounds = 7;
    uint64_t job = 256ULL << 20;  // bytes of a raw and an XLPR job
    uint64_t crowd_job = 16ULL << 20;  // bytes of the job on the last of many ports
    uint64_t lpr_job = 16ULL << 20;
    uint64_t long_job = 4096ULL << 20;
    size_t ports = 10'000;
    size_t crowd = 1'000;
};

struct Bench {
    World& world;
    Report& report;
    std::string address;  // the sink's
    Extent extent;
};

inline constexpr uint16_t kRawPort = 9100;
inline constexpr size_t kWrite = size_t{64} * 1024;
inline constexpr double kMiB = 1024.0 * 1024.0;

// Each measures its lines of the table and its curves. False when something could not be measured.
[[nodiscard]] bool MeasureRawJobs(Bench& bench);
[[nodiscard]] bool MeasureCrowd(Bench& bench);
[[nodiscard]] bool MeasureOneByte(Bench& bench);
[[nodiscard]] bool MeasureLprJobs(Bench& bench);
[[nodiscard]] bool MeasureXlprJobs(Bench& bench);
[[nodiscard]] bool MeasureStartUp(Bench& bench);
[[nodiscard]] bool MeasureList(Bench& bench);
[[nodiscard]] bool MeasureLog(Bench& bench);
[[nodiscard]] bool MeasureLongJob(Bench& bench);
[[nodiscard]] bool MeasureEnd(Bench& bench);

// Bytes of memory that are this process's alone.
[[nodiscard]] size_t PrivateBytes();

}  // namespace ksp::bench
