#include "app/frame_guard.h"

#include <cmath>
#include <iterator>

namespace vt {

namespace {

constexpr float SimFrame::*kFloats[] = {
    &SimFrame::throttle,
    &SimFrame::brake,
    &SimFrame::clutch,
    &SimFrame::steerAngle,
    &SimFrame::rpm,
    &SimFrame::maxRpm,
    &SimFrame::speed,
    &SimFrame::boost,
    &SimFrame::boostFrac,
    &SimFrame::shiftFirstRpm,
    &SimFrame::shiftRpm,
    &SimFrame::shiftBlinkRpm,
    &SimFrame::steerLock,
    &SimFrame::waterTemp,
    &SimFrame::oilTemp,
    &SimFrame::oilPressure,
    &SimFrame::batteryVolts,
    &SimFrame::brakeBias,
    &SimFrame::tcLevel,
    &SimFrame::absLevel,
    &SimFrame::latAccel,
    &SimFrame::longAccel,
    &SimFrame::wheelBase,
    &SimFrame::trackWidth,
    &SimFrame::deltaBest,
    &SimFrame::deltaOptimal,
    &SimFrame::deltaSessionBest,
    &SimFrame::deltaLast,
    &SimFrame::lapDistPct,
    &SimFrame::sectorDeltaBest,
    &SimFrame::sectorDeltaLast,
    &SimFrame::optimalLapTime,
    &SimFrame::liveDeltaBest,
    &SimFrame::liveDeltaLast,
    &SimFrame::airTemp,
    &SimFrame::trackTemp,
    &SimFrame::precipitation,
    &SimFrame::wetness,
    &SimFrame::trackLength,
    &SimFrame::classPowerAdjust,
    &SimFrame::classWeightPenalty,
    &SimFrame::velX,
    &SimFrame::velY,
    &SimFrame::yawNorth,
    &SimFrame::yawRate,
    &SimFrame::latVelocity,
    &SimFrame::surveyLateral,
    &SimFrame::worldX,
    &SimFrame::worldY,
    &SimFrame::forwardX,
    &SimFrame::forwardY,
    &SimFrame::rightX,
    &SimFrame::rightY,
    &SimFrame::pathLateral,
    &SimFrame::trackEdge,
    &SimFrame::fuelLevel,
    &SimFrame::fuelCapacity,
    &SimFrame::lastLapTime,
    &SimFrame::bestLapTime,
    &SimFrame::currentLapTime,
    &SimFrame::fuelPerLap,
    &SimFrame::virtualEnergy,
    &SimFrame::batteryCharge,
    &SimFrame::ersStore,
    &SimFrame::ersDeployed,
    &SimFrame::pitLimitSpeed,
    &SimFrame::pitStallPct,
    &SimFrame::lapsEstimate,
    &SimFrame::slipAngle,
    &SimFrame::slipRate,
    &SimFrame::balance,
    &SimFrame::frontSlip,
    &SimFrame::rearSlip,
    &SimFrame::dynamicsSpeed,
};

constexpr double SimFrame::*kDoubles[] = {
    &SimFrame::sessionTime,    &SimFrame::timeRemain, &SimFrame::timeTotal,
    &SimFrame::lastImpactTime, &SimFrame::latitude,   &SimFrame::longitude,
};

using Wheels = float[4];
constexpr Wheels SimFrame::*kWheels[] = {
    &SimFrame::tyreTemp,   &SimFrame::tyreWear,       &SimFrame::tyrePressure,
    &SimFrame::tyreRumble, &SimFrame::wheelSlipRatio,
};

constexpr float CarRow::*kRowFloats[] = {
    &CarRow::estTime,        &CarRow::gapToLeader,    &CarRow::lapDistPct,
    &CarRow::lastLapTime,    &CarRow::bestLapTime,    &CarRow::gapToPlayer,
    &CarRow::lapEstimate,    &CarRow::pathLateral,    &CarRow::lastPitTime,
    &CarRow::lastSectorTime, &CarRow::bestSectorTime, &CarRow::prevSectorTime,
    &CarRow::fuelFraction,
};

// No quantity of a race comes near it, and sums and products of a few such stay finite in a float.
constexpr double kLargest = 1e12;

template <class T>
bool sound(T value) {
    return std::abs(value) <= T(kLargest); // false for NaN
}

template <class Record, class T>
void guard(Record& record, T Record::*field, const Record& missing) {
    if (!sound(record.*field)) record.*field = missing.*field;
}

} // namespace

void makeFinite(SimFrame& frame) {
    static const SimFrame missing;
    static const CarRow missingRow;
    if (!sound(frame.timeRemain)) frame.timeRemain = -1;
    for (const auto field : kFloats)
        guard(frame, field, missing);
    for (const auto field : kDoubles)
        guard(frame, field, missing);
    for (const auto field : kWheels)
        for (int wheel = 0; wheel < 4; ++wheel)
            if (!sound((frame.*field)[wheel])) (frame.*field)[wheel] = (missing.*field)[wheel];
    for (const float start : frame.sectorStarts)
        if (!sound(start)) {
            frame.sectorStarts.clear();
            break;
        }
    for (CarRow& row : frame.cars) {
        if (!sound(row.lapDistPct)) row.lapDistPct = -1;
        for (const auto field : kRowFloats)
            guard(row, field, missingRow);
    }
}

int guardedFrameFields() {
    return static_cast<int>(std::size(kFloats) + std::size(kDoubles) + std::size(kWheels));
}

int guardedRowFields() {
    return static_cast<int>(std::size(kRowFloats));
}

} // namespace vt
