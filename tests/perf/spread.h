// How far off a measured line is.
#pragma once
#include "perf/bin_line.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace vt {

struct Spread {
    float median = 0, p95 = 0;
};
inline Spread spreadOf(std::vector<float> errors) {
    for (float& error : errors)
        error = std::abs(error);
    std::sort(errors.begin(), errors.end());
    return {percentileOf(errors, 0.5), percentileOf(errors, 0.95)};
}

} // namespace vt
