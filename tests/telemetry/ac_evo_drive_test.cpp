// AC EVO's pages as the driver model fills them, and what the reader infers from them, against what
// the model knows.
#include "sim_player/ac_evo_pages.h"
#include "telemetry/readers/ac_evo_frame.h"
#include "telemetry/sim_registry.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <filesystem>
#include <optional>
#include <vector>

namespace vt {
namespace {

/// The model, its pages at 60 Hz, and a reader that looks 30 times a second.
struct Drive {
    model::Race race;
    player::AcEvoPageWriter writer;
    AcEvoPages seen;
    AcEvoMemory memory;
    AcEvoClock clock;
    SimFrame frame;
    double now = 50;

    Drive(const model::Settings& settings, const model::Circuit& circuit,
          const player::AcEvoQuirks& quirks = {})
        : race(model::startRace(settings, circuit)), writer(quirks) {}

    void step() {
        for (int i = 0; i < 2; ++i) {
            model::stepRace(race, 1.0 / 60);
            if (writer.update(race)) seen.graphics = writer.graphics;
        }
        now += 1.0 / 30;
        seen.physics = writer.physics;
        seen.statics = writer.statics;
        seen.haveStatic = true;
        acEvoClockTick(clock, now, seen.graphics.status == kAcLive, 0);
        fillAcEvoFrame(frame, seen, now, clock.session, memory);
    }
    const model::Car& car() const { return model::player(race); }
    double length() const { return race.circuit.length; }
    /// Metres that the frame is ahead of the model's car.
    double ahead() const {
        return std::remainder(static_cast<double>(frame.lapDistPct) - car().pct, 1.0) * length();
    }
};

std::optional<model::Circuit> circuitOf(const std::string& name) {
    if (name == "club") return model::builtInCircuit(name);
    model::Circuit circuit;
    std::string error;
    const std::string file = VT_SOURCE_DIR "/../shared/realdata/circuits/" + name + ".csv";
    if (!std::filesystem::exists(file) || !model::loadCircuit(file, circuit, error)) return {};
    return circuit;
}

class AcEvoCircuit : public testing::TestWithParam<const char*> {
protected:
    void SetUp() override {
        circuit = circuitOf(GetParam());
        if (!circuit) GTEST_SKIP() << "the circuit " << GetParam() << " is not on this machine";
    }
    std::optional<model::Circuit> circuit;
};
INSTANTIATE_TEST_SUITE_P(Circuits, AcEvoCircuit, testing::Values("club", "Monza"),
                         [](const auto& circuit) { return std::string(circuit.param); });

TEST_P(AcEvoCircuit, LapPositionStartsAtTheLineAndNeverJumps) {
    for (const double line : {-0.04, 0.0, 0.03}) {
        SCOPED_TRACE(line);
        player::AcEvoQuirks quirks;
        quirks.line = line;
        Drive drive({}, *circuit, quirks);
        double worst = 0;
        int learnedOnLap = -1;
        for (float last = 0; drive.car().lap < 3;) {
            const int lapBefore = drive.frame.lap;
            drive.step();
            const float now = drive.frame.lapDistPct;
            const bool learned = drive.memory.line.known;
            if (learned && learnedOnLap < 0) learnedOnLap = drive.frame.lap;
            if (learned && drive.frame.lap > learnedOnLap) {
                const double step = static_cast<double>(now - last) * drive.length();
                const double driven = drive.car().speed / 30 + 3;
                worst = std::max(worst, std::abs(drive.ahead()));
                if (drive.frame.lap == lapBefore) {
                    ASSERT_GE(step, 0) << drive.car().pct;
                }
                // Over the line the lap begins anew.
                ASSERT_LE(step < 0 ? step + drive.length() : step, driven) << drive.car().pct;
            }
            last = now;
        }
        ASSERT_EQ(learnedOnLap, 1); // with the first lap
        const double off =
            std::remainder(static_cast<double>(drive.memory.line.offset) - line, 1.0);
        EXPECT_LT(std::abs(off * drive.length()), 5);
        RecordProperty("metres_off_the_line", std::to_string(off * drive.length()));
        // A page may be a twentieth of a second old, and as much late over the line.
        EXPECT_LT(worst, 10);
        std::printf("%s line %+.2f: offset off by %.2f m, worst place %.2f m\n", GetParam(), line,
                    off * drive.length(), worst);
    }
}

TEST_P(AcEvoCircuit, WorldAxesAndYawAgreeWithTheMotion) {
    for (const double sign : {-1.0, 1.0}) {
        player::AcEvoQuirks quirks;
        quirks.yawSign = sign;
        Drive drive({}, *circuit, quirks);
        while (drive.memory.yaw.sign == 0 && drive.now < 120)
            drive.step();
        ASSERT_EQ(drive.memory.yaw.sign, static_cast<float>(sign));
        double worst = 0;
        int turning = 0;
        for (int i = 0; i < 30 * 60; ++i) {
            const SimFrame before = drive.frame;
            drive.step();
            const SimFrame& f = drive.frame;
            ASSERT_EQ(f.worldOk, 1);
            EXPECT_NEAR(f.rightX, f.forwardY, 1e-3); // of coordinates in kilometres
            EXPECT_NEAR(f.rightY, -f.forwardX, 1e-3);
            EXPECT_NEAR(f.worldX, drive.car().x, 0.01);
            EXPECT_NEAR(f.worldY, drive.car().y, 0.01);
            const double heading = std::atan2(f.forwardY, f.forwardX);
            const double was = std::atan2(before.forwardY, before.forwardX);
            const double rate = std::remainder(heading - was, 2 * M_PI) * 30;
            ASSERT_EQ(f.dynamicsMask, 7u);
            if (std::abs(rate) > 0.1 && std::abs(f.yawRate) > 0.1) {
                ++turning;
                EXPECT_GT(rate * f.yawRate, 0) << rate << " " << f.yawRate;
            }
            if (f.speed < 30) continue;
            // Where the car goes is its heading less the slip angle.
            const double course = std::atan2(f.worldY - before.worldY, f.worldX - before.worldX);
            const double slip = static_cast<double>(f.slipAngle + before.slipAngle) / 2;
            const double off =
                std::remainder((heading + was) / 2 - course, 2 * M_PI) * 180 / M_PI - slip;
            if (std::abs(std::remainder(heading - was, 2 * M_PI)) < 0.2)
                worst = std::max(worst, std::abs(std::remainder(off, 180.0)));
        }
        EXPECT_GT(turning, 100);
        EXPECT_LT(worst, 3);
        std::printf("%s: forward off the motion by %.2f degrees at most\n", GetParam(), worst);
    }
}

TEST_P(AcEvoCircuit, SectorTimesAreThoseOfTheModel) {
    player::AcEvoQuirks quirks;
    quirks.line = 0;
    Drive drive({}, *circuit, quirks);
    const int count = acEvoSectorCount(static_cast<float>(drive.length()));
    double crossed = -1, truth = 0, worst = 0, pctBefore = drive.car().pct;
    double timeBefore = drive.race.time;
    int last = -1, compared = 0, sector = -1;
    bool lineKnown = false;
    while (drive.car().lap < 4) {
        const CarRow* row = playerRow(drive.frame);
        const float shown = row ? row->lastSectorTime : 0;
        const int32_t shownIdx = row ? row->lastSectorIdx : -1;
        drive.step();
        // When the model's car passed a sector's start, between two steps.
        const double lap = drive.car().pct - pctBefore, wrapped = lap < -0.5 ? lap + 1 : lap;
        const int now = static_cast<int>(drive.car().pct * count);
        if (now != sector && sector >= 0) {
            const double start = static_cast<double>(now) / count;
            const double part = std::remainder(start - pctBefore, 1.0) / wrapped;
            const double at = timeBefore + part * (drive.race.time - timeBefore);
            truth = at - crossed;
            last = crossed >= 0 ? sector : -1;
            crossed = at;
        }
        sector = now;
        pctBefore = drive.car().pct;
        timeBefore = drive.race.time;
        row = playerRow(drive.frame);
        const bool told = row->lastSectorIdx != shownIdx || row->lastSectorTime != shown;
        if (!told) continue;
        // With the line all starts move by the few metres that it is off: not so the start of the
        // sector that was driven just then.
        if (!lineKnown) {
            lineKnown = drive.memory.line.known;
            continue;
        }
        ++compared;
        EXPECT_EQ(row->lastSectorIdx, last);
        worst = std::max(worst, std::abs(static_cast<double>(row->lastSectorTime) - truth));
        EXPECT_NEAR(row->lastSectorTime, truth, 0.05) << "sector " << last;
    }
    EXPECT_GE(compared, count * 2);
    std::printf("%s: %d sector times, off by %.3f s at most\n", GetParam(), compared, worst);
}

TEST_P(AcEvoCircuit, TankAndPitLimit) {
    for (const double scale : {1.0, 100.0}) {
        player::AcEvoQuirks quirks;
        quirks.fuelScale = scale;
        model::Settings settings;
        settings.pitEvery = 1;
        Drive drive(settings, *circuit, quirks);
        while (drive.car().pitStops < 1 && drive.now < 600)
            drive.step();
        ASSERT_GE(drive.car().pitStops, 1);
        const double capacity = model::classOf(drive.race, drive.car()).fuelCapacity;
        EXPECT_NEAR(drive.frame.fuelCapacity, capacity, capacity * 0.02);
        EXPECT_NEAR(drive.frame.pitLimitSpeed * 3.6, drive.race.circuit.pitLimit * 3.6, 1);
    }
}

TEST(AcEvoDrive, OtherCarsWhereTheyAre) {
    model::Settings settings;
    settings.cars = 60;
    settings.classes = 2;
    Drive drive(settings, model::builtInCircuit("club"));
    for (int i = 0; i < 30 * 40; ++i)
        drive.step();
    int seen = 0, lost = 0;
    double worst = 0;
    for (int i = 0; i < 30 * 60; ++i) {
        drive.step();
        const SimFrame& f = drive.frame;
        if (f.cars.size() < 60) {
            ++lost;
            continue;
        }
        ASSERT_EQ(f.playerCarIdx, 3);
        ASSERT_EQ(f.cars.front().carIdx, 3);
        for (const CarRow& row : f.cars) {
            const auto index = static_cast<size_t>((row.carIdx + 57) % 60);
            const model::Car& other = drive.race.cars[index];
            const double dx = other.x - drive.car().x, dy = other.y - drive.car().y;
            if (index == 0 || std::hypot(dx, dy) > 40) continue;
            // The places are up to a twelfth of a second old, but all equally so.
            const double c = std::cos(drive.car().heading), s = std::sin(drive.car().heading);
            const double ahead =
                static_cast<double>(row.lapDistPct) - static_cast<double>(f.lapDistPct);
            worst = std::max(
                worst, std::abs(std::remainder(ahead, 1.0) * drive.length() - (dx * c + dy * s)));
            EXPECT_NEAR(row.pathLateral, dx * s - dy * c, 2.5);
            ++seen;
        }
    }
    EXPECT_GT(seen, 1000);
    EXPECT_EQ(lost, 0);
    EXPECT_LT(worst, 4);
    std::printf("%d neighbours, off by %.2f m at most along the road\n", seen, worst);
}

TEST(AcEvoDrive, FrameTellsWhatTheModelKnows) {
    Drive drive({}, model::builtInCircuit("club"));
    for (int i = 0; i < 30 * 30; ++i)
        drive.step();
    SimFrame truth;
    model::fillFrame(drive.race, truth);
    const SimFrame& f = drive.frame;
    EXPECT_EQ(f.simKind, kSimAcEvo);
    EXPECT_STREQ(f.carModel, truth.carModel);
    EXPECT_STREQ(f.trackName, (std::string(truth.trackName) + " GP").c_str());
    EXPECT_STREQ(f.sessionName, "RACE");
    EXPECT_TRUE(frameIsRace(f));
    EXPECT_EQ(f.trackId, trackNameHash(f.trackName));
    EXPECT_STREQ(f.cars.at(0).driverName, truth.cars.at(0).driverName);
    EXPECT_EQ(f.gear, truth.gear);
    EXPECT_NEAR(f.rpm, truth.rpm, 1);
    EXPECT_NEAR(f.speed, truth.speed, 0.01);
    EXPECT_NEAR(f.throttle, truth.throttle, 0.01);
    EXPECT_NEAR(f.latAccel, truth.latAccel, 0.01);
    EXPECT_NEAR(f.longAccel, truth.longAccel, 0.01);
    EXPECT_NEAR(f.yawRate, truth.yawRate, 1e-4);
    EXPECT_NEAR(f.slipAngle, truth.slipAngle, 0.01);
    EXPECT_NEAR(f.latVelocity, truth.latVelocity, 0.01);
    EXPECT_NEAR(f.steerAngle, truth.steerAngle, 0.1); // of a page that is older
    EXPECT_NEAR(f.wheelBase, truth.wheelBase, 0.01);
    EXPECT_NEAR(f.trackWidth, truth.trackWidth, 0.01);
    EXPECT_NEAR(f.fuelLevel, truth.fuelLevel, 0.01);
    EXPECT_NEAR(f.timeRemain, truth.timeRemain, 0.1);
    EXPECT_NEAR(f.sessionTime, 1 + 30 - 1.0 / 30, 0.01);
    EXPECT_EQ(f.trackSurface, truth.trackSurface);
}

} // namespace
} // namespace vt
