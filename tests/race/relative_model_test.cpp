#include "race/relative_model.h"
#include "support/race_frames.h"

#include <gtest/gtest.h>

#include <limits>

using namespace vt;
using namespace vt::test;

namespace {

CarRow rated(int carIdx, int position, int irating) {
    CarRow row;
    row.carIdx = carIdx;
    row.position = position;
    row.irating = irating;
    return row;
}

SimFrame fieldOf(std::initializer_list<CarRow> rows) {
    SimFrame f;
    f.connected = 1;
    f.cars = rows;
    return f;
}

std::vector<const CarRow*> pointersTo(const SimFrame& f) {
    std::vector<const CarRow*> rows;
    for (const CarRow& row : f.cars)
        rows.push_back(&row);
    return rows;
}

std::string driverName(std::string_view name, int mode, size_t capacity = 64) {
    char out[64];
    formatDriverName(name, mode, out, capacity);
    return out;
}

} // namespace

// Expected figures from a separate calculation: K*ln(n/sum(exp(-r/K))) in Python.
TEST(Strength, FieldsAgreeWithAnIndependentCalculation) {
    EXPECT_EQ(strengthOfField({}), 0u);
    EXPECT_EQ(strengthOfField(pointersTo(fieldOf({rated(0, 1, 0), rated(1, 2, -1)}))), 0u);
    EXPECT_EQ(strengthOfField(pointersTo(fieldOf({rated(0, 1, 2000)}))), 2000u);
    EXPECT_EQ(strengthOfField(pointersTo(fieldOf({rated(0, 1, 1000), rated(1, 2, 4000)}))), 2044u);
    EXPECT_EQ(strengthOfField(pointersTo(fieldOf(
                  {rated(0, 1, 1350), rated(1, 2, 2750), rated(2, 3, 0), rated(3, 4, 5120)}))),
              2607u);
    const SimFrame sixty = sixtyCarFrame();
    EXPECT_EQ(classStrength(sixty, "GTP"), 5121u);
    EXPECT_EQ(classStrength(sixty, "GT3"), 3321u);
    EXPECT_EQ(classStrength(sixty, "GT4"), 2221u);
    EXPECT_EQ(classStrength(sixty, ""), 3421u) << "an empty name is the whole field";
    EXPECT_EQ(classStrength(sixty, "none"), 0u);
}

TEST(Strength, ProjectedGainFollowsPlaceAndOpposition) {
    SimFrame f = fieldOf({rated(0, 1, 1500), rated(1, 2, 2500), rated(2, 3, 3500)});
    int gain = 99;
    ASSERT_TRUE(projectRatingGain(pointersTo(f), 0, gain));
    EXPECT_EQ(gain, 98);
    ASSERT_TRUE(projectRatingGain(pointersTo(f), 1, gain));
    EXPECT_EQ(gain, -2);
    ASSERT_TRUE(projectRatingGain(pointersTo(f), 2, gain));
    EXPECT_EQ(gain, -95);
    f.cars[0].position = 0; // nobody without a place stands before anyone
    ASSERT_TRUE(projectRatingGain(pointersTo(f), 2, gain));
    EXPECT_EQ(gain, -29);

    EXPECT_FALSE(projectRatingGain(pointersTo(f), 7, gain));
    EXPECT_FALSE(projectRatingGain(pointersTo(fieldOf({rated(0, 1, 1500)})), 0, gain));
    bool known = true;
    ratingGainOf(f, rated(5, 4, 0), known);
    EXPECT_FALSE(known) << "no rating, no gain";
}

TEST(Strength, GainCountsTheRowsOwnClassOnly) {
    const SimFrame f = sixtyCarFrame();
    bool known = false;
    const CarRow& leader = f.cars[0];
    const int gain = ratingGainOf(f, leader, known);
    EXPECT_TRUE(known);
    EXPECT_EQ(gain, 111);
    EXPECT_EQ(ratingFieldOf(f).size(), 15u) << "the player's class";
    SimFrame spectator = f;
    spectator.playerCarIdx = -1;
    EXPECT_EQ(ratingFieldOf(spectator).size(), 60u);
}

