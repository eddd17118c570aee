// The rules of the fuel models at their edges.
#include "platform/file.h"
#include "race/fuel_save.h"
#include "telemetry/sim_registry.h"

#include <gtest/gtest.h>

#include <cmath>
#include <csignal>
#include <filesystem>
#include <limits>
#include <sys/wait.h>
#include <unistd.h>

namespace vt {
namespace {

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

SimFrame raceFrame(int lap, float fuel, int lapsRemain) {
    SimFrame frame;
    frame.connected = 1;
    frame.simKind = kSimIRacing;
    frame.isOnTrack = 1;
    frame.timedSession = 0;
    frame.lap = lap;
    frame.lapsRemain = lapsRemain;
    frame.fuelLevel = fuel;
    frame.fuelCapacity = 60;
    std::snprintf(frame.carModel, sizeof frame.carModel, "falcon");
    std::snprintf(frame.trackName, sizeof frame.trackName, "Club");
    return frame;
}

FuelRing ringOf(std::initializer_list<float> burns) {
    FuelRing ring;
    for (const float burn : burns)
        pushFuelSample(ring, {burn, 90, false});
    return ring;
}

/// Laps of `burn` litres from lap 1 on; the time of each comes one tick later.
struct Stint {
    FuelLapRing ring;
    CarTrackStore store;
    FuelRules rules;
    int lap = 0;
    float fuel = 60, time = 0;
    void lapOf(float burn, bool pits = false) {
        SimFrame frame = raceFrame(lap, fuel, 50);
        frame.lastLapTime = time;
        frame.onPitRoad = pits;
        fuelRingTick(ring, store, rules, &frame, 1);
        fuel -= burn;
        frame = raceFrame(++lap, fuel, 50);
        frame.lastLapTime = time;
        fuelRingTick(ring, store, rules, &frame, 2);
        time = 90 + static_cast<float>(lap) * 0.1f;
        frame.lastLapTime = time;
        fuelRingTick(ring, store, rules, &frame, 3);
    }
    FuelView view() const {
        const SimFrame frame = raceFrame(lap, fuel, 50);
        return computeFuelView(ring.ring, rules, &frame);
    }
};

TEST(FuelRules, LapsThatTellNothingAreLeftOut) {
    Stint stint;
    stint.lapOf(2); // not seen from its line
    EXPECT_EQ(stint.ring.ring.count, 0);
    stint.lapOf(2);
    stint.lapOf(2);
    EXPECT_EQ(stint.view().status, kFuelLearning);
    stint.lapOf(31);  // a reset
    stint.lapOf(-20); // filled up
    stint.lapOf(2.5f, true);
    EXPECT_EQ(stint.ring.ring.count, 5);
    EXPECT_FLOAT_EQ(stint.view().burn, 2);
    EXPECT_EQ(stint.view().status, kFuelLearning);
    stint.lapOf(2.6f); // follows a lap in the pits: counts, flashes nothing
    EXPECT_EQ(stint.ring.burnFlash, 0);
    EXPECT_NE(stint.view().status, kFuelLearning);
    EXPECT_NEAR(stint.view().burn, 2.2, 1e-5);
    stint.lapOf(2.6f);
    EXPECT_EQ(stint.ring.burnFlash, 1);
    EXPECT_NEAR(stint.ring.ring.samples[6].lapTime, 90.8, 1e-4);
    stint.lap += 3; // towed: a lap was missed
    stint.lapOf(1);
    EXPECT_EQ(stint.ring.burnFlash, 0);
    EXPECT_EQ(stint.ring.ring.count, 7) << "a lap that was not seen whole";

    // What is kept, and comes back as one clean lap.
    fuelRingTick(stint.ring, stint.store, {}, nullptr, 0);
    ASSERT_EQ(stint.store.entries.size(), 1u);
    EXPECT_EQ(stint.store.entries[0].cleanLaps, 4);
    EXPECT_NEAR(stint.store.entries[0].fuelPerLap, 2.3, 1e-5);
    stint.lap = 0;
    stint.fuel = 60;
    stint.lapOf(3);
    stint.lapOf(3);
    EXPECT_EQ(stint.view().status, kFuelLearning);
    stint.lapOf(3);
    EXPECT_NE(stint.view().status, kFuelLearning) << "two new laps suffice on a known track";
    fuelRingTick(stint.ring, stint.store, {}, nullptr, 0);
    EXPECT_EQ(stint.store.entries[0].cleanLaps, 7);
    EXPECT_NEAR(stint.store.entries[0].fuelPerLap, (8.3 + 4 * 2.3) / 7, 1e-4);
}

TEST(FuelRules, TheVerdictAtItsLimits) {
    const FuelRing ring = ringOf({2, 2, 2});
    const auto at = [&](float fuel, int laps) {
        const SimFrame frame = raceFrame(5, fuel, laps);
        return computeFuelView(ring, {}, &frame);
    };
    EXPECT_EQ(at(20, 10).status, kFuelMarginal) << "exactly enough";
    EXPECT_EQ(at(21, 10).status, kFuelSafe) << "a litre too many";
    const FuelView needs = at(12, 10);
    EXPECT_EQ(needs.status, kFuelShort);
    EXPECT_FLOAT_EQ(needs.addAtPit, 9);
    EXPECT_EQ(needs.lapsBeforePit, 5);
    EXPECT_EQ(needs.pitLap, 10);
    EXPECT_EQ(at(12, -1).status, kFuelNoLength);
    EXPECT_EQ(at(8, 40).alertLevel, 1);
    EXPECT_EQ(at(4, 40).alertLevel, 2);
    for (const float bad : {kNan, -3.0f, std::numeric_limits<float>::infinity()}) {
        SimFrame frame = raceFrame(5, bad, 10);
        frame.fuelCapacity = bad;
        const FuelView view = computeFuelView(ring, {}, &frame);
        EXPECT_EQ(view.fuel, 0);
        EXPECT_TRUE(std::isfinite(view.delta) && std::isfinite(view.lapsInTank));
    }
    SimFrame timed = raceFrame(5, 20, -1);
    timed.timedSession = 1;
    for (const auto& [estimate, exact, laps] :
         {std::tuple{10.0f, 0, 10.0f}, {10.84f, 0, 11.0f}, {10.85f, 0, 12.0f}, {10.9f, 1, 11.0f}}) {
        timed.lapsEstimate = estimate;
        timed.lapsEstimateIsExact = static_cast<uint8_t>(exact);
        EXPECT_EQ(lapsLeftEstimate(&timed, true), laps) << estimate;
        EXPECT_EQ(lapsLeftEstimate(&timed, false), std::ceil(estimate));
    }
}

TEST(PitPlans, RefusedAndKept) {
    PlanInput in{.lap = 10,
                 .lapsToGo = 10,
                 .fuel = 0,
                 .capacity = 60,
                 .burn = 2,
                 .avgLap = 90,
                 .pitLossSec = 22};
    StrategyOption out;
    const auto noStopWith = [&](float fuel) {
        in.stops = 0;
        in.fuel = fuel;
        return evaluatePlan(in, out);
    };
    EXPECT_TRUE(noStopWith(17.5f)) << "15 % exactly";
    EXPECT_FLOAT_EQ(out.saveLitresPerLap, 0.3f);
    EXPECT_FLOAT_EQ(out.costSec, 909) << "each percent costs 0.06 s a lap";
    EXPECT_STREQ(out.detail, "SAVE 0.30 L/lap");
    EXPECT_FALSE(noStopWith(17.47f));
    EXPECT_TRUE(noStopWith(20.5f));
    EXPECT_STREQ(out.detail, "TANK COVERS IT");
    in.stops = 1;
    in.stopLap = {15, 0};
    in.fuel = 12;
    EXPECT_TRUE(evaluatePlan(in, out));
    EXPECT_FLOAT_EQ(out.addFuel[0], 10.5f);
    EXPECT_STREQ(out.title, "1 STOP - LAP 15");
    EXPECT_STREQ(out.detail, "ADD 10 L");
    in.capacity = 2.9f; // 2 litres on board at the stop: 0.9 fit
    EXPECT_FALSE(evaluatePlan(in, out));
    in.capacity = 60;
    in.stops = 2;
    in.stopLap = {15, 15};
    EXPECT_FALSE(evaluatePlan(in, out)) << "stops on one lap";
    std::array<StrategyOption, 4> plans{};
    in = {.lap = 3, .lapsToGo = 1, .fuel = 9, .capacity = 60, .burn = 2, .avgLap = 90};
    EXPECT_EQ(rankPlans(in, plans), 1) << "a race of one lap";
    in.lapsToGo = 24;
    in.fuel = 30;
    in.pitLossSec = 20;
    ASSERT_EQ(rankPlans(in, plans), 3);
    EXPECT_STREQ(plans[0].title, "1 STOP - LAP 15");
    EXPECT_STREQ(plans[1].title, "1 STOP - LAP 17") << "as far as the tank goes, behind its equal";
    EXPECT_STREQ(plans[2].title, "2 STOPS - LAP 11/19");
}

TEST(PitPlans, WhatAStopCosts) {
    const auto stop = [](float in, float out, bool yellow, bool doubleStop) {
        PitLossWatch watch;
        watch.wasOnPitRoad = false;
        PitLossStep step;
        step.onPitRoad = true;
        step.reference = 90;
        pitLossStep(watch, step);
        step.lapEnded = true;
        step.yellow = yellow;
        pitLossStep(watch, step);
        step = {};
        step.timeKnown = true;
        step.time = in;
        pitLossStep(watch, step);
        step = {};
        step.lapEnded = true;
        step.onPitRoad = doubleStop;
        if (doubleStop) watch.wasOnPitRoad = true;
        pitLossStep(watch, step);
        step = {};
        step.onPitRoad = doubleStop;
        step.timeKnown = true;
        step.time = out;
        return pitLossStep(watch, step);
    };
    EXPECT_FLOAT_EQ(stop(95, 108, false, false), 23);
    EXPECT_EQ(stop(95, 108, true, false), 0);
    EXPECT_EQ(stop(95, 108, false, true), 0);
    EXPECT_EQ(stop(90, 94.9f, false, false), 0);
    EXPECT_FLOAT_EQ(stop(90, 95, false, false), 5);
    EXPECT_FLOAT_EQ(stop(180, 180, false, false), 180);
    EXPECT_EQ(stop(180, 181, false, false), 0);
}

TEST(PitPlans, AreToldOnceAndSentOnce) {
    PitStrategyEngine engine;
    CarTrackStore store;
    CarTrackEntry& known = *findOrAddCarTrack(store, kSimIRacing, "other", "Club");
    known.pitLossSec = 25;
    const PitSettings settings{.writeEnabled = true};
    std::vector<int> told;
    uint64_t now = 1000;
    float fuel = 40;
    for (int lap = 1; lap < 14; ++lap, fuel -= 2) {
        SimFrame frame = raceFrame(lap, fuel, 40 - lap);
        frame.lastLapTime = 90 + 0.01f * static_cast<float>(lap);
        const bool before = engine.bannerOn;
        strategyTick(engine, store, settings, &frame, now += 90000);
        if (engine.bannerOn && !before) told.push_back(lap);
    }
    EXPECT_EQ(engine.pitLossSource, kPitLossOwn) << "another car's stop on this track stands in";
    EXPECT_FLOAT_EQ(engine.pitLossSec, 25);
    ASSERT_GE(told.size(), 1u);
    for (size_t i = 1; i < told.size(); ++i)
        EXPECT_GE(told[i] - told[i - 1], 3);

    ASSERT_GT(engine.optionCount, 0);
    struct Sent {
        int count = 0, litres = 0;
        uint32_t word = 0;
    } sent;
    const auto send = [](void* user, uint32_t word, int litres) {
        auto& to = *static_cast<Sent*>(user);
        ++to.count;
        to.word = word;
        to.litres = litres;
    };
    SimFrame frame = raceFrame(13, fuel, 27);
    StrategyOption& plan = engine.options[static_cast<size_t>(engine.selected)];
    plan.stops = 1;
    plan.stopLap = {20, 0};
    plan.addFuel = {33.5f, 0};
    EXPECT_TRUE(commitStrategy(engine, settings, &frame, now, send, &sent));
    EXPECT_EQ(sent.word, 0x20009u);
    EXPECT_EQ(sent.litres, 34);
    EXPECT_FALSE(commitStrategy(engine, settings, &frame, now + 499, send, &sent));
    frame.fuelCapacity = 300;
    plan.addFuel = {251, 0};
    EXPECT_FALSE(commitStrategy(engine, settings, &frame, now + 600, send, &sent));
    EXPECT_EQ(engine.lastWrittenFuel, 251) << "remembered, not sent";
    EXPECT_EQ(sent.count, 1);
    frame.simKind = kSimLmu;
    EXPECT_FALSE(commitStrategy(engine, settings, &frame, now + 9000, send, &sent));

    const uint32_t generation = engine.generation;
    strategyTick(engine, store, settings, nullptr, now);
    EXPECT_EQ(engine.optionCount, 0);
    EXPECT_NE(engine.generation, generation);
    EXPECT_EQ(engine.announcedStops, -1);
}

TEST(FuelSave, TheBankOfATarget) {
    FuelSaveModel model;
    PitStrategyEngine engine;
    FuelPublished published;
    float fuel = 60;
    int lap = 1;
    const auto lapOf = [&](float burn) {
        SimFrame frame = raceFrame(lap, fuel, 30);
        fuelSaveTick(model, engine, published, {}, &frame);
        fuel -= burn;
        frame = raceFrame(++lap, fuel, 30);
        fuelSaveTick(model, engine, published, {}, &frame);
    };
    for (int i = 0; i < 4; ++i)
        lapOf(2);
    EXPECT_FALSE(model.active);
    published = {3, 20}; // 0.15 a lap
    lapOf(1.9f);
    EXPECT_TRUE(model.active);
    EXPECT_NEAR(model.baseline, 2, 1e-5);
    EXPECT_TRUE(model.lastLapValid);
    EXPECT_FALSE(model.onTarget);
    EXPECT_NEAR(model.bank, -0.05, 1e-4);
    lapOf(1.865f);
    EXPECT_TRUE(model.onTarget) << "within 0.02 of the target";
    const uint32_t generation = model.generation;
    SimFrame still = raceFrame(lap, fuel, 30);
    fuelSaveTick(model, engine, published, {}, &still);
    EXPECT_EQ(model.generation, generation);
    published = {};
    fuelSaveTick(model, engine, published, {}, &still);
    EXPECT_FALSE(model.active);
    EXPECT_EQ(model.baseline, -1);
    EXPECT_EQ(model.bank, 0);
}

TEST(CarTracks, AFileThatCannotBeReadIsKeptAside) {
    const std::string folder =
        std::filesystem::temp_directory_path() / ("vt_cars_" + std::to_string(getpid()));
    std::filesystem::create_directories(folder);
    const std::string path = folder + "/car_track.json";
    CarTrackStore store;
    findOrAddCarTrack(store, 3, "car \"one\"", "Nürburg")->fuelPerLap = 2.5f;
    findOrAddCarTrack(store, 3, std::string(80, 'x'), "Nürburg")->pitLossSec = 21;
    store.dirty = true;
    ASSERT_TRUE(saveCarTrack(store, path));
    CarTrackStore back = loadCarTrack(path);
    ASSERT_EQ(back.entries.size(), 2u);
    EXPECT_FLOAT_EQ(findCarTrack(back, 3, "car \"one\"", "Nürburg")->fuelPerLap, 2.5f);
    EXPECT_NE(findCarTrack(back, 3, std::string(70, 'x'), "Nürburg"), nullptr);
    for (const char* bad : {"", "[{]", "{\"simId\":1}", "[[[[[[[[[[[[[[[[[[[[[[]]]"}) {
        ASSERT_TRUE(writeFileAtomic(path, bad));
        EXPECT_TRUE(loadCarTrack(path).entries.empty());
        std::string aside;
        EXPECT_TRUE(readFile(path + ".corrupt", aside));
        EXPECT_EQ(aside, bad);
    }
    ASSERT_TRUE(writeFileAtomic(path, R"([{"simId":-1,"carId":"a","trackName":"b"},7,null,
        {"simId":2,"carId":"","trackName":"b"},{"simId":2,"carId":"a","trackName":"b","fuelPerLap":"x",
        "avgLapTime":-4,"cleanLaps":1e99}])"));
    back = loadCarTrack(path);
    ASSERT_EQ(back.entries.size(), 1u);
    EXPECT_EQ(back.entries[0].fuelPerLap, 0);
    EXPECT_EQ(back.entries[0].avgLapTime, 0);
    std::filesystem::remove_all(folder);
}

TEST(CarTracks, AKillInMidSaveLeavesTheOldFileOrTheNewOne) {
    const std::string folder =
        std::filesystem::temp_directory_path() / ("vt_kill_" + std::to_string(getpid()));
    std::filesystem::create_directories(folder);
    const std::string path = folder + "/car_track.json";
    for (int round = 0; round < 25; ++round) {
        int saved[2];
        ASSERT_EQ(pipe(saved), 0);
        const pid_t child = fork();
        if (child == 0) {
            CarTrackStore store;
            for (int i = 0; i < 400; ++i)
                findOrAddCarTrack(store, 1, "car " + std::to_string(i), "track")->fuelPerLap = 2;
            for (bool first = true;; first = false) {
                store.dirty = true;
                if (!saveCarTrack(store, path)) _exit(1);
                if (first && write(saved[1], "s", 1) != 1) _exit(1);
            }
        }
        close(saved[1]);
        char byte = 0;
        ASSERT_EQ(read(saved[0], &byte, 1), 1) << "it could not save";
        close(saved[0]);
        usleep(1'700 * (round % 7));
        kill(child, SIGKILL);
        int status = 0;
        waitpid(child, &status, 0);
        ASSERT_TRUE(WIFSIGNALED(status)) << "it could not save";
        EXPECT_EQ(loadCarTrack(path).entries.size(), 400u);
    }
    EXPECT_FALSE(std::filesystem::exists(path + ".corrupt"));
    std::filesystem::remove_all(folder);
}

} // namespace
} // namespace vt
