#include "telemetry/reader_parts.h"

#include "base/hash.h"
#include "base/slug.h"

#include <algorithm>
#include <cstring>
#include <string>

namespace vt {

int32_t trackNameHash(std::string_view trackName) {
    const auto hash = static_cast<int32_t>(fnv1a32(nameSlug(trackName)) & 0x7FFFFFFFu);
    return hash == 0 ? 1 : hash;
}

void fillSlip(SimFrame& frame, SlipMemory& memory, double side, double along, double seconds) {
    const double angle = std::atan2(-side, std::max(0.01, std::abs(along))) * 180 / M_PI;
    if (!std::isfinite(side) || !std::isfinite(along) || !std::isfinite(angle)) {
        memory.valid = false;
        return;
    }
    frame.slipAngle = static_cast<float>(angle);
    frame.slipSource = 2;
    if (memory.valid && seconds >= 0.001 && seconds <= 0.5)
        frame.slipRate = static_cast<float>((angle - memory.angle) / seconds);
    memory.valid = true;
    memory.angle = frame.slipAngle;
}

float axleSlip(float leftDegrees, float rightDegrees) {
    float sum = 0;
    int count = 0;
    for (const float degrees : {leftDegrees, rightDegrees}) {
        if (!std::isfinite(degrees)) continue;
        sum += std::abs(degrees);
        ++count;
    }
    return count == 0 ? -1.0f : clamp01(sum / static_cast<float>(count) * 0.125f);
}

void fillAxleSlips(SimFrame& frame, float front, float rear) {
    if (front < 0 || rear < 0) return;
    frame.frontSlip = front;
    frame.rearSlip = rear;
    frame.slipPairSource = 2;
    frame.balance = rear - front;
    frame.balanceSource = 2;
}

void rankClasses(std::vector<CarRow>& cars) {
    for (CarRow& car : cars) {
        car.classPosition = 0;
        if (car.position <= 0) continue;
        car.classPosition = 1;
        for (const CarRow& other : cars)
            if (other.position > 0 && other.position < car.position &&
                std::strcmp(other.carClass, car.carClass) == 0)
                ++car.classPosition;
    }
}

float referenceLap(float best, float last, float fastestOfAll, float low, float high,
                   float trackLength, float fastestSpeed) {
    for (const float time : {best, last, fastestOfAll})
        if (time > low && time < high) return time;
    if (!(trackLength > 0)) return 0;
    return trackLength / std::max(10.0f, finiteOr(fastestSpeed, 0));
}

float learnPitLimit(PitLimitMemory& memory, bool limiterOn, float speed) {
    if (!limiterOn) {
        memory.previous = 0;
    } else if (memory.limit <= 0 && speed > 5) {
        if (memory.previous > 0 && std::abs(speed - memory.previous) < 1 / 3.6f)
            memory.limit = speed;
        memory.previous = speed;
    }
    return memory.limit;
}

void fillWorld(SimFrame& frame, MapFrame& memory, const float position[3], const float forward[3],
               const float right[3]) {
    for (int i = 0; i < 3; ++i)
        if (!std::isfinite(position[i]) || !std::isfinite(forward[i]) || !std::isfinite(right[i]))
            return;
    float cross[3];
    for (int i = 0; i < 3; ++i) {
        const int j = (i + 1) % 3, k = (i + 2) % 3;
        cross[i] = std::abs(forward[j] * right[k] - forward[k] * right[j]);
    }
    for (int i = 0; i < 3; ++i)
        if (cross[i] > 0.8f && cross[i] > cross[(i + 1) % 3] && cross[i] > cross[(i + 2) % 3])
            memory.upAxis = i;
    if (memory.upAxis < 0) return;
    const int a = memory.upAxis == 0 ? 1 : 0, b = memory.upAxis == 2 ? 1 : 2;
    frame.worldX = position[a];
    frame.worldY = position[b];
    frame.forwardX = forward[a];
    frame.forwardY = forward[b];
    frame.rightX = right[a];
    frame.rightY = right[b];
    frame.worldOk = 1;
}

} // namespace vt
