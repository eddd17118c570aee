#include "overlay/frame/styles.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

using namespace vt;

TEST(Styles, EachListHasItsOwnSettingAndHoldsItsDefault) {
    AppConfig config = defaultAppConfig(1920, 1080);
    std::set<const int*> fields;
    for (int slot = -1; slot <= kSlotCount; ++slot) {
        int count = 0, first = 0;
        const char* const* names = nullptr;
        int* style = styleOf(config, slot, count, names, first);
        if (!style) {
            EXPECT_EQ(count, 0);
            continue;
        }
        EXPECT_TRUE(fields.insert(style).second) << overlayKey(slot);
        EXPECT_TRUE(*style >= first && *style < first + count) << overlayKey(slot);
        const auto* block = reinterpret_cast<const char*>(overlayConfig(config, slot));
        const auto offset = reinterpret_cast<const char*>(style) - block;
        EXPECT_TRUE(offset > 0 && offset < 4096) << "the setting of another overlay";
    }
    EXPECT_EQ(fields.size(), 20u);
}

TEST(Styles, ApexIsToldByTheNameOfTheStyle) {
    AppConfig config = defaultAppConfig(1920, 1080);
    const auto apex = [&](int slot) { return overlayUsesApexStyle(config, slot); };
    config.fuel.fuelStyle = 5;
    EXPECT_TRUE(apex(kSlotFuel));
    config.fuel.fuelStyle = 1;
    EXPECT_FALSE(apex(kSlotFuel));
    for (int bar : {5, 8, 9, 10, 4, 11}) {
        config.battlebar.bbStyle = bar;
        EXPECT_EQ(apex(kSlotBattleBar), bar == 9 || bar == 10) << bar;
    }
    for (int dash : {5, 6, 7, 11}) {
        config.dash.dashStyle = dash;
        EXPECT_EQ(apex(kSlotDash), dash <= 6) << dash;
    }
    config.recap.recapStyle = 0;
    EXPECT_FALSE(apex(kSlotRecap));
    for (int always : {kSlotCoach, kSlotAlerts, kSlotTrackStrip, kSlotTraining})
        EXPECT_TRUE(apex(always));
    EXPECT_FALSE(apex(kSlotDrift));
    EXPECT_FALSE(apex(kSlotSpotter));
    EXPECT_FALSE(apex(99));
}
