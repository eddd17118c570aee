// BeamNG: the driver model in the datagrams of the program's mod; `--extra 3` to `--extra 6` sends
// those of an older version of it.
#include "base/utf8.h"
#include "datagram_player.h"
#include "telemetry/reader_parts.h"
#include "telemetry/readers/beamng_layout.h"

#include <cstdlib>
#include <cstring>

namespace player {

namespace {

vt::BeamNgPacket packetOf(const model::Race& race, uint32_t version) {
    const model::Car& car = model::player(race);
    const model::CarClass& type = model::classOf(race, car);
    vt::BeamNgPacket p{};
    std::memcpy(p.magic, "VTBN", sizeof p.magic);
    p.version = version;
    p.rpm = asFloat(car.rpm);
    p.maxRpm = asFloat(type.maxRpm);
    p.gear = car.gear;
    p.throttle = asFloat(car.throttle);
    p.brake = asFloat(car.brake);
    p.clutch = asFloat(car.clutch);
    p.speed = asFloat(car.speed);
    p.longAccel = asFloat(car.longAccel);
    p.latAccel = asFloat(car.latAccel);
    vt::copyText(p.vehicle, type.modelKey);
    p.steering = asFloat(car.steer);
    p.wheelDegrees = asFloat(car.wheelAngle) * vt::kDegPerRad;
    return p;
}

} // namespace

int playBeamNg(const Options& options) {
    const auto version =
        options.extra.empty() ? 6u : static_cast<uint32_t>(std::atoi(options.extra.c_str()));
    const size_t length = vt::beamNgPacketBytes(version);
    if (length == 0) {
        std::fprintf(stderr, "sim_player: the mod's versions are 3 to 6\n");
        return 2;
    }
    Sender sender(options, vt::kBeamNgPort);
    return playModel(options, "BeamNG", [&](const model::Race& race) {
        const vt::BeamNgPacket packet = packetOf(race, version);
        sender.send(&packet, length);
        return true;
    });
}

} // namespace player
