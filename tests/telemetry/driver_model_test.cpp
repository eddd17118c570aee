// The races that tests and players drive with have to be physically and arithmetically sound.
#include "driver_model/driver_model.h"
#include "driver_model/race_line.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <numbers>
#include <set>
#include <unistd.h>

namespace model {
namespace {

constexpr double kStep = 1.0 / 60;
const std::filesystem::path kCircuits = VT_SOURCE_DIR "/../shared/realdata/circuits";

Race start(const char* circuit, const std::function<void(Settings&)>& change = {}) {
    Settings settings;
    settings.laps = 50;
    if (change) change(settings);
    return startRace(settings, builtInCircuit(circuit));
}

/// Steps until `done` or for so many seconds; false then.
bool drive(Race& race, double seconds, const std::function<bool(const Race&)>& done) {
    for (double t = 0; t < seconds; t += kStep) {
        stepRace(race, kStep);
        if (done(race)) return true;
    }
    return false;
}

std::vector<LapRecord> lapsOf(const Race& race, int car) {
    std::vector<LapRecord> out;
    std::copy_if(race.laps.begin(), race.laps.end(), std::back_inserter(out),
                 [&](const LapRecord& lap) { return lap.car == car; });
    return out;
}

double wrapped(const Circuit& circuit, double way) {
    return way - circuit.length * std::round(way / circuit.length);
}

TEST(DriverModel, RealCircuitsTakeARealTime) {
    if (!std::filesystem::exists(kCircuits)) GTEST_SKIP() << "no circuits at " << kCircuits;
    const struct {
        const char* name;
        double length, low, high; // m, s
    } known[] = {{"BrandsHatch", 3900, 82, 90},
                 {"Monza", 5790, 105, 115},
                 {"Silverstone", 5880, 116, 126},
                 {"Spa", 7000, 135, 145},
                 {"Zandvoort", 4310, 92, 100}};
    for (const auto& k : known) {
        SCOPED_TRACE(k.name);
        Circuit circuit;
        std::string error;
        ASSERT_TRUE(
            loadCircuit((kCircuits / (std::string(k.name) + ".csv")).string(), circuit, error))
            << error;
        EXPECT_NEAR(circuit.length, k.length, 0.01 * k.length);
        Settings settings;
        settings.laps = 9;
        Race race = startRace(settings, circuit);
        ASSERT_TRUE(drive(race, 400, [](const Race& r) { return r.laps.size() == 2; }));
        EXPECT_GT(race.laps[1].time, k.low);
        EXPECT_LT(race.laps[1].time, k.high);
        EXPECT_TRUE(race.laps[1].valid);
    }
}

TEST(DriverModel, CircuitFilesAreChecked) {
    const auto path = std::filesystem::temp_directory_path() /
                      ("vt_driver_model_" + std::to_string(getpid()) + ".csv");
    Circuit circuit;
    std::string error;
    for (const char* text : {"", "1,2,3\n", "0,0,5,5\n10,0,5,5\n", "a,b,c,d\n", "0,0,5,-5\n"}) {
        std::ofstream(path) << text;
        error.clear();
        EXPECT_FALSE(loadCircuit(path.string(), circuit, error)) << text;
        EXPECT_FALSE(error.empty());
    }
    std::ofstream circle(path);
    for (int i = 0; i < 60; ++i)
        circle << 100 * std::cos(i * std::numbers::pi / 30) << ","
               << 100 * std::sin(i * std::numbers::pi / 30) << ",6,4\n";
    circle.close();
    ASSERT_TRUE(loadCircuit(path.string(), circuit, error)) << error;
    EXPECT_NEAR(circuit.length, 2 * std::numbers::pi * 100, 3);
    for (const CircuitPoint& p : circuit.points)
        EXPECT_NEAR(p.curvature, 0.01, 0.0015); // to the left
    std::filesystem::remove(path);
    EXPECT_FALSE(loadCircuit(path.string(), circuit, error));
}

// Each circuit, closed ones over the line: places, directions and curvatures belong together.
TEST(DriverModel, CircuitsAreSmooth) {
    for (const std::string& name : builtInCircuitNames()) {
        SCOPED_TRACE(name);
        const Circuit circuit = builtInCircuit(name);
        for (double s = 1; s < circuit.length - (circuit.closed ? 0 : 2); s += 0.37) {
            const CircuitPoint a = circuitAt(circuit, s), b = circuitAt(circuit, s + 0.5);
            const double turn = wrapAngle(b.heading - a.heading);
            ASSERT_NEAR(std::hypot(b.x - a.x, b.y - a.y), 0.5, 0.002) << s;
            ASSERT_NEAR(wrapAngle(std::atan2(b.y - a.y, b.x - a.x) - a.heading), turn / 2, 2e-3)
                << s;
            ASSERT_NEAR(turn / 0.5, (a.curvature + b.curvature) / 2, 4e-3) << s;
        }
        EXPECT_FALSE(findCorners(circuit).empty());
    }
}

// What a car says about itself are derivatives of where it is, and within what it can do.
TEST(DriverModel, MotionIsConsistentAndWithinLimits) {
    Race race = start("grand", [](Settings& s) { s.paceNoise = 0; });
    drive(race, 100, [](const Race& r) { return player(r).lap == 0 && player(r).s > 300; });
    const CarClass& kind = classOf(race, player(race));
    for (int i = 0; i < 60 * 130; ++i) {
        const Car a = player(race);
        stepRace(race, kStep);
        const Car& b = player(race);
        const WorldAxes from = worldAxes(a), to = worldAxes(b);
        SCOPED_TRACE("at " + std::to_string(b.s));
        const double vx = (from.velocity[0] + to.velocity[0]) / 2;
        const double vz = (from.velocity[2] + to.velocity[2]) / 2;
        ASSERT_NEAR((to.position[0] - from.position[0]) / kStep, vx, 0.15);
        ASSERT_NEAR((to.position[2] - from.position[2]) / kStep, vz, 0.15);
        ASSERT_NEAR(b.yawRate, wrapAngle(b.heading - a.heading) / kStep, 1e-9);
        ASSERT_NEAR(b.longAccel, (b.speed - a.speed) / kStep, 1e-9);
        // Across the direction of travel, as sensors feel it.
        const double course = b.heading - b.slip;
        const double ax = (to.velocity[0] - from.velocity[0]) / kStep;
        const double az = (to.velocity[2] - from.velocity[2]) / kStep;
        ASSERT_NEAR(b.latAccel, std::sin(course) * ax + std::cos(course) * az, 0.5);
        const double grip = gripAt(kind, b.speed, 0), drag = kind.drag * b.speed * b.speed;
        ASSERT_LT(std::abs(b.latAccel), 1.04 * grip);
        ASSERT_GT(b.longAccel, -grip - drag);
        ASSERT_LE(b.longAccel, kind.power / kind.mass / std::max(b.speed, 5.0) + 0.1);
        ASSERT_FALSE(b.offTrack);
        // Steering, slip and yaw go the way the car goes.
        if (std::abs(b.latAccel) > 8 && b.speed > 30) {
            ASSERT_GT(b.latAccel * b.wheelAngle, 0);
            ASSERT_LT(b.latAccel * b.yawRate, 0);
        }
        ASSERT_FALSE(b.throttle > 0 && b.brake > 0);
        ASSERT_GE(b.gear, 1);
        ASSERT_LE(b.rpm, 1.01 * kind.maxRpm);
        ASSERT_GE(b.rpm, 0.3 * kind.maxRpm);
    }
    // It really gets to the limit, and uses the road.
    double widest = 0, hardest = 0;
    drive(race, 130, [&](const Race& r) {
        widest = std::max(widest, std::abs(player(r).lateral));
        hardest = std::max(hardest, std::abs(player(r).latAccel));
        return false;
    });
    EXPECT_GT(widest, 4.5);
    EXPECT_GT(hardest, 15);
}

TEST(DriverModel, LapsAddUp) {
    Race race = start("club", [](Settings& s) { s.startFuel = 30; });
    double fuelAtLine = 0, timeAtLine = 0;
    size_t seen = 0;
    double fuelBefore = player(race).fuel;
    ASSERT_TRUE(drive(race, 700, [&](const Race& r) {
        const Car& car = player(r);
        if (car.lap == 0 && fuelAtLine == 0) {
            fuelAtLine = fuelBefore;
            timeAtLine = r.time;
        }
        fuelBefore = car.fuel;
        if (r.laps.size() > seen) {
            const LapRecord& lap = r.laps[seen++];
            EXPECT_NEAR(lap.sectors[0] + lap.sectors[1] + lap.sectors[2], lap.time, 1e-9);
            EXPECT_EQ(lap.lap, static_cast<int>(seen) - 1);
            EXPECT_EQ(car.lastLap, lap.time);
            // The line lies within the last step, where distance over speed puts it.
            EXPECT_NEAR(car.lapTime, car.s / car.speed, 2e-3);
        }
        return seen == 8;
    }));
    double used = 0, time = 0, best = 1e9;
    std::set<double> different;
    for (const LapRecord& lap : race.laps) {
        used += lap.fuelUsed;
        time += lap.time;
        best = std::min(best, lap.time);
        different.insert(lap.fuelUsed);
        EXPECT_NEAR(lap.fuelUsed, 3 * 0.55, 0.35);
    }
    EXPECT_EQ(different.size(), 8u);
    EXPECT_NEAR(used, fuelAtLine - player(race).fuel, 0.03);
    EXPECT_NEAR(time, race.time - timeAtLine, 0.05);
    EXPECT_EQ(player(race).bestLap, best);
}

TEST(DriverModel, SameSettingsSameRace) {
    const auto many = [](Settings& s) {
        s.cars = 20;
        s.classes = 4;
        s.pitEvery = 2;
    };
    Race a = start("club", many), b = start("club", many);
    for (int i = 0; i < 60 * 150; ++i) {
        stepRace(a, kStep);
        stepRace(b, kStep);
    }
    for (size_t i = 0; i < a.cars.size(); ++i) {
        EXPECT_EQ(a.cars[i].total, b.cars[i].total);
        EXPECT_EQ(a.cars[i].fuel, b.cars[i].fuel);
    }
    Race other = start("club", [&](Settings& s) {
        many(s);
        s.seed = 2;
    });
    stepRace(other, 150); // in pieces of its own
    EXPECT_NE(other.cars[0].total, a.cars[0].total);

    // Smaller steps, nearly the same laps.
    Race coarse = start("grand"), fine = start("grand");
    while (coarse.laps.size() < 2)
        stepRace(coarse, kStep);
    while (fine.laps.size() < 2)
        stepRace(fine, kStep / 4);
    EXPECT_NEAR(coarse.laps[1].time, fine.laps[1].time, 0.12);
}

TEST(DriverModel, AStopInThePits) {
    Race race = start("grand", [](Settings& s) { s.pitEvery = 2; });
    std::vector<PitPlace> places{PitPlace::none};
    double fuelIn = 0, stood = 0;
    bool announced = false;
    ASSERT_TRUE(drive(race, 500, [&](const Race& r) {
        const Car& car = player(r);
        announced = announced || (car.stopping && car.pit == PitPlace::none);
        if (car.pit != places.back()) places.push_back(car.pit);
        EXPECT_EQ(car.limiter, car.pit != PitPlace::none);
        if (car.pit == PitPlace::lane) {
            EXPECT_LE(car.speed, r.circuit.pitLimit);
        }
        if (car.pit == PitPlace::stall) {
            if (fuelIn == 0) fuelIn = car.fuel;
            stood += kStep;
            EXPECT_LT(car.speed, 0.2);
            EXPECT_NEAR(car.pct, car.stallPct, 1 / r.circuit.length);
            EXPECT_GT(car.lateral, circuitAt(r.circuit, car.s).widthRight + 3);
        }
        EXPECT_FALSE(car.offTrack);
        return car.lap == 3 && car.pct > 0.3;
    }));
    EXPECT_EQ(places, (std::vector{PitPlace::none, PitPlace::lane, PitPlace::stall, PitPlace::lane,
                                   PitPlace::none}));
    EXPECT_TRUE(announced);
    EXPECT_GT(stood, 5);
    EXPECT_EQ(player(race).pitStops, 1);
    EXPECT_GT(player(race).fuel, fuelIn);
    const auto laps = lapsOf(race, 0);
    ASSERT_EQ(laps.size(), 3u);
    EXPECT_TRUE(laps[1].inLap && laps[2].outLap);
    EXPECT_FALSE(laps[0].inLap || laps[1].outLap || laps[2].inLap);
    EXPECT_GT(laps[2].time, laps[0].time + stood);
    EXPECT_NEAR(laps[2].fuelUsed, laps[0].fuelUsed, 0.6); // what went in does not count
    EXPECT_EQ(player(race).bestLap, laps[0].time);
}

TEST(DriverModel, AnEmptyTankIsFilledInTime) {
    Race race = start("club", [](Settings& s) { s.startFuel = 6; });
    drive(race, 400, [](const Race& r) {
        EXPECT_GT(player(r).fuel, 0);
        return player(r).pitStops > 0 && player(r).lap > 4;
    });
    EXPECT_EQ(player(race).pitStops, 1);
}

/// Cars change their order on the road only side by side.
class PassWatch {
public:
    int passes = 0, through = 0;
    void look(const Race& race) {
        for (size_t i = 0; i < race.cars.size(); ++i)
            for (size_t k = i + 1; k < race.cars.size(); ++k) {
                const Car &a = race.cars[i], &b = race.cars[k];
                const double way = wrapped(race.circuit, a.s - b.s);
                double& before = ways_[{i, k}];
                const bool swapped = std::abs(way) < 50 && way * before < 0;
                before = way;
                if (!swapped || a.pit != PitPlace::none || b.pit != PitPlace::none) continue;
                passes += 1;
                through += std::abs(a.lateral - b.lateral) < 1.5;
            }
    }

private:
    std::map<std::pair<size_t, size_t>, double> ways_;
};

TEST(DriverModel, AFieldRacesToTheFlag) {
    Race race = start("club", [](Settings& s) {
        s.cars = 30;
        s.classes = 3;
        s.laps = 4;
        s.lappedTraffic = true;
    });
    PassWatch watch;
    int leaderLap = -1;
    ASSERT_TRUE(drive(race, 700, [&](const Race& r) {
        watch.look(r);
        std::set<int> positions;
        std::map<int, std::set<int>> inClass;
        double gap = 0;
        for (const int i : r.order) {
            const Car& car = r.cars[static_cast<size_t>(i)];
            positions.insert(car.position);
            inClass[car.classIndex].insert(car.classPosition);
            EXPECT_GE(car.gapToLeader, 0);
            if (!r.chequered && r.started && leaderLap >= 1) {
                EXPECT_GE(car.gapToLeader, gap - 1e-6);
                gap = car.gapToLeader;
            }
        }
        EXPECT_EQ(*positions.rbegin(), 30);
        EXPECT_EQ(positions.size(), 30u);
        for (const auto& [classIndex, places] : inClass)
            EXPECT_EQ(*places.rbegin(), static_cast<int>(places.size()));
        leaderLap = r.cars[static_cast<size_t>(r.leader)].lap;
        if (!r.chequered) {
            EXPECT_EQ(r.lastLap, leaderLap == 3);
        }
        return std::all_of(r.cars.begin(), r.cars.end(), [](const Car& c) { return c.finished; });
    }));
    EXPECT_GT(watch.passes, 30);
    EXPECT_EQ(watch.through, 0);
    const Car& winner = race.cars[static_cast<size_t>(race.order.front())];
    EXPECT_EQ(winner.classIndex, 0);
    EXPECT_EQ(lapsOf(race, winner.index).size(), 4u);
    // The slow ones were lapped, and no lap counts behind the flag.
    EXPECT_LT(lapsOf(race, race.order.back()).size(), 4u);
    double previous = 0;
    for (const int i : race.order) {
        double total = 0;
        for (const LapRecord& lap : lapsOf(race, i))
            total += lap.time;
        if (lapsOf(race, i).size() < 4) break;
        EXPECT_GT(total, 0.97 * previous);
        previous = total;
    }
}

TEST(DriverModel, StartsFlagsAndTheClock) {
    Race standing = start("club", [](Settings& s) {
        s.cars = 12;
        s.rollingStart = false;
        s.laps = 0;
        s.minutes = 2.5;
        s.yellows = {{80, 110}};
    });
    bool lastLap = false;
    double quickest = 0, flagAt = 0;
    ASSERT_TRUE(drive(standing, 400, [&](const Race& r) {
        if (r.time < 9.9) {
            EXPECT_FALSE(r.started);
            for (const Car& car : r.cars)
                EXPECT_EQ(car.speed, 0);
        }
        if (std::abs(r.time - 80) > 0.05 && std::abs(r.time - 110) > 0.05) {
            EXPECT_EQ(r.yellow, r.time > 80 && r.time < 110) << r.time;
        }
        if (r.time > 92 && r.time < 110)
            for (const Car& car : r.cars)
                quickest = std::max(quickest, car.speed);
        lastLap = lastLap || r.lastLap;
        flagAt = r.time;
        return r.chequered;
    }));
    EXPECT_LT(quickest, 0.42 * 80);
    EXPECT_TRUE(lastLap);
    EXPECT_GT(flagAt, 10 + 150);
    const Car& winner = standing.cars[static_cast<size_t>(standing.leader)];
    EXPECT_TRUE(winner.finished);
    EXPECT_LT(flagAt - winner.lastLap, 10 + 150); // he was on the road when time ran out

    Race qualifying = start("club", [](Settings& s) {
        s.cars = 8;
        s.session = SessionKind::qualifying;
        s.laps = 0;
        s.minutes = 5;
    });
    EXPECT_EQ(player(qualifying).pit, PitPlace::stall);
    ASSERT_TRUE(drive(qualifying, 500, [](const Race& r) {
        return std::all_of(r.cars.begin(), r.cars.end(), [](const Car& c) { return c.finished; });
    }));
    for (const Car& a : qualifying.cars) {
        EXPECT_TRUE(lapsOf(qualifying, a.index).front().outLap);
        EXPECT_GT(a.bestLap, 0);
        for (const Car& b : qualifying.cars)
            EXPECT_EQ(a.position < b.position, a.bestLap < b.bestLap);
    }
}

struct Outcome {
    double lapTime = 0, brakesAt = 0, outside = 0, stood = 0, slowest = 1e9, turned = 0, off = 0;
    bool valid = true, engineDied = false;
    int incidents = 0;
};

/// Lap 1 of the player with a fault; `corner` is watched.
Outcome lapWith(std::vector<Fault> faults, size_t corner) {
    Race race = start("grand", [&](Settings& s) {
        s.paceNoise = 0;
        s.faults = std::move(faults);
    });
    const Corner watched = race.corners[corner];
    const double side = watched.curvature > 0 ? 1 : -1;
    Outcome out;
    double heading = player(race).heading;
    drive(race, 500, [&](const Race& r) {
        const Car& car = player(r);
        if (car.lap == 1) {
            if (car.s > watched.apex - 200 && car.s < watched.apex && car.brake > 0.3 &&
                out.brakesAt == 0)
                out.brakesAt = car.s;
            if (car.s < watched.apex + 15) out.outside = side * car.lateral;
            out.stood += car.speed < 0.05 ? kStep : 0;
            out.slowest = std::min(out.slowest, car.speed);
            out.engineDied = out.engineDied || car.rpm < 1;
            out.off += car.offTrack ? kStep : 0;
            if (car.spinning) out.turned += wrapAngle(car.heading - heading);
        }
        heading = car.heading;
        return car.lap == 2;
    });
    out.lapTime = race.laps[1].time;
    out.valid = race.laps[1].valid;
    out.incidents = player(race).incidents;
    return out;
}

TEST(DriverModel, FaultsDoWhatTheySay) {
    const size_t corner = 0;
    const Outcome clean = lapWith({}, corner);
    EXPECT_TRUE(clean.valid);
    EXPECT_EQ(clean.incidents, 0);

    double loss = 0;
    for (const double late : {6.0, 12.0, 20.0}) {
        SCOPED_TRACE(late);
        const Outcome o = lapWith({{FaultKind::lateBrake, 0, 1, corner, 0, late}}, corner);
        EXPECT_NEAR(o.brakesAt - clean.brakesAt, late, 2.5);
        EXPECT_GT(o.lapTime - clean.lapTime, loss);
        EXPECT_LT(o.lapTime - clean.lapTime, 2.5);
        EXPECT_GT(o.outside, clean.outside + 0.08 * late);
        loss = o.lapTime - clean.lapTime;
    }
    EXPECT_GT(loss, 0.4);

    const Outcome spun = lapWith({{FaultKind::spin, 0, 1, corner, 0, 0}}, corner);
    EXPECT_NEAR(std::abs(spun.turned), 2 * std::numbers::pi, 1.6); // and what the road turns
    EXPECT_LT(spun.slowest, 0.1);
    EXPECT_FALSE(spun.valid);
    EXPECT_GE(spun.incidents, 2);
    EXPECT_GT(spun.lapTime, clean.lapTime + 4);

    const Outcome stalled = lapWith({{FaultKind::stall, 0, 1, 0, 0.5, 7}}, corner);
    EXPECT_NEAR(stalled.stood, 7, 0.6);
    EXPECT_TRUE(stalled.engineDied);

    const Outcome left = lapWith({{FaultKind::offTrack, 0, 1, 0, 0.5, 2}}, corner);
    EXPECT_GT(left.off, 0.5);
    EXPECT_FALSE(left.valid);
    EXPECT_EQ(left.incidents, 1);

    const Outcome slow = lapWith({{FaultKind::slowLap, 0, 1, 0, 0.25, 3}}, corner);
    EXPECT_NEAR(slow.lapTime, clean.lapTime + 3, 0.25);
    EXPECT_TRUE(slow.valid);
}

TEST(DriverModel, AStageIsDrivenFromEndToEndAgainAndAgain) {
    Race race = start("stage");
    EXPECT_EQ(player(race).pct, 0);
    double furthest = 0;
    ASSERT_TRUE(drive(race, 400, [&](const Race& r) {
        const Car& car = player(r);
        if (car.lap == 0) {
            EXPECT_GE(car.pct, furthest);
            furthest = car.pct;
        }
        return car.lap == 1;
    }));
    EXPECT_GT(furthest, 0.99);
    ASSERT_EQ(race.laps.size(), 1u);
    EXPECT_GT(race.circuit.length / race.laps[0].time, 25);
    EXPECT_EQ(player(race).pct, 0);
    EXPECT_EQ(player(race).speed, 0);
    EXPECT_EQ(player(race).lapTime, 0);
    ASSERT_TRUE(drive(race, 400, [](const Race& r) { return player(r).lap == 2; }));
    EXPECT_NEAR(race.laps[1].time, race.laps[0].time, 4);
}

TEST(DriverModel, TheFrameTellsTheRace) {
    Race race = start("grand", [](Settings& s) {
        s.cars = 25;
        s.classes = 4;
    });
    stepRace(race, 200);
    vt::SimFrame frame;
    frame.simKind = 7;
    fillFrame(race, frame);
    const Car& car = player(race);
    EXPECT_EQ(frame.simKind, 7);
    EXPECT_EQ(frame.connected, 1);
    EXPECT_FLOAT_EQ(frame.speed, static_cast<float>(car.speed));
    EXPECT_EQ(frame.lap, car.lap + 1);
    EXPECT_FLOAT_EQ(frame.lapDistPct, static_cast<float>(car.pct));
    EXPECT_NEAR(std::tan(frame.slipAngle * std::numbers::pi / 180), -frame.velY / frame.velX, 1e-4);
    EXPECT_NEAR(frame.rightX * frame.forwardX + frame.rightY * frame.forwardY, 0, 1e-6);
    EXPECT_NEAR(frame.forwardX * frame.rightY - frame.forwardY * frame.rightX, -1, 1e-6);
    ASSERT_EQ(frame.cars.size(), 25u);
    std::set<std::string> names, numbers;
    for (const vt::CarRow& row : frame.cars) {
        const Car& c = race.cars[static_cast<size_t>(row.carIdx)];
        EXPECT_EQ(row.position, c.position);
        EXPECT_STREQ(row.carClass, classOf(race, c).name.c_str());
        EXPECT_FLOAT_EQ(row.gapToLeader, static_cast<float>(c.gapToLeader));
        names.insert(row.driverName);
        numbers.insert(row.carNumber);
    }
    EXPECT_EQ(names.size(), 25u);
    EXPECT_EQ(numbers.size(), 25u);
    EXPECT_EQ(vt::playerRow(frame)->carIdx, 0);
}

} // namespace
} // namespace model
