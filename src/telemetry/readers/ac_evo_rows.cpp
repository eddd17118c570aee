#include "telemetry/readers/ac_evo_rows.h"

#include "base/utf8.h"

#include <algorithm>
#include <cmath>

namespace vt {

namespace {

constexpr float kPlayerWithin = 3;   // m from the slot's place to the middle of the player's car
constexpr float kMovedLeast = 0.05f; // m between two polls
constexpr float kPageAge = 0.15f;    // s that the places may be older than the tyres' points
constexpr int kRivalPolls = 15;      // in a row, until a closer slot is believed

using Place = float[3];

bool filled(const Place& p) {
    if (!std::isfinite(p[0]) || !std::isfinite(p[1]) || !std::isfinite(p[2])) return false;
    return p[0] != 0 || p[1] != 0 || p[2] != 0;
}

float distance(const Place& a, const Place& b) {
    return std::hypot(a[0] - b[0], a[1] - b[1], a[2] - b[2]);
}

int nearestSlot(const AcEvoGraphics& graphics, const AcEvoGeometry& geometry) {
    int slot = -1;
    float nearest = kPlayerWithin;
    for (int i = 0; i < kAcMaxCars; ++i) {
        if (!filled(graphics.carPosition[i])) continue;
        const float away = distance(graphics.carPosition[i], geometry.centre);
        if (!(away < nearest)) continue;
        nearest = away;
        slot = i;
    }
    return slot;
}

// The places come with a slower page than the tyres' points: at speed the player's is metres behind
// him, and the car in front seems closer. So he keeps his slot while it can be his at all, unless
// another one stays closer.
int followPlayer(AcEvoCars& cars, const AcEvoGraphics& graphics, const AcEvoGeometry& geometry,
                 float speed) {
    const int nearest = nearestSlot(graphics, geometry);
    const bool plausible = cars.player >= 0 && filled(graphics.carPosition[cars.player]) &&
                           distance(graphics.carPosition[cars.player], geometry.centre) <
                               kPlayerWithin + speed * kPageAge;
    cars.rivalPolls = nearest >= 0 && nearest == cars.rival ? cars.rivalPolls + 1 : 1;
    cars.rival = nearest;
    if (!plausible || (nearest >= 0 && cars.rivalPolls >= kRivalPolls)) cars.player = nearest;
    return cars.player;
}

void noteMoves(AcEvoCars& cars, const AcEvoGraphics& graphics, int player) {
    for (int i = 0; i < kAcMaxCars; ++i) {
        const Place& now = graphics.carPosition[i];
        if (cars.seen && i != player && filled(now) && filled(cars.last[i]) &&
            distance(now, cars.last[i]) > kMovedLeast)
            cars.live = true;
        std::copy_n(now, 3, cars.last[i]);
    }
    cars.seen = true;
}

void fillOtherRow(SimFrame& out, int slot, const AcEvoGraphics& graphics,
                  const AcEvoGeometry& geometry) {
    const Place& player = graphics.carPosition[out.playerCarIdx];
    float ahead = 0, aside = 0;
    for (int i = 0; i < 3; ++i) {
        const float away = graphics.carPosition[slot][i] - player[i];
        ahead += away * geometry.forward[i];
        aside += away * geometry.right[i];
    }
    const float lap = out.lapDistPct + ahead / out.trackLength;
    if (!std::isfinite(lap) || !std::isfinite(aside)) return;
    CarRow& row = out.cars.emplace_back();
    row.carIdx = slot;
    row.lapDistPct = std::min(lap - std::floor(lap), 1.0f);
    row.pathLateral = aside;
}

void fillPlayerRow(SimFrame& out, const AcEvoGraphics& graphics, const SectorTiming& timing,
                   const char* driverName) {
    CarRow& row = out.cars.emplace_back();
    row.carIdx = out.playerCarIdx = 0;
    row.position = graphics.position >= 1 && graphics.position <= 999 ? graphics.position : 0;
    row.lap = out.lap;
    row.lapDistPct = out.lapDistPct;
    row.lastLapTime = out.lastLapTime;
    row.bestLapTime = out.bestLapTime;
    row.onPitRoad = out.onPitRoad;
    copyText(row.driverName, driverName);
    fillSectorTimes(row, timing);
}

} // namespace

void acEvoFillRows(SimFrame& out, AcEvoCars& cars, const AcEvoGraphics& graphics,
                   const AcEvoGeometry& geometry, const SectorTiming& timing,
                   const char* driverName) {
    fillPlayerRow(out, graphics, timing, driverName);
    if (!(out.trackLength > 1) || !geometry.ok) return;
    out.wheelBase = geometry.wheelBase;
    out.trackWidth = geometry.trackWidth;
    const int player = followPlayer(cars, graphics, geometry, out.speed);
    if (player < 0) return;
    noteMoves(cars, graphics, player);
    if (!cars.live) return;
    out.playerCarIdx = out.cars.front().carIdx = player;
    const int active = graphics.activeCars >= 1 && graphics.activeCars <= kAcMaxCars
                           ? graphics.activeCars
                           : kAcMaxCars;
    for (int i = 0; i < active; ++i)
        if (i != player && filled(graphics.carPosition[i]))
            fillOtherRow(out, i, graphics, geometry);
}

} // namespace vt
