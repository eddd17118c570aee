// What becomes of values that do not fit, and of what older files lack.
#include "settings_files.h"

#include <gtest/gtest.h>

using namespace vt;
using namespace vt::test;

namespace {

/// The stored form of `/key` or `/overlay/key` after a load of `value` there.
json readBack(const char* at, const json& value) {
    json tree = json::object();
    tree[json::json_pointer(at)] = value;
    return saved(loaded(tree))[json::json_pointer(at)];
}

} // namespace

TEST(SettingsValues, AreBroughtIntoTheirRangesOrReplaced) {
    const struct {
        const char* at;
        json stored, read;
    } cases[] = {
        {"/overlayThemeV2", 4, 1},
        {"/overlayThemeV2", -1, 1},
        {"/accentTheme", 9, 0},
        {"/shareMode", 3, 0},
        {"/shareDatePrecision", 3, 0},
        {"/ibtAutoImport", 2, -1},
        {"/perfLastSim", 14, 0},
        {"/perfTextScale", 105, 100},
        {"/perfTextScale", 110, 110},
        {"/uiLanguage", 7, -1},
        {"/browserSourcePort", 0, 8998},
        {"/browserSourcePort", 65535, 65535},
        {"/browserSourcePort", 65536, 8998},
        {"/vrOpenXrLayer", 3, 0},
        {"/defaultBgOpacity", 1.5, 1.0},
        {"/shareDisplayName", "123456789012345678901234567890", "123456789012345678901234"},
        {"/shareDisplayName", "1234567890123456789012é語", "1234567890123456789012é"},
        {"/shareDisplayName", "12345678901234567890123語", "12345678901234567890123"},
        {"/browserSourceKey", "0123456789ABCDEF0123456789ABCDEF", ""},
        {"/browserSourceKey", "0123456789abcdef0123456789abcde", ""},
        {"/browserSourceKey", "0123456789abcdef0123456789abcdef",
         "0123456789abcdef0123456789abcdef"},
        {"/vrOpenXrLayerCrashApp", std::string(70, 'x'), std::string(63, 'x')},
        {"/fuel/refreshHz", 7, 6},
        {"/fuel/refreshHz", 8, 10},
        {"/fuel/refreshHz", -5, 2},
        {"/shiftlight/refreshHz", 1e9, 60},
        {"/fuel/widthMul", 9, 4.0},
        {"/fuel/textScale", 0.1, 0.5},
        {"/fuel/bgOpacity", -0.5, 0.0},
        {"/fuel/vrX", -9, -3.0},
        {"/fuel/vrZ", 0, -0.2},
        {"/fuel/vrYaw", 500, 180.0},
        {"/fuel/vrScale", 0, 0.05},
        {"/spotter/vrAnchor", 2, 0},
        {"/fuel/vrOpacity", 3, 1.0},
        {"/fuel/fuelWindowLaps", 1, 3},
        {"/fuel/fuelStyle", 6, 5},
        {"/fuel/x", 1e12, 2147483647},
        {"/fuel/y", 12.9, 12},
        {"/trackmap/tmFollowInfoPos", 4, 1},
        {"/trackmap/tmStyle", 9, 1},
        {"/battlebar/bbStyle", 3, 5},
        {"/battlebar/bbStyle", 11, 9},
        {"/dash/dashStyle", 2, 6},
        {"/dash/dashStyle", 4, 5},
    };
    for (const auto& c : cases)
        EXPECT_EQ(readBack(c.at, c.stored), c.read) << c.at << " = " << c.stored;
}

TEST(SettingsValues, AnUnknownDashStyleTakesItsWholeBlockBack) {
    for (int style : {-1, 12}) {
        const AppConfig config =
            loaded({{"dash", {{"dashStyle", style}, {"x", 5}, {"rdData", false}}}});
        EXPECT_EQ(config.dash.dashStyle, 9);
        EXPECT_EQ(config.dash.x, (1920 - 624) / 2);
        EXPECT_TRUE(config.dash.rdData);
    }
}

TEST(SettingsValues, ALaterStyleReadsTheLookOfItsTimeWhereItsOverlayIsStoredWithoutIt) {
    EXPECT_EQ(loaded({{"session", json::object()}}).session.sessionStyle, 0);
    EXPECT_EQ(loaded(json::object()).session.sessionStyle, 1) << "never stored: the new look";
    EXPECT_EQ(loaded({{"session", 7}}).session.sessionStyle, 1) << "no object: never stored";
    EXPECT_EQ(loaded({{"session", {{"sessionStyle", 1}}}}).session.sessionStyle, 1);
    EXPECT_EQ(loaded({{"performance", json::object()}}).performance.perfStyle, 1)
        << "had its style from the start";
}

