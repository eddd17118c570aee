#include "telemetry/steer_words.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace vt {

namespace {

constexpr float kLargestInput = 1000; // beyond it the number is damaged; angles stay finite

} // namespace

void steerApply(SteerWords& words, SimFrame& frame, float input) {
    if (!(std::abs(input) < kLargestInput)) input = 0; // also what is not a number
    words.steerRawX10000 = static_cast<int32_t>(std::clamp(input, -1.5f, 1.5f) * 10000.0f);
    const int32_t rotation = words.steerRotationDeg;
    frame.steerAngleOk = rotation >= kSteerRotationMin;
    frame.steerLock = 0;
    frame.steerAngle = 0;
    if (!frame.steerAngleOk) return;
    frame.steerLock = static_cast<float>(rotation) * 0.5f * std::numbers::pi_v<float> / 180.0f;
    frame.steerAngle = frame.steerLock * input;
}

} // namespace vt
