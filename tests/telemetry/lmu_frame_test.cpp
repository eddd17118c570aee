// Le Mans Ultimate: what a page becomes. The pages are filled by the sim's own offsets.
#include "base/bytes.h"
#include "platform/clock.h"
#include "platform/file.h"
#include "support/vehicle_image.h"
#include "telemetry/coach_log.h"
#include "telemetry/readers/lmu_frame.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <limits>
#include <memory>

namespace vt::test {
namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kDegree = M_PI / 180;

struct Page {
    PageImage image{324824};
    std::unique_ptr<LmuPage> copy = std::make_unique<LmuPage>();
    LmuMemory memory;
    SimFrame frame;

    RecordImage info{image, 1632};
    RecordImage scored(int i) { return {image, 2192 + static_cast<size_t>(i) * 584}; }
    RecordImage car{image, 128468 + 1888}; // the player's telemetry is the second record
    RecordImage wheel(int i) { return {image, 128468 + 1888 + 848 + static_cast<size_t>(i) * 260}; }
    RecordImage player = scored(2);

    /// Four cars in two classes; the player is the third of scoring and the second of telemetry.
    Page() {
        putRaceInfo(info, 4);
        putScored(scored(0), 30, 1500, 1, "HYPER");
        putScored(scored(1), 31, 1200, 3, "GT3");
        putScored(scored(2), 32, 1000, 2, "GT3");
        putScored(scored(3), 33, 800, 4, "GT3");
        player.u8(196, 1);
        image.put(128464, uint8_t{4}).put(128465, uint8_t{1}).put(128466, uint8_t{1});
        car.d(12, 50).d(24, 30);
    }
    const SimFrame& map() {
        std::memcpy(static_cast<void*>(copy.get()), image.bytes.data(), image.bytes.size());
        fillLmuFrame(frame, *copy, memory);
        return frame;
    }
    /// The next sample, `seconds` later.
    const SimFrame& mapLater(double seconds) {
        car.d(12, readAt<double>(image.bytes, car.base + 12) + seconds);
        return map();
    }
};

TEST(LmuFrame, TheCarInTheProgramsUnits) {
    Page page;
    page.car.d(160, 120).d(168, 5).d(176, -80); // position
    page.car.d(184, -2).d(200, -40);            // to the right, forwards
    page.car.d(208, -9).d(224, 3).d(312, -0.25);
    page.car.d(232, -1).d(248, 0.5).d(280, 0.25).d(296, -0.75);
    page.car.i(352, 4).d(356, 7200).d(388, 0.9).d(420, 0.8).d(428, 0.2).d(436, -0.5).d(444, 0.1);
    page.car.d(524, 44).d(532, 8500).d(608, 90).d(664, 0.46).put(692, 480.0f);
    page.car.u8(541, 1).u8(542, 1).u8(544, 0).u8(549, 7).d(552, 33).u8(604, 0).u8(748, 1);
    page.car.d(704, 0.6).u8(744, 2).u8(746, 1).u8(750, 5).u8(751, 1).u8(756, 3).u8(757, 0);
    page.car.u8(758, 2).u8(759, 6).put(776, 0.4f);
    const SimFrame& f = page.map();
    EXPECT_EQ(f.connected, 1);
    EXPECT_EQ(f.simKind, 1);
    EXPECT_EQ(f.sessionTime, 50);
    EXPECT_EQ(f.throttle, 0.9f);
    EXPECT_EQ(f.brake, 0.2f);
    EXPECT_EQ(f.clutch, 0.1f);
    EXPECT_NEAR(f.steerLock, 240 * kDegree, 1e-5);
    EXPECT_NEAR(f.steerAngle, -120 * kDegree, 1e-5);
    EXPECT_EQ(f.gear, 4);
    EXPECT_EQ(f.rpm, 7200);
    EXPECT_EQ(f.maxRpm, 8500);
    EXPECT_EQ(f.speed, 40);
    EXPECT_EQ(f.latAccel, 9);
    EXPECT_EQ(f.longAccel, -3);
    EXPECT_EQ(f.yawRate, 0.25f);
    EXPECT_EQ(f.latVelocity, -2);
    EXPECT_EQ(f.absActive, 1);
    EXPECT_EQ(f.dynamicsMask, 7u);
    EXPECT_NEAR(f.slipAngle, std::atan2(2, 40) / kDegree, 1e-4);
    EXPECT_EQ(f.slipSource, 2);
    EXPECT_EQ(f.worldOk, 1);
    EXPECT_EQ(f.worldX, 120);
    EXPECT_EQ(f.worldY, -80);
    EXPECT_EQ(f.forwardX, -0.5f);
    EXPECT_EQ(f.forwardY, 0.75f);
    EXPECT_EQ(f.rightX, 1);
    EXPECT_EQ(f.rightY, -0.25f);
    EXPECT_NEAR(f.brakeBias, 54, 1e-4);
    EXPECT_EQ(f.tcLevel, 5);
    EXPECT_EQ(f.absLevel, -1000) << "the car has no such level";
    EXPECT_EQ(f.pitLimiterOn, 1) << "the second byte counts as well";
    EXPECT_EQ(f.fuelLevel, 44);
    EXPECT_EQ(f.fuelCapacity, 90);
    EXPECT_EQ(f.damageLevel, 2) << "the worst of all, two at most";
    EXPECT_EQ(f.partDetached, 1);
    EXPECT_EQ(f.overheating, 1);
    EXPECT_EQ(f.lastImpactTime, 33);
    EXPECT_EQ(f.currentLapTime, 20);
    EXPECT_EQ(f.virtualEnergy, 0.4f);
    EXPECT_EQ(f.batteryCharge, 0.6f);
    EXPECT_EQ(f.motorState, 2);
    EXPECT_EQ(f.motorMap, 2);
    EXPECT_EQ(f.motorMapCount, 6);
    EXPECT_EQ(f.incidents, -1);

    page.player.u8(197, 1); // somebody else drives
    page.car.d(12, 0).put(692, 0.5f).d(552, 0);
    EXPECT_EQ(page.map().throttle, 0.8f);
    EXPECT_EQ(f.sessionTime, 100) << "the session's clock stands in";
    EXPECT_NEAR(f.steerLock, 270 * kDegree, 1e-5);
    EXPECT_EQ(f.lastImpactTime, -1);
    EXPECT_EQ(f.currentLapTime, 0);
}

TEST(LmuFrame, TyresAndTheirSlip) {
    Page page;
    page.car.d(200, -20);
    const double sideways[4] = {1, -3, 2, 2};
    for (int i = 0; i < 4; ++i)
        page.wheel(i).d(48, sideways[i]).d(120, 170 + i).d(136, 353.15 + i).d(152, 0.9);
    const SimFrame& f = page.map();
    EXPECT_NEAR(f.tyreTemp[2], 82, 1e-4);
    EXPECT_EQ(f.tyrePressure[3], 173);
    EXPECT_EQ(f.tyreWear[0], 0.9f);
    EXPECT_EQ(f.tyreDataLevel, 1);
    const auto slip = [](double side) { return std::atan2(side, 20) / kDegree; };
    EXPECT_NEAR(f.frontSlip, (slip(1) + slip(3)) / 2 * 0.125, 1e-5);
    EXPECT_NEAR(f.rearSlip, slip(2) * 0.125, 1e-5);
    EXPECT_NEAR(f.balance, f.rearSlip - f.frontSlip, 1e-6);
    EXPECT_EQ(f.slipPairSource, 2);
    page.car.d(200, -4.16);
    EXPECT_EQ(page.map().slipPairSource, 0) << "too slow to mean anything";
}

TEST(LmuFrame, SurfacesInTheirOrder) {
    struct Case {
        const char* what;
        int type;
        const char* terrain;
        double lateral, edge;
        int inPits, pitState, inGarage;
        int surface;
        int kerb = 0;
    };
    const Case cases[] = {
        {"tarmac", 0, "ROAD", 1, 6, 0, 0, 0, 3},
        {"grass", 2, "GRASS", 1, 6, 0, 0, 0, 0},
        {"gravel", 4, "", 1, 6, 0, 0, 0, 0},
        {"a kerb by its type", 5, "", 1, 6, 0, 0, 0, 3, 1},
        {"a kerb by its name", 0, "x_Rmbl", 1, 6, 0, 0, 0, 3, 1},
        {"run-off within the edge", 0, "runoff_01", 7, 9, 0, 0, 0, 3},
        {"run-off at the edge", 0, "RUNOFF", -9, 9, 0, 0, 0, 3},
        {"run-off beyond the edge", 0, "RUNOFF", 12, 9, 0, 0, 0, 0},
        {"run-off without an edge", 0, "Apron", 0, 0, 0, 0, 0, 0},
        {"run-off, edge on the other side", 0, "APRON", 7, -9, 0, 0, 0, 3},
        {"run-off where the place is unknown", 0, "APRON", kNan, 9, 0, 0, 0, 0},
        {"grass is no run-off, whatever its name", 2, "RUNOFF", 7, 9, 0, 0, 0, 0},
        {"pits", 0, "ROAD", 1, 6, 1, 0, 0, 2},
        {"a paved pit lane is no track", 0, "RUNOFF", 1, 6, 1, 0, 0, 2},
        {"the stall", 2, "", 1, 6, 1, 3, 0, 1},
        {"the garage", 0, "", 1, 6, 1, 0, 1, 1},
        {"a name that fills its field", 0, "0123456789RUNOFF", 12, 9, 0, 0, 0, 0},
    };
    for (const Case& c : cases) {
        Page page;
        page.wheel(1).text(160, c.terrain).u8(176, c.type);
        page.player.d(112, c.lateral).d(120, c.edge).u8(198, c.inPits).u8(457, c.pitState);
        page.player.u8(507, c.inGarage);
        const SimFrame& f = page.map();
        EXPECT_EQ(f.trackSurface, c.surface) << c.what;
        EXPECT_EQ(f.wheelOnKerb[1], c.kerb) << c.what;
        EXPECT_EQ(f.wheelOnKerb[0], 0) << c.what;
        EXPECT_EQ(f.trackEdgeOk, c.edge != 0) << c.what;
        EXPECT_EQ(f.inPitStall, c.pitState == 3) << c.what;
        EXPECT_EQ(f.isOnTrack, !c.inGarage) << c.what;
    }
}

TEST(LmuFrame, SessionsFlagsAndPhases) {
    struct Case {
        int session, phase, yellow, sectorFlag, finish;
        uint32_t flags;
        const char* name;
        int isRace, racePhase, caution;
    };
    const Case cases[] = {
        {0, 5, 0, 0, 0, 0x4, "Test Day", 0, 0, 0},
        {4, 5, 0, 1, 0, 0x4, "Practice", 0, 0, 0}, // the sector flags do not count here
        {8, 5, 1, 0, 0, 0x10, "Qualify", 0, 0, 1},
        {9, 0, 0, 0, 0, 0, "Warmup", 0, 0, 0},
        {10, 1, 0, 0, 0, 0, "Race", 1, 1, 0},
        {10, 4, 2, 0, 0, 0x10, "Race", 1, 1, 2},
        {13, 5, 0, 0, 0, 0x4, "Race", 1, 2, 0},
        {10, 6, 0, 0, 0, 0x10, "Race", 1, 2, 0},
        {10, 5, 0, 0, 1, 0x4, "Race", 1, 3, 0},
        {10, 7, 7, 0, 0, 0x10, "Race", 1, 0, 0},
        {10, 8, 0, 0, 0, 0x100, "Race", 1, 3, 0},
        {10, 8, 6, 0, 0, 0x110, "Race", 1, 3, 6},
        {14, 5, 0, 0, 0, 0x4, "", 0, 0, 0},
        {-1, 5, 0, 0, 0, 0x4, "", 0, 0, 0},
    };
    for (const Case& c : cases) {
        Page page;
        page.info.i(64, c.session).u8(108, c.phase).u8(109, c.yellow).u8(111, c.sectorFlag);
        page.player.u8(103, c.finish);
        const SimFrame& f = page.map();
        const auto what = testing::Message() << "session " << c.session << " phase " << c.phase;
        EXPECT_EQ(f.sessionFlags, c.flags) << what;
        EXPECT_STREQ(f.sessionName, c.name) << what;
        EXPECT_EQ(f.isRace, c.isRace) << what;
        EXPECT_EQ(f.racePhase, c.racePhase) << what;
        EXPECT_EQ(f.cautionPhase, c.caution) << what;
        EXPECT_EQ(f.sessionState, c.phase) << what;
    }
}

TEST(LmuFrame, WhatIsLeft) {
    struct Case {
        int32_t maxLaps;
        int16_t laps;
        float seconds;
        int timed, left;
        double remain;
        bool white;
    };
    const Case cases[] = {
        {0, 3, 600, 1, -1, 600, false},
        {100000, 3, 86399, 1, -1, 86399, false},
        {99999, 3, 86400, 0, 99996, -1, false},
        {10, 8, 90000, 0, 2, -1, false},
        {10, 9, -1, 0, 1, -1, true},
        {10, 12, 0, 0, 0, 0, true},
        {-5, 3, NAN, 1, -1, -1, false},
    };
    for (const Case& c : cases) {
        Page page;
        page.info.i(84, c.maxLaps).put(340, c.seconds);
        page.player.put(100, c.laps);
        const SimFrame& f = page.map();
        EXPECT_EQ(f.timedSession, c.timed) << c.maxLaps;
        EXPECT_EQ(f.lapsRemain, c.left) << c.maxLaps;
        EXPECT_EQ(f.timeRemain, c.remain) << c.maxLaps;
        EXPECT_EQ((f.sessionFlags & 0x80) != 0, c.white) << c.maxLaps;
        EXPECT_EQ(f.lap, c.laps);
    }
}

TEST(LmuFrame, RowsOfAllCars) {
    Page page;
    page.scored(1).text(4, "Andr\xE9 M\xFCller").d(144, 95.5).d(168, -1).put(192, int16_t{2});
    page.scored(1).u8(103, 3).u8(198, 1).d(112, -2.5).d(244, 12.5).d(464, 33).u8(578, 51);
    page.scored(1).text(36, "Corvane  GT3 \t#12 #77");
    page.scored(3).text(4, std::string(32, 'x')).u8(103, 4).u8(199, 0);
    const SimFrame& f = page.map();
    ASSERT_EQ(f.cars.size(), 4u);
    EXPECT_EQ(f.playerCarIdx, 32);
    const CarRow& row = f.cars[1];
    EXPECT_EQ(row.carIdx, 31);
    EXPECT_STREQ(row.driverName, "André Müller");
    EXPECT_STREQ(row.carClass, "GT3");
    EXPECT_STREQ(row.carBrand, "Corvane");
    EXPECT_EQ(row.position, 3);
    EXPECT_EQ(row.classPosition, 2);
    EXPECT_EQ(row.lap, 3);
    EXPECT_EQ(row.estTime, 33);
    EXPECT_EQ(row.gapToLeader, 12.5f);
    EXPECT_EQ(row.lapDistPct, 0.3f);
    EXPECT_EQ(row.pathLateral, -2.5f);
    EXPECT_EQ(row.onPitRoad, 1);
    EXPECT_EQ(row.pitStops, 2);
    EXPECT_EQ(row.finishStatus, 3);
    EXPECT_EQ(row.bestLapTime, 95.5f);
    EXPECT_EQ(row.lastLapTime, 0);
    EXPECT_EQ(row.fuelFraction, 0.2f);
    EXPECT_EQ(f.cars[0].classPosition, 1);
    EXPECT_EQ(f.cars[2].classPosition, 1);
    EXPECT_EQ(f.cars[3].classPosition, 0) << "no place yet";
    EXPECT_EQ(f.cars[3].finishStatus, 0);
    EXPECT_STREQ(f.cars[3].driverName, std::string(32, 'x').c_str());

    page.player.text(36, "Corvane  GT3 \t#12 #77");
    page.map();
    EXPECT_STREQ(f.carModel, "Corvane  GT3 \t#12 #77");
    EXPECT_STREQ(f.carName, "Corvane  GT3 \t#12");
}

TEST(LmuFrame, ForeignCountsAndNumbersStayInside) {
    Page page;
    page.info.i(104, 100000);
    EXPECT_EQ(page.map().cars.size(), 104u);
    page.info.i(104, -1);
    EXPECT_TRUE(page.map().cars.empty());
    EXPECT_EQ(page.frame.playerCarIdx, -1);
    page.info.i(104, 4).d(88, kNan);
    EXPECT_EQ(page.map().lapDistPct, 0);
    EXPECT_EQ(page.frame.trackLength, 0);
    page.car.d(176, kNan);
    EXPECT_EQ(page.map().worldOk, 0);
    page.car.d(176, 1e300);
    EXPECT_EQ(page.map().worldOk, 0);
    page.car.d(176, 1).d(184, kNan).d(200, INFINITY);
    EXPECT_EQ(page.map().slipSource, 0);
    EXPECT_EQ(page.frame.speed, 0);
    page.image.put(128465, uint8_t{4}); // behind the last active one
    page.frame.simKind = -7;
    EXPECT_EQ(page.map().simKind, -7) << "nothing was mapped";
    page.image.put(128464, uint8_t{255}).put(128465, uint8_t{104});
    EXPECT_EQ(page.map().simKind, -7);
    page.image.put(128465, uint8_t{103});
    EXPECT_EQ(page.map().simKind, 1);
}

TEST(LmuFrame, ThePlaceOnTheLapMovesBetweenScorings) {
    Page page;
    page.car.d(200, -50);
    EXPECT_EQ(page.map().lapDistPct, 0.25f);
    EXPECT_NEAR(page.mapLater(0.02).lapDistPct, 1001 / 4000.0, 1e-6);
    EXPECT_NEAR(page.mapLater(0.04).lapDistPct, 1003 / 4000.0, 1e-6);
    EXPECT_NEAR(page.mapLater(0.2).lapDistPct, 1003 / 4000.0, 1e-6) << "too long a step";
    for (int i = 0; i < 10; ++i)
        page.mapLater(0.09);
    EXPECT_NEAR(page.frame.lapDistPct, 1015 / 4000.0, 1e-6) << "0.3 s at most";
    EXPECT_EQ(playerRow(page.frame)->lapDistPct, 0.25f);
    page.player.d(104, 1020);
    EXPECT_NEAR(page.mapLater(0.02).lapDistPct, 0.255, 1e-6);
    page.player.d(104, 3999);
    page.mapLater(0.02);
    EXPECT_LE(page.mapLater(0.1).lapDistPct, 1);
}

TEST(LmuFrame, SectorStartsAreLearnedFromCrossings) {
    Page page;
    const auto at = [&](double metres, int sector) {
        page.player.d(104, metres).u8(102, sector);
        return page.mapLater(0.1).sectorStarts;
    };
    EXPECT_TRUE(at(3000, 0).empty());
    EXPECT_TRUE(at(10, 1).empty());
    EXPECT_TRUE(at(1200, 2).empty());
    EXPECT_EQ(at(2600, 0), (std::vector<float>{0, 0.3f, 0.65f}));
    EXPECT_EQ(page.frame.currentSector, 0);
    EXPECT_EQ(at(20, 1).size(), 3u);
    EXPECT_EQ(at(1300, 2)[1], 0.325f) << "the newest crossing counts";
    at(1300, -1);
    EXPECT_EQ(page.frame.currentSector, -1);
    page.info.text(0, "Monza  ");
    EXPECT_TRUE(at(2700, 0).empty()) << "another track";
    at(30, 1);
    at(3900, 2); // in the wrong place, as after a jump
    EXPECT_TRUE(at(2700, 0).empty());
}

TEST(LmuFrame, ALearnedPitLimitAndTheTrackItBelongsTo) {
    Page page;
    page.car.u8(604, 1).d(200, -22.4);
    EXPECT_EQ(page.map().pitLimitSpeed, 0);
    page.car.d(200, -22.3);
    EXPECT_NEAR(page.map().pitLimitSpeed, 22.3, 1e-5);
    page.car.u8(604, 0).d(200, -60);
    EXPECT_NEAR(page.map().pitLimitSpeed, 22.3, 1e-5);
    const int32_t id = page.frame.trackId;
    EXPECT_EQ(id, trackNameHash("Sebring"));
    page.info.text(0, std::string(64, 'M'));
    EXPECT_EQ(page.map().pitLimitSpeed, 0);
    EXPECT_EQ(std::string(page.frame.trackName), std::string(63, 'M'));
    EXPECT_NE(page.frame.trackId, id);
}

TEST(LmuFrame, TheGridIsWherePlayersStandBeforeGreen) {
    Page page;
    page.info.u8(108, 3);
    EXPECT_EQ(page.map().gridPosition, 2);
    page.info.u8(108, 5);
    page.player.u8(199, 4);
    EXPECT_EQ(page.map().gridPosition, 2);
    page.info.i(64, 11);
    EXPECT_EQ(page.map().gridPosition, -1) << "another session";
    page.info.i(64, 5).u8(108, 3);
    EXPECT_EQ(page.map().gridPosition, -1) << "only races have a grid";
}

TEST(LmuFrame, FlagsAreLoggedWhenTheyChange) {
    const auto folder = std::filesystem::temp_directory_path() / ownName("lmu_log");
    const Clock clock = manualClock();
    coachLogOpen(folder.string(), clock);
    Page page;
    for (int i = 0; i < 3; ++i)
        page.mapLater(0.1);
    page.info.u8(108, 6).u8(109, 2).u8(112, 11);
    for (int i = 0; i < 3; ++i)
        page.mapLater(0.1);
    coachLogOpen("", clock);
    std::string log;
    ASSERT_TRUE(readFile((folder / "logs" / "coach.log").string(), log));
    std::filesystem::remove_all(folder);
    EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), 2) << log;
    EXPECT_NE(log.find("lmu flags: phase 5, yellowState 0, sectors 0/0/0 -> sessionFlags 0x4\n"),
              log.npos);
    EXPECT_NE(log.find("lmu flags: phase 6, yellowState 2, sectors 0/0/11 -> sessionFlags 0x10\n"),
              log.npos);
}

} // namespace
} // namespace vt::test
