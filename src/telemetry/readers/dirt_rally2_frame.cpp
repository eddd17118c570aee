#include "telemetry/readers/dirt_rally2_frame.h"

#include "base/hash.h"
#include "telemetry/sim_registry.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <numbers>

namespace vt {

namespace {

constexpr float kMaxSpeed = 200; // m/s
constexpr float kMaxRpm = 40000; // exclusive
constexpr float kStartProgress = 0.01f;
constexpr float kRestartSeconds = 1; // by so much the clock must fall
constexpr float kStageCell = 50;     // m
constexpr float kMaxCoordinate = 1e7f;
constexpr float kMaxStageTime = 36000; // s

bool between(float value, float low, float high) {
    return value > low && value < high; // false for NaN
}

bool looksLikeF1(ByteView bytes) {
    const auto format = readAt<uint16_t>(bytes, 0);
    const auto year = readAt<uint8_t>(bytes, 2), id = readAt<uint8_t>(bytes, 6);
    return format >= 2023 && format <= 2030 && year >= 15 && year <= 50 && id <= 15;
}

bool plausible(const DirtRally2Packet& p) {
    if (!between(p.speed, -kMaxSpeed, kMaxSpeed)) return false;
    for (const float speed : p.wheelSpeed)
        if (!between(speed, -kMaxSpeed, kMaxSpeed)) return false;
    if (!between(p.gear, -3, 13)) return false; // truncated -2..12
    const float rpm = p.rpmTenth * 10;
    if (!(rpm >= 0 && rpm < kMaxRpm)) return false;
    for (const float millimetres : p.suspension)
        if (!between(millimetres * 0.001f, -5, 5)) return false;
    for (const float velocity : p.suspensionVelocity)
        if (!between(velocity * 0.001f, -100, 100)) return false;
    return true;
}

void fillRpm(SimFrame& frame, const DirtRally2Packet& p) {
    frame.rpm = p.rpmTenth * 10;
    const float maxRpm = p.maxRpmTenth * 10;
    if (!between(maxRpm, 100, 20000)) return;
    frame.maxRpm = maxRpm;
    frame.shiftFirstRpm = maxRpm * 0.8f;
    frame.shiftRpm = maxRpm * 0.9f;
    frame.shiftBlinkRpm = maxRpm * 0.95f;
}

void fillStage(SimFrame& frame, const DirtRally2Packet& p, DirtRally2Memory& memory) {
    if (std::isfinite(p.totalTime)) {
        if (memory.prevTotalTime >= 0 && memory.prevTotalTime - p.totalTime > kRestartSeconds)
            memory.restarted = true;
        memory.prevTotalTime = p.totalTime;
    }
    const bool wanted = memory.stageId == 0 || memory.restarted;
    if (wanted && frame.worldOk && frame.trackLength > 1 && p.progress <= kStartProgress) {
        const int32_t id = dirtStageId(frame.trackLength, frame.worldX, frame.worldY,
                                       frame.forwardX, frame.forwardY);
        if (id != 0) {
            memory.stageId = id;
            std::snprintf(memory.stageName, sizeof memory.stageName, "Stage %.1f km",
                          static_cast<double>(frame.trackLength) / 1000);
            memory.restarted = false;
        }
    }
    if (memory.stageId == 0) return;
    frame.trackId = memory.stageId;
    std::snprintf(frame.trackName, sizeof frame.trackName, "%s", memory.stageName);
}

} // namespace

bool parseDirtRally2(ByteView bytes, DirtRally2Packet& out) {
    const size_t size = bytes.size();
    if (size % 4 != 0 || (size != kDirtRally2ShortBytes && size < kDirtRally2LongBytes))
        return false;
    if (looksLikeF1(bytes)) return false;
    out = {};
    std::memcpy(&out, bytes.data(), std::min(size, sizeof out));
    return plausible(out);
}

bool validDirtRally2(ByteView bytes) {
    DirtRally2Packet packet;
    return parseDirtRally2(bytes, packet);
}

int32_t dirtStageId(float stageLength, float worldX, float worldY, float forwardX, float forwardY) {
    if (!between(stageLength, 0, kMaxCoordinate) ||
        !between(worldX, -kMaxCoordinate, kMaxCoordinate) ||
        !between(worldY, -kMaxCoordinate, kMaxCoordinate))
        return 0;
    const float angle = std::atan2(forwardY, forwardX);
    const float heading = std::isfinite(angle) ? angle : 0;
    constexpr float pi = std::numbers::pi_v<float>;
    const int32_t words[4] = {
        static_cast<int32_t>(std::lround(stageLength)),
        static_cast<int32_t>(std::floor(worldX / kStageCell)),
        static_cast<int32_t>(std::floor(worldY / kStageCell)),
        std::clamp(static_cast<int32_t>(std::floor((heading + pi) / (pi / 4))), 0, 7)};
    char bytes[sizeof words];
    std::memcpy(bytes, words, sizeof bytes);
    const auto id = static_cast<int32_t>(fnv1a32({bytes, sizeof bytes}) & 0x7FFFFFFFu);
    return id == 0 ? 1 : id;
}

void fillDirtRally2Frame(SimFrame& frame, ByteView bytes, DirtRally2Memory& memory,
                         SteerWords& steer) {
    DirtRally2Packet p;
    if (!parseDirtRally2(bytes, p)) return;
    frame.simKind = kSimDirtRally2;
    frame.connected = 1;
    frame.isOnTrack = 1;
    frame.throttle = finiteOr(p.throttle, 0);
    frame.brake = finiteOr(p.brake, 0);
    frame.clutch = finiteOr(p.clutch, 0);
    steerApply(steer, frame, p.steering);
    const int gear = static_cast<int>(p.gear);
    frame.gear = gear == 10 ? -1 : std::max(gear, -1);
    frame.speed = std::abs(p.speed);
    fillRpm(frame, p);
    frame.latAccel = finiteOr(p.lateralG * kGravity, 0);
    frame.longAccel = finiteOr(p.longitudinalG * kGravity, 0);
    if (between(p.stageLength, 0, kMaxCoordinate)) frame.trackLength = p.stageLength;
    const float time = p.lapTime > 0 ? p.lapTime : p.totalTime;
    frame.currentLapTime = between(time, 0, kMaxStageTime) ? time : 0;
    frame.lapDistPct = clamp01(p.progress);
    fillWorld(frame, memory.mapFrame, p.position, p.forward, p.right);
    fillStage(frame, p, memory);
}

} // namespace vt