TEST(Relative, NearestCarsStandNextToThePlayer) {
    SimFrame f = simpleRace(6, 3);
    f.cars[5].gapToPlayer = 0; // level counts as behind
    f.cars[4].lapDistPct = -1; // not in the world
    f.cars[0].gapToPlayer = std::numeric_limits<float>::quiet_NaN();
    const CarRow* player = nullptr;
    const auto rows = relativeRows(&f, 3, 2, player);
    ASSERT_EQ(rows.size(), 6u);
    EXPECT_EQ(player, &f.cars[3]);
    EXPECT_EQ(rows[0].car, nullptr) << "a blank row on the far side";
    EXPECT_EQ(rows[1].car, &f.cars[1]);
    EXPECT_EQ(rows[2].car, &f.cars[2]);
    EXPECT_EQ(rows[3].car, player);
    EXPECT_EQ(rows[3].kind, 1);
    EXPECT_EQ(rows[4].car, &f.cars[5]);
    EXPECT_EQ(rows[4].kind, 2);
    EXPECT_EQ(rows[5].car, nullptr);
    EXPECT_FLOAT_EQ(rows[2].gap, 1.2f);
}

TEST(Relative, ListKeepsItsLengthWithoutCars) {
    const CarRow* player = nullptr;
    SimFrame f = simpleRace(1, 0);
    for (const SimFrame* frame : {static_cast<const SimFrame*>(nullptr), &std::as_const(f)}) {
        const auto rows = relativeRows(frame, 2, 3, player);
        ASSERT_EQ(rows.size(), 6u);
        EXPECT_EQ(rows[2].car, player);
        EXPECT_EQ(rows[2].kind, 1);
        EXPECT_EQ(rows[1].car, nullptr);
    }
    EXPECT_EQ(relativeRows(&f, 0, 0, player).at(0).car, &f.cars[0]);
    f.playerCarIdx = 9;
    EXPECT_EQ(relativeRows(&f, 1, 1, player)[1].car, nullptr);
    f.connected = 0;
    EXPECT_EQ(relativeRows(&f, 1, 1, player)[1].car, nullptr);
}

TEST(Classes, PaletteHoldsThePlayersClassThenTheStrongest) {
    SimFrame f;
    f.connected = 1;
    for (int i = 0; i < 8; ++i) {
        CarRow row = rated(i, i + 1, i == 5 ? 1300 : 1000 + 100 * i); // 5 ties with 3
        formatText(row.carClass, sizeof row.carClass, "C%d", i);
        f.cars.push_back(row);
    }
    f.playerCarIdx = 1;
    const ClassPalette palette = buildClassPalette(f, playerRow(f));
    ASSERT_EQ(palette.count, 6);
    const char* expected[] = {"C1", "C7", "C6", "C4", "C3", "C5"};
    for (int i = 0; i < 6; ++i)
        EXPECT_STREQ(palette.names[static_cast<size_t>(i)].data(), expected[i]);
    EXPECT_EQ(classColour(palette, "C7"), kClassColours[1]);
    EXPECT_EQ(classColour(palette, "C0"), kClassColours[0]) << "beyond six: the first";
    f.cars[7].carClass[0] = '\0'; // an empty name is a class, as strong as the whole field
    EXPECT_EQ(classColourIndex(buildClassPalette(f, playerRow(f)), ""), 3);
}

