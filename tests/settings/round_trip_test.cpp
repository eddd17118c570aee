// Every stored key, found by walking a saved file rather than by a second list of them.
#include "base/utf8.h"
#include "settings_files.h"

#include <functional>
#include <map>
#include <random>

using namespace vt;
using namespace vt::test;

namespace {

/// Other values than `value` of its type, near it: one of them lies within any key's range.
std::vector<json> neighbours(const json& value) {
    if (value.is_boolean()) return {!value.get<bool>()};
    if (value.is_string()) return {"other", "0123456789abcdef0123456789abcdef"};
    if (value.is_number_integer()) {
        const int n = value.get<int>();
        std::vector<json> out;
        for (int step : {1, -1, 2, 5, -5, 10, -10, 15, -15, 30, -30})
            if (const long long m = static_cast<long long>(n) + step; m >= -2147483648ll)
                out.push_back(m);
        return out;
    }
    const double x = value.get<double>();
    return {x + 0.125, x - 0.125, x + 1, x - 1};
}

void forEachScalar(const json& object, const std::string& path,
                   const std::function<void(const json::json_pointer&, const json&)>& visit) {
    for (const auto& [key, value] : object.items()) {
        const std::string at = path + "/" + key;
        if (value.is_structured())
            forEachScalar(value, at, visit);
        else
            visit(json::json_pointer(at), value);
    }
}

/// All scalars of a saved file but what is the same in every file, and the columns' ids, whose
/// rules have a test of their own.
std::vector<json::json_pointer> storedKeys(const json& tree) {
    std::vector<json::json_pointer> keys;
    forEachScalar(tree, "", [&](const json::json_pointer& at, const json&) {
        const std::string name = at.to_string();
        if (name != "/configVersion" && name != "/shareOptInRecheckDone" && at.back() != "fieldId")
            keys.push_back(at);
    });
    return keys;
}

} // namespace

TEST(SettingsRoundTrip, EveryKeyIsReadBackAsItWasWritten) {
    const json defaults = saved(freshConfig());
    const std::vector<json::json_pointer> keys = storedKeys(defaults);
    ASSERT_GT(keys.size(), 2000u);
    std::vector<bool> kept(keys.size());
    // Each turn gives another value to one half of the keys, drawn anew for every pair of turns;
    // the other half must not move with it.
    std::mt19937 random(7);
    std::vector<bool> half(keys.size());
    for (size_t turn = 0; turn < 22; ++turn) {
        json tree = defaults;
        std::vector<bool> changed(keys.size());
        for (size_t i = 0; i < keys.size(); ++i) {
            const std::vector<json> values = neighbours(defaults[keys[i]]);
            if (turn % 2 == 0) half[i] = random() % 2 == 0;
            changed[i] = half[i] == (turn % 2 == 0);
            if (changed[i]) tree[keys[i]] = values[turn / 2 % values.size()];
        }
        const json again = saved(loaded(tree));
        for (size_t i = 0; i < keys.size(); ++i) {
            ASSERT_TRUE(again.contains(keys[i])) << keys[i];
            if (!changed[i])
                EXPECT_EQ(again[keys[i]], defaults[keys[i]]) << keys[i];
            else if (again[keys[i]] == tree[keys[i]])
                kept[i] = true;
        }
    }
    for (size_t i = 0; i < keys.size(); ++i)
        EXPECT_TRUE(kept[i]) << keys[i] << " = " << defaults[keys[i]];
}

