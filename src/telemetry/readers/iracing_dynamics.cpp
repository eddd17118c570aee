#include "telemetry/readers/iracing_dynamics.h"

#include <algorithm>
#include <cmath>

namespace vt {

namespace {

constexpr float kDegreesPerRadian = 57.295776f;

float clamp01(float x) {
    return std::clamp(x, 0.0f, 1.0f);
}

/// Learns how much yaw a steering angle gives while the car runs without slip and without load
/// change: not braking, not on full throttle, hardly any lateral velocity.
void learnTurnGain(const SimFrame& frame, float vy, IrDynamics& memory) {
    const float steer = std::abs(frame.steerAngle);
    const float yaw = std::abs(frame.yawRate);
    if (!(frame.speed > 15 && frame.brake < 0.1f && frame.throttle < 0.8f)) return;
    if (!(std::abs(vy) < 0.3f && steer > 0.05f && yaw > 0.05f)) return;
    const float ratio = yaw / (steer * frame.speed);
    if (!(ratio > 0.005f && ratio < 0.1f)) return;
    memory.turnGain =
        memory.turnGainSamples == 0 ? ratio : memory.turnGain + (ratio - memory.turnGain) * 0.1f;
    memory.turnGainSamples = std::min(memory.turnGainSamples + 1, 5);
    memory.turnGainReady = memory.turnGainReady || memory.turnGainSamples >= 5;
}

/// Positive = oversteer, from lateral velocity or its rate; negative = the car yaws less than its
/// steering asks for.
float balanceOf(const SimFrame& frame, float vy, float dt, const IrDynamics& memory) {
    const float steer = std::abs(frame.steerAngle);
    const float over = clamp01((std::abs(vy) - 1.05f) / 5.25f);
    const float rate =
        dt > 0 ? clamp01((std::abs((vy - memory.latVelocity) / dt) - 3.15f) / 9.45f) : 0;
    const float asked = steer * frame.speed * memory.turnGain;
    const float under = memory.turnGainReady && steer > 0.05f
                            ? clamp01((asked - std::abs(frame.yawRate) - 0.2494f) / 0.4988f)
                            : 0;
    const float rear = std::max(over, rate);
    return rear >= under ? rear : -under;
}

} // namespace

void fillDynamics(SimFrame& frame, const IrSample& sample, IrDynamics& memory) {
    const IrVar* varX = sample.find("VelocityX");
    const IrVar* varY = sample.find("VelocityY");
    if (!varX || !varY) {
        memory.valid = false;
        return;
    }
    const float vx = sample.elementReal(varX, 0);
    const float vy = sample.elementReal(varY, 0);

    frame.slipAngle = std::atan2(-vy, std::max(std::abs(vx), 0.01f)) * kDegreesPerRadian;
    frame.slipSource = 2;
    const auto step = static_cast<float>(frame.sessionTime - memory.sessionTime);
    const float dt = memory.valid && step > 0.001f && step < 0.5f ? step : 0;
    if (dt > 0) frame.slipRate = (frame.slipAngle - memory.slipAngle) / dt;

    learnTurnGain(frame, vy, memory);
    if (frame.speed > 5) {
        frame.balance = balanceOf(frame, vy, dt, memory);
        frame.balanceSource = 1;
    }
    frame.dynamicsSpeed = frame.speed;
    frame.dynamicsOk = 1;
    frame.dynamicsFromYaw = 1;
    memory.latVelocity = vy;
    memory.slipAngle = frame.slipAngle;
    memory.sessionTime = frame.sessionTime;
    memory.valid = true;
}

} // namespace vt