TEST(Classes, StandingsOrderFallsThroughItsKeys) {
    SimFrame f = fieldOf({rated(4, 0, 1000), rated(3, 0, 2000), rated(2, 9, 10), rated(1, 8, 10),
                          rated(0, 0, 2000)});
    copyText(f.sessionName, "Practice");
    f.cars[1].carNumberValue = 7;
    f.cars[4].carNumberValue = 5;
    auto classes = standingsClasses(f, nullptr);
    ASSERT_EQ(classes.size(), 1u);
    std::vector<int> order;
    for (const CarRow* row : classes[0].rows)
        order.push_back(row->carIdx);
    EXPECT_EQ(order, (std::vector<int>{1, 2, 0, 3, 4}));

    copyText(f.sessionName, "RACE 2");
    EXPECT_EQ(standingsClasses(f, nullptr)[0].rows.size(), 2u)
        << "unplaced cars stay out of a race";
    f.connected = 0;
    EXPECT_TRUE(standingsClasses(f, nullptr).empty());

    SimFrame named = simpleRace(3, 0);
    named.cars[2].classPosition = 1; // the class place leads, the overall place breaks the tie
    named.cars[1].classPosition = 0;
    EXPECT_EQ(standingsClasses(named, nullptr)[0].rows[1]->carIdx, 2);
}

TEST(Classes, ContradictoryPositionsStillGiveAList) {
    SimFrame f;
    f.connected = 1;
    copyText(f.sessionName, "Qualify");
    for (int i = 0; i < 64; ++i) {
        CarRow row = rated(i, i % 3 == 0 ? 0 : 64 - i, 1000 + (i * 37) % 50 * 20);
        copyText(row.carClass, "X");
        row.classPosition = 1 + i % 2;
        f.cars.push_back(row);
    }
    EXPECT_EQ(standingsClasses(f, nullptr)[0].rows.size(), 64u);
}

TEST(Classes, PlayersClassComesFirst) {
    const SimFrame f = sixtyCarFrame();
    const auto classes = standingsClasses(f, playerRow(f));
    ASSERT_EQ(classes.size(), 4u);
    const char* expected[] = {"GT3", "GTP", "LMP2", "GT4"};
    for (size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(classes[i].className, expected[i]);
        EXPECT_EQ(classes[i].isPlayerClass, i == 0);
        EXPECT_EQ(classes[i].rows.front()->classPosition, 1);
    }
}

TEST(Classes, WindowPinsThePlayerBelowTheTop) {
    const SimFrame f = simpleRace(40, 19);
    const auto rows = standingsClasses(f, playerRow(f))[0].rows;
    auto window = standingsWindow(rows, 14, true, 19);
    ASSERT_EQ(window.size(), 14u);
    EXPECT_EQ(window[12].car->carIdx, 12);
    EXPECT_EQ(window[13].car->carIdx, 19);
    EXPECT_TRUE(window[13].pinned);
    window = standingsWindow(rows, 14, false, 19);
    EXPECT_EQ(window[13].car->carIdx, 13);
    window = standingsWindow(rows, 20, true, 19);
    EXPECT_FALSE(window[19].pinned) << "20th of 20 rows needs no pin";
    EXPECT_EQ(standingsWindow(rows, 60, true, 19).size(), 40u);
    EXPECT_TRUE(standingsWindow(rows, 0, true, 19).empty());
    ASSERT_EQ(standingsWindow(rows, 1, true, 19).size(), 1u);
    EXPECT_TRUE(standingsWindow(rows, 1, true, 19)[0].pinned);
}

TEST(Classes, RotationMovesOnByItsPeriod) {
    ClassRotation r;
    nextRotationClass(r, 3, 2, 2.0f, 1000);
    EXPECT_EQ(r.index, 0) << "the first call starts the clock";
    nextRotationClass(r, 3, 2, 2.0f, 2999);
    EXPECT_EQ(r.index, 0);
    nextRotationClass(r, 3, 2, 2.0f, 3000);
    EXPECT_EQ(r.index, 1);
    nextRotationClass(r, 3, 2, 0.0f, 3050);
    EXPECT_EQ(r.index, 2) << "0 s counts as 0.05 s";
    nextRotationClass(r, 2, 1, 2.0f, 9000);
    EXPECT_EQ(r.index, 0) << "an index beyond the classes goes back";
}

