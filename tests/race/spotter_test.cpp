// Callouts and what the display shows, on scripted frames and against a race of the driver model.
#include "driver_model/driver_model.h"
#include "race/spotter_model.h"
#include "telemetry/sim_capabilities.h"
#include "telemetry/sim_registry.h"

#include <gtest/gtest.h>

#include <cmath>

namespace vt {
namespace {

/// A car on a road of 5 km, others placed by metres.
struct Scene {
    SimFrame frame;
    SpotterCalls calls;
    SpotterRules rules{.minKph = 0, .startQuietSec = 0};
    uint64_t now = 10000;
    std::vector<int> said;

    explicit Scene(SimKind sim = kSimLmu) {
        frame.connected = 1;
        frame.simKind = sim;
        frame.trackLength = 5000;
        frame.speed = 50;
        frame.sessionNum = 1;
        frame.playerCarIdx = 0;
        add(0, 0);
        frame.cars[0].pathLateral = 1;
    }
    CarRow& add(float along, float across) {
        CarRow row;
        row.carIdx = static_cast<int>(frame.cars.size());
        place(row, along, across);
        frame.cars.push_back(row);
        return frame.cars.back();
    }
    static void place(CarRow& row, float along, float across) {
        const float pct = 0.0002f + along / 5000; // the player is a metre behind the line's first
        row.lapDistPct = pct < 0 ? pct + 1 : pct;
        row.pathLateral = 1 + across;
    }
    void pass(uint64_t ms) {
        for (uint64_t t = 0; t < ms; t += 10) {
            now += 10;
            const int phrase = spotterCallsTick(calls, rules, &frame, true, now);
            if (phrase >= 0) said.push_back(phrase);
        }
    }
    std::vector<int> take() { return std::exchange(said, {}); }
};
using Said = std::vector<int>;

TEST(SpotterCallouts, EachSituationOnce) {
    Scene scene;
    CarRow& one = scene.add(-40, -3);
    scene.add(-60, 3);
    scene.rules.repeatMs = 0;
    const auto at = [&](size_t car, float along) {
        Scene::place(scene.frame.cars[car], along, car == 1 ? -3.0f : 3.0f);
    };
    (void)one;
    scene.pass(1000);
    EXPECT_EQ(scene.take(), Said{});
    at(1, -4.4f);
    scene.pass(40);
    EXPECT_EQ(scene.take(), Said{}) << "not held long enough";
    scene.pass(30);
    EXPECT_EQ(scene.take(), Said{kSayCarLeft});
    at(1, -4.9f); // beyond the overlap, but it was on
    scene.pass(1000);
    EXPECT_EQ(scene.take(), Said{});
    at(2, 0);
    scene.pass(500);
    EXPECT_EQ(scene.take(), Said{kSayThreeWide});
    at(1, -30);
    scene.pass(500);
    EXPECT_EQ(scene.take(), Said{kSayClearLeft});
    scene.add(2, 5);
    scene.pass(500);
    EXPECT_EQ(scene.take(), Said{kSayThreeWideLeft}) << "two on the right";
    scene.frame.cars[3].lapDistPct = -1;
    scene.pass(600);
    EXPECT_EQ(scene.take(), Said{kSayCarRight});
    at(2, 40);
    at(1, 0);
    scene.pass(500);
    EXPECT_EQ(scene.take(), (Said{kSayThreeWide, kSayClearRight})) << "on is quicker than off";
    at(1, 60);
    scene.pass(900);
    EXPECT_EQ(scene.take(), Said{kSayClear});
    // There and back within the time between two calls.
    at(1, 0);
    scene.pass(70);
    at(1, 60);
    scene.pass(2000);
    EXPECT_EQ(scene.take(), (Said{kSayCarLeft, kSayClear}));
    // Across the line: 10 m behind is not 4990 ahead.
    Scene::place(scene.frame.cars[1], -3, -3);
    EXPECT_GT(scene.frame.cars[1].lapDistPct, 0.9f);
    scene.pass(100);
    EXPECT_EQ(scene.take(), Said{kSayCarLeft});
    scene.rules.repeatMs = 500;
    scene.pass(1520);
    EXPECT_EQ(scene.take(), (Said{kSayStillLeft, kSayStillLeft, kSayStillLeft}));
    scene.now += 1501; // the program was blocked
    scene.rules.repeatMs = 0;
    scene.pass(20);
    EXPECT_EQ(scene.take(), Said{kSayCarLeft}) << "announced as new";
}

TEST(SpotterCallouts, KnowsWhenToBeQuiet) {
    struct Case {
        const char* what;
        void (*set)(Scene&);
    };
    const Case cases[] = {
        {"slow", [](Scene& s) { s.rules.minKph = 181; }},
        {"in the pits", [](Scene& s) { s.frame.onPitRoad = 1; }},
        {"its row in the pits", [](Scene& s) { s.frame.cars[0].onPitRoad = 1; }},
        {"caution", [](Scene& s) { s.frame.cautionPhase = 1; }},
        {"the start",
         [](Scene& s) {
             s.rules.startQuietSec = 5;
             s.frame.isRace = 1;
             s.frame.racePhase = 2;
             s.frame.sessionNum = 7;
         }},
        {"nobody knows where",
         [](Scene& s) {
             for (CarRow& row : s.frame.cars)
                 row.pathLateral = 0;
         }},
        {"no length", [](Scene& s) { s.frame.trackLength = 1; }},
        {"in the pit lane itself", [](Scene& s) { s.frame.cars[1].onPitRoad = 1; }},
    };
    for (const Case& c : cases) {
        Scene scene;
        scene.add(0, 3);
        c.set(scene);
        scene.pass(2000);
        EXPECT_EQ(scene.take(), Said{}) << c.what;
    }
    for (int sim = 0; sim < kSimCount; ++sim) {
        Scene scene(static_cast<SimKind>(sim));
        scene.add(0, 3);
        scene.frame.carLeftRight = 3;
        scene.pass(200);
        EXPECT_EQ(scene.take().empty(), !simOffers(sim, kOffersCarPlaces)) << simShortName(sim);
    }
    // After the start it speaks, and a session clock that goes back is another start.
    Scene scene;
    scene.add(0, 3);
    cases[4].set(scene);
    scene.rules.repeatMs = 0;
    scene.frame.sessionTime = 100;
    scene.pass(5100);
    EXPECT_EQ(scene.take(), Said{kSayCarRight});
    scene.frame.sessionTime = 2;
    scene.pass(4900);
    EXPECT_EQ(scene.take(), Said{});
    scene.pass(300);
    EXPECT_EQ(scene.take(), Said{kSayCarRight});

    Scene iracing(kSimIRacing);
    iracing.rules.repeatMs = 0;
    for (const int value : {2, 4, 3, 5, 6, 1}) {
        iracing.frame.carLeftRight = value;
        iracing.pass(600);
    }
    // From right to two left: for 100 ms there seem to be cars on both sides, on being quicker than
    // off.
    EXPECT_EQ(iracing.take(), (Said{kSayCarLeft, kSayThreeWide, kSayClearLeft, kSayThreeWide,
                                    kSayThreeWideRight, kSayThreeWideLeft, kSayClear}));
}

TEST(SpotterCallouts, ARaceOfTheModelIsToldAsItWas) {
    model::Settings settings;
    settings.cars = 24;
    settings.classes = 2;
    settings.minutes = 8;
    settings.lappedTraffic = true;
    model::Race race = model::startRace(settings, model::builtInCircuit("oval"));
    SpotterCalls calls;
    const SpotterRules rules{.minKph = 0, .startQuietSec = 0, .cautionQuiet = false, .repeatMs = 0};
    SimFrame frame;
    double aloneSince = 0, besideSince = -1, lastChange = -1;
    bool expected = false;
    int called = 0, sideways = 0, cleared = 0, missed = 0, invented = 0;
    for (int tick = 0; tick < 60 * 60 * 7; ++tick) {
        model::stepRace(race, 1.0 / 60);
        model::fillFrame(race, frame);
        frame.connected = 1;
        frame.simKind = kSimLmu;
        const auto now = static_cast<uint64_t>(race.time * 1000) + 1;
        const int phrase = spotterCallsTick(calls, rules, &frame, true, now);
        const model::Car& me = model::player(race);
        // The truth: metres along the road, not lap positions in floats.
        bool beside = false;
        if (me.pit == model::PitPlace::none)
            for (const model::Car& car : race.cars) {
                if (car.index == 0 || car.pit != model::PitPlace::none) continue;
                const double along = std::abs(std::remainder(car.s - me.s, race.circuit.length));
                beside = beside || (along < 4.4 && std::abs(car.lateral - me.lateral) < 5.9);
            }
        if (!beside) {
            besideSince = -1;
            if (aloneSince < 0) aloneSince = race.time;
        } else {
            if (besideSince < 0) besideSince = race.time;
            aloneSince = -1;
        }
        if (frame.onPitRoad) {
            expected = false;
            continue;
        }
        if (phrase >= 0) {
            lastChange = race.time;
            if (phrase == kSayClear) {
                ++cleared;
            } else {
                ++called;
                if (phrase == kSayCarLeft || phrase == kSayCarRight) ++sideways;
                if (aloneSince >= 0 && race.time - aloneSince > 0.6) ++invented;
            }
            expected = phrase != kSayClear;
        }
        // Held for the debounce, and nothing said just before: it must have been called by now.
        if (besideSince >= 0 && race.time - besideSince > 0.1 && race.time - lastChange > 0.5 &&
            !expected)
            ++missed;
    }
    EXPECT_GT(sideways, 5);
    EXPECT_EQ(missed, 0);
    EXPECT_EQ(invented, 0);
    EXPECT_GT(cleared, 0);
    EXPECT_LE(cleared, called);
}

TEST(SpotterDisplay, SidesWithHysteresisAndChase) {
    Scene scene;
    scene.add(8, -3);
    SpotterBars bars;
    const auto tick = [&](double ms = 33.333332) { spotterBarsTick(bars, &scene.frame, ms); };
    tick();
    EXPECT_FALSE(bars.sides[0].active) << "8 m: not yet";
    EXPECT_EQ(bars.marks[0].count, 1);
    Scene::place(scene.frame.cars[1], 6.9f, -3);
    tick();
    EXPECT_TRUE(bars.sides[0].active);
    EXPECT_NEAR(bars.sides[0].alpha, 0.35, 1e-4);
    Scene::place(scene.frame.cars[1], 8, -3);
    tick();
    EXPECT_TRUE(bars.sides[0].active) << "still";
    Scene::place(scene.frame.cars[1], 10.1f, -3);
    tick();
    EXPECT_FALSE(bars.sides[0].active);
    EXPECT_FALSE(bars.sides[1].active);
    Scene::place(scene.frame.cars[1], 14.2f, -3);
    tick();
    EXPECT_EQ(bars.marks[0].count, 0);
    // Coming up from behind: 5 m/s is fast, 4 is not.
    for (const float speed : {4.0f, 5.0f}) {
        Scene::place(scene.frame.cars[1], -18, -3);
        tick(100);
        Scene::place(scene.frame.cars[1], -18 + speed * 0.1f, -3);
        tick(100);
        EXPECT_EQ(bars.sides[0].approaching, speed > 4.5f);
    }
    spotterBarsTick(bars, nullptr, 100);
    EXPECT_FALSE(bars.sides[0].approaching);

    Scene sim(kSimIRacing);
    sim.add(1, 0);
    sim.add(-3, 0);
    sim.add(9, 0);
    sim.frame.carLeftRight = 2;
    for (CarRow& row : sim.frame.cars)
        row.pathLateral = 0;
    spotterBarsTick(bars, &sim.frame, 33);
    EXPECT_TRUE(bars.sides[0].active);
    EXPECT_TRUE(bars.sides[1].active) << "the second one may be on either side";
    EXPECT_EQ(bars.marks[0].count, 2);
    EXPECT_TRUE(bars.marks[1].marks[0].ambiguous);
    SpotterRadar radar;
    spotterRadarTick(radar, 3, &sim.frame, 33);
    EXPECT_EQ(radar.range, 15);
    ASSERT_EQ(radar.count, 3);
    EXPECT_EQ(radar.blips[0].side, -1);
    EXPECT_EQ(radar.blips[1].side, 0);
    EXPECT_TRUE(radar.blips[0].alongside);
    int64_t last = 0;
    EXPECT_NEAR(spotterStep(last, 1'000'000'000), 33.333332, 1e-5);
    EXPECT_NEAR(spotterStep(last, 1'010'000'000), 10, 1e-5);
    EXPECT_NEAR(spotterStep(last, 1'270'000'000), 33.333332, 1e-5);
    EXPECT_EQ(spotterStep(last, 1'000'000'000), 0);
}

} // namespace
} // namespace vt