TEST(SettingsValues, TheOldScaleStandsInForThreeNewOnes) {
    const AppConfig config =
        loaded({{"fuel", {{"scale", 2}, {"heightMul", 0.5}}}, {"chat", {{"scale", 3.5}}}});
    EXPECT_EQ(config.fuel.widthMul, 2);
    EXPECT_EQ(config.fuel.heightMul, 0.5f);
    EXPECT_EQ(config.fuel.textScale, 2);
    EXPECT_EQ(config.chat.textScale, 3) << "within the text's own limits";
    EXPECT_EQ(config.relative.widthMul, 0.956f);
}

TEST(SettingsValues, ThemesPerSlot) {
    json few = json::array(), many = json::array();
    for (int i = 0; i < 50; ++i) {
        if (i < 10) few.push_back(2);
        many.push_back(i % 4);
    }
    AppConfig config = loaded({{"overlayThemeOverride", few}});
    EXPECT_EQ(config.overlayThemeOverride[9], 2);
    EXPECT_EQ(config.overlayThemeOverride[10], -1);
    config = loaded({{"overlayThemeOverride", many}});
    EXPECT_EQ(config.overlayThemeOverride[42], 42 % 4);
    config = loaded({{"overlayThemeOverride", {"1", 4, -2, nullptr, 3}}});
    EXPECT_EQ(config.overlayThemeOverride[2], -1);
    EXPECT_EQ(config.overlayThemeOverride[4], 3);
    EXPECT_EQ(loaded({{"overlayThemeOverride", "x"}}).overlayThemeOverride, filledSlots(-1));
}

TEST(SettingsValues, RulesBetweenKeys) {
    EXPECT_EQ(loaded({{"arrangeHotkeyCtrl", true}}).arrangeHotkeyMod, 2);
    EXPECT_EQ(loaded({{"arrangeHotkeyCtrl", false}}).arrangeHotkeyMod, 1);
    EXPECT_EQ(loaded({{"arrangeHotkeyCtrl", true}, {"arrangeHotkeyMod", 4}}).arrangeHotkeyMod, 4);

    EXPECT_FALSE(loaded({{"shareOptInSeen", true}}).shareOptInSeen) << "asked once more";
    EXPECT_TRUE(loaded({{"shareOptInSeen", true}, {"shareMode", 1}}).shareOptInSeen);
    EXPECT_TRUE(
        loaded({{"shareOptInSeen", true}, {"shareOptInRecheckDone", nullptr}}).shareOptInSeen)
        << "presence counts, not the value";

    const AppConfig config =
        loaded({{"steerRotations",
                 {{{"sim", 0}, {"car", "a"}, {"deg", 180}},
                  {{"sim", 0}, {"car", "b"}, {"deg", 1441}},
                  {{"sim", -1}, {"car", "c"}, {"deg", 900}},
                  {{"car", "d"}, {"deg", 900}},
                  "x",
                  {{"sim", 3}, {"car", "e"}, {"deg", 1440}}}},
                {"lastProfile", {{"iracing", std::string(80, 'p')}, {"lmu", 5}, {"nosim", "x"}}},
                {"shareSuppressedCombos", {"a", 1, nullptr, "b"}}});
    ASSERT_EQ(config.steerRotations.size(), 2u);
    EXPECT_EQ(config.steerRotations[1].car, "e");
    EXPECT_EQ(config.lastProfile[0], std::string(63, 'p'));
    EXPECT_EQ(config.lastProfile[1], "");
    EXPECT_EQ(config.shareSuppressedCombos, (std::vector<std::string>{"a", "b"}));
}

TEST(SettingsValues, ColumnsStandOnceEachInTheStoredOrder) {
    const AppConfig config =
        loaded({{"relative",
                 {{"columns",
                   {{{"fieldId", 19}, {"enabled", true}, {"opts", {{"tyreAgeMode", 1}}}},
                    {{"fieldId", 99}},
                    {{"fieldId", -1}},
                    {{"enabled", true}},
                    "x",
                    {{"fieldId", 6}, {"race", false}, {"opts", {{"relDecimals", 9}}}},
                    {{"fieldId", 19}, {"enabled", false}},
                    {{"fieldId", 8}, {"opts", 3}}}}}}});
    const ColumnList& list = config.relative.columns;
    ASSERT_EQ(list.count, kColumnCount);
    const int order[] = {19, 6, 8, 1, 0, 2, 3, 7, 5, 16, 4, 17, 9, 10, 11, 12, 13, 14, 15, 18};
    for (size_t i = 0; i < std::size(order); ++i)
        EXPECT_EQ(list.specs[i].fieldId, order[i]) << i;
    EXPECT_TRUE(list.specs[0].enabled) << "the first of two counts";
    EXPECT_EQ(list.specs[0].opts.tyreAgeMode, 1);
    EXPECT_FALSE(list.specs[0].opts.relBarAnchor) << "an absent option is that column's default";
    EXPECT_FALSE(list.specs[1].race);
    EXPECT_EQ(list.specs[1].opts.relDecimals, 2);
    EXPECT_FLOAT_EQ(list.specs[1].opts.relBattleSec, 0.755f);
    EXPECT_FALSE(list.specs[2].enabled);

    // An empty array is a list like any other; what is no array says nothing.
    EXPECT_EQ(loaded({{"standings", {{"columns", json::array()}}}}).standings.columns,
              defaultStandingsColumns());
    EXPECT_EQ(loaded({{"standings", {{"columns", 5}}}}).standings.columns,
              defaultStandingsColumns());
}

