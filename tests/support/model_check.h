// A frame that came through a sim's transport against the driver model's race that went in.
#pragma once
#include "base/utf8.h"
#include "driver_model/driver_model.h"
#include "telemetry/sim_frame.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

namespace vt::test {

/// The player's car in this very moment.
inline void expectModelCar(const SimFrame& frame, const model::Race& race) {
    const model::Car& car = model::player(race);
    ASSERT_EQ(frame.connected, 1);
    ASSERT_NEAR(frame.sessionTime, race.time, 1e-9);
    ASSERT_NEAR(frame.speed, car.speed * std::cos(car.slip), 1e-4);
    ASSERT_EQ(frame.gear, car.gear);
    ASSERT_NEAR(frame.rpm, car.rpm, 0.01);
    ASSERT_NEAR(frame.fuelLevel, car.fuel, 1e-4);
    ASSERT_NEAR(frame.latAccel, car.latAccel, 1e-3);
    ASSERT_NEAR(frame.longAccel, car.longAccel, 1e-3);
    ASSERT_NEAR(frame.steerAngle, car.wheelAngle, 1e-3);
    ASSERT_NEAR(frame.throttle, car.throttle, 1e-6);
    ASSERT_NEAR(frame.brake, car.brake, 1e-6);
    ASSERT_NEAR(frame.currentLapTime, car.lapTime, 1e-3);
    if (car.speed > 1) {
        ASSERT_NEAR(frame.slipAngle, car.slip * 180 / M_PI, 0.01);
    }
}

/// The names, classes, places and times of a row that was scored just now.
inline void expectModelRow(const CarRow& row, const model::Race& race, const model::Car& car) {
    const std::string name = car.firstName + " " + car.lastName;
    ASSERT_EQ(std::string(row.driverName), name.substr(0, utf8CutLength(name, 31)));
    ASSERT_EQ(std::string(row.carClass), model::classOf(race, car).name);
    ASSERT_EQ(std::string(row.carBrand), model::classOf(race, car).brand);
    ASSERT_EQ(row.position, car.position);
    ASSERT_EQ(row.lap, std::max(car.lap, 0));
    ASSERT_NEAR(row.lapDistPct, car.pct, 1e-6);
    ASSERT_NEAR(row.gapToLeader, car.gapToLeader, 1e-3);
    ASSERT_NEAR(row.pathLateral, car.lateral, 1e-4);
    ASSERT_NEAR(row.lastLapTime, car.lastLap, 1e-4);
    ASSERT_NEAR(row.bestLapTime, car.bestLap, 1e-4);
    ASSERT_EQ(row.onPitRoad, car.pit != model::PitPlace::none);
    ASSERT_EQ(row.finishStatus, car.finished ? 1 : 0);
}

} // namespace vt::test
