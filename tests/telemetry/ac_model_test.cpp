// A race of the driver model written as the three sims write it, read by their readers: what comes
// out is what was driven.
#include "support/ac_model.h"
#include "support/eventually.h"
#include "telemetry/readers/ac_reader.h"
#include "telemetry/readers/acc_classes.h"
#include "telemetry/readers/acc_reader.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <cstring>
#include <fstream>
#include <thread>
#include <unistd.h>

namespace vt {
namespace {

using namespace test;

constexpr double kStep = 1.0 / 30;

model::Race someRace(int cars, int classes) {
    model::Settings settings;
    settings.cars = cars;
    settings.classes = classes;
    settings.pitEvery = 2;
    settings.minutes = 6;
    settings.seed = 11;
    settings.rain = 0.4;
    settings.yellows = {{70, 90}};
    return model::startRace(settings, model::builtInCircuit("oval"));
}

/// The writer's side of the three mappings, and a context for the reader.
template <class Graphics>
struct Played {
    std::string base = "vt_test_ac_model_" + std::to_string(getpid());
    AcNames names{base + "_p", base + "_g", base + "_s"};
    SharedMapWriter physicsMap, graphicsMap, staticMap;
    AcPhysics physics;
    Graphics graphics;
    AcStatic statics;
    Clock clock = manualClock();
    ProcessScan scan;
    SteerWords steer;
    ReaderContext context{clock, scan, nullptr, steer, {0}, nullptr, {}};
    SimFrame frame;

