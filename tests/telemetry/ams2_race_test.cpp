// A race of the driver model through Automobilista 2's page: what the reader says against what was
// driven.
#include "driver_model/driver_model.h"
#include "sim_player/ams2_page.h"
#include "support/page_image.h"
#include "telemetry/readers/ams2_reader.h"

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

/// Metres to the viewed car's right, from the model's own plane: x east, y north, headings
/// counter-clockwise from east.
double toTheRight(const Car& viewed, const Car& other) {
    const double dx = other.x - viewed.x, dy = other.y - viewed.y;
    return dx * std::sin(viewed.heading) - dy * std::cos(viewed.heading);
}

struct Played : ReaderDesk, SimObject {
    model::Race race;
    std::unique_ptr<Ams2Page> page = std::make_unique<Ams2Page>();
    std::string name = ownName("ams2_race");
    Ams2Reader reader{context, {name}};

    explicit Played(const model::Settings& settings)
        : race(model::startRace(settings, model::builtInCircuit("oval"))) {
        steer.steerRotationDeg = 540;
        writer.create(name, sizeof(Ams2Page));
    }
    bool step(double dt) {
        model::stepRace(race, dt);
        player::fillAms2Page(race, *page);
        page->sequence += 2;
        std::memcpy(writer.data(), page.get(), sizeof(Ams2Page));
        return reader.poll(frame);
    }
};

void expectRow(const model::Race& race, const Car& car, const CarRow& row) {
    SCOPED_TRACE(car.index);
    EXPECT_EQ(row.carIdx, car.index);
    EXPECT_EQ(row.driverName, fullName(car));
    EXPECT_EQ(row.carClass, model::classOf(race, car).name);
    EXPECT_EQ(row.position, car.position);
    EXPECT_EQ(row.lap, std::max(car.lap, 0));
    EXPECT_NEAR(row.lapDistPct, car.pct, 1e-5);
    EXPECT_NEAR(row.lastLapTime, car.lastLap, 1e-4);
    EXPECT_NEAR(row.bestLapTime, car.bestLap, 1e-4);
    EXPECT_EQ(row.onPitRoad, car.pit != model::PitPlace::none);
    EXPECT_EQ(row.lastSectorIdx, car.sector - 1);
    if (car.sector > 0) {
        EXPECT_NEAR(row.lastSectorTime, car.sectorTime[car.sector - 1], 1e-4);
        EXPECT_NEAR(row.bestSectorTime, car.bestSector[car.sector - 1], 1e-4);
    }
    EXPECT_NEAR(row.pathLateral, toTheRight(race.cars[0], car), 0.01); // 0 of itself
}

TEST(Ams2Race, TellsWhatWasDriven) {
    model::Settings settings;
    settings.cars = 24;
    settings.classes = 2;
    settings.laps = 6;
    settings.seed = 3;
    settings.pitEvery = 3;
    Played sim(settings);
    sim.step(1);
    ASSERT_TRUE(sim.reader.open());
    int inPits = 0, timedLaps = 0, frames = 0;
    double lastLap = 0;
    for (; frames < 2000 && !model::player(sim.race).finished; ++frames) {
        ASSERT_TRUE(sim.step(0.25));
        const Car& car = model::player(sim.race);
        const SimFrame& f = sim.frame;
        ASSERT_EQ(f.cars.size(), 24u);
        EXPECT_NEAR(f.speed, car.speed, 1e-3);
        EXPECT_EQ(f.lap, std::max(car.lap, 0));
        EXPECT_NEAR(f.lapDistPct, car.pct, 1e-5);
        EXPECT_EQ(f.currentSector, car.sector);
        EXPECT_NEAR(f.fuelLevel, car.fuel, 1e-3);
        EXPECT_NEAR(f.steerAngle, car.wheelAngle, 1e-3);
        EXPECT_EQ(f.lapsRemain, std::max(0, 6 - std::max(car.lap, 0)));
        if (car.lastLap > 0 && car.lastLap != lastLap) {
            lastLap = car.lastLap;
            ++timedLaps;
            EXPECT_NEAR(f.lastLapTime, lastLap, 1e-4);
            EXPECT_NEAR(f.bestLapTime, car.bestLap, 1e-4);
        }
        for (const Car& other : sim.race.cars) {
            inPits += other.pit != model::PitPlace::none;
            if (frames % 8 == 0) expectRow(sim.race, other, sim.frame.cars.at(other.index));
        }
        if (testing::Test::HasFailure()) return;
    }
    EXPECT_GE(timedLaps, 5);
    EXPECT_GT(inPits, 0);
    EXPECT_TRUE(sim.frame.sessionFlags & kFlagChequered);
    EXPECT_STREQ(sim.frame.sessionName, "Race");
}

TEST(Ams2Race, NamesArriveInBothEncodings) {
    model::Settings settings;
    settings.cars = 40;
    Played sim(settings);
    sim.step(1);
    int windows = 0, utf8 = 0;
    for (const Ams2Participant& car : sim.page->participants) {
        const std::string_view raw(car.name);
        const bool ascii = std::all_of(raw.begin(), raw.end(), [](char c) { return c > 0; });
        windows += !ascii && !utf8Valid(raw);
        utf8 += !ascii && utf8Valid(raw);
    }
    EXPECT_GT(windows, 0);
    EXPECT_GT(utf8, 0);
    ASSERT_TRUE(sim.reader.open());
    ASSERT_TRUE(sim.step(0.1));
    for (const Car& car : sim.race.cars)
        EXPECT_EQ(sim.frame.cars.at(static_cast<size_t>(car.index)).driverName, fullName(car));
}

} // namespace
} // namespace vt::test
