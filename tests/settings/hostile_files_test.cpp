// Files that nobody wrote by hand: random changes of type and value, cuts and flipped bytes.
#include "base/utf8.h"
#include "settings_files.h"

#include <cmath>
#include <random>

using namespace vt;
using namespace vt::test;

namespace {

json oddValue(std::mt19937& random) {
    switch (random() % 12) {
    case 0:
        return nullptr;
    case 1:
        return random() % 2 == 0;
    case 2:
        return static_cast<int>(random());
    case 3:
        return std::numeric_limits<uint64_t>::max();
    case 4:
        return -1e308;
    case 5:
        return 1e-320;
    case 6:
        return std::string(random() % 300, static_cast<char>('a' + random() % 26));
    case 7:
        return "語\u0000é\U0001F3C1";
    case 8:
        return json::array({1, "x", nullptr, json::object()});
    case 9:
        return json::object({{"x", 1}, {"fieldId", 3}});
    case 10:
        return json::array();
    default:
        return json::object();
    }
}

void spoil(json& value, std::mt19937& random, double share) {
    if (!value.is_structured() || value.empty()) return;
    for (json& child : value) {
        if (std::uniform_real_distribution<>(0, 1)(random) < share)
            child = oddValue(random);
        else
            spoil(child, random, share);
    }
}

void expectSane(const AppConfig& config) {
    for (int slot = 0; slot < kSlotCount; ++slot) {
        const OverlayConfig* o = overlayConfig(config, slot);
        if (!o) continue;
        ASSERT_EQ(snapRefreshHz(slot, o->refreshHz), o->refreshHz);
        ASSERT_TRUE(o->widthMul >= 0.25f && o->widthMul <= 4);
        ASSERT_TRUE(o->bgOpacity >= 0 && o->bgOpacity <= 1);
        ASSERT_TRUE(std::isfinite(o->vrX) && o->vrScale >= 0.05f);
    }
    for (const ColumnList* list : {&config.relative.columns, &config.standings.columns}) {
        ASSERT_EQ(list->count, kColumnCount);
        unsigned seen = 0;
        for (const ColumnSpec& spec : list->specs)
            seen |= 1u << spec.fieldId;
        ASSERT_EQ(seen, (1u << kColumnCount) - 1);
    }
    ASSERT_TRUE(utf8Valid(config.shareDisplayName) && config.shareDisplayName.size() <= 24);
}

} // namespace

TEST(SettingsHostile, RandomChangesOfTypeNeverCrashAndAlwaysSaveAgain) {
    json base = saved(freshConfig());
    base["windows"] = {{"relative", base["relative"]}, {"fuel", base["fuel"]}};
    base["relativeContent"] = base["relative"]["columns"];
    base["sessionPanel"] = base["session"];
    std::mt19937 random(20240607);
    SettingsFolder folder;
    for (int round = 0; round < 150; ++round) {
        json tree = base;
        spoil(tree, random, round % 3 == 0 ? 0.9 : 0.05);
        for (const char* key : {"relative", "session", "fuel"})
            if (random() % 3 == 0) tree.erase(key);
        if (random() % 2 == 0) tree["configVersion"] = oddValue(random);
        folder.write("overlays.json", dumpJson(tree));
        json panels = {{"configVersion", oddValue(random)}, {"panels", json::array()}};
        for (size_t i = 0; i < random() % 9; ++i)
            panels["panels"].push_back(oddValue(random));
        folder.write("panels.json", dumpJson(panels));

        AppConfig config = freshConfig();
        ASSERT_TRUE(loadSettings(config, folder.path, {{{0, 0, 1280, 720}}, {{0, 0, 1920, 1080}}}));
        expectSane(config);
        ASSERT_TRUE(saveSettings(config, folder.path));
        AppConfig again = freshConfig();
        ASSERT_TRUE(loadSettings(again, folder.path));
        ASSERT_EQ(json::diff(saved(again), saved(config)), json::array()) << "round " << round;
    }
}

TEST(SettingsHostile, CutsAndFlippedBytesGiveDefaultsOrSaneValues) {
    const std::string good = dumpJson(saved(freshConfig()));
    std::mt19937 random(99);
    SettingsFolder folder;
    for (int round = 0; round < 300; ++round) {
        std::string text = good;
        if (round % 2 == 0) text.resize(random() % text.size());
        for (int i = 0; i < 3 && !text.empty(); ++i)
            text[random() % text.size()] = static_cast<char>(random());
        folder.write("overlays.json", text);
        AppConfig config = freshConfig();
        loadSettings(config, folder.path);
        expectSane(config);
    }
}
