#include "overlay/overlays/list_layout.h"
#include "overlay/overlays/list_view.h"
#include "overlay/overlays/overlay_catalogue.h"
#include "overlay/overlays/relative_overlay.h"
#include "overlay/overlays/standings_overlay.h"
#include "overlay/settings/settings_store.h"
#include "support/race_frames.h"

#include <gtest/gtest.h>

#include <functional>

using namespace vt;
using namespace vt::test;

namespace {

struct Lists {
    AppConfig config = defaultAppConfig(1920, 1080);
    Clock clock = manualClock();
    OverlayHost host{config, clock};
    PitLapTable pits;

    ListSource source(const SimFrame& frame) {
        return {.frame = &frame, .pits = &pits, .sim = kSimIRacing, .accentTheme = 0};
    }
    ListView relative(const SimFrame& frame) {
        ListView view;
        buildRelativeView(view, config.relative, source(frame));
        return view;
    }
    StandingsPlan plan(const SimFrame& frame) {
        return planStandings(config.standings, config.standings.stdStyle, &frame, 0);
    }
    ListView standings(const SimFrame& frame) {
        ListView view;
        buildStandingsView(view, config.standings, source(frame), plan(frame));
        return view;
    }
};

std::string cellText(const ListView& view, const ListRow& row, int column) {
    for (size_t i = 0; i < view.columns.size(); ++i)
        if (view.columns[i] == column) return view.cell(row, i).text;
    return "(no such column)";
}

} // namespace

TEST(ListView, RelativeRowsSayWhatTheFrameSays) {
    Lists lists;
    SimFrame f = sixtyCarFrame();
    const ListView view = lists.relative(f);
    ASSERT_EQ(view.rows.size(), 5u);
    const ListRow& me = view.rows[2];
    EXPECT_TRUE(me.player);
    EXPECT_EQ(cellText(view, me, kColumnPosition), "P5") << "within the class";
    EXPECT_STREQ(view.head.place, "P5");
    EXPECT_STREQ(view.head.overall, "P19 OVERALL");
    EXPECT_STREQ(view.head.strength, "SOF 3.3k");
    EXPECT_EQ(cellText(view, view.rows[1], kColumnInterval), "+0.6");
    EXPECT_EQ(view.rows[1].laps, -1);
    EXPECT_STREQ(view.rows[1].lapBadge, "-1L");
    for (ColumnSpec& spec : lists.config.relative.columns.specs)
        if (spec.fieldId == kColumnLapDelta || spec.fieldId == kColumnPit) spec.enabled = false;
    f.cars[18].onPitRoad = 1;
    const ListView bare = lists.relative(f);
    EXPECT_EQ(bare.rows[1].laps, 0);
    EXPECT_FALSE(bare.rows[2].showPitBadge);
}

TEST(ListView, WithoutAPlayer) {
    Lists lists;
    SimFrame f = sixtyCarFrame();
    f.playerCarIdx = -1;
    for (const ListRow& row : lists.relative(f).rows)
        EXPECT_TRUE(row.blank);
    EXPECT_TRUE(lists.standings(f).rows.empty());
    EXPECT_STREQ(lists.standings(f).head.title, "STANDINGS");
}

TEST(ListView, StandingsBlocksAndPins) {
    Lists lists;
    lists.config.standings.standingsRows = 6;
    lists.config.standings.standingsRowsOther = 3;
    const ListView view = lists.standings(sixtyCarFrame(14));
    ASSERT_EQ(view.blocks.size(), 4u);
    ASSERT_EQ(view.rows.size(), 15u);
    EXPECT_TRUE(view.rows[5].pinned);
    EXPECT_TRUE(view.rows[5].player);
    EXPECT_EQ(cellText(view, view.rows[5], kColumnPosition), "P14");
    EXPECT_STREQ(view.blocks[1].name, "GTP");
    EXPECT_STREQ(view.blocks[1].detail, "15 CARS");
    EXPECT_STREQ(view.blocks[1].strength, "SOF 5.1k");
    EXPECT_EQ(cellText(view, view.rows[0], kColumnLeaderGap), "--");
    EXPECT_EQ(cellText(view, view.rows[1], kColumnLeaderGap), "+37.6");
    EXPECT_STREQ(view.head.group, "YOUR CLASS");
    for (size_t b = 0; b < 4; ++b)
        EXPECT_TRUE(view.blocks[b].label);
    lists.config.standings.stdStyle = kListGrid;
    const ListView grid = lists.standings(sixtyCarFrame());
    EXPECT_FALSE(grid.blocks[0].label);
    EXPECT_TRUE(grid.blocks[1].label);
}