TEST(Sessions, KindIsReadFromTheName) {
    EXPECT_EQ(sessionKind("Feature RACE"), kSessionRace);
    EXPECT_EQ(sessionKind("Lone Qualify"), kSessionQualify);
    EXPECT_EQ(sessionKind("Open Practice"), kSessionPractice);
    EXPECT_EQ(sessionKind("Warmup"), kSessionPractice);
    EXPECT_EQ(sessionKind("Race Practice"), kSessionRace);
    EXPECT_EQ(sessionKind(""), kSessionUnknown);
    EXPECT_EQ(sessionKind("ABCDEFGHIJKLMNOPQRSTRace"), kSessionUnknown) << "cut in byte 23";
}

TEST(Badges, ClassBestBeatsOwnBest) {
    SimFrame f = sixtyCarFrame();
    const ClassBests bests = buildClassBests(f);
    EXPECT_EQ(bestLapBadge(bests, f.cars[2]), 1);
    EXPECT_EQ(bestLapBadge(bests, f.cars[6]), 0) << "the same time, but met later";
    const CarRow* player = playerRow(f);
    EXPECT_EQ(bestLapBadge(bests, *player), 2);
    EXPECT_EQ(lastLapBadge(bests, f.cars[2]), 1);
    EXPECT_EQ(lastLapBadge(bests, *player), 2);

    const ClassBests overall = buildClassBests(f, false);
    EXPECT_EQ(bestLapBadge(overall, f.cars[2]), 0);
    EXPECT_EQ(bestLapBadge(overall, f.cars[0]), 1) << "the fastest of all classes";

    CarRow old = *player;
    old.bestFromEarlier = 1;
    EXPECT_EQ(bestLapBadge(bests, old), 0);
    CarRow slower = f.cars[2];
    slower.lastLapTime += 0.006f;
    EXPECT_EQ(lastLapBadge(bests, slower), 0);
    slower.lastLapTime = 0;
    EXPECT_EQ(lastLapBadge(bests, slower), 0);
}

TEST(Badges, WholeLapsCountTheFraction) {
    CarRow a, b;
    a.lap = 10, b.lap = 9;
    a.lapDistPct = 0.1f, b.lapDistPct = 0.6f;
    EXPECT_EQ(lapBadge(a, b), 0) << "half a lap, whatever the counters say";
    b.lapDistPct = 0.05f;
    EXPECT_EQ(lapBadge(a, b), 1);
    EXPECT_EQ(lapBadge(b, a), -1);
    b.lap = -1;
    EXPECT_EQ(lapBadge(a, b), 0);
    b.lap = 10, b.lapDistPct = -1;
    EXPECT_EQ(lapBadge(a, b), 0) << "a car in the garage is not lapped by having no place";
}

TEST(Gaps, LeaderLapsAndSeconds) {
    SimFrame f = simpleRace(3, 0);
    char text[16];
    int laps = 0;
    leaderGapText(f.cars[0], f.cars[0], text, sizeof text, laps);
    EXPECT_STREQ(text, "--");
    leaderGapText(f.cars[2], f.cars[0], text, sizeof text, laps);
    EXPECT_STREQ(text, "+2.4");
    EXPECT_EQ(laps, 0);
    f.cars[2].lap = 2;
    leaderGapText(f.cars[2], f.cars[0], text, sizeof text, laps);
    EXPECT_STREQ(text, "+3L");
    EXPECT_EQ(laps, 3);
    f.cars[1].gapToLeader = 0.05f;
    EXPECT_EQ(leaderGapText(f.cars[1], f.cars[0], text, sizeof text, laps), 0u);
    f.cars[1].gapToLeader = std::numeric_limits<float>::infinity();
    EXPECT_EQ(leaderGapText(f.cars[1], f.cars[0], text, sizeof text, laps), 0u);
    relativeLeaderGapText(f.cars[0], text, sizeof text);
    EXPECT_STREQ(text, "--");
}

