#include "overlay/overlays/brands.h"
#include "overlay/overlays/cells.h"
#include "support/race_frames.h"

#include <gtest/gtest.h>

#include <limits>

using namespace vt;
using namespace vt::test;

namespace {

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

ColumnScene sceneFor(ListKind kind, int style, int session = kSessionRace) {
    return {.kind = kind, .style = style, .sim = kSimIRacing, .session = session};
}

ColumnSpec& spec(ColumnList& list, int column) {
    return *const_cast<ColumnSpec*>(findColumn(list, column));
}

/// A frame and what cells are decided from, by itself.
struct Cells {
    SimFrame frame;
    ColumnList list = defaultRelativeColumns();
    CellScene scene;
    Cells() : frame(simpleRace(4, 1)) {
        scene.frame = &frame;
        scene.player = &frame.cars[1];
        scene.list = &list;
        scene.columns = sceneFor(ListKind::relative, kListApex);
        scene.colours = classicColours({1, 0, 0});
        scene.palette = buildClassPalette(frame, scene.player);
        scene.pits = &pits;
        refresh();
    }
    PitLapTable pits;
    void refresh() { scene.bests = buildClassBests(frame); }
    CellContent at(int column, size_t row, const CarRow* leader = nullptr) {
        return cellContent(scene, column, frame.cars[row], leader);
    }
    std::string text(int column, size_t row, const CarRow* leader = nullptr) {
        return at(column, row, leader).text;
    }
};

} // namespace

TEST(Columns, SwitchesSessionsAndSimsDecide) {
    ColumnList list = defaultRelativeColumns();
    ColumnScene race = sceneFor(ListKind::relative, kListApex);
    spec(list, kColumnRating).race = false;
    EXPECT_FALSE(columnVisible(list, race, kColumnRating));
    EXPECT_TRUE(columnVisible(list, sceneFor(ListKind::relative, kListApex, kSessionQualify),
                              kColumnRating));
    EXPECT_FALSE(columnVisible(list, race, kColumnLeaderGap)) << "off by default";
    EXPECT_FALSE(columnVisible(list, race, kColumnTags)) << "no sim gives it";

    const int full = listWidth(list, race);
    ColumnScene ams2 = race;
    ams2.sim = kSimAms2;
    EXPECT_FALSE(columnVisible(list, ams2, kColumnLicence));
    EXPECT_LT(listWidth(list, ams2), full) << "widths close up";

    ColumnScene uniform = race;
    uniform.uniformCompound = true;
    EXPECT_TRUE(columnVisible(list, uniform, kColumnCompound));
    spec(list, kColumnCompound).opts.compHideUniform = true;
    EXPECT_EQ(listWidth(list, uniform), full - 24 - 7);

    ColumnList empty;
    EXPECT_TRUE(columnVisible(empty, race, kColumnLeaderGap)) << "missing from the list: shown";
}

TEST(Columns, FreeLooksKeepTheUsersOrder) {
    ColumnList list = defaultStandingsColumns();
    std::swap(list.specs[0], list.specs[5]);
    std::swap(list.specs[2], list.specs[8]);
    const auto classic = columnOrder(list, sceneFor(ListKind::standings, kListClassic));
    const auto apex = columnOrder(list, sceneFor(ListKind::standings, kListApex));
    EXPECT_EQ(classic.front(), list.specs[0].fieldId);
    EXPECT_EQ(apex.front(), kColumnPosition);
    EXPECT_EQ(columnOrder(list, sceneFor(ListKind::standings, kListClassic)), classic);
    for (const int column : classic)
        EXPECT_TRUE(column != kColumnLapDelta && column != kColumnPit) << "badges have no place";
}

