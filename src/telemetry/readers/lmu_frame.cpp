#include "telemetry/readers/lmu_frame.h"

#include "base/utf8.h"
#include "telemetry/coach_log.h"
#include "telemetry/sim_registry.h"

#include <algorithm>
#include <cmath>

namespace vt {

namespace {

constexpr double kUnknownTime = 86400; // s; a session has no end from here on
constexpr double kExtraSeconds = 0.3;  // for which a place on the lap is carried on
constexpr double kLongestTick = 0.1;   // s

enum Surface { kOffTrack = 0, kInStall = 1, kToPits = 2, kOnTrack = 3 };

bool terrainHolds(const VehicleWheel& wheel, std::string_view lowerCaseWord) {
    return containsNoCase(textOf(wheel.terrainName), lowerCaseWord);
}

bool onKerb(const VehicleWheel& wheel) {
    return wheel.surfaceType == kSurfaceKerb || terrainHolds(wheel, "rmbl") ||
           terrainHolds(wheel, "pcrb") || terrainHolds(wheel, "curb");
}

/// Paved run-off belongs to the track up to the edge that the sim tells, so that the order counts:
/// soft ground, paved run-off, pits, edge.
void fillSurface(SimFrame& out, const VehicleTelemetry& car, const VehicleScoring* player) {
    bool soft = false, runOff = false;
    for (int i = 0; i < 4; ++i) {
        const VehicleWheel& wheel = car.wheels[i];
        soft |= wheel.surfaceType >= kSurfaceGrass && wheel.surfaceType <= kSurfaceGravel;
        runOff |= terrainHolds(wheel, "runoff") || terrainHolds(wheel, "apron");
        out.wheelOnKerb[i] = onKerb(wheel);
    }
    runOff = runOff && !soft;
    out.trackSurface = soft || runOff ? kOffTrack : kOnTrack;
    if (!player) return;
    if (player->inPits) out.trackSurface = kToPits;
    if (player->inGarage || player->pitState == kPitStopped) out.trackSurface = kInStall;
    const auto lateral = static_cast<float>(player->pathLateral);
    if (std::isfinite(lateral)) { // a double may be finite and too large for a float
        out.pathLateral = lateral;
        out.pathLateralOk = 1;
    }
    out.trackEdge = finiteOr(player->trackEdge, 0);
    out.trackEdgeOk = out.trackEdge != 0;
    if (runOff && out.trackSurface == kOffTrack && out.trackEdgeOk && out.pathLateralOk &&
        std::abs(out.trackEdge) >= std::abs(out.pathLateral))
        out.trackSurface = kOnTrack;
}

void fillWorldPlace(SimFrame& out, const VehicleTelemetry& car) {
    const float place[] = {
        static_cast<float>(car.position.x),        static_cast<float>(car.position.z),
        static_cast<float>(-car.orientation[0].z), static_cast<float>(-car.orientation[2].z),
        static_cast<float>(-car.orientation[0].x), static_cast<float>(-car.orientation[2].x)};
    if (!std::all_of(std::begin(place), std::end(place), [](float v) { return std::isfinite(v); }))
        return;
    out.worldX = place[0];
    out.worldY = place[1];
    out.forwardX = place[2];
    out.forwardY = place[3];
    out.rightX = place[4];
    out.rightY = place[5];
    out.worldOk = 1;
}

void fillTyres(SimFrame& out, const VehicleTelemetry& car) {
    for (int i = 0; i < 4; ++i) {
        const VehicleWheel& wheel = car.wheels[i];
        out.tyreTemp[i] = finiteOr(wheel.temperature[1] - kZeroCelsius, -1000);
        out.tyrePressure[i] = finiteOr(wheel.pressure, -1000);
        out.tyreWear[i] = finiteOr(wheel.wear, -1);
    }
    out.tyreDataLevel = 1;
}

void fillDamageAndDrive(SimFrame& out, const VehicleTelemetry& car) {
    const uint8_t worst = *std::max_element(std::begin(car.dents), std::end(car.dents));
    out.damageLevel = std::min<int32_t>(worst, 2);
    out.partDetached = car.detached;
    out.overheating = car.overheating;
    if (car.lastImpactTime > 0 && std::isfinite(car.lastImpactTime))
        out.lastImpactTime = car.lastImpactTime;
    out.virtualEnergy = finiteOr(car.virtualEnergy, -1);
    out.batteryCharge = finiteOr(car.batteryCharge, -1);
    out.motorState = car.motorState;
    out.motorMap = car.motorMap;
    out.motorMapCount = car.motorMapCount;
}

void fillCar(SimFrame& out, const LmuPage& page, const VehicleTelemetry& car,
             const VehicleScoring* player, LmuMemory& memory) {
    const bool drivenByOther = player && player->control != 0;
    out.throttle = finiteOr(drivenByOther ? car.throttle : car.unfilteredThrottle, 0);
    out.pitLimiterOn = car.limiter || car.limiter2;
    out.yawRate = finiteOr(-car.localRotation.y, 0);
    out.latVelocity = finiteOr(car.localVelocity.x, 0);
    out.latVelocitySource = 2;
    out.absActive = car.absActive;
    out.dynamicsMask = 7;
    fillVehicle(out, car, page.head.scoring, memory.vehicle);
    fillWorldPlace(out, car);
    fillTyres(out, car);
    fillDamageAndDrive(out, car);
    fillSurface(out, car, player);
}

void fillFlags(SimFrame& out, const ScoringInfo& info, LmuMemory& memory) {
    out.sessionFlags = flagsOfPhase(info.gamePhase, info.yellowState > 0);
    out.cautionPhase = info.yellowState < 7 ? info.yellowState : 0;
    if (info.gamePhase == memory.lastPhase && info.yellowState == memory.lastYellow &&
        std::equal(info.sectorFlags, info.sectorFlags + 3, memory.lastSectorFlags))
        return;
    memory.lastPhase = info.gamePhase;
    memory.lastYellow = info.yellowState;
    std::copy(info.sectorFlags, info.sectorFlags + 3, memory.lastSectorFlags);
    coachLog("lmu flags: phase %d, yellowState %d, sectors %d/%d/%d -> sessionFlags 0x%x\n",
             memory.lastPhase, memory.lastYellow, memory.lastSectorFlags[0],
             memory.lastSectorFlags[1], memory.lastSectorFlags[2], out.sessionFlags);
}

void fillTrack(SimFrame& out, const ScoringInfo& info, LmuMemory& memory) {
    if (fillSession(out, info, memory.vehicle)) {
        memory.trackId = trackNameHash(out.trackName);
        std::fill(std::begin(memory.sectorSeen), std::end(memory.sectorSeen), false);
        memory.lastSector = -1;
    }
    out.trackId = memory.trackId;
    out.isRace = isRaceSession(info.session);
    out.timeRemain = info.timeRemaining < kUnknownTime ? double{info.timeRemaining} : -1;
    if (!std::isfinite(out.timeRemain)) out.timeRemain = -1;
}

void fillGrid(SimFrame& out, const ScoringInfo& info, const VehicleScoring* player,
              LmuMemory& memory) {
    if (info.session != memory.gridSession) {
        memory.gridSession = info.session;
        memory.gridPosition = -1;
    }
    if (!isRaceSession(info.session)) return;
    if (player && info.gamePhase < kPhaseGreen && player->place != 0)
        memory.gridPosition = player->place;
    out.gridPosition = memory.gridPosition;
}

void fillRows(SimFrame& out, const LmuPage& page) {
    const size_t count = clampedCount(page.head.scoring.numVehicles, kLmuCars);
    for (const VehicleScoring& car : std::span(page.scoring, count)) {
        CarRow& row = addRow(out, car, page.head.scoring.lapDist);
        row.pitStops = car.pitStops;
        row.fuelFraction = static_cast<float>(car.fuelFraction) / 255;
    }
    rankClasses(out.cars);
}

/// The sector that begins where the player was seen in it first. Jumps to the garage and back are
/// no crossings of the neighbouring sector, or give starts that do not ascend.
void learnSectors(SimFrame& out, const VehicleScoring& player, float lapDistPct,
                  LmuMemory& memory) {
    const int32_t sector = player.sector;
    if (sector < 0 || sector >= 3) return;
    if (memory.lastSector >= 0 && sector == (memory.lastSector + 1) % 3) {
        memory.sectorStart[sector] = lapDistPct;
        memory.sectorSeen[sector] = true;
    }
    memory.lastSector = sector;
    const float second = memory.sectorStart[2], third = memory.sectorStart[0];
    if (memory.sectorSeen[2] && memory.sectorSeen[0] && second > 0 && third > second && third < 1)
        out.sectorStarts.assign({0.0f, second, third});
}

void fillLapPlace(SimFrame& out, const ScoringInfo& info, const VehicleScoring& player,
                  double elapsed, LmuMemory& memory) {
    const double step = elapsed - memory.vehicle.elapsed;
    if (player.lapDist != memory.lastLapDist) {
        memory.lapDistExtra = 0;
        memory.lastLapDist = player.lapDist;
    } else if (step > 0 && step <= kLongestTick) {
        memory.lapDistExtra =
            std::min(memory.lapDistExtra + out.speed * step, out.speed * kExtraSeconds);
    }
    out.lapDistPct = lapFraction(player.lapDist + memory.lapDistExtra, info.lapDist);
}

void fillCarName(SimFrame& out, const VehicleScoring& player) {
    std::string_view name = textOf(player.vehicleName);
    if (const size_t mark = name.rfind('#'); mark != name.npos) name = name.substr(0, mark);
    while (!name.empty() && (name.back() == ' ' || name.back() == '\t'))
        name.remove_suffix(1);
    copyText(out.carName, name);
}

} // namespace

const VehicleTelemetry* lmuPlayerTelemetry(const LmuPage& page) {
    if (!page.playerHasVehicle || page.playerVehicleIdx >= page.activeVehicles ||
        page.playerVehicleIdx >= kLmuCars)
        return nullptr;
    return &page.telemetry[page.playerVehicleIdx];
}

void fillLmuFrame(SimFrame& out, const LmuPage& page, LmuMemory& memory) {
    const VehicleTelemetry* car = lmuPlayerTelemetry(page);
    if (!car) return;
    const ScoringInfo& info = page.head.scoring;
    const VehicleScoring* player =
        findPlayer({page.scoring, clampedCount(info.numVehicles, kLmuCars)});
    resetKeepingCapacity(out);
    out.connected = 1;
    out.simKind = kSimLmu;
    fillTrack(out, info, memory);
    fillCar(out, page, *car, player, memory);
    fillRows(out, page);
    if (player) {
        fillPlayer(out, *player);
        fillCarName(out, *player);
        fillLapPlace(out, info, *player, car->elapsed, memory);
        learnSectors(out, *player, lapFraction(player->lapDist, info.lapDist), memory);
    }
    fillFlags(out, info, memory);
    fillRacePhase(out, info, player);
    fillGrid(out, info, player, memory);
    fillLapsRemain(out, info);
    memory.vehicle.elapsed = car->elapsed;
}

} // namespace vt
