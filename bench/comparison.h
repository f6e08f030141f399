#pragma once

#include <functional>
#include <vector>

namespace ksp::bench {

[[nodiscard]] double Median(std::vector<double> values);

// A work and its floor, measured in turns, so that whatever else the machine does falls on both. The
// times are medians in seconds; the ratio is the median of the ratios of neighbouring measurements.
struct Comparison {
    double floor = 0;
    double work = 0;
    double work_to_floor = 0;
    size_t rounds = 0;
    bool complete = true;  // no measurement failed

    // The work's throughput in that of the floor.
    [[nodiscard]] double throughput() const { return 1 / work_to_floor; }
};

// Each measures once and returns seconds, or less than nothing when it failed. A first round is not
// counted.
using Measurement = std::function<double()>;
[[nodiscard]] Comparison Compare(size_t rounds, const Measurement& floor, const Measurement& work);

}  // namespace ksp::bench