    explicit Played(const AcPageSizes& sizes) {
        EXPECT_TRUE(physicsMap.create(names.physics, sizes.physics));
        EXPECT_TRUE(graphicsMap.create(names.graphics, sizes.graphics));
        EXPECT_TRUE(staticMap.create(names.statics, sizes.statics));
        steer.steerRotationDeg = 540;
    }
    void publish() {
        physics.packetId += 1;
        put(physicsMap, &physics, sizeof physics);
        put(graphicsMap, &graphics, sizeof graphics);
        put(staticMap, &statics, sizeof statics);
    }
    static void put(SharedMapWriter& map, const void* page, size_t size) {
        std::memcpy(map.data(), page, std::min(size, map.size()));
    }
    bool poll(SimReader& reader) {
        advance(clock, kStep);
        return reader.poll(frame);
    }
};

/// What the three sims tell alike.
void expectPlayer(const SimFrame& frame, const model::Race& race) {
    const model::Car& car = model::player(race);
    const model::CarClass& what = model::classOf(race, car);
    ASSERT_EQ(frame.connected, 1);
    EXPECT_NEAR(frame.speed, car.speed, 1e-3);
    EXPECT_EQ(frame.gear, car.gear);
    EXPECT_NEAR(frame.rpm, car.rpm, 1);
    EXPECT_NEAR(frame.maxRpm, what.maxRpm, 1);
    EXPECT_NEAR(frame.throttle, car.throttle, 1e-5);
    EXPECT_NEAR(frame.brake, car.brake, 1e-5);
    EXPECT_NEAR(frame.clutch, car.clutch, 1e-5);
    EXPECT_NEAR(frame.latAccel, car.latAccel, 1e-3);
    EXPECT_NEAR(frame.longAccel, car.longAccel, 1e-3);
    EXPECT_NEAR(frame.steerAngle, car.steer * 270 * M_PI / 180, 1e-4);
    EXPECT_NEAR(frame.fuelLevel, car.fuel, 1e-3);
    EXPECT_NEAR(frame.fuelCapacity, what.fuelCapacity, 1e-3);
    EXPECT_NEAR(frame.lapDistPct, car.pct, 1e-5);
    EXPECT_EQ(frame.lap, std::max(car.lap, 0));
    EXPECT_NEAR(frame.lastLapTime, car.lastLap, 1e-3);
    EXPECT_NEAR(frame.bestLapTime, car.bestLap, 1e-3);
    EXPECT_NEAR(frame.currentLapTime, car.lapTime, 1e-3);
    EXPECT_NEAR(frame.timeRemain, std::max(race.remaining, 0.0), 0.05);
    EXPECT_EQ(frame.currentSector, car.sector);
    EXPECT_EQ(frame.onPitRoad != 0, car.pit != model::PitPlace::none);
    EXPECT_EQ(frame.inPitStall != 0, car.pit == model::PitPlace::stall);
    EXPECT_EQ(frame.pitLimiterOn != 0, car.limiter);
    EXPECT_NEAR(frame.trackLength, race.circuit.length, 0.01);
    EXPECT_EQ(frame.trackName, race.circuit.name);
    EXPECT_EQ(frame.carModel, what.modelKey);
    EXPECT_STREQ(frame.sessionName, "Race");
    EXPECT_EQ((frame.sessionFlags & kFlagYellow) != 0, race.yellow && !race.chequered);
    EXPECT_EQ((frame.sessionFlags & kFlagChequered) != 0, race.chequered);
    if (std::abs(car.slip) < 1 && car.speed > 1) {
        EXPECT_NEAR(frame.slipAngle, -car.slip * kDegPerRad, 1e-2);
    }
    const CarRow* row = playerRow(frame);
    ASSERT_TRUE(row);
    EXPECT_EQ(row->position, car.position);
    EXPECT_EQ(row->driverName, car.firstName + " " + car.lastName);
}

TEST(AcModel, AssettoCorsaTellsThePlayersRace) {
    Played<AcGraphics> sim(kAcSizes);
    AcReader reader(sim.context, sim.names);
    model::Race race = someRace(8, 2);
    ASSERT_TRUE(reader.open());
    int laps = 0, pitRoad = 0, yellow = 0;
    for (double t = 0; t < 300 && !HasFailure(); t += kStep) {
        model::stepRace(race, kStep);
        fillModelPhysics(race, false, sim.physics);
        fillModelGraphics(race, sim.graphics);
        fillModelStatic(race, sim.statics);
        sim.publish();
        ASSERT_TRUE(sim.poll(reader));
        expectPlayer(sim.frame, race);
        EXPECT_EQ(sim.frame.cars.size(), 1u);
        laps = std::max(laps, sim.frame.lap);
        pitRoad += sim.frame.onPitRoad;
        yellow += (sim.frame.sessionFlags & kFlagYellow) != 0;
    }
    EXPECT_GE(laps, 3);
    EXPECT_GT(pitRoad, 30);
    EXPECT_GT(yellow, 100);
}

TEST(AcModel, AcRallyTellsThePlayersRace) {
    Played<AccGraphics> sim(kAcRallySizes);
    AcRallyReader reader(sim.context, sim.names);
    model::Race race = someRace(3, 1);
    ASSERT_TRUE(reader.open());
    int slips = 0;
    for (double t = 0; t < 120 && !HasFailure(); t += kStep) {
        model::stepRace(race, kStep);
        fillModelPhysics(race, false, sim.physics);
        fillModelGraphics(race, kAcNoLapMs, sim.graphics);
        fillModelStatic(race, sim.statics);
        sim.publish();
        ASSERT_TRUE(sim.poll(reader));
        expectPlayer(sim.frame, race);
        EXPECT_NEAR(sim.frame.wetness, 0.2, 1e-4);
        EXPECT_EQ(sim.frame.cars.size(), 1u);
        EXPECT_EQ(sim.frame.tcLevel, kModelTcLevel);
        slips += sim.frame.slipPairSource == 2;
    }
    EXPECT_GT(slips, 1000);
}

/// The page's coordinates must say of a car close by what the model's plane says, seen along the
/// player's direction of travel.
int expectNeighbours(const SimFrame& frame, const model::Race& race) {
    const model::Car& own = model::player(race);
    const double course = own.heading - own.slip;
    int seen = 0;
    if (own.speed < 10) return 0;
    for (const model::Car& car : race.cars) {
        const double dx = car.x - own.x, dy = car.y - own.y;
        if (car.index == 0 || std::hypot(dx, dy) > 30) continue;
        const CarRow* row = findCar(frame, kModelFirstCarId + car.index);
        if (!row) continue;
        ++seen;
        EXPECT_NEAR(row->pathLateral, dx * std::sin(course) - dy * std::cos(course), 0.05);
        double told = row->lapDistPct - frame.lapDistPct;
        told -= std::round(told);
        EXPECT_NEAR(told * race.circuit.length, dx * std::cos(course) + dy * std::sin(course),
                    0.05);
    }
    return seen;
}

TEST(AcModel, AccWithoutItsPortPlacesCarsByTheirCoordinates) {
    Played<AccGraphics> sim(kAccSizes);
    AccReader reader(sim.context, sim.names);
    model::Race race = someRace(20, 2);
    ASSERT_TRUE(reader.open()); // nobody answers its client
    int seen = 0;
    for (double t = 0; t < 150 && !HasFailure(); t += kStep) {
        model::stepRace(race, kStep);
        fillModelPhysics(race, true, sim.physics);
        fillModelGraphics(race, kAccNoLapMs, sim.graphics);
        fillModelStatic(race, sim.statics);
        sim.publish();
        ASSERT_TRUE(sim.poll(reader));
        expectPlayer(sim.frame, race);
        EXPECT_EQ(sim.frame.cars.size(), 20u);
        if (t > 1) seen += expectNeighbours(sim.frame, race);
    }
    EXPECT_GT(seen, 500);
    EXPECT_EQ(accBroadcastLive.load(), 0u);
    EXPECT_EQ(playerRow(sim.frame)->tyreCompound, 2);
}

/// As the broadcast's fields and the row hold it.
std::string fittingName(const model::Car& car) {
    const std::string first = car.firstName.substr(0, utf8CutLength(car.firstName, 23));
    const std::string last = car.lastName.substr(0, utf8CutLength(car.lastName, 39));
    return first + " " + last;
}

/// The whole field as the model has it.
void expectField(const SimFrame& frame, const model::Race& race) {
    ASSERT_EQ(frame.cars.size(), race.cars.size());
    EXPECT_EQ(frame.playerCarIdx, kModelFirstCarId);
    for (const model::Car& car : race.cars) {
        const CarRow* row = findCar(frame, kModelFirstCarId + car.index);
        ASSERT_TRUE(row) << car.index;
        EXPECT_EQ(row->position, car.position);
        EXPECT_EQ(row->classPosition, car.classPosition);
        EXPECT_EQ(row->carNumberValue, car.number);
        EXPECT_EQ(row->lap, std::max(car.lap, 0));
        EXPECT_NEAR(row->lapDistPct, car.pct, 1e-5);
        EXPECT_NEAR(row->lastLapTime, car.lastLap, 1e-3);
        EXPECT_NEAR(row->bestLapTime, car.bestLap, 1e-3);
        EXPECT_EQ(row->onPitRoad != 0, car.pit != model::PitPlace::none);
        EXPECT_EQ(row->driverName, fittingName(car));
        EXPECT_STREQ(row->carClass, accCarClass(modelAccCarModel(car)).carClass);
        EXPECT_GE(row->estTime, 0);
    }
}

TEST(AcModel, AccTellsTheWholeFieldThroughItsPort) {
    Played<AccGraphics> sim(kAccSizes);
    AccServer server;
    ASSERT_TRUE(server.open(0));
    const std::string documents = testing::TempDir() + "acc_model_" + std::to_string(getpid());
    const std::string folder = documents + "/Assetto Corsa Competizione/Config";
    ASSERT_EQ(std::system(("mkdir -p '" + folder + "'").c_str()), 0);
    std::ofstream(folder + "/broadcasting.json")
        << R"({"updListenerPort": )" << server.port() << "}";
    sim.context.documentsDir = documents;
    AccReader reader(sim.context, sim.names);
    model::Race race = someRace(40, 3);
    ASSERT_TRUE(reader.open());

    const Clock real;
    const auto round = [&] {
        fillModelPhysics(race, true, sim.physics);
        fillModelGraphics(race, kAccNoLapMs, sim.graphics);
        fillModelStatic(race, sim.statics);
        fillModelWorld(race, server.world);
        sim.publish();
    };
    // The model stands still until the client has heard a whole round of it.
    const auto heard = [&] {
        const uint64_t end = clockMs(real) + test::kPatienceMs;
        for (uint64_t i = 0; clockMs(real) < end; ++i) {
            server.tick(clockMs(real) + 1'000'000 + i * 200);
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
            sim.physics.packetId += 1;
            sim.publish();
            if (!sim.poll(reader) || accBroadcastLive != 5u) continue;
            bool same = sim.frame.cars.size() == race.cars.size();
            for (const model::Car& car : race.cars) {
                const CarRow* row = findCar(sim.frame, kModelFirstCarId + car.index);
                same = same && row && std::abs(row->lapDistPct - car.pct) < 1e-5 &&
                       row->driverName == fittingName(car);
            }
            if (same) return true;
        }
        return false;
    };
    for (int stop = 0; stop < 12 && !HasFailure(); ++stop) {
        for (int i = 0; i < 450; ++i)
            model::stepRace(race, kStep);
        round();
        ASSERT_TRUE(heard()) << stop;
        expectPlayer(sim.frame, race);
        expectField(sim.frame, race);
    }
    EXPECT_GE(sim.frame.lap, 2);
    reader.close();
    EXPECT_EQ(accBroadcastLive.load(), 0u);
    EXPECT_EQ(std::system(("rm -r '" + documents + "'").c_str()), 0);
}

} // namespace
} // namespace vt
