#include "telemetry/readers/beamng_frame.h"

#include "base/utf8.h"
#include "telemetry/sim_registry.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace vt {

namespace {

void fillSteering(SimFrame& frame, const BeamNgPacket& p, SteerWords& steer) {
    if (p.version < 4) { // knows nothing of the wheel
        frame.steerAngleOk = 0;
        return;
    }
    steerApply(steer, frame, p.steering);
    if (p.version < 6) return;
    frame.steerAngle = finiteOr(p.wheelDegrees * kRadPerDeg, 0);
    frame.steerAngleOk = 1;
}

void fillRpm(SimFrame& frame, const BeamNgPacket& p) {
    frame.rpm = finiteOr(p.rpm, 0);
    frame.maxRpm = finiteOr(p.maxRpm, 0);
    if (!(frame.maxRpm > 0)) return;
    frame.shiftFirstRpm = frame.maxRpm * 0.8f;
    frame.shiftRpm = frame.maxRpm * 0.9f;
    frame.shiftBlinkRpm = frame.maxRpm * 0.95f;
}

} // namespace

bool parseBeamNg(ByteView bytes, BeamNgPacket& out) {
    const auto version = readAt<uint32_t>(bytes, offsetof(BeamNgPacket, version));
    const size_t expected = beamNgPacketBytes(version);
    if (expected == 0 || bytes.size() != expected || std::memcmp(bytes.data(), "VTBN", 4) != 0)
        return false;
    out = {};
    std::memcpy(&out, bytes.data(), expected);
    return true;
}

bool validBeamNg(ByteView bytes) {
    BeamNgPacket packet;
    return parseBeamNg(bytes, packet);
}

void fillBeamNgFrame(SimFrame& frame, ByteView bytes, SteerWords& steer) {
    BeamNgPacket p;
    if (!parseBeamNg(bytes, p)) return;
    frame.simKind = kSimBeamNg;
    frame.connected = 1;
    frame.isOnTrack = 1;
    frame.throttle = finiteOr(p.throttle, 0);
    frame.brake = finiteOr(p.brake, 0);
    frame.clutch = finiteOr(p.clutch, 0);
    frame.gear = std::max<int32_t>(p.gear, -1);
    frame.speed = std::abs(finiteOr(p.speed, 0));
    fillRpm(frame, p);
    fillSteering(frame, p, steer);
    frame.latAccel = finiteOr(-p.latAccel, 0);
    frame.longAccel = finiteOr(p.longAccel, 0);
    copyText(frame.carModel, {p.vehicle, strnlen(p.vehicle, sizeof p.vehicle)});
    if (frame.carModel[0] == '\0') copyText(frame.carModel, "beamng");
}

} // namespace vt
