// What the writers of datagrams share.
#pragma once
#include "player.h"

#include <cstdio>
#include <vector>

namespace player {

/// Rally drives a stage where nothing else was asked for.
inline Options onStage(Options options) {
    if (options.circuit == Options().circuit) options.circuit = "stage";
    return options;
}

inline float asFloat(double value) {
    return static_cast<float>(value);
}

template <size_t N>
void copyVector(float (&out)[N], const double (&from)[N], double scale = 1) {
    for (size_t i = 0; i < N; ++i)
        out[i] = asFloat(from[i] * scale);
}

} // namespace player
