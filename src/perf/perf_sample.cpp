#include "perf/perf_sample.h"

#include "telemetry/sim_capabilities.h"
#include "telemetry/sim_registry.h"

#include <algorithm>
#include <cmath>

namespace vt {

namespace {

void takeCar(PerfSample& s, const SimFrame& f) {
    s.sessionTime = f.sessionTime;
    s.lapPct = f.lapDistPct;
    s.lap = f.lap;
    s.speed = f.speed;
    s.throttle = f.throttle;
    s.brake = f.brake;
    s.steer = f.steerAngle;
    s.latAccel = f.latAccel;
    s.longAccel = f.longAccel;
    s.rpm = f.rpm;
    s.gear = f.gear;
    s.velX = f.velX;
    s.velY = f.velY;
    s.yaw = f.yawNorth;
    s.yawRate = f.yawRate;
    s.latVelocity = f.latVelocity;
    s.absActive = f.absActive != 0;
    s.dynamicsMask = f.dynamicsMask;
    s.latVelocitySource = static_cast<int32_t>(f.latVelocitySource);
    s.lateralM = f.surveyLateral;
    s.lateralOk = f.surveyLateralOk != 0;
    s.isOnTrack = f.isOnTrack != 0;
    s.onPitRoad = f.onPitRoad != 0;
    s.trackSurface = f.trackSurface;
    s.fuel = f.fuelLevel;
    s.brakeBias = f.brakeBias;
    s.tcLevel = f.tcLevel;
    s.absLevel = f.absLevel;
    std::copy(f.tyreRumble, f.tyreRumble + 4, s.rumble.begin());
    for (size_t i = 0; i < 4; ++i)
        s.wheelOnKerb[i] = f.wheelOnKerb[i] != 0;
}

void takeSession(PerfSample& s, const SimFrame& f) {
    s.sessionFlags = f.sessionFlags;
    s.incidents = f.incidents;
    s.sessionState = f.sessionState;
    s.airTemp = f.airTemp;
    s.trackTemp = f.trackTemp;
    s.wetness = f.wetness;
    s.lastLapTime = f.lastLapTime;
    s.trackLength = f.trackLength;
    s.trackId = f.trackId;
    s.lapValidity = f.lapValidity;
    if (f.sectorStarts.size() > kMaxSampleSectors) return;
    s.sectorCount = static_cast<int32_t>(f.sectorStarts.size());
    std::copy(f.sectorStarts.begin(), f.sectorStarts.end(), s.sectorStarts.begin());
}

float nearestAhead(const SimFrame& f) {
    float nearest = -1;
    for (const CarRow& row : f.cars) {
        const bool counts = row.carIdx != f.playerCarIdx && row.lapDistPct >= 0 && !row.onPitRoad &&
                            row.gapToPlayer > 0;
        if (counts && (nearest < 0 || row.gapToPlayer < nearest)) nearest = row.gapToPlayer;
    }
    return nearest;
}

} // namespace

bool simIsRecorded(int32_t simKind) {
    return simKind == kSimIRacing || simKind == kSimLmu || simKind == kSimAcEvo;
}

PerfSample perfSampleOf(const SimFrame& frame, bool resetFlag, int32_t lateralCalVersion) {
    PerfSample sample;
    takeCar(sample, frame);
    takeSession(sample, frame);
    sample.resetFlag = resetFlag;
    sample.lateralCalVersion = lateralCalVersion;
    const CarRow* player = playerRow(frame);
    sample.compound = player ? player->tyreCompound : -1;
    sample.trafficGap = nearestAhead(frame);
    sample.noGapData = !simOffers(frame.simKind, kOffersGaps);
    return sample;
}

void PerfRing::push(const PerfSample& sample) {
    const uint32_t at = written_.load(std::memory_order_relaxed);
    if (at - read_.load(std::memory_order_acquire) >= kSampleRing) {
        ++dropped_;
        pendingReset_ |= sample.resetFlag;
        return;
    }
    PerfSample& slot = samples_[at % kSampleRing];
    slot = sample;
    slot.resetFlag |= pendingReset_;
    pendingReset_ = false;
    written_.store(at + 1, std::memory_order_release);
}

bool PerfRing::pop(PerfSample& out) {
    const uint32_t at = read_.load(std::memory_order_relaxed);
    if (at == written_.load(std::memory_order_acquire)) return false;
    out = samples_[at % kSampleRing];
    read_.store(at + 1, std::memory_order_release);
    return true;
}

void perfPushSample(PerfRing& ring, const SimFrame& frame, bool resetFlag,
                    int32_t lateralCalVersion) {
    if (frame.connected && simIsRecorded(frame.simKind))
        ring.push(perfSampleOf(frame, resetFlag, lateralCalVersion));
}

} // namespace vt