TEST(SettingsRoundTrip, EveryOverlayStoresItsWholeBlock) {
    const json tree = saved(freshConfig());
    const std::map<std::string, size_t> own = {
        {"session", 13},   {"relative", 5},   {"fuel", 22},       {"spotter", 15}, {"haptics", 2},
        {"standings", 8},  {"battlebar", 17}, {"shiftlight", 4},  {"dash", 15},    {"pithelper", 6},
        {"trackmap", 21},  {"deltatrace", 5}, {"performance", 1}, {"raceinfo", 5}, {"chat", 3},
        {"featured", 1},   {"recap", 2},      {"lmuEnergy", 1},   {"lmuStint", 1}, {"alerts", 5},
        {"trackstrip", 5}, {"drift", 1},      {"coach", 0},       {"training", 0}, {"widget0", 6},
        {"widget11", 6},   {"cover", 1},
    };
    constexpr size_t common = 29, headset = 11;
    for (const auto& [key, count] : own)
        EXPECT_EQ(tree[key].size(), common + (key == "cover" ? 0 : headset) + count) << key;
    for (const auto& [key, value] : tree["cover"].items())
        EXPECT_FALSE(key.starts_with("vr")) << "the cover has no place in a headset";

    int objects = 0;
    for (int slot = 0; slot < kSlotCount; ++slot) {
        const bool custom = slot >= kSlotCustom0 && slot < kSlotCustom0 + kPanelCount;
        EXPECT_EQ(tree.contains(overlayKey(slot)), !custom) << overlayKey(slot);
        objects += tree.contains(overlayKey(slot));
    }
    EXPECT_EQ(objects, 37);
}

TEST(SettingsRoundTrip, AWrongTypeIsItsDefaultAndDisturbsNothingElse) {
    const AppConfig config = freshConfig();
    const json defaults = saved(config);
    // Where a style came later, an object that lacks it keeps the look of its time.
    const std::map<std::string, int> laterStyles = {
        {"sessionStyle", 0}, {"tmStyle", 0},      {"dtStyle", 0},     {"riStyle", 0},
        {"chatStyle", 0},    {"recapStyle", 0},   {"energyStyle", 0}, {"stintStyle", 0},
        {"coverStyle", 0},   {"featuredStyle", 0}};
    const std::vector<json::json_pointer> keys = storedKeys(defaults);
    const json wrongs[] = {nullptr, json::array({1}), json::object(), "1", true, 1};
    for (const json& wrong : wrongs) {
        for (size_t half = 0; half < 2; ++half) {
            json tree = defaults, expected = defaults;
            for (size_t i = half; i < keys.size(); i += 2) {
                const json& value = defaults[keys[i]];
                if (value.type() == wrong.type() || (value.is_number() && wrong.is_number()))
                    continue;
                tree[keys[i]] = wrong;
                if (const auto later = laterStyles.find(keys[i].back()); later != laterStyles.end())
                    expected[keys[i]] = later->second;
            }
            EXPECT_EQ(json::diff(saved(loaded(tree)), expected), json::array()) << wrong;
        }
    }
}

TEST(SettingsRoundTrip, FloatsStandInTheFileAsAPersonWouldWriteThem) {
    SettingsFolder folder;
    ASSERT_TRUE(saveSettings(freshConfig(), folder.path));
    EXPECT_NE(folder.text("overlays.json").find("\"defaultBgOpacity\": 0.5738,"),
              std::string::npos);
}

TEST(SettingsRoundTrip, ListsAndTextsOfAllKindsSurvive) {
    AppConfig config = freshConfig();
    config.shareSuppressedCombos = {"a|b", "ü語"};
    config.steerRotAsked = {"car"};
    config.steerRotations = {{0, "mx5", 900}, {13, "", 180}};
    config.lastProfile[0] = "Nürburg";
    config.lastProfile[13] = "x";
    config.overlayThemeOverride[42] = 3;
    config.spotter.spotterVoiceDeviceId = "bad \xFF byte";
    config.voiceLanguage = std::string("a\0b", 3);
    const AppConfig again = loaded(saved(config));
    EXPECT_EQ(again.shareSuppressedCombos, config.shareSuppressedCombos);
    EXPECT_EQ(again.steerRotAsked, config.steerRotAsked);
    ASSERT_EQ(again.steerRotations.size(), 2u);
    EXPECT_EQ(again.steerRotations[0].car, "mx5");
    EXPECT_EQ(again.steerRotations[1].sim, 13);
    EXPECT_EQ(again.lastProfile, config.lastProfile);
    EXPECT_EQ(again.overlayThemeOverride, config.overlayThemeOverride);
    EXPECT_EQ(again.voiceLanguage, config.voiceLanguage);
    EXPECT_TRUE(utf8Valid(again.spotter.spotterVoiceDeviceId)) << "written with a stand-in";
    EXPECT_EQ(saved(config)["lastProfile"].size(), 2u) << "only sims that have one";
}
