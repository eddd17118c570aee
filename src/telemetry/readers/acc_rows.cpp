#include "base/utf8.h"
#include "telemetry/readers/acc_classes.h"
#include "telemetry/readers/acc_frame.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <string_view>

namespace vt {

namespace {

constexpr float kHeadingSpeed = 8;   // m/s: slower, the direction of travel says little
constexpr float kMovedLeast = 0.05f; // m from one frame to the next
constexpr float kMovedMost = 100;    // m: further is a jump, not a drive
constexpr int32_t kPitLane = 2;      // from this location on a car is on pit road
constexpr int32_t kNumberOfPlaces = 999;

int32_t activeCars(const AccGraphics& graphics) {
    return std::clamp(graphics.activeCars, 0, kAcMaxCars);
}

int32_t playerSlotOf(const AccGraphics& graphics) {
    for (int32_t i = 0; i < activeCars(graphics); ++i)
        if (graphics.carId[i] == graphics.playerCarId) return i;
    return -1;
}

int32_t compoundOf(const AccGraphics& graphics) {
    const char16_t* text = graphics.session.tyreCompound;
    if (text[0] == 0) return -1;
    const auto lower = [&](int i) { return text[i] < 128 ? text[i] | 0x20 : text[i] + 0; };
    for (int i = 0; i + 2 < kAcTextLength && text[i] != 0; ++i)
        if (lower(i) == 'w' && lower(i + 1) == 'e' && lower(i + 2) == 't') return 2;
    return 1;
}

float lapSeconds(int32_t ms) {
    return ms > 0 ? static_cast<float>(ms) / 1000 : 0;
}

void nameFromEntry(CarRow& row, const AccCar& car) {
    const bool both = car.firstName[0] && car.surname[0];
    char name[sizeof car.firstName + sizeof car.surname];
    std::snprintf(name, sizeof name, "%s%s%s", car.firstName, both ? " " : "", car.surname);
    copyText(row.driverName, name[0] ? name : car.shortName);
}

float referenceOf(const SimFrame& out, const AccSnapshot& snapshot) {
    constexpr float none = std::numeric_limits<float>::max();
    float fastest = none, speed = 0;
    for (int32_t i = 0; i < snapshot.carCount; ++i) {
        const AccCar& car = snapshot.cars[i];
        if (!car.realtimeKnown) continue;
        if (car.bestLapMs > 0) fastest = std::min(fastest, lapSeconds(car.bestLapMs));
        speed = std::max(speed, static_cast<float>(car.kmh) / 3.6f);
    }
    const float length =
        out.trackLength > 1 ? out.trackLength : static_cast<float>(snapshot.trackMeters);
    return referenceLap(out.bestLapTime, out.lastLapTime, fastest, 1, none, length, speed);
}

void fillPlayerRow(CarRow& row, const AccGraphics& graphics, const char* playerName) {
    row.tyreCompound = compoundOf(graphics);
    row.pathLateral = 0;
    if (row.driverName[0] == '\0') copyText(row.driverName, playerName);
}

const AccPlaces::Place* placeOf(const AccPlaces& places, int32_t id) {
    for (int32_t i = 0; i < places.count; ++i)
        if (places.cars[i].id == id && i != places.playerSlot)
            return places.cars[i].known ? &places.cars[i] : nullptr;
    return nullptr;
}

} // namespace

void accLearn(const AcPhysics& physics, const AccGraphics& graphics, AccMemory& memory) {
    const int32_t count = activeCars(graphics);
    const int32_t player = playerSlotOf(graphics);
    for (int32_t i = 0; i < count; ++i) {
        const float* now = graphics.carPosition[i];
        const float* last = memory.lastPosition[i];
        const float moved = std::hypot(now[0] - last[0], now[1] - last[1], now[2] - last[2]);
        if (i != player && i < memory.lastCount && memory.lastId[i] == graphics.carId[i] &&
            moved > kMovedLeast && moved < kMovedMost)
            memory.coordinatesLive = true;
        memory.lastId[i] = graphics.carId[i];
        std::copy_n(now, 3, memory.lastPosition[i]);
    }
    memory.lastCount = count;

    const float x = physics.velocity[0], z = physics.velocity[2];
    const float length = std::hypot(x, z);
    if (!(length > kHeadingSpeed) || !std::isfinite(length)) return;
    memory.haveHeading = true;
    memory.headingX = x / length;
    memory.headingZ = z / length;
}

AccPlaces accPlaces(const AccGraphics& graphics, float trackLength, float playerPct,
                    const AccMemory& memory) {
    AccPlaces places;
    places.count = activeCars(graphics);
    places.playerSlot = playerSlotOf(graphics);
    for (int32_t i = 0; i < places.count; ++i)
        places.cars[i].id = graphics.carId[i];
    if (!memory.coordinatesLive || !memory.haveHeading || places.playerSlot < 0 ||
        !(trackLength > 1))
        return places;
    const float* player = graphics.carPosition[places.playerSlot];
    for (int32_t i = 0; i < places.count; ++i) {
        if (i == places.playerSlot) continue;
        const float dx = graphics.carPosition[i][0] - player[0];
        const float dz = graphics.carPosition[i][2] - player[2];
        const float along = memory.headingX * dx + memory.headingZ * dz;
        const float lateral = memory.headingZ * dx - memory.headingX * dz;
        const float lap = along / trackLength + playerPct;
        if (!std::isfinite(lap) || !std::isfinite(lateral)) continue;
        AccPlaces::Place& place = places.cars[i];
        place.known = true;
        place.lateral = lateral;
        place.lapDistPct = clamp01(lap - std::floor(lap));
    }
    return places;
}

void accRowsFromSnapshot(SimFrame& out, const AccSnapshot& snapshot, const AccGraphics& graphics,
                         const AccPlaces& places, const char* playerName) {
    if (accFindCar(snapshot, graphics.playerCarId))
        out.playerCarIdx = graphics.playerCarId;
    else if (snapshot.focusedCar >= 0)
        out.playerCarIdx = snapshot.focusedCar;
    const float reference = referenceOf(out, snapshot);
    for (int32_t i = 0; i < snapshot.carCount; ++i) {
        const AccCar& car = snapshot.cars[i];
        if (!car.realtimeKnown) continue;
        CarRow& row = out.cars.emplace_back();
        row.carIdx = car.carIndex;
        row.position = car.position;
        row.carNumberValue = car.raceNumber;
        row.lap = car.laps;
        row.onPitRoad = car.location >= kPitLane;
        row.lastLapTime = lapSeconds(car.lastLapMs);
        row.bestLapTime = lapSeconds(car.bestLapMs);
        row.lapDistPct = clamp01(car.splinePosition);
        if (reference > 1) row.estTime = row.lapDistPct * reference;
        if (car.entryKnown) {
            nameFromEntry(row, car);
            const AccCarClass what = accCarClass(car.carModel);
            copyText(row.carClass, what.carClass);
            copyText(row.carBrand, what.brand);
        }
        if (row.carIdx == out.playerCarIdx)
            fillPlayerRow(row, graphics, playerName);
        else if (const AccPlaces::Place* place = placeOf(places, row.carIdx))
            row.pathLateral = place->lateral;
    }
    rankClasses(out.cars);
}

void accRowsFromPage(SimFrame& out, const AccGraphics& graphics, const AccPlaces& places,
                     const char* playerName) {
    for (int32_t i = 0; i < places.count; ++i) {
        CarRow& row = out.cars.emplace_back();
        row.carIdx = places.cars[i].id;
        if (i == places.playerSlot) {
            const int32_t position = graphics.session.position;
            row.position = position >= 1 && position <= kNumberOfPlaces ? position : 0;
            row.lap = out.lap;
            row.onPitRoad = out.onPitRoad;
            row.lapDistPct = out.lapDistPct;
            row.lastLapTime = out.lastLapTime;
            row.bestLapTime = out.bestLapTime;
            fillPlayerRow(row, graphics, playerName);
            continue;
        }
        // A car whose place is not known must not stand on the line.
        row.lapDistPct = places.cars[i].known ? places.cars[i].lapDistPct : -1;
        row.pathLateral = places.cars[i].lateral;
    }
}

} // namespace vt
