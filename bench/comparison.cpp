#include "bench/comparison.h"

#include <algorithm>
#include <limits>

namespace ksp::bench {

double Median(std::vector<double> values) {
    if (values.empty()) {
        return std::numeric_limits<double>::quiet_NaN();
    }
    std::sort(values.begin(), values.end());
    const size_t middle = values.size() / 2;
    return values.size() % 2 != 0 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

Comparison Compare(size_t rounds, const Measurement& floor, const Measurement& work) {
    std::vector<double> floors;
    std::vector<double> works;
    std::vector<double> ratios;
    bool complete = true;
    for (size_t round = 0; round <= rounds; ++round) {
        const double bare = floor();
        const double full = work();
        if (bare <= 0 || full <= 0) {
            complete = false;
        } else if (round > 0) {
            floors.push_back(bare);
            works.push_back(full);
            ratios.push_back(full / bare);
        }
    }
    return {Median(floors), Median(works), Median(ratios), ratios.size(), complete};
}

}  // namespace ksp::bench