TEST(ListView, FixedSizeKeepsItsRoomGrowFollows) {
    Lists lists;
    StandingsConfig& c = lists.config.standings;
    c.standingsRows = 3;
    c.stdStyle = kListCompact;
    const SimFrame one = simpleRace(1, 0);
    c.standingsSizeMode = 0;
    EXPECT_EQ(lists.plan(one).sizeExtent.rows, 3);
    c.standingsSizeMode = 1;
    EXPECT_EQ(lists.plan(one).sizeExtent.rows, 1);
    c.standingsSizeMode = 0;
    c.standingsScope = 2; // the largest class, whoever's turn it is
    c.standingsRowsOther = 8;
    EXPECT_EQ(lists.plan(sixtyCarFrame()).sizeExtent.rows, 8);
}

TEST(ListLayout, RowsFillTheHeightThatTheWindowHas) {
    Lists lists;
    lists.config.standings.standingsRows = 6;
    for (int style = 0; style < kListStyleCount; ++style) {
        lists.config.standings.stdStyle = lists.config.relative.relStyle = style;
        const SimFrame f = sixtyCarFrame(14);
        const ListView standings = lists.standings(f);
        const ListView relative = lists.relative(f);
        const int stdHeight = standingsHeight(style, lists.plan(f).sizeExtent);
        const int relHeight = relativeHeight(style, 2, 2);
        const std::pair<const ListView*, int> both[] = {{&standings, stdHeight},
                                                        {&relative, relHeight}};
        for (const auto& [view, natural] : both) {
            const auto height = static_cast<float>(natural);
            const RowFlow flow = flowRows(*view, {0, 0, 500, height}, height);
            ASSERT_EQ(flow.rows.size(), view->rows.size());
            float bottom = flow.head.bottom;
            for (const RectF& row : flow.rows) {
                EXPECT_GE(row.top, bottom) << style;
                bottom = row.bottom;
            }
            const float margin = height - bottom; // what the formula leaves below the rows
            EXPECT_GE(margin, 0) << style;
            EXPECT_LE(margin, 11) << style;
        }
    }
}

TEST(ListLayout, ColumnsNeverOverlapNorLeaveTheWindow) {
    Lists lists;
    const SimFrame f = sixtyCarFrame();
    for (int style = 0; style < kListStyleCount; ++style) {
        lists.config.standings.stdStyle = lists.config.relative.relStyle = style;
        for (const ListView& view : {lists.relative(f), lists.standings(f)}) {
            for (const float width : {60.0f, 110.0f, 215.0f, 430.0f, 860.0f, 3440.0f}) {
                for (const float scale : {0.5f, 1.0f, 1.5f, 3.0f}) {
                    const ColumnFit fit = fitColumns(view, 10, width - 10, scale);
                    ASSERT_FALSE(fit.places.empty());
                    EXPECT_LE(fit.textScale, scale);
                    float end = 10;
                    bool name = false;
                    for (const ColumnPlace& place : fit.places) {
                        EXPECT_GE(place.left, end - 0.5f) << style << " " << width;
                        EXPECT_GE(place.right, place.left);
                        end = std::max(place.right, place.barRight);
                        name = name || place.column == kColumnDriver;
                    }
                    EXPECT_LE(end, width - 9) << style << " " << width << " " << scale;
                    EXPECT_TRUE(name) << "the driver stays to the last";
                }
            }
        }
    }
}

