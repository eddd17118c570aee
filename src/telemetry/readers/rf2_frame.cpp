#include "telemetry/readers/rf2_frame.h"

#include "telemetry/sim_registry.h"

namespace vt {

namespace {

constexpr double kUnknownTime = 86400; // s; a session has no end from here on

std::span<const VehicleScoring> scoredCars(const Rf2Scoring& scoring) {
    return {scoring.vehicles, clampedCount(scoring.info.numVehicles, kRf2Cars)};
}

bool anyYellow(const ScoringInfo& info) {
    return info.yellowState > 0 || info.sectorFlags[0] > 0 || info.sectorFlags[1] > 0 ||
           info.sectorFlags[2] > 0;
}

double timeRemain(const ScoringInfo& info) {
    const double left = info.endTime - info.currentTime;
    return info.endTime > 0 && left >= 0 && left < kUnknownTime ? left : -1;
}

} // namespace

const VehicleScoring* rf2Player(const Rf2Scoring& scoring) {
    return findPlayer(scoredCars(scoring));
}

void fillRf2Frame(SimFrame& out, const Rf2Scoring& scoring, const VehicleTelemetry& car,
                  VehicleMemory& memory) {
    const ScoringInfo& info = scoring.info;
    const VehicleScoring* player = rf2Player(scoring);
    resetKeepingCapacity(out);
    out.connected = 1;
    out.simKind = kSimRFactor2;
    fillSession(out, info, memory);
    out.timeRemain = timeRemain(info);
    out.throttle = finiteOr(car.throttle, 0);
    out.pitLimiterOn = car.limiter != 0;
    fillVehicle(out, car, info, memory);
    for (const VehicleScoring& other : scoredCars(scoring))
        addRow(out, other, info.lapDist);
    if (player) {
        fillPlayer(out, *player);
        out.lapDistPct = lapFraction(player->lapDist, info.lapDist);
    }
    out.sessionFlags = flagsOfPhase(info.gamePhase, anyYellow(info));
    fillRacePhase(out, info, player);
    fillLapsRemain(out, info);
    memory.elapsed = car.elapsed;
}

} // namespace vt
