#include "telemetry/readers/iracing_rows.h"

#include "base/utf8.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace vt {

namespace {

/// The per-car variables, looked up once a sample.
struct CarArrays {
    explicit CarArrays(const IrSample& s)
        : position(s.find("CarIdxPosition")), classPosition(s.find("CarIdxClassPosition")),
          lap(s.find("CarIdxLap")), estTime(s.find("CarIdxEstTime")),
          f2Time(s.find("CarIdxF2Time")), lapDistPct(s.find("CarIdxLapDistPct")),
          trackSurface(s.find("CarIdxTrackSurface")), onPitRoad(s.find("CarIdxOnPitRoad")),
          tyreCompound(s.find("CarIdxTireCompound")), lastLapTime(s.find("CarIdxLastLapTime")),
          bestLapTime(s.find("CarIdxBestLapTime")) {}

    const IrVar *position, *classPosition, *lap, *estTime, *f2Time, *lapDistPct, *trackSurface,
        *onPitRoad, *tyreCompound, *lastLapTime, *bestLapTime;
};

struct RowContext {
    const SimFrame& frame;
    const IrSample& sample;
    const IrSessionText& text;
    const CarArrays& arrays;
    int32_t session = -1;
    bool race = false;
    double maxStep = 1; // of lapDistPct between two samples; more is a jump
};

void fillIdentity(CarRow& row, const IrDriver& driver) {
    row.carIdx = driver.carIdx;
    std::memcpy(row.driverName, driver.userName, sizeof row.driverName);
    std::memcpy(row.carClass, driver.className, sizeof row.carClass);
    row.irating = driver.irating;
    row.carNumberValue = driver.numberValue;
    std::memcpy(row.carNumber, driver.numberText, sizeof row.carNumber);
    std::memcpy(row.licence, driver.licence, sizeof row.licence);
    std::memcpy(row.carBrand, driver.brand, sizeof row.carBrand);
}

void fillFromArrays(CarRow& row, const RowContext& at) {
    const IrSample& s = at.sample;
    const CarArrays& a = at.arrays;
    const int32_t car = row.carIdx;
    row.position = s.elementInt(a.position, car);
    row.classPosition = s.elementInt(a.classPosition, car);
    row.lap = s.elementInt(a.lap, car, -1);
    row.estTime = s.elementReal(a.estTime, car);
    row.gapToLeader = s.elementReal(a.f2Time, car);
    // A place that cannot be read is no place: 0 would put the car on the line.
    row.lapDistPct = s.elementReal(a.lapDistPct, car, a.lapDistPct ? -1.0f : 0.0f);
    row.trackSurface = s.elementInt(a.trackSurface, car);
    row.onPitRoad = s.elementInt(a.onPitRoad, car) != 0;
    row.tyreCompound = s.elementInt(a.tyreCompound, car, -1);
}

void timePitVisit(CarRow& row, const RowContext& at, IrCarTiming& timing) {
    const double now = at.frame.sessionTime;
    if (row.onPitRoad && !timing.wasOnPit) timing.pitEnterTime = now;
    if (!row.onPitRoad && timing.wasOnPit) {
        if (timing.pitEnterTime >= 0 && now > timing.pitEnterTime)
            timing.lastPitDuration = static_cast<float>(now - timing.pitEnterTime);
        timing.pitLap = row.lap;
        timing.pitEnterTime = -1;
        if (at.frame.racePhase == 2) timing.stops += 1;
    }
    timing.wasOnPit = row.onPitRoad;
    row.lastPitTime = timing.lastPitDuration;
    row.pitThisLap = timing.pitLap >= 0 && timing.pitLap == row.lap;
    row.pitStops = at.race ? timing.stops : -1;
}

const IrResultTimes* resultsOf(const RowContext& at, int32_t session, int32_t car) {
    if (session < 0 || static_cast<size_t>(session) >= at.text.sessions.size()) return nullptr;
    return &at.text.sessions[static_cast<size_t>(session)].results[static_cast<size_t>(car)];
}

// The arrays hold laps of this session only, and only those that the sim has seen; the results
// table knows more.
void fillLapTimes(CarRow& row, const RowContext& at) {
    const int32_t car = row.carIdx;
    const IrResultTimes* results = resultsOf(at, at.session, car);
    row.lastLapTime = at.sample.elementReal(at.arrays.lastLapTime, car);
    if (!(row.lastLapTime > 0)) row.lastLapTime = results ? results->last : 0;
    row.bestLapTime = at.sample.elementReal(at.arrays.bestLapTime, car);
    if (!(row.bestLapTime > 0)) row.bestLapTime = results ? results->fastest : 0;
    const auto known = static_cast<int32_t>(at.text.sessions.size());
    for (int32_t s = std::min(at.session, known) - 1; s >= 0 && !(row.bestLapTime > 0); --s) {
        row.bestLapTime = resultsOf(at, s, car)->fastest;
        row.bestFromEarlier = row.bestLapTime > 0;
    }
}

void fillSectors(CarRow& row, const RowContext& at, IrCarTiming& timing) {
    if (at.frame.sectorStarts.empty() || row.lapDistPct < 0 || !(at.frame.sessionTime > 0)) return;
    timeSectors(timing.sectors, at.frame.sectorStarts, row.lapDistPct, at.frame.sessionTime,
                at.maxStep, row.onPitRoad != 0);
    fillSectorTimes(row, timing.sectors);
}

double maxStepOf(const SimFrame& frame, double lastSessionTime) {
    const double gap = lastSessionTime > 0 && frame.sessionTime > lastSessionTime
                           ? frame.sessionTime - lastSessionTime
                           : 0;
    return maxLapStep(gap, frame.trackLength);
}

} // namespace

void fillRows(SimFrame& frame, const IrSample& sample, const IrSessionText& text, int32_t session,
              IrRowMemory& memory) {
    const CarArrays arrays(sample);
    const RowContext at{frame,
                        sample,
                        text,
                        arrays,
                        session,
                        frameIsRace(frame),
                        maxStepOf(frame, memory.lastSessionTime)};
    for (size_t i = 0; i < text.drivers.size(); ++i) {
        const IrDriver& driver = text.drivers[i];
        if (!driver.present || driver.isPaceCar || driver.isSpectator) continue;
        CarRow& row = frame.cars.emplace_back();
        fillIdentity(row, driver);
        fillFromArrays(row, at);
        timePitVisit(row, at, memory.cars[i]);
        fillLapTimes(row, at);
        fillSectors(row, at, memory.cars[i]);
    }
    if (frame.sessionTime > 0) memory.lastSessionTime = frame.sessionTime;
}

} // namespace vt
