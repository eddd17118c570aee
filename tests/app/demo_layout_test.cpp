#include "app/demo_layout.h"

#include <gtest/gtest.h>

using namespace vt;

TEST(DemoLayout, RectanglesNeverOverlapNorLeaveTheArea) {
    const RectI area{10, 10, 1590, 990};
    const std::vector<PointI> sizes = {{500, 300}, {860, 480}, {300, 200}, {600, 400}, {200, 100}};
    const std::vector<RectI> placed = packRectangles(sizes, area, 20);
    ASSERT_EQ(placed.size(), sizes.size());
    for (size_t i = 0; i < placed.size(); ++i) {
        if (placed[i].empty()) continue;
        EXPECT_EQ(placed[i].width(), sizes[i].x);
        EXPECT_EQ(placed[i].height(), sizes[i].y);
        EXPECT_EQ(intersect(placed[i], area), placed[i]) << i;
        for (size_t j = 0; j < i; ++j)
            EXPECT_TRUE(intersect(placed[i], placed[j]).empty()) << i << " over " << j;
    }
    EXPECT_FALSE(placed[0].empty() || placed[1].empty() || placed[2].empty());
}

TEST(DemoLayout, WhatDoesNotFitIsLeftOut) {
    const std::vector<RectI> placed =
        packRectangles({{400, 400}, {400, 400}}, {0, 0, 500, 500}, 10);
    EXPECT_FALSE(placed[0].empty());
    EXPECT_TRUE(placed[1].empty());
}

TEST(DemoLayout, OnlyWhatTheUserChangedIsStored) {
    const AppConfig stored = defaultAppConfig(1920, 1080);
    AppConfig config = stored;
    DemoLayout layout;
    layout.places[kSlotRelative] = {true, true, 700, 500, 0.9f, 0.9f};
    layout.places[kSlotStandings] = {true, true, 20, 20, 0.9f, 0.9f};
    config.relative.enabled = config.standings.enabled = true;
    config.relative.x = 700, config.relative.y = 500;
    config.standings.x = 20, config.standings.y = 20;
    config.relative.widthMul = config.standings.widthMul = 0.9f;
    config.relative.textScale = config.standings.textScale = 0.9f;
    config.standings.x = 333; // dragged
    config.imperial = 1;

    const AppConfig out = withoutDemoLayout(config, layout, stored);
    EXPECT_EQ(out.relative.x, stored.relative.x);
    EXPECT_EQ(out.relative.widthMul, stored.relative.widthMul);
    EXPECT_EQ(out.standings.x, 333);
    EXPECT_EQ(out.standings.y, 20);
    EXPECT_EQ(out.imperial, 1);
}
