// Automobilista 2: what a page becomes. The pages are filled by the sim's own offsets.
#include "support/page_image.h"
#include "telemetry/readers/ams2_frame.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <numbers>

namespace vt::test {
namespace {

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

size_t car(int index, size_t offset) {
    return 28 + static_cast<size_t>(index) * 100 + offset;
}
size_t ofCar(size_t table, int index) {
    return table + static_cast<size_t>(index) * 4;
}

/// Three active cars of 4 km; the player is car 1.
PageImage racePage() {
    PageImage page(19248);
    page.i(8, 2).i(12, 5).i(16, 2).i(20, 1).i(24, 3).i(6572, 0);
    page.f(6704, 4000).text(6576, "Interlagos").text(6640, "GP").text(6444, "Falcon GT3");
    for (int i = 0; i < 3; ++i) {
        page.put(car(i, 0), uint8_t{1}).text(car(i, 1), "Driver " + std::to_string(i));
        page.f(car(i, 80), 1000 + 500 * i).i(car(i, 84), 3 - i).i(car(i, 88), 7).i(car(i, 96), 2);
        page.text(15152 + static_cast<size_t>(i) * 64, i == 2 ? "GT4" : "GT3");
    }
    return page;
}

struct Mapped {
    SimFrame frame;
    Ams2Memory memory;
    SteerWords steer;
    explicit Mapped(const PageImage& page, int32_t viewed = -1) {
        memory.viewedIndex = viewed;
        fillAms2Frame(frame, page.as<Ams2Page>(), memory, steer);
    }
    const CarRow& row(int i) const { return frame.cars.at(static_cast<size_t>(i)); }
};

TEST(Ams2Frame, CarAndSession) {
    PageImage page = racePage();
    page.f(6716, 91.5).f(6720, 92.25).f(6724, 33).f(6740, 1200);
    page.f(6820, 101).f(6824, 480).f(6828, 88).f(6840, 0.25).f(6844, 80).f(6848, 61.5);
    page.f(6852, 7200).f(6856, 8500).f(6860, 0.25).f(6864, 0.75).f(6868, 0.5).f(6872, -0.5);
    page.i(6876, 4).f(6956, 12).f(6964, -3).f(7292, 24).f(7296, 31).f(7300, 0.4);
    Mapped m(page);
    const SimFrame& f = m.frame;
    EXPECT_EQ(f.connected, 1);
    EXPECT_EQ(f.simKind, 2);
    EXPECT_EQ(f.bestLapTime, 91.5f);
    EXPECT_EQ(f.lastLapTime, 92.25f);
    EXPECT_EQ(f.currentLapTime, 33);
    EXPECT_EQ(f.timeRemain, 1200);
    EXPECT_EQ(f.oilTemp, 101);
    EXPECT_NEAR(f.oilPressure, 4.8, 1e-5);
    EXPECT_EQ(f.waterTemp, 88);
    EXPECT_EQ(f.fuelLevel, 20);
    EXPECT_EQ(f.fuelCapacity, 80);
    EXPECT_EQ(f.speed, 61.5f);
    EXPECT_EQ(f.rpm, 7200);
    EXPECT_EQ(f.maxRpm, 8500);
    EXPECT_EQ(f.brake, 0.25f);
    EXPECT_EQ(f.throttle, 0.75f);
    EXPECT_EQ(f.clutch, 0.5f);
    EXPECT_EQ(f.gear, 4);
    EXPECT_EQ(f.latAccel, 12);
    EXPECT_EQ(f.longAccel, 3);
    EXPECT_EQ(f.airTemp, 24);
    EXPECT_EQ(f.trackTemp, 31);
    EXPECT_EQ(f.precipitation, 0.4f);
    EXPECT_STREQ(f.trackName, "Interlagos GP");
    EXPECT_STREQ(f.carModel, "Falcon GT3");
    EXPECT_STREQ(f.sessionName, "Race");
    EXPECT_EQ(f.sessionState, 2);
    EXPECT_EQ(f.trackLength, 4000);
    EXPECT_EQ(f.playerCarIdx, 1);
    EXPECT_EQ(f.lap, 7);
    EXPECT_EQ(f.lapDistPct, 0.375f);
    EXPECT_EQ(f.currentSector, 1);
    EXPECT_EQ(f.steerAngleOk, 0); // nobody knows how far the wheel turns
    EXPECT_EQ(m.steer.steerRawX10000, -5000);
    EXPECT_EQ(f.shiftRpm, 0);
    m.steer.steerRotationDeg = 900;
    fillAms2Frame(m.frame, page.as<Ams2Page>(), m.memory, m.steer);
    EXPECT_NEAR(f.steerAngle, -225 * std::numbers::pi / 180, 1e-4);
}

TEST(Ams2Frame, NumbersOutsideTheirRange) {
    PageImage page = racePage();
    page.f(6716, 100000).f(6720, 0).f(6724, kNan).f(6740, 86400).f(6844, 0).f(6840, 0.5);
    page.f(6820, kNan).f(6848, kNan).f(car(1, 80), 1e30).f(6912, kNan);
    page.put(car(0, 88), 0xFFFFFFFFu).put(car(0, 84), 0x80000000u).text(6640, std::string(1, 0));
    const Mapped m(page);
    EXPECT_EQ(m.frame.bestLapTime, 0);
    EXPECT_EQ(m.frame.lastLapTime, 0);
    EXPECT_EQ(m.frame.currentLapTime, 0);
    EXPECT_EQ(m.frame.timeRemain, 0);
    EXPECT_EQ(m.frame.fuelLevel, 0);
    EXPECT_EQ(m.frame.oilTemp, -1000);
    EXPECT_EQ(m.frame.speed, 0);
    EXPECT_LE(m.frame.lapDistPct, 1);
    EXPECT_EQ(m.row(0).lap, -1);
    EXPECT_EQ(m.row(0).position, 0);
    EXPECT_EQ(m.row(0).pathLateral, 0);

    PageImage unknown = racePage();
    unknown.f(6704, 0).i(12, 9);
    const Mapped n(unknown);
    EXPECT_EQ(n.row(0).lapDistPct, -1); // nowhere, rather than on the line
    EXPECT_EQ(n.frame.lapDistPct, 0);
    EXPECT_STREQ(n.frame.sessionName, "");
}

TEST(Ams2Frame, SessionsFlagsAndLapsLeft) {
    const char* const names[] = {"",          "Practice", "Test",        "Qualifying",
                                 "Formation", "Race",     "Time Attack", ""};
    for (int i = 0; i < 8; ++i)
        EXPECT_STREQ(Mapped(racePage().i(12, i)).frame.sessionName, names[i]);

    struct Case {
        int game, race, colour;
        uint32_t flags;
    };
    const Case cases[] = {{2, 2, 0, 0x4},  {1, 2, 0, 0},      {1, 2, 1, 0x4},   {2, 2, 2, 0x2000},
                          {2, 2, 3, 0x80}, {2, 2, 4, 0x80},   {2, 2, 5, 0},     {2, 2, 6, 0x10},
                          {2, 2, 7, 0x10}, {2, 2, 11, 0x100}, {2, 3, 6, 0x110}, {2, 2, -1, 0}};
    for (const Case& c : cases) {
        const Mapped m(racePage().i(8, c.game).i(16, c.race).i(6800, c.colour));
        EXPECT_EQ(m.frame.sessionFlags, c.flags) << c.game << " " << c.race << " " << c.colour;
        EXPECT_EQ(m.frame.isOnTrack, c.game == 2);
    }
    const struct {
        int laps, timed, remain;
    } ends[] = {{0, 1, -1}, {100000, 1, -1}, {20, 0, 13}, {7, 0, 0}, {3, 0, 0}, {99999, 0, 99992}};
    for (const auto& e : ends) {
        const Mapped m(racePage().i(6572, e.laps));
        EXPECT_EQ(m.frame.timedSession, e.timed) << e.laps;
        EXPECT_EQ(m.frame.lapsRemain, e.remain) << e.laps;
    }
    const bool onRoad[] = {false, true, true, true, false, true, false};
    for (int mode = 0; mode < 7; ++mode) {
        const Mapped m(racePage().i(6808, mode).i(ofCar(9776, 2), mode));
        EXPECT_EQ(m.frame.onPitRoad, onRoad[mode]) << mode;
        EXPECT_EQ(m.row(2).onPitRoad, onRoad[mode]) << mode;
        EXPECT_EQ(m.frame.inGarage, mode == 4) << mode;
    }
}

TEST(Ams2Frame, TheViewedCarIsKeptWhileNobodyDrives) {
    const auto viewed = [](int game, int index, int count, int before) {
        return Mapped(racePage().i(8, game).i(20, index).i(24, count), before).frame.playerCarIdx;
    };
    EXPECT_EQ(viewed(2, 2, 3, 0), 2);
    EXPECT_EQ(viewed(1, 2, 3, 0), 0);  // a look at another car in a menu
    EXPECT_EQ(viewed(2, -1, 3, 0), 0); // nobody: the last one stands
    EXPECT_EQ(viewed(2, 3, 3, 1), 1);
    EXPECT_EQ(viewed(2, 3, 2, 2), -1); // it has left
    EXPECT_EQ(viewed(1, 0, 3, -1), -1);

    const Mapped nobody(racePage().i(8, 1), -1);
    EXPECT_EQ(nobody.frame.lap, -1);
    EXPECT_EQ(nobody.frame.lapDistPct, 0);
    EXPECT_EQ(nobody.frame.cars.size(), 3u);
    EXPECT_EQ(nobody.row(0).pathLateral, 0);

    PageImage crowd(19248);
    crowd.i(24, 70);
    for (int i = 0; i < 64; ++i)
        crowd.put(car(i, 0), uint8_t{1});
    EXPECT_EQ(Mapped(crowd).frame.cars.size(), 64u);
    EXPECT_EQ(Mapped(crowd.i(24, -5)).frame.cars.size(), 0u);
}

TEST(Ams2Frame, RowsNamesAndClasses) {
    PageImage page = racePage();
    page.put(car(0, 0), uint8_t{0});
    page.text(car(1, 1), "J\xC3\xA9r\xC3\xB4me \xE5\xB1\xB1\xE7\x94\xB0"); // UTF-8
    page.text(car(2, 1), std::string("M\xFCller\x80\0", 8));               // Windows-1252
    page.text(15152 + 64, std::string(64, 'x'));
    page.f(ofCar(8944, 1), 90).f(ofCar(9200, 1), -1).f(ofCar(9200, 2), 95);
    const Mapped m(page);
    ASSERT_EQ(m.frame.cars.size(), 2u);
    EXPECT_EQ(m.row(0).carIdx, 1);
    EXPECT_STREQ(m.row(0).driverName, "J\xC3\xA9r\xC3\xB4me \xE5\xB1\xB1\xE7\x94\xB0");
    EXPECT_STREQ(m.row(1).driverName, "M\xC3\xBCller\xE2\x82\xAC");
    EXPECT_EQ(std::strlen(m.row(0).carClass), 31u);
    EXPECT_STREQ(m.row(1).carClass, "GT4");
    EXPECT_EQ(m.row(0).position, 2);
    EXPECT_EQ(m.row(0).lap, 7);
    EXPECT_EQ(m.row(1).lapDistPct, 0.5f);
    EXPECT_EQ(m.row(0).bestLapTime, 90);
    EXPECT_EQ(m.row(0).lastLapTime, 0);
    EXPECT_EQ(m.row(1).lastLapTime, 95);

    // A name that fills its field has no end of its own, and 64 bytes are one too many.
    PageImage full = racePage();
    std::string longName;
    for (int i = 0; i < 32; ++i)
        longName += "\xC3\xA9";
    EXPECT_STREQ(Mapped(full.text(car(0, 1), longName)).row(0).driverName,
                 longName.substr(0, 62).c_str());
    full.text(6576, std::string(64, 'L')).text(6640, std::string(64, 'V'));
    EXPECT_EQ(std::strlen(Mapped(full).frame.trackName), 63u);
}

TEST(Ams2Frame, EstimatedTimesTakeTheFirstLapThatIsKnown) {
    PageImage page = racePage();
    const auto estimate = [&] { return Mapped(page).row(1).estTime; }; // car 1 is at 0.375
    page.f(ofCar(10800, 2), 50).f(ofCar(10800, 0), 4);
    EXPECT_NEAR(estimate(), 0.375 * 4000 / 50, 1e-3);
    page.f(ofCar(10800, 2), 3);
    EXPECT_NEAR(estimate(), 0.375 * 4000 / 10, 1e-3);
    page.f(ofCar(8944, 0), 120).f(ofCar(8944, 2), 100).f(ofCar(8944, 1), 100000);
    EXPECT_NEAR(estimate(), 37.5, 1e-3);
    page.f(6720, 96);
    EXPECT_NEAR(estimate(), 36, 1e-3);
    page.f(6716, 80);
    EXPECT_NEAR(estimate(), 30, 1e-3);
}

// Two cars beside and around a third that looks anywhere: what is on its right hand is positive.
// In the sim's world x points east, y up and z south.
TEST(Ams2Frame, ACarOnTheRightIsPositive) {
    for (int degrees = 0; degrees < 360; degrees += 15) {
        const double north = degrees * std::numbers::pi / 180; // clockwise from north, as a compass
        const double forwardX = std::sin(north), forwardZ = -std::cos(north);
        const double rightX = std::cos(north), rightZ = std::sin(north);
        PageImage page = racePage();
        page.f(6912, std::atan2(forwardX, forwardZ)).f(car(1, 68), 250).f(car(1, 76), -80);
        const auto place = [&](int index, double ahead, double right) {
            page.f(car(index, 68), 250 + ahead * forwardX + right * rightX);
            page.f(car(index, 76), -80 + ahead * forwardZ + right * rightZ);
        };
        place(0, 20, 3);
        place(2, -7, -2.5);
        const Mapped m(page);
        EXPECT_NEAR(m.row(0).pathLateral, 3, 1e-3) << degrees;
        EXPECT_NEAR(m.row(2).pathLateral, -2.5, 1e-3) << degrees;
        EXPECT_EQ(m.row(1).pathLateral, 0) << degrees;
    }
}

TEST(Ams2Frame, TheLastSectorIsTheNearestBehindWithATime) {
    struct Case {
        int sector;
        float times[3];
        int index;
    };
    const Case cases[] = {
        {3, {30, 31, 32}, 2},  {4, {30, 31, 32}, 2},    {3, {30, 31, -1}, 1},
        {2, {30, 0, 32}, 0},   {3, {30, 100000, 0}, 0}, {1, {-1, 31, 32}, -1},
        {0, {30, 31, 32}, -1}, {1, {30, 31, 32}, 0},    {3, {kNan, kNan, kNan}, -1},
        {-1, {30, 31, 32}, 2}, // huge as the sim's unsigned number
    };
    for (const Case& c : cases) {
        PageImage page = racePage();
        page.i(car(2, 96), c.sector);
        for (int s = 0; s < 3; ++s) {
            const size_t table = static_cast<size_t>(s) * 256;
            page.f(ofCar(7408 + table, 2), c.times[s]).f(ofCar(8176 + table, 2), 20 + s);
        }
        const Mapped m(page);
        EXPECT_EQ(m.row(2).lastSectorIdx, c.index) << c.sector;
        EXPECT_EQ(m.row(2).lastSectorTime, c.index < 0 ? 0 : c.times[c.index]) << c.sector;
        EXPECT_EQ(m.row(2).bestSectorTime, c.index < 0 ? 0 : 20.0f + static_cast<float>(c.index));
    }
}

} // namespace
} // namespace vt::test