TEST(ListHash, EveryShownValueCounts) {
    Lists lists;
    RelativeOverlay relative(lists.host);
    StandingsOverlay standings(lists.host);
    SimFrame base = sixtyCarFrame();
    base.timeRemain = 1834.5;
    const auto hashes = [&](const SimFrame& frame) {
        std::pair<uint64_t, uint64_t> both;
        relative.previewMode = standings.previewMode = true;
        relative.frame = standings.frame = &frame;
        both = {relative.contentHash(), standings.contentHash()};
        relative.frame = standings.frame = nullptr;
        return both;
    };
    const auto before = hashes(base);
    EXPECT_NE(before.first, 0u);
    EXPECT_EQ(hashes(base), before);
    const std::pair<const char*, std::function<void(SimFrame&)>> changes[] = {
        {"lap", [](SimFrame& f) { f.cars[5].lap += 1; }},
        {"radio", [](SimFrame& f) { f.radioCarIdx = 1; }},
        {"rating", [](SimFrame& f) { f.cars[5].irating += 1; }},
        {"pit time", [](SimFrame& f) { f.cars[5].lastPitTime = 33; }},
        {"licence", [](SimFrame& f) { f.cars[5].licence[0] = 'P'; }},
        {"name", [](SimFrame& f) { f.cars[59].driverName[1] = 'x'; }},
        {"class", [](SimFrame& f) { f.cars[5].carClass[0] = 'x'; }},
        {"number", [](SimFrame& f) { f.cars[5].carNumber[0] = '9'; }},
        {"gap", [](SimFrame& f) { f.cars[5].gapToPlayer += 0.2f; }},
        {"leader gap", [](SimFrame& f) { f.cars[5].gapToLeader += 0.2f; }},
        {"last lap", [](SimFrame& f) { f.cars[5].lastLapTime += 0.2f; }},
        {"best lap", [](SimFrame& f) { f.cars[5].bestLapTime -= 0.2f; }},
        {"earlier", [](SimFrame& f) { f.cars[5].bestFromEarlier = 1; }},
        {"pit road", [](SimFrame& f) { f.cars[5].onPitRoad = 1; }},
        {"compound", [](SimFrame& f) { f.cars[5].tyreCompound = 2; }},
        {"place", [](SimFrame& f) { std::swap(f.cars[5].position, f.cars[6].position); }},
        {"session", [](SimFrame& f) { copyText(f.sessionName, "Practice"); }},
        {"brand", [](SimFrame& f) { f.cars[5].carBrand[0] = 'Z'; }},
        {"whole lap", [](SimFrame& f) { f.cars[18].lapDistPct -= 0.5f; }},
        {"flag", [](SimFrame& f) { f.sessionFlags = kFlagYellow; }},
    };
    for (const auto& [what, change] : changes) {
        SimFrame changed = base;
        change(changed);
        const auto after = hashes(changed);
        EXPECT_NE(after.first, before.first) << what;
        EXPECT_NE(after.second, before.second) << what;
    }
    SimFrame moved = base;
    moved.speed += 10; // nothing that a list shows
    moved.timeRemain -= 0.2;
    EXPECT_EQ(hashes(moved), before);
    lists.config.relative.columns.specs[3].opts.nameMode = 2;
    EXPECT_NE(hashes(base).first, before.first);
}

TEST(ListWindow, FollowsTheFieldAndKeepsItsShapeWithoutOne) {
    Lists lists;
    lists.config.standings.enabled = true;
    lists.config.standings.heightMul = lists.config.standings.widthMul = 1;
    auto overlays = makeOverlays(lists.host);
    ASSERT_EQ(overlays.size(), static_cast<size_t>(kSlotCount));
    auto& standings = static_cast<StandingsOverlay&>(*overlays[kSlotStandings]);
    int failures = 0;
    ASSERT_TRUE(createOverlay(standings, "VT Standings", failures));
    const auto tick = [&](const SimFrame& f) {
        advance(lists.clock, 0.2);
        overlayTick(standings, &f);
    };
    tick(simpleRace(5, 0));
    EXPECT_EQ(standings.baseHeight, 22 + 20 + 36 * 5 + 4);
    EXPECT_EQ(windowRect(standings.window).height(), standings.baseHeight);
    tick(simpleRace(8, 0));
    tick(simpleRace(8, 0));
    EXPECT_EQ(standings.baseHeight, 22 + 20 + 36 * 8 + 4);
    ASSERT_TRUE(standings.picture);
    EXPECT_EQ(bitmapHeight(*standings.picture), standings.baseHeight);
    lists.config.standings.stdStyle = kListGrid;
    relayout(standings); // outside a tick: no frame at hand
    EXPECT_EQ(standings.baseHeight, 56 + 30 * 8 + 2 * 7 + 6);
    const int width = standings.baseWidth;
    SimFrame noRatings = simpleRace(8, 0);
    noRatings.simKind = kSimAms2;
    tick(noRatings);
    EXPECT_LT(standings.baseWidth, width) << "columns that the sim cannot give close up";
    destroyOverlay(standings);
}

TEST(ListPage, EveryRowWritesIntoThisOverlaysSettings) {
    Lists lists;
    for (int style = 0; style < kListStyleCount; ++style) {
        lists.config.relative.relStyle = lists.config.standings.stdStyle = style;
        RelativeOverlay relative(lists.host);
        StandingsOverlay standings(lists.host);
        for (OverlayWindow* overlay :
             {static_cast<OverlayWindow*>(&relative), static_cast<OverlayWindow*>(&standings)}) {
            std::vector<PageRow> rows;
            overlay->buildPage({&rows, [](void* user, const PageRow& row) {
                                    static_cast<std::vector<PageRow>*>(user)->push_back(row);
                                }});
            EXPECT_EQ(rows[1].kind, PageRow::Kind::stylePicker);
            EXPECT_EQ(rows[1].choiceCount, kListStyleCount);
            for (const PageRow& row : rows) {
                const bool slider = row.kind == PageRow::Kind::intSlider;
                const bool number = slider || row.kind == PageRow::Kind::choice;
                EXPECT_TRUE(!number || row.number) << row.label;
                EXPECT_TRUE(row.kind != PageRow::Kind::toggle || row.flag) << row.label;
                EXPECT_TRUE(!slider || row.min < row.max) << row.label;
            }
        }
    }
}