TEST(TyreAge, CountsFromTheLastStop) {
    PitLapTable table;
    SimFrame f = simpleRace(2, 0);
    EXPECT_EQ(tyreAgeLaps(table, f.cars[0]), -1) << "not started";
    f.cars[0].pitThisLap = 1;
    updatePitLaps(table, &f);
    updatePitLaps(table, &f);
    f.cars[0].pitThisLap = 0;
    f.cars[0].lap = 9;
    updatePitLaps(table, &f);
    EXPECT_EQ(tyreAgeLaps(table, f.cars[0]), 4);
    EXPECT_EQ(tyreAgeLaps(table, f.cars[1]), -1) << "has not stopped";
    f.cars[0].lap = 3; // the counter ran back
    updatePitLaps(table, &f);
    EXPECT_EQ(tyreAgeLaps(table, f.cars[0]), -1);
    f.cars[0].pitThisLap = 1;
    updatePitLaps(table, &f);
    EXPECT_EQ(tyreAgeLaps(table, f.cars[0]), 0);
    f.cars[0].pitThisLap = 0;
    copyText(f.sessionName, "Race 2");
    updatePitLaps(table, &f);
    EXPECT_EQ(tyreAgeLaps(table, f.cars[0]), -1) << "another session";
    f.cars[0].carIdx = 64;
    f.cars[1].carIdx = -1;
    updatePitLaps(table, &f); // numbers beyond the table are left out
    updatePitLaps(table, nullptr);

    char text[8];
    const std::pair<int, const char*> words[] = {{0, "NEW"}, {2, "NEW"},  {3, "OK"},
                                                 {14, "OK"}, {15, "OLD"}, {-1, ""}};
    for (const auto& [laps, word] : words) {
        tyreAgeText(laps, 1, text, sizeof text);
        EXPECT_STREQ(text, word);
    }
    tyreAgeText(12, 0, text, sizeof text);
    EXPECT_STREQ(text, "12L");
}

TEST(Names, FormatsCutBetweenCharacters) {
    EXPECT_EQ(driverName("Max van Dam", 0), "Max van Dam");
    EXPECT_EQ(driverName("Max van Dam", 1), "M. van Dam");
    EXPECT_EQ(driverName("Max van Dam", 2), "Dam");
    EXPECT_EQ(driverName("max dammers", 3), "DAM");
    EXPECT_EQ(driverName("Max van Dam", 4), "Max");
    for (int mode : {0, 1, 2, 4}) {
        EXPECT_EQ(driverName("Kimi", mode), "Kimi");
        EXPECT_EQ(driverName("Kimi ", mode), mode == 4 ? "Kimi" : "Kimi ");
    }
    EXPECT_EQ(driverName(" Kimi", 4), " Kimi");
    EXPECT_EQ(driverName("佐藤 健太郎", 1), "佐. 健太郎");
    EXPECT_EQ(driverName("鈴木一郎太", 3), "鈴木一");
    EXPECT_EQ(driverName("Łukasz Ś", 1), "Ł. Ś");
    EXPECT_EQ(driverName("鈴木一郎", 0, 6), "鈴") << "six bytes hold one character and its end";
    EXPECT_EQ(driverName("", 3), "");
}

TEST(Names, ShortNameFitsSixteenBytes) {
    char out[16];
    shortDriverName("Bartholomew-Maximilian Smith", 1, out);
    EXPECT_STREQ(out, "Bartholomew-Max");
    shortDriverName("Anna Maria Berg", 2, out);
    EXPECT_STREQ(out, "Maria Berg");
    shortDriverName("Anna ", 1, out);
    EXPECT_STREQ(out, "Anna ");
    shortDriverName("鈴木一郎太三郎", 0, out);
    EXPECT_STREQ(out, "鈴木一郎太");
}