TEST(SettingsDefaults, DifferWhereTheyAreMeantTo) {
    const AppConfig c = freshConfig();
    EXPECT_EQ(c.cover.x, 320);
    EXPECT_EQ(c.chat.x, 1920 - 380);
    EXPECT_EQ(c.deltatrace.y, 340);
    EXPECT_EQ(c.drift.y, 360);
    EXPECT_EQ(c.widgets[11].x, 690 + 770);
    EXPECT_FLOAT_EQ(c.widgets[11].vrX, 0.77f);
    EXPECT_EQ(c.standings.footerLeft, 12);
    EXPECT_FALSE(c.standings.showFooter);
    EXPECT_TRUE(c.session.showFooter && c.spotter.showHeader);
    EXPECT_EQ(c.spotter.footerLeft, 6);
    EXPECT_EQ(c.relative.headerRight, 16);
    EXPECT_EQ(c.alerts.vrAnchor, 1);
    EXPECT_EQ(c.battlebar.vrAnchor, 0);

    int enabled = 0, headset = 0, wrongRate = 0;
    for (int slot = 0; slot < kSlotCount; ++slot) {
        const OverlayConfig* overlay = overlayConfig(c, slot);
        if (!overlay) continue;
        enabled += overlay->enabled;
        headset += overlay->vrEnabled;
        wrongRate += snapRefreshHz(slot, overlay->refreshHz) != overlay->refreshHz;
        EXPECT_TRUE(overlay->locked);
    }
    EXPECT_EQ(enabled, 8);
    EXPECT_EQ(headset, 5);
    EXPECT_EQ(wrongRate, 0) << "a default must be one of its slot's choices";
}

TEST(SettingsDefaults, AreRestoredForOneOverlayAlone) {
    AppConfig config = freshConfig();
    config.fuel.x = 7;
    config.fuel.fuelStyle = 2;
    config.widgets[3].wgtType = 5;
    config.widgets[4].wgtType = 6;
    resetToDefaults(config, kSlotFuel, 1920, 1080);
    resetToDefaults(config, kSlotWidget0 + 3, 1920, 1080);
    EXPECT_EQ(config.fuel.x, 200);
    EXPECT_EQ(config.fuel.fuelStyle, 5);
    EXPECT_EQ(config.widgets[3].wgtType, 1);
    EXPECT_EQ(config.widgets[4].wgtType, 6);
    resetToDefaults(config, kSlotCustom0, 1920, 1080);
    resetToDefaults(config, -1, 1920, 1080);
}

TEST(Slots, AreFoundByKeyAndHoldTogether) {
    for (int slot = 0; slot < kSlotCount; ++slot) {
        EXPECT_EQ(slotFromKey(overlayKey(slot)), slot);
        EXPECT_EQ(std::string(overlaySlot(slot)->windowTitle).substr(0, 3), "VT ");
    }
    EXPECT_STREQ(overlayKey(kSlotPanel), "unknown");
    EXPECT_STREQ(overlayKey(-1), "unknown");
    EXPECT_STREQ(overlayKey(kSlotWidget0 + 11), "widget11");
    EXPECT_STREQ(overlaySlot(kSlotPitHelper)->windowTitle, "VT Pit Helper");
    EXPECT_EQ(slotFromKey("unknown"), -1);
    for (int slot : overlayDirectory())
        EXPECT_STRNE(overlaySlot(slot)->listName, "") << slot;
    EXPECT_EQ(snapRefreshHz(kSlotPanel, 33), 33);
    EXPECT_EQ(snapRefreshHz(kSlotSpotter, 45), 60) << "halfway goes to the faster";
    EXPECT_EQ(snapRefreshHz(kSlotSpotter, -2147483647 - 1), 15);
}
