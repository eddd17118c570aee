// A race of the driver model through the pages of RaceRoom and of the truck plug-in: what the
// readers say against what was driven.
#include "base/utf8.h"
#include "driver_model/driver_model.h"
#include "sim_player/ets2_page.h"
#include "sim_player/raceroom_page.h"
#include "support/page_image.h"
#include "telemetry/readers/ets2_reader.h"
#include "telemetry/readers/raceroom_reader.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>

namespace vt::test {
namespace {

using model::Car;

std::string fullName(const Car& car) {
    char name[64];
    copyText(name, car.firstName + " " + car.lastName);
    return name;
}

TEST(RaceRoomRace, TellsWhatWasDriven) {
    model::Settings settings;
    settings.cars = 30;
    settings.classes = 3;
    settings.laps = 5;
    settings.seed = 5;
    settings.pitEvery = 2;
    settings.yellows = {{60, 70}};
    model::Race race = model::startRace(settings, model::builtInCircuit("oval"));
    SimObject object;
    const std::string name = ownName("raceroom_race");
    auto page = std::make_unique<RaceRoomPage>();
    ASSERT_TRUE(object.writer.create(name, sizeof *page));
    RaceRoomReader reader({name});
    SimFrame frame;
    int inPits = 0, yellow = 0, lastLaps = 0;
    for (int i = 0; i < 2000 && !model::player(race).finished; ++i) {
        model::stepRace(race, 0.25);
        player::fillRaceRoomPage(race, *page);
        page->tick = i;
        std::memcpy(object.writer.data(), page.get(), sizeof *page);
        ASSERT_TRUE(i > 0 || reader.open());
        ASSERT_TRUE(reader.poll(frame));
        const Car& car = model::player(race);
        EXPECT_NEAR(frame.speed, car.speed, 1e-3);
        EXPECT_NEAR(frame.rpm, car.rpm, 0.1);
        EXPECT_NEAR(frame.steerAngle, car.wheelAngle, 1e-3);
        EXPECT_NEAR(frame.latAccel, car.latAccel, 1e-3);
        EXPECT_NEAR(frame.longAccel, car.longAccel, 1e-3);
        EXPECT_NEAR(frame.lastLapTime, car.lastLap, 1e-4);
        EXPECT_NEAR(frame.fuelLevel, car.fuel, 1e-3);
        EXPECT_EQ(frame.lap, std::max(car.lap, 0));
        EXPECT_EQ(frame.playerCarIdx, 0);
        EXPECT_EQ((frame.sessionFlags & kFlagYellow) != 0, race.yellow);
        EXPECT_EQ((frame.sessionFlags & kFlagWhite) != 0, car.lap >= 4);
        yellow += race.yellow;
        lastLaps += car.lap == 4;
        ASSERT_EQ(frame.cars.size(), 30u);
        for (const Car& other : race.cars) {
            const CarRow& row = frame.cars.at(static_cast<size_t>(other.index));
            inPits += row.onPitRoad;
            EXPECT_EQ(row.onPitRoad, other.pit != model::PitPlace::none);
            EXPECT_EQ(row.driverName, fullName(other));
            EXPECT_EQ(row.carNumberValue, other.number);
            EXPECT_EQ(row.position, other.position);
            EXPECT_EQ(row.classPosition, other.classPosition);
            EXPECT_EQ(row.lap, std::max(other.lap, 0));
            EXPECT_NEAR(row.lapDistPct, other.pct, 1e-6);
            EXPECT_NEAR(row.lastLapTime, other.lastLap, 1e-4);
            EXPECT_NEAR(row.bestLapTime, other.bestLap, 1e-4);
        }
        if (testing::Test::HasFailure()) return;
    }
    EXPECT_GT(inPits, 0);
    EXPECT_GT(yellow, 0);
    EXPECT_GT(lastLaps, 0);
}

TEST(Ets2Race, TellsWhatWasDriven) {
    model::Race race = model::startRace({}, model::builtInCircuit("club"));
    ReaderDesk desk;
    desk.steer.steerRotationDeg = 540;
    SimObject object;
    const std::string name = ownName("ets2_race");
    ASSERT_TRUE(object.writer.create(name, 32768));
    Ets2Reader reader(desk.context, {name});
    Ets2Page page;
    for (int i = 0; i < 300; ++i) {
        model::stepRace(race, 0.5);
        player::fillEts2Page(race, page);
        std::memcpy(object.writer.data(), &page, sizeof page);
        ASSERT_TRUE(i > 0 || reader.open());
        ASSERT_TRUE(reader.poll(desk.frame));
        const Car& car = model::player(race);
        EXPECT_NEAR(desk.frame.speed, car.speed, 1e-3);
        EXPECT_NEAR(desk.frame.fuelLevel, car.fuel, 1e-3);
        EXPECT_NEAR(desk.frame.oilPressure, car.oilPressure, 1e-3);
        EXPECT_NEAR(desk.frame.longAccel, car.longAccel, 1e-3);
        EXPECT_NEAR(desk.frame.steerAngle, car.wheelAngle, 1e-3);
        EXPECT_EQ(desk.frame.gear, car.gear);
        if (testing::Test::HasFailure()) return;
    }
    EXPECT_EQ(std::string(desk.frame.carModel), "vehicle.falcon." + race.classes[0].modelKey);
}

} // namespace
} // namespace vt::test