TEST(Columns, WindowSizes) {
    struct Case {
        int style, ahead, behind, height;
    };
    for (const Case& c :
         {Case{kListClassic, 2, 2, 206}, Case{kListGrid, 2, 2, 220}, Case{kListCompact, 0, 0, 40},
          Case{kListFocus, 1, 0, 78}, Case{kListRows, 2, 3, 229}, Case{kListApex, 2, 2, 214},
          Case{kListApex, 9, -1, 252}})
        EXPECT_EQ(relativeHeight(c.style, c.ahead, c.behind), c.height) << c.style;

    ColumnList list = defaultRelativeColumns();
    EXPECT_EQ(listWidth(list, sceneFor(ListKind::relative, kListFocus)), 640);
    spec(list, kColumnInterval).opts.relBarAnchor = false;
    EXPECT_EQ(listWidth(list, sceneFor(ListKind::relative, kListFocus)), 480);
    for (ColumnSpec& s : list.specs)
        s.enabled = s.fieldId == kColumnDriver || s.fieldId == kColumnInterval;
    EXPECT_EQ(listWidth(list, sceneFor(ListKind::relative, kListClassic)), 440);
    EXPECT_EQ(listWidth(list, sceneFor(ListKind::relative, kListApex)), 360);
    EXPECT_EQ(listWidth(list, sceneFor(ListKind::relative, kListGrid)), 300);
    spec(list, kColumnInterval).opts.relBarGrid = true;
    EXPECT_EQ(listWidth(list, sceneFor(ListKind::relative, kListGrid)), 28 + 150 + 6 + 54 + 116);

    const StandingsExtent e{.blocks = 2, .labels = 2, .rows = 10, .gaps = 1, .extraRows = 1};
    const int heights[] = {40 + 42 + 260 + 18 + 6 + 6, 48 + 56 + 300 + 18 + 2 + 8 + 6,
                           44 + 30 + 300 + 18 + 8 + 5, 320 + 38 + 18 + 8 + 6,
                           48 + 32 + 340 + 45 + 5 + 8, 44 + 20 + 360 + 4 + 8};
    for (int style = 0; style < kListStyleCount; ++style)
        EXPECT_EQ(standingsHeight(style, e), heights[style]) << style;
}

TEST(Cells, IntervalNeverShowsNonsense) {
    struct Case {
        double seconds;
        int decimals;
        const char* text;
    };
    for (const Case& c :
         {Case{0.4, 0, "+0"}, Case{-0.4, 0, "+0"}, Case{-0.04, 1, "+0.0"}, Case{-0.06, 1, "-0.1"},
          Case{0.004, 2, "+0.00"}, Case{-123.456, 2, "-123.46"}, Case{1.25, 9, "+1.25"},
          Case{2.6, -3, "+3"}, Case{std::numeric_limits<double>::quiet_NaN(), 1, ""},
          Case{-std::numeric_limits<double>::infinity(), 1, ""}, Case{1e30, 1, ""}}) {
        char out[24];
        signedSeconds(c.seconds, c.decimals, out, sizeof out);
        EXPECT_STREQ(out, c.text) << c.seconds << " " << c.decimals;
    }
    Cells cells;
    EXPECT_EQ(cells.text(kColumnInterval, 0), "+1.2");
    EXPECT_EQ(cells.at(kColumnInterval, 1).form, CellForm::mark);
    cells.frame.cars[0].lapDistPct = -1;
    EXPECT_EQ(cells.at(kColumnInterval, 0).form, CellForm::empty) << "not in the world";
    cells.scene.gapBar = true;
    EXPECT_NEAR(cells.at(kColumnInterval, 3).bar, 0.8f, 1e-5f);
}

TEST(Cells, IntervalColours) {
    Cells cells;
    ColumnOptions& o = spec(cells.list, kColumnInterval).opts;
    const ListColours& c = cells.scene.colours;
    o.relColorMode = 0;
    EXPECT_EQ(cells.at(kColumnInterval, 0).colour, c.ahead);
    EXPECT_EQ(cells.at(kColumnInterval, 2).colour, c.behind);
    o.relColorMode = 1;
    o.relBattleSec = 1.3f;
    EXPECT_EQ(cells.at(kColumnInterval, 2).colour, c.battle);
    EXPECT_EQ(cells.at(kColumnInterval, 3).colour, c.calm);
    o.relBattleSec = -1;
    EXPECT_EQ(cells.at(kColumnInterval, 2).colour, c.calm);
    o.relColorMode = 2;
    EXPECT_EQ(cells.at(kColumnInterval, 0).colour, c.text);
}

TEST(Cells, MissingDataLeavesTheCellEmpty) {
    Cells cells;
    CarRow& row = cells.frame.cars[2];
    const int id = row.carIdx;
    row = CarRow{};
    row.carIdx = id;
    row.bestLapTime = row.lastLapTime = row.lastPitTime = kNan;
    row.gapToLeader = row.gapToPlayer = kNan;
    row.carNumberValue = -1;
    cells.refresh();
    for (int column = 0; column < kColumnCount; ++column) {
        if (column == kColumnPosition) continue;
        EXPECT_EQ(cells.text(column, 2, &cells.frame.cars[0]), "") << column;
    }
    EXPECT_EQ(cells.text(kColumnPosition, 2), "-");
    EXPECT_EQ(cells.at(kColumnPosition, 99 % 4).talking, false);
}

