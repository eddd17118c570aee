#include "telemetry/readers/ac_evo_world.h"

#include <algorithm>
#include <cmath>

namespace vt {

namespace {

constexpr int kVotesToSettle = 15;
constexpr int kYawSamples = 40;
constexpr int kYawMajority = 36;       // 90 % of them
constexpr float kYawLeastRate = 0.15f; // rad/s
constexpr float kYawLeastSpeed = 10;   // m/s
constexpr double kTurn = 2 * M_PI;

float length3(const float (&v)[3]) {
    return std::hypot(v[0], v[1], v[2]);
}

void normalise(float (&v)[3], float length) {
    for (float& value : v)
        value /= length;
}

} // namespace

AcEvoGeometry acEvoGeometry(const float (&contact)[4][3]) {
    AcEvoGeometry out;
    const auto& [lf, rf, lr, rr] = contact;
    for (int i = 0; i < 3; ++i) {
        out.forward[i] = (lf[i] + rf[i] - lr[i] - rr[i]) / 2;
        out.right[i] = (rf[i] + rr[i] - lf[i] - lr[i]) / 2;
        out.centre[i] = (lf[i] + rf[i] + lr[i] + rr[i]) / 4;
        if (!std::isfinite(out.centre[i])) return {};
    }
    out.wheelBase = length3(out.forward);
    out.trackWidth = length3(out.right);
    out.ok =
        out.wheelBase >= 1 && out.wheelBase <= 6 && out.trackWidth >= 0.8f && out.trackWidth <= 3;
    if (!out.ok) return {};
    normalise(out.forward, out.wheelBase);
    normalise(out.right, out.trackWidth);
    return out;
}

bool acEvoVote(AcEvoAxes& axes, const AcEvoGeometry& geometry) {
    if (axes.settled) return false;
    int up = 0;
    float share[3];
    for (int i = 0; i < 3; ++i) {
        share[i] =
            geometry.forward[i] * geometry.forward[i] + geometry.right[i] * geometry.right[i];
        if (share[i] < share[up]) up = i;
    }
    const int a = up == 0 ? 1 : 0, b = up == 2 ? 1 : 2;
    const float cross =
        geometry.right[a] * geometry.forward[b] - geometry.right[b] * geometry.forward[a];
    if (!geometry.ok || !(share[up] <= 0.2f) || !(std::abs(cross) > 0.5f)) {
        axes.votes = 0;
        return false;
    }
    const float flip = cross < 0 ? -1.0f : 1.0f;
    if (axes.up != up || axes.flip != flip) axes.votes = 0;
    axes.up = up;
    axes.a = a;
    axes.b = b;
    axes.flip = flip;
    axes.settled = ++axes.votes >= kVotesToSettle;
    return axes.settled;
}

void acEvoFillWorld(SimFrame& out, const AcEvoAxes& axes, const AcEvoGeometry& geometry) {
    if (!axes.settled || !geometry.ok) return;
    const float forward = std::hypot(geometry.forward[axes.a], geometry.forward[axes.b]);
    const float right = std::hypot(geometry.right[axes.a], geometry.right[axes.b]);
    if (!(forward > 0.5f) || !(right > 0.5f)) return;
    out.worldX = geometry.centre[axes.a];
    out.worldY = axes.flip * geometry.centre[axes.b];
    out.forwardX = geometry.forward[axes.a] / forward;
    out.forwardY = axes.flip * geometry.forward[axes.b] / forward;
    out.rightX = geometry.right[axes.a] / right;
    out.rightY = axes.flip * geometry.right[axes.b] / right;
    out.worldOk = 1;
}

bool acEvoLearnYaw(AcEvoYaw& yaw, const SimFrame& frame, float yawWord, double now) {
    if (yaw.sign != 0) return false;
    if (!frame.worldOk) {
        yaw.haveHeading = false;
        return false;
    }
    const float heading = std::atan2(frame.forwardY, frame.forwardX);
    const double seconds = now - yaw.headingAt;
    const double turned = std::remainder(static_cast<double>(heading - yaw.heading), kTurn);
    const bool usable = yaw.haveHeading && seconds >= 0.005 && seconds <= 0.25;
    yaw.haveHeading = true;
    yaw.heading = heading;
    yaw.headingAt = now;
    if (!usable || !(frame.speed > kYawLeastSpeed)) return false;
    const auto rate = static_cast<float>(turned / seconds);
    if (!(std::abs(rate) > kYawLeastRate) || !(std::abs(yawWord) > kYawLeastRate)) return false;
    ((rate > 0) == (yawWord > 0) ? yaw.agree : yaw.disagree) += 1;
    if (yaw.agree + yaw.disagree < kYawSamples) return false;
    if (yaw.agree >= kYawMajority)
        yaw.sign = 1;
    else if (yaw.disagree >= kYawMajority)
        yaw.sign = -1;
    else
        yaw.agree = yaw.disagree = 0;
    return yaw.sign != 0;
}

} // namespace vt
