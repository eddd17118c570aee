// RaceRoom: what a page becomes. The pages are filled by the sim's own words and offsets.
#include "support/page_image.h"
#include "telemetry/readers/raceroom_frame.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>

namespace vt::test {
namespace {

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

size_t word(size_t index) {
    return index * 4;
}
size_t driver(int index, size_t offset) {
    return 2008 + static_cast<size_t>(index) * 328 + offset;
}

PageImage racePage(int cars = 2) {
    PageImage page(43996);
    page.i(word(0), 3).i(word(2), 2008).i(word(3), 328).i(word(11), 1).i(word(502), cars);
    page.i(word(203), -1).i(word(322), 11);
    for (int i = 0; i < std::min(cars, 128); ++i)
        page.text(driver(i, 4), "Driver " + std::to_string(i)).i(driver(i, 96), 10 + i);
    return page;
}

SimFrame frameOf(const PageImage& page) {
    SimFrame frame;
    fillRaceRoomFrame(frame, page.as<RaceRoomPage>());
    return frame;
}

TEST(RaceRoomFrame, CarAndSession) {
    PageImage page = racePage();
    page.text(600, "Sp\xC3\xA4thaus").f(word(184), 5148).i(word(195), 2).f(word(198), 22.2);
    page.i(word(199), 5).f(word(205), 900).i(word(212), 1).i(word(226), 3).i(word(256), 2);
    page.i(word(257), 4).i(word(259), 1).f(word(261), 0.25).f(word(267), 100).f(word(271), 101);
    page.f(word(275), 25).i(word(293), 5).i(word(317), 6172).f(word(348), 50).f(word(349), 800);
    page.f(word(350), 900).i(word(352), -1).f(word(360), 8).f(word(362), -4).f(word(364), 40);
    page.f(word(365), 100).f(word(366), 2.5).f(word(376), 0.5).f(word(378), 0.25).f(word(380), 1);
    page.f(word(381), -0.5).i(word(383), 900).i(word(393), 1);
    const SimFrame f = frameOf(page);
    EXPECT_EQ(f.connected, 1);
    EXPECT_EQ(f.simKind, 13);
    EXPECT_STREQ(f.trackName, "Sp\xC3\xA4thaus");
    EXPECT_EQ(f.trackLength, 5148);
    EXPECT_STREQ(f.sessionName, "Race");
    EXPECT_EQ(f.pitLimitSpeed, 22.2f);
    EXPECT_EQ(f.sessionState, 5);
    EXPECT_EQ(f.timeRemain, 900);
    EXPECT_EQ(f.onPitRoad, 1);
    EXPECT_EQ(f.inPitStall, 1);
    EXPECT_EQ(f.penalties, 2);
    EXPECT_EQ(f.lap, 4);
    EXPECT_EQ(f.currentSector, 1);
    EXPECT_EQ(f.lapDistPct, 0.25f);
    EXPECT_EQ(f.bestLapTime, 100);
    EXPECT_EQ(f.lastLapTime, 101);
    EXPECT_EQ(f.currentLapTime, 25);
    EXPECT_EQ(f.incidents, 5);
    EXPECT_STREQ(f.carModel, "model_6172");
    EXPECT_EQ(f.speed, 50);
    EXPECT_NEAR(f.rpm, 7639.437, 0.01);
    EXPECT_NEAR(f.maxRpm, 8594.366, 0.01);
    EXPECT_EQ(f.gear, -1);
    EXPECT_EQ(f.latAccel, -8);
    EXPECT_EQ(f.longAccel, 4);
    EXPECT_EQ(f.fuelLevel, 40);
    EXPECT_EQ(f.fuelCapacity, 100);
    EXPECT_EQ(f.fuelPerLap, 2.5f);
    EXPECT_EQ(f.throttle, 0.5f);
    EXPECT_EQ(f.brake, 0.25f);
    EXPECT_EQ(f.clutch, 1);
    EXPECT_NEAR(f.steerLock, 2.5 * std::numbers::pi, 1e-4);
    EXPECT_NEAR(f.steerAngle, -1.25 * std::numbers::pi, 1e-4);
    EXPECT_EQ(f.steerAngleOk, 1);
    EXPECT_EQ(f.pitLimiterOn, 1);
    EXPECT_EQ(f.fuelLapsLeft, -1);
    EXPECT_EQ(f.playerCarIdx, 11);
}

TEST(RaceRoomFrame, WhatTheSimDoesNotKnow) {
    PageImage page = racePage(1);
    for (const size_t w : {184, 198, 205, 256, 257, 259, 261, 267, 271, 293, 348, 349, 364, 366})
        page.i(word(w), -1);
    for (const size_t w : {184, 198, 205, 261, 267, 271, 348, 349, 364, 366})
        page.f(word(w), -1);
    page.i(word(352), -2).i(word(195), 4).f(word(275), 36000).f(word(376), kNan);
    for (const size_t o : {68, 136, 140, 172})
        page.i(driver(0, o), -1);
    for (const size_t o : {148, 180, 208, 220})
        page.f(driver(0, o), -1);
    const SimFrame f = frameOf(page);
    EXPECT_EQ(f.trackLength + f.pitLimitSpeed + f.lapDistPct + f.bestLapTime + f.lastLapTime, 0);
    EXPECT_EQ(f.speed + f.rpm + f.fuelLevel + f.fuelPerLap + f.throttle + f.currentLapTime, 0);
    EXPECT_EQ(f.timeRemain, 0);
    EXPECT_EQ(f.penalties, -1);
    EXPECT_EQ(f.incidents, -1);
    EXPECT_EQ(f.lap, -1);
    EXPECT_EQ(f.currentSector, -1);
    EXPECT_EQ(f.gear, 0);
    EXPECT_STREQ(f.sessionName, "");
    EXPECT_NEAR(f.steerLock, 1.5 * std::numbers::pi, 1e-4); // 270 degrees
    EXPECT_EQ(f.playerCarIdx, -1);                          // nobody sits in slot 11
    const CarRow& row = f.cars.at(0);
    EXPECT_EQ(row.position + row.classPosition + row.carNumberValue + row.lap, 0);
    EXPECT_EQ(row.lapDistPct + row.estTime + row.lastLapTime + row.bestLapTime, 0);
}

TEST(RaceRoomFrame, FlagsAndLapsLeft) {
    struct Case {
        int yellow, blue, green, chequered, warning;
        uint32_t flags;
    };
    const Case cases[] = {
        {0, 0, 0, 0, 0, 0},      {1, 0, 0, 0, 0, 0x10},   {1, 0, 1, 0, 0, 0x14},
        {0, 0, 1, 0, 0, 0x4},    {0, 1, 1, 0, 0, 0x2004}, {0, 0, 0, 1, 3, 0x900},
        {-1, -1, -1, -1, -1, 0}, {2, 2, 2, 2, 0, 0},
    };
    for (const Case& c : cases) {
        PageImage page = racePage();
        page.i(word(233), c.yellow).i(word(241), c.blue).i(word(243), c.green);
        EXPECT_EQ(frameOf(page.i(word(244), c.chequered).i(word(246), c.warning)).sessionFlags,
                  c.flags);
    }
    const struct {
        int laps, done, remain, timed;
        bool white;
    } ends[] = {{10, 8, 2, 0, false},  {10, 9, 1, 0, true},    {10, 10, 0, 0, true},
                {10, 11, 0, 0, true},  {10, -1, -1, 0, false}, {0, 3, -1, 1, false},
                {-1, 3, -1, 1, false}, {1, 0, 1, 0, true}};
    for (const auto& e : ends) {
        const SimFrame f = frameOf(racePage().i(word(203), e.laps).i(word(257), e.done));
        EXPECT_EQ(f.lapsRemain, e.remain) << e.laps << " " << e.done;
        EXPECT_EQ(f.timedSession, e.timed) << e.laps;
        EXPECT_EQ((f.sessionFlags & 0x80) != 0, e.white) << e.laps << " " << e.done;
    }
}

TEST(RaceRoomFrame, OnTheTrackOnlyWhenThePlayerDrives) {
    EXPECT_EQ(frameOf(racePage()).isOnTrack, 1);
    for (const size_t w : {6, 7, 9, 347}) {
        const SimFrame f = frameOf(racePage().i(word(w), 1));
        EXPECT_EQ(f.isOnTrack, 0) << w;
        EXPECT_EQ(f.inGarage, w == 9) << w;
    }
    EXPECT_EQ(frameOf(racePage().i(word(347), -1)).isOnTrack, 0);
}

TEST(RaceRoomFrame, RowsUpToTheEndOfTheTable) {
    PageImage page = racePage(128);
    page.text(driver(127, 4), std::string(64, 'n')).i(driver(127, 68), 99).i(driver(127, 96), 200);
    page.i(driver(127, 136), 12).i(driver(127, 140), 3).f(driver(127, 148), 0.75);
    page.i(driver(127, 172), 6).f(driver(127, 180), 44).f(driver(127, 208), 91);
    page.f(driver(127, 220), 90).i(driver(127, 236), 1).i(word(322), 200);
    for (const int count : {128, 129, 1 << 30}) {
        const SimFrame f = frameOf(page.i(word(502), count));
        ASSERT_EQ(f.cars.size(), 128u);
        EXPECT_EQ(f.playerCarIdx, 200);
        const CarRow& row = f.cars.back();
        EXPECT_EQ(row.carIdx, 200);
        EXPECT_EQ(std::string(row.driverName), std::string(63, 'n'));
        EXPECT_EQ(row.carNumberValue, 99);
        EXPECT_EQ(row.position, 12);
        EXPECT_EQ(row.classPosition, 3);
        EXPECT_EQ(row.lapDistPct, 0.75f);
        EXPECT_EQ(row.lap, 6);
        EXPECT_EQ(row.estTime, 44);
        EXPECT_EQ(row.lastLapTime, 91);
        EXPECT_EQ(row.bestLapTime, 90);
        EXPECT_EQ(row.onPitRoad, 1);
    }
    EXPECT_TRUE(frameOf(page.i(word(502), -3)).cars.empty());
}

} // namespace
} // namespace vt::test
