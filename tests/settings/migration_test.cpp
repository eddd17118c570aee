#include "settings_files.h"

using namespace vt;
using namespace vt::test;

namespace {

json oldFile() {
    return {{"configVersion", 4},
            {"windows",
             {{"relative", {{"x", 11}, {"rowsAhead", 4}, {"scale", 1.5}}},
              {"session", {{"x", 21}, {"showWeather", false}, {"incidentWarn", 7}}},
              {"fuel", {{"x", 31}}},
              {"standings", {{"x", 41}}}}},
            {"fuel", {{"x", 99}}},
            {"sessionPanel", {{"incidentWarn", 9}, {"showAirTemp", false}}},
            {"relativeContent", {{{"fieldId", 3}}, {{"fieldId", 12}, {"enabled", true}}}},
            {"standingsContent", {{{"fieldId", 5}}}},
            {"somethingNewer", {{"kept", true}}}};
}

} // namespace

TEST(SettingsMigration, BringsAnOldFileIntoTodaysForm) {
    const AppConfig config = loaded(oldFile());
    EXPECT_EQ(config.relative.x, 11);
    EXPECT_EQ(config.relative.rowsAhead, 4);
    EXPECT_EQ(config.relative.widthMul, 1.5f);
    EXPECT_EQ(config.relative.columns.specs[0].fieldId, 3);
    EXPECT_EQ(config.relative.columns.specs[1].fieldId, 12);
    EXPECT_TRUE(config.relative.columns.specs[1].enabled);
    EXPECT_EQ(config.session.x, 21);
    EXPECT_FALSE(config.session.showWeather);
    EXPECT_EQ(config.session.incidentWarn, 9) << "the panel's own value is the newer one";
    EXPECT_FALSE(config.session.showAirTemp);
    EXPECT_EQ(config.fuel.x, 99) << "what is in its place already stays";
    EXPECT_EQ(config.standings.x, 410) << "was never stored in the old place";
    EXPECT_EQ(config.standings.columns.specs[0].fieldId, 5);
}

TEST(SettingsMigration, IsDoneOnceForAll) {
    SettingsFolder folder;
    folder.write("overlays.json", dumpJson(oldFile()));
    AppConfig first = freshConfig();
    ASSERT_TRUE(loadSettings(first, folder.path));
    ASSERT_TRUE(saveSettings(first, folder.path));
    const json once = folder.tree();
    EXPECT_EQ(once["configVersion"], 9);
    EXPECT_EQ(once["somethingNewer"]["kept"], true);
    AppConfig second = freshConfig();
    ASSERT_TRUE(loadSettings(second, folder.path));
    ASSERT_TRUE(saveSettings(second, folder.path));
    EXPECT_EQ(folder.tree(), once);

    json tree = oldFile();
    migrateForm(tree);
    json twice = tree;
    migrateForm(twice);
    EXPECT_EQ(twice, tree);
}

TEST(SettingsMigration, BearsOldPlacesOfTheWrongKind) {
    for (const json& odd : {json(1), json("x"), json::array({1}), json(nullptr)}) {
        json tree = {{"windows", odd}, {"sessionPanel", odd}, {"relativeContent", odd}};
        migrateForm(tree);
        EXPECT_FALSE(tree.contains("session"));
    }
    EXPECT_EQ(loaded({{"relative", 3}, {"relativeContent", {{{"fieldId", 9}}}}})
                  .relative.columns.specs[0]
                  .fieldId,
              9);
    const json both = {{"relative", {{"columns", {{{"fieldId", 2}}}}}},
                       {"relativeContent", {{{"fieldId", 9}}}}};
    EXPECT_EQ(loaded(both).relative.columns.specs[0].fieldId, 2);
}

TEST(SettingsMigration, MovesPointsInProportionWithinTheirMonitor) {
    // Two screens at 150 %; the second at the left of the first.
    const MonitorMove move = {{{0, 0, 1280, 720}, {-1280, 0, 0, 720}},
                              {{0, 0, 1920, 1080}, {-1920, 0, 0, 1080}}};
    const struct {
        PointI from, to;
    } cases[] = {
        {{0, 0}, {0, 0}},
        {{640, 360}, {960, 540}},
        {{-1, 719}, {-2, 1079}}, // -1.5 rounds away from zero
        {{-1280, 0}, {-1920, 0}},
        {{1281, 720}, {1922, 1080}}, // outside: as on the nearest
        {{-5000, -5000}, {-7500, -7500}},
        {{2147483647, 0}, {2147483647, 0}},
    };
    for (const auto& c : cases) {
        const PointI to = mapPointBetweenMonitors(c.from, move);
        EXPECT_EQ(to.x, c.to.x) << c.from.x;
        EXPECT_EQ(to.y, c.to.y) << c.from.y;
    }
    EXPECT_EQ(mapPointBetweenMonitors({5, 6}, {move.before, move.before}), (PointI{5, 6}));
    EXPECT_EQ(mapPointBetweenMonitors({5, 6}, {move.before, {}}), (PointI{5, 6}));
    EXPECT_EQ(mapPointBetweenMonitors({5, 6}, {{{9, 9, 9, 9}}, {{0, 0, 1, 1}}}), (PointI{5, 6}));
}

TEST(SettingsMigration, MovesPositionsOfOldFilesAlone) {
    const MonitorMove move = {{{0, 0, 1280, 720}}, {{0, 0, 1920, 1080}}};
    json tree = {{"configVersion", 8},
                 {"fuel", {{"x", 100}, {"y", 200}}},
                 {"chat", {{"x", "no"}, {"y", 200}}},
                 {"windows", {{"dash", {{"x", 10}, {"y", 20.0}}}}},
                 {"panelX", 30},
                 {"panelY", 40}};
    const auto load = [&] {
        SettingsFolder folder;
        folder.write("overlays.json", dumpJson(tree));
        AppConfig config = freshConfig();
        EXPECT_TRUE(loadSettings(config, folder.path, move));
        return config;
    };
    AppConfig config = load();
    EXPECT_EQ(config.fuel.x, 150);
    EXPECT_EQ(config.fuel.y, 300);
    EXPECT_EQ(config.dash.x, 15);
    EXPECT_EQ(config.panelX, 45);
    EXPECT_EQ(config.panelY, 60);
    EXPECT_EQ(config.chat.y, 200) << "a point needs both";
    tree["panelX"] = tree["panelY"] = kNeverPlaced;
    EXPECT_EQ(load().panelX, kNeverPlaced);
    tree["configVersion"] = 9;
    EXPECT_EQ(load().fuel.x, 100);
    tree.erase("configVersion");
    EXPECT_EQ(load().fuel.x, 150) << "a file without a version is an old one";
}
