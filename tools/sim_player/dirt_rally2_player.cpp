// DiRT Rally 2.0: a recording of its datagrams at the pace of their own clock, or the driver model
// on a stage.
#include "datagram_player.h"
#include "platform/file.h"
#include "telemetry/reader_parts.h"
#include "telemetry/readers/dirt_rally2_layout.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>

namespace player {

namespace {

constexpr double kLongestPause = 1; // s between two packets of a recording
constexpr double kLoopPause = 3;    // s before it starts again

float totalTimeAt(const std::string& packets, size_t at) {
    float time = 0;
    std::memcpy(&time, packets.data() + at, sizeof time);
    return std::isfinite(time) ? time : 0;
}

/// Sends it again and again until the time is over.
int playRecording(const Options& options) {
    std::string packets;
    if (!vt::readFile(options.file, packets) || packets.size() < vt::kDirtRally2LongBytes ||
        packets.size() % vt::kDirtRally2LongBytes != 0) {
        std::fprintf(stderr, "sim_player: %s holds no datagrams of %zu bytes\n",
                     options.file.c_str(), vt::kDirtRally2LongBytes);
        return 1;
    }
    std::printf("DiRT Rally 2.0: %zu datagrams of %s\n", packets.size() / vt::kDirtRally2LongBytes,
                options.file.c_str());
    std::fflush(stdout);
    Sender sender(options, vt::kDirtRally2Port);
    const double start = monotonicSeconds();
    const double rate = options.speed > 0 ? options.speed : 1;
    for (double at = start;; at += kLoopPause) {
        for (size_t i = 0; i < packets.size(); i += vt::kDirtRally2LongBytes) {
            if (i > 0) {
                const double step =
                    totalTimeAt(packets, i) - totalTimeAt(packets, i - vt::kDirtRally2LongBytes);
                at += std::clamp(step, 0.0, kLongestPause) / rate;
            }
            if (options.seconds > 0 && at - start >= options.seconds) return 0;
            if (!waitUntil(at)) return 0;
            sender.send(packets.data() + i, vt::kDirtRally2LongBytes);
        }
    }
}

vt::DirtRally2Packet packetOf(const model::Race& race) {
    const model::Car& car = model::player(race);
    const model::CarClass& type = model::classOf(race, car);
    const model::WorldAxes axes = model::worldAxes(car);
    vt::DirtRally2Packet p{};
    p.totalTime = asFloat(race.time);
    p.lapTime = asFloat(car.lapTime);
    p.stageMetres = asFloat(car.total);
    p.progress = asFloat(std::clamp(car.pct, 0.0, 1.0));
    copyVector(p.position, axes.position);
    copyVector(p.velocity, axes.velocity);
    copyVector(p.forward, axes.forward);
    copyVector(p.right, axes.right);
    p.speed = asFloat(car.speed);
    for (int i = 0; i < 4; ++i) {
        p.suspension[i] = asFloat(10 * std::sin(car.total * 0.7 + i));
        p.suspensionVelocity[i] = asFloat(7 * car.speed * std::cos(car.total * 0.7 + i));
        p.wheelSpeed[i] = p.speed;
        p.brakeTemperature[i] = asFloat(150 + 300 * car.brake);
    }
    p.throttle = asFloat(car.throttle);
    p.brake = asFloat(car.brake);
    p.clutch = asFloat(car.clutch);
    p.steering = asFloat(car.steer);
    p.gear = car.gear < 0 ? 10 : asFloat(car.gear);
    p.lateralG = asFloat(-car.latAccel) / vt::kGravity; // the game's is positive to the left
    p.longitudinalG = asFloat(car.longAccel) / vt::kGravity;
    p.rpmTenth = asFloat(car.rpm / 10);
    p.lapsTotal = 1;
    p.lastLapTime = asFloat(car.lastLap);
    p.stageLength = asFloat(race.circuit.length);
    p.maxRpmTenth = asFloat(type.maxRpm / 10);
    p.idleRpmTenth = asFloat(type.idleRpm / 10);
    p.gears = asFloat(type.gears);
    return p;
}

} // namespace

int playDirtRally2(const Options& options) {
    if (!options.file.empty()) return playRecording(options);
    const size_t length =
        options.extra == "short" ? vt::kDirtRally2ShortBytes : vt::kDirtRally2LongBytes;
    Sender sender(options, vt::kDirtRally2Port);
    return playModel(onStage(options), "DiRT Rally 2.0", [&](const model::Race& race) {
        const vt::DirtRally2Packet packet = packetOf(race);
        sender.send(&packet, length);
        return true;
    });
}

} // namespace player
