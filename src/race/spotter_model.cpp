#include "race/spotter_model.h"

#include "telemetry/sim_registry.h"

#include <algorithm>
#include <cmath>

namespace vt {

namespace {

constexpr double kStepMs = 33.333332;
constexpr float kSeen = 14, kChaseSeen = 20; // m
constexpr float kNear = 7, kStaysNear = 10;  // m: a side begins, and goes on
constexpr double kClosing = 4.5;             // m/s
constexpr float kSureAcross = 12;            // m; further away is no neighbour

float share(double rate, double k) {
    return static_cast<float>(1 - std::pow(1 - rate, k));
}

float placeOf(float along) {
    return std::clamp(0.5f - along / 12, 0.0f, 1.0f);
}
float closeness(float distance) {
    return std::clamp((7 - distance) / 5.5f, 0.0f, 1.0f);
}

struct SideSeen {
    bool active = false, approaching = false;
    float distance = kNear, offset = 0;
    int count = 0;
};

void addMark(SpotterMarks& marks, float along, float strength, bool ambiguous) {
    if (marks.count < static_cast<int>(marks.marks.size()))
        marks.marks[static_cast<size_t>(marks.count++)] = {placeOf(along), strength, ambiguous};
}

void follow(SpotterSide& side, SideSeen& seen, int chaseCar, float chaseDist, double stepMs) {
    const bool closing = chaseCar >= 0 && side.chaseCarIdx == chaseCar &&
                         static_cast<double>(side.chaseDist - chaseDist) > stepMs / 1000 * kClosing;
    side.chaseCarIdx = chaseCar;
    side.chaseDist = chaseDist;
    seen.approaching = closing && !seen.active;
}

void seeByDistance(SpotterBars& bars, std::array<SideSeen, 2>& seen, const SimFrame& frame,
                   const CarRow& player, double stepMs) {
    float nearest[2] = {15, 15}, chaseDist[2] = {21, 21};
    int chaseCar[2] = {-1, -1};
    for (const CarRow& car : frame.cars) {
        if (!spotterCounts(player, car)) continue;
        const float along = wayAlong(frame, player, car), distance = std::abs(along);
        const auto at = static_cast<size_t>(car.pathLateral - player.pathLateral < 0 ? 0 : 1);
        if (distance <= kSeen) {
            if (distance < nearest[at]) {
                nearest[at] = distance;
                seen[at].offset = along;
            }
            addMark(bars.marks[at], along, closeness(distance), false);
            if (distance <= kStaysNear) ++seen[at].count;
        }
        if (along < -kNear && distance <= kChaseSeen && distance < chaseDist[at]) {
            chaseDist[at] = distance;
            chaseCar[at] = car.carIdx;
        }
    }
    for (size_t at = 0; at < 2; ++at) {
        seen[at].active = nearest[at] < (bars.sides[at].active ? kStaysNear : kNear);
        if (seen[at].active) seen[at].distance = nearest[at];
        follow(bars.sides[at], seen[at], chaseCar[at], chaseDist[at], stepMs);
    }
}

struct Neighbour {
    float along = 0, distance = 0;
};
using Neighbours = std::array<Neighbour, 64>;

size_t gather(const SimFrame& frame, const CarRow& player, float within, Neighbours& out) {
    size_t count = 0;
    for (const CarRow& car : frame.cars) {
        if (!spotterCounts(player, car) || count == out.size()) continue;
        const float along = wayAlong(frame, player, car);
        if (std::abs(along) <= within) out[count++] = {along, std::abs(along)};
    }
    std::sort(out.begin(), out.begin() + static_cast<std::ptrdiff_t>(count),
              [](const Neighbour& a, const Neighbour& b) { return a.distance < b.distance; });
    return count;
}

int leftCount(int carLeftRight) {
    return carLeftRight == 5 ? 2 : carLeftRight == 2 || carLeftRight == 4 ? 1 : 0;
}
int rightCount(int carLeftRight) {
    return carLeftRight == 6 ? 2 : carLeftRight == 3 || carLeftRight == 4 ? 1 : 0;
}

float wheelBaseOf(const SimFrame& frame) {
    return frame.wheelBase > 0.5f ? frame.wheelBase : 2.7f;
}

void seeBySim(SpotterBars& bars, std::array<SideSeen, 2>& seen, const SimFrame& frame,
              const CarRow& player) {
    Neighbours cars;
    const size_t count = gather(frame, player, kSeen, cars);
    const int counts[2] = {leftCount(frame.carLeftRight), rightCount(frame.carLeftRight)};
    size_t next = 0;
    for (size_t at = 0; at < 2; ++at) {
        bars.sides[at].chaseCarIdx = -1;
        seen[at].active = counts[at] > 0;
        seen[at].count = counts[at];
        if (!seen[at].active) continue;
        seen[at].distance = count > 0 ? cars[0].distance : 3.5f;
        seen[at].offset = count > 0 ? cars[0].along : 0;
        for (int i = 0; i < counts[at] && next < count; ++i, ++next)
            addMark(bars.marks[at], cars[next].along, closeness(cars[next].distance), false);
    }
    const float beside = wheelBaseOf(frame) + 1.4f;
    for (bool first = true; next < count; ++next) {
        const Neighbour& car = cars[next];
        if (car.distance >= beside) continue;
        for (size_t at = 0; at < 2; ++at) {
            addMark(bars.marks[at], car.along, 1, true);
            if (!first || seen[at].active) continue;
            seen[at].active = true;
            seen[at].distance = car.distance;
            seen[at].offset = car.along;
        }
        first = false;
    }
}

void fadeSide(SpotterSide& side, const SideSeen& seen, double stepMs) {
    const double k = stepMs / kStepMs;
    const bool shows = seen.active || seen.approaching;
    const float target = seen.active ? 1 : seen.approaching ? 0.45f : 0;
    side.alpha += share(shows ? 0.35 : 0.08, k) * (target - side.alpha);
    side.active = seen.active;
    side.approaching = seen.approaching;
    if (seen.active) {
        side.pos += share(0.25, k) * (placeOf(seen.offset) - side.pos);
        side.strength += share(0.3, k) * (closeness(seen.distance) - side.strength);
        side.count = seen.count;
    } else if (side.alpha < 0.02f) {
        side.count = 0;
    }
}

void giveSides(SpotterRadar& radar, int carLeftRight) {
    std::sort(radar.blips.begin(), radar.blips.begin() + radar.count,
              [](const RadarBlip& a, const RadarBlip& b) {
                  return std::abs(a.longitudinal) < std::abs(b.longitudinal);
              });
    const int left = leftCount(carLeftRight), right = rightCount(carLeftRight);
    for (int i = 0; i < radar.count && i < left + right; ++i)
        radar.blips[static_cast<size_t>(i)].side = i < left ? -1 : 1;
}

} // namespace

double spotterStep(int64_t& lastTicks, int64_t nowTicks) {
    const double ms = lastTicks == 0 ? kStepMs : static_cast<double>(nowTicks - lastTicks) / 1e6;
    lastTicks = nowTicks;
    return ms > 250 ? kStepMs : std::max(ms, 0.0);
}

void spotterBarsTick(SpotterBars& bars, const SimFrame* frame, double stepMs) {
    std::array<SideSeen, 2> seen{};
    for (SpotterMarks& marks : bars.marks)
        marks.count = 0;
    const CarRow* player = spotterPlayer(frame);
    const bool bySim = player && frame->simKind == kSimIRacing;
    if (bySim) {
        seeBySim(bars, seen, *frame, *player);
    } else if (player && lateralKnown(*frame)) {
        seeByDistance(bars, seen, *frame, *player, stepMs);
    } else {
        for (SpotterSide& side : bars.sides)
            side.chaseCarIdx = -1;
    }
    for (size_t at = 0; at < 2; ++at)
        fadeSide(bars.sides[at], seen[at], stepMs);
}

bool blipPulses(const RadarBlip& blip) {
    return blip.alongside || std::abs(blip.longitudinal) < 1.5f;
}

void spotterRadarTick(SpotterRadar& radar, float range, const SimFrame* frame, double stepMs) {
    radar.count = 0;
    radar.range = range > 4 ? range : 15;
    radar.lateralKnown = false;
    if (const CarRow* player = spotterPlayer(frame)) {
        radar.lateralKnown = frame->simKind != kSimIRacing && lateralKnown(*frame);
        const float base = wheelBaseOf(*frame);
        const float width = frame->trackWidth > 0.5f ? frame->trackWidth : 1.7f;
        for (const CarRow& car : frame->cars) {
            if (!spotterCounts(*player, car) || radar.count == static_cast<int>(radar.blips.size()))
                continue;
            const float along = wayAlong(*frame, *player, car), distance = std::abs(along);
            const float across = radar.lateralKnown ? car.pathLateral - player->pathLateral : 0;
            if (distance > radar.range || !(std::abs(across) <= kSureAcross)) continue;
            const bool alongside = radar.lateralKnown
                                       ? distance < base / 2 + 0.7f + 2.5f &&
                                             std::abs(across) < width / 2 + 0.15f + 1.1f + 1.6f
                                       : distance < base + 1.4f;
            const int side = !radar.lateralKnown ? 0 : across < 0 ? -1 : 1;
            radar.blips[static_cast<size_t>(radar.count++)] = {along, across, car.carNumberValue,
                                                               side, alongside};
        }
        if (!radar.lateralKnown) giveSides(radar, frame->carLeftRight);
    }
    const double k = stepMs / kStepMs;
    const bool any = radar.count > 0;
    radar.alpha += share(any ? 0.35 : 0.08, k) * ((any ? 1.0f : 0.0f) - radar.alpha);
}

} // namespace vt
