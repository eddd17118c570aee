#include "app/gap_rings.h"
#include "support/scripted_race.h"

#include <gtest/gtest.h>

#include <climits>

namespace vt {
namespace {

SimFrame oneCar(double time, float pct, int carIdx = 3) {
    SimFrame frame;
    frame.connected = 1;
    frame.simKind = kSimIRacing;
    frame.sessionTime = time;
    copyText(frame.trackName, "Test Ring");
    copyText(frame.sessionName, "Race");
    frame.cars.emplace_back().carIdx = carIdx;
    frame.cars[0].lapDistPct = pct;
    return frame;
}

void enter(GapRings& rings, SimFrame frame) {
    updateRings(rings, frame);
}

TEST(Rings, CrossingsAreInterpolatedAndTheSecondLapTellsItsTime) {
    GapRings rings;
    // 80 s a lap, looked at every 0.7 s, over two and a half laps; a day into the session.
    constexpr double kStart = 86400;
    float estimate = 0;
    for (double t = 0; t < 200; t += 0.7) {
        const double way = t / 80.0;
        SimFrame frame = oneCar(kStart + t, static_cast<float>(way - std::floor(way)));
        updateRings(rings, frame);
        if (t < 79) {
            EXPECT_EQ(frame.cars[0].lapEstimate, 0);
        }
        estimate = frame.cars[0].lapEstimate;
    }
    EXPECT_NEAR(estimate, 80.0f, 0.001f);
    const GapRing* ring = findRing(rings, 3);
    ASSERT_TRUE(ring);
    EXPECT_NEAR(ring->bins[50], kStart + 160 + 20, 0.001); // third lap
    EXPECT_NEAR(ring->bins[150], kStart + 80 + 60, 0.001); // not reached again yet
    EXPECT_NEAR(ring->bins[0], kStart + 160, 0.001);       // the line itself
}

TEST(Rings, WhichStepsCount) {
    const struct {
        double dt;
        float from, to;
        bool counts;
    } cases[] = {
        {5.0, 0.10f, 0.20f, true},  {5.1, 0.10f, 0.20f, false}, {1.0, 0.10f, 0.349f, true},
        {1.0, 0.10f, 0.36f, false}, {1.0, 0.20f, 0.10f, false}, {1.0, 0.90f, 0.05f, true},
        {1.0, 0.60f, 0.05f, false}, {0.0, 0.10f, 0.20f, false}, {-0.5, 0.10f, 0.20f, false},
        {1.0, 0.995f, 1.5f, false}, // limited to just before the line
    };
    for (const auto& c : cases) {
        GapRings rings;
        enter(rings, oneCar(100, c.from));
        enter(rings, oneCar(100 + c.dt, c.to));
        int crossed = 0;
        for (const double bin : findRing(rings, 3)->bins)
            crossed += bin >= 0;
        EXPECT_EQ(crossed > 0, c.counts) << c.dt << " " << c.from << " " << c.to;
    }
}

TEST(Rings, ACarOutOfTheWorldStartsAnew) {
    GapRings rings;
    enter(rings, oneCar(100, 0.10f));
    enter(rings, oneCar(101, -1));
    enter(rings, oneCar(102, 0.20f));
    for (const double bin : findRing(rings, 3)->bins)
        EXPECT_EQ(bin, -1);
}

TEST(Rings, LapEstimateLiesStrictlyBetweenTenSecondsAndHalfAnHour) {
    for (const double lap : {9.9, 10.1, 1799.0, 1801.0}) {
        GapRings rings;
        enter(rings, oneCar(50, 0.101f));
        enter(rings, oneCar(51, 0.109f));
        enter(rings, oneCar(50 + lap, 0.101f));
        enter(rings, oneCar(51 + lap, 0.109f));
        const bool told = findRing(rings, 3)->lapEstimate > 0;
        EXPECT_EQ(told, lap > 10 && lap < 1800) << lap;
    }
}

TEST(Rings, StartOver) {
    const struct {
        const char* what;
        void (*change)(SimFrame&);
        bool reset;
    } cases[] = {
        {"nothing", [](SimFrame&) {}, false},
        {"sim", [](SimFrame& f) { f.simKind = kSimLmu; }, true},
        {"track", [](SimFrame& f) { copyText(f.trackName, "Other"); }, true},
        {"session", [](SimFrame& f) { copyText(f.sessionName, "Qualify"); }, true},
        {"clock back by 0.9", [](SimFrame& f) { f.sessionTime -= 0.9 + 1; }, false},
        {"clock back by 1.1", [](SimFrame& f) { f.sessionTime -= 1.1 + 1; }, true},
    };
    for (const auto& c : cases) {
        GapRings rings;
        enter(rings, oneCar(100, 0.10f));
        enter(rings, oneCar(101, 0.20f));
        SimFrame frame = oneCar(102, 0.25f);
        c.change(frame);
        updateRings(rings, frame);
        EXPECT_EQ(findRing(rings, 3)->bins[30] < 0, c.reset) << c.what;
    }
}

TEST(Rings, CarsBeyondTheTableAreLeftAlone) {
    GapRings rings;
    for (const int carIdx : {-1, INT_MIN, kTrackedCars, INT_MAX}) {
        enter(rings, oneCar(100, 0.10f, carIdx));
        EXPECT_EQ(findRing(rings, carIdx), nullptr);
    }
    EXPECT_TRUE(rings.rings.empty());
    enter(rings, oneCar(100, 0.10f, kTrackedCars - 1));
    EXPECT_NE(findRing(rings, kTrackedCars - 1), nullptr);
}

TEST(Rings, AgeAtAPlace) {
    GapRing ring;
    ring.bins.fill(-1);
    ring.bins[10] = 100;
    ring.bins[11] = 102;
    ring.bins[199] = 50;
    EXPECT_NEAR(ringAge(ring, 10.5 / 200, 105, 1800), 4.0, 1e-9);   // towards the next
    EXPECT_NEAR(ringAge(ring, 11.5 / 200, 105, 1800), 2.0, 1e-9);   // at the pace of the one before
    EXPECT_NEAR(ringAge(ring, 11.9 / 200, 102.5, 1800), 0.0, 1e-9); // never below 0
    EXPECT_EQ(ringAge(ring, 12.5 / 200, 105, 1800), -1);
    EXPECT_EQ(ringAge(ring, 10.0 / 200, 105, 4.9), -1);
    EXPECT_NEAR(ringAge(ring, 1.0, 60, 1800), 10.0, 1e-9);
}

} // namespace
} // namespace vt
