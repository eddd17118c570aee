// Medians. Laps are summarised by medians, never by means.
#pragma once
#include <algorithm>
#include <cstddef>
#include <vector>

namespace vt {

/// Mean of the two middle values for an even count; 0 for none. Reorders `values`.
template <class T>
T medianInPlace(T* values, size_t count) {
    if (count == 0) return T(0);
    const size_t mid = count / 2;
    std::nth_element(values, values + mid, values + count);
    if (count % 2 == 1) return values[mid];
    const T low = *std::max_element(values, values + mid);
    return (low + values[mid]) / T(2);
}

} // namespace vt