TEST(Cells, TextsOfEachColumn) {
    Cells cells;
    CarRow& row = cells.frame.cars[2];
    copyText(row.licence, "A 3.50");
    copyText(row.carNumber, "007");
    row.bestLapTime = 83.449f;
    row.lastLapTime = 659.96f;
    row.lastPitTime = 31.26f;
    row.tyreCompound = 2;
    cells.frame.cars[1].lastLapTime = 660.0f;
    cells.frame.cars[0].lastLapTime = 661.26f;
    cells.refresh();
    EXPECT_EQ(cells.text(kColumnPosition, 2), "P3");
    EXPECT_EQ(cells.text(kColumnNumber, 2), "007");
    EXPECT_EQ(cells.text(kColumnNumber, 3), "4");
    EXPECT_EQ(cells.text(kColumnLicence, 2), "A 3.50");
    spec(cells.list, kColumnLicence).opts.licMode = 1;
    EXPECT_EQ(cells.text(kColumnLicence, 2), "A");
    spec(cells.list, kColumnLicence).opts.licMode = 2;
    EXPECT_EQ(cells.text(kColumnLicence, 2), "3.50");
    EXPECT_EQ(cells.text(kColumnRating, 2), "2.9k");
    row.irating = 999;
    EXPECT_EQ(cells.text(kColumnRating, 2), "999");
    EXPECT_EQ(cells.text(kColumnBestLap, 2), "1:23.4");
    EXPECT_EQ(cells.text(kColumnLastLap, 2), "11:00.0");
    EXPECT_EQ(cells.at(kColumnBestLap, 2).colour, cells.scene.colours.classBest);
    EXPECT_EQ(cells.text(kColumnLastDelta, 2), "+0.0");
    EXPECT_EQ(cells.text(kColumnLastDelta, 0), "+1.3");
    EXPECT_EQ(cells.at(kColumnLastDelta, 0).colour, cells.scene.colours.negative);
    EXPECT_EQ(cells.text(kColumnLastDelta, 1), "") << "the player's own";
    EXPECT_EQ(cells.text(kColumnPitTime, 2), "31.3s");
    row.pitThisLap = 1;
    EXPECT_EQ(cells.text(kColumnPitTime, 2), "OUT");
    EXPECT_EQ(cells.at(kColumnCompound, 2).form, CellForm::dot);
    EXPECT_EQ(cells.at(kColumnCompound, 3).form, CellForm::empty);
    updatePitLaps(cells.pits, &cells.frame);
    EXPECT_EQ(cells.text(kColumnTyreAge, 2), "0L");
    cells.frame.radioCarIdx = 2;
    EXPECT_TRUE(cells.at(kColumnPosition, 2).talking);
    EXPECT_FALSE(cells.at(kColumnPosition, 3).talking);
    EXPECT_EQ(cells.at(kColumnRatingGain, 0).colour, cells.scene.colours.positive);
}

TEST(Cells, WetTyresHaveTheirOwnColourOnAWetTrackOnly) {
    Cells cells;
    cells.frame.cars[0].tyreCompound = 1;
    const Color dry = cells.at(kColumnCompound, 0).colour;
    cells.frame.wetnessLevel = 5;
    const CellContent wet = cells.at(kColumnCompound, 0);
    EXPECT_FALSE(wet.colour == dry);
    EXPECT_STREQ(wet.text, "W");
    EXPECT_TRUE(uniformCompound(cells.frame)) << "cars of unknown compound do not count";
    cells.frame.cars[3].tyreCompound = 0;
    EXPECT_FALSE(uniformCompound(cells.frame));
}

TEST(Cells, Brands) {
    EXPECT_STREQ(brandMark("Mercedes-AMG").text, "MER");
    EXPECT_STREQ(brandMark("ASTON Martin").text, "AMR");
    EXPECT_STREQ(brandMark("Lada").text, "LAD");
    EXPECT_STREQ(brandMark("ВАЗ 2108").text, "ВАЗ");
    EXPECT_STREQ(brandMark("").text, "");
}

TEST(Cells, BattlesAreInClassOrderAndNeverInThePits) {
    SimFrame f = simpleRace(4, 0);
    std::vector<const CarRow*> rows;
    for (CarRow& row : f.cars) {
        row.gapToLeader = static_cast<float>(row.carIdx) * 2.0f;
        rows.push_back(&row);
    }
    EXPECT_FALSE(nearbyBattle(rows, 1, 1.0f));
    f.cars[2].gapToLeader = 2.8f;
    EXPECT_TRUE(nearbyBattle(rows, 1, 1.0f));
    EXPECT_TRUE(nearbyBattle(rows, 2, 1.0f));
    EXPECT_FALSE(nearbyBattle(rows, 0, 1.0f));
    f.cars[2].onPitRoad = 1;
    EXPECT_FALSE(nearbyBattle(rows, 1, 1.0f));
    EXPECT_FALSE(nearbyBattle(rows, 2, 1.0f));
    for (CarRow& row : f.cars)
        row.gapToLeader = 0, row.onPitRoad = 0;
    EXPECT_FALSE(nearbyBattle(rows, 1, 1.0f)) << "a sim without gaps";
    EXPECT_FALSE(nearbyBattle(rows, 9, 1.0f));
}
