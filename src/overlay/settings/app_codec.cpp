#include "overlay/settings/app_codec.h"

#include "base/json_read.h"
#include "base/utf8.h"
#include "overlay/settings/setting_key.h"
#include "telemetry/sim_registry.h"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace vt {

namespace {

using json = nlohmann::json;

static_assert(kSimKeyCount == kSimCount);

constexpr int kModControl = 2;
constexpr size_t kNameBytes = 63;

constexpr SettingKey<AppConfig> kAppKeys[] = {
    {"accentTheme", &AppConfig::accentTheme, within(0, 5, 0)},
    {"overlayThemeV2", &AppConfig::overlayThemeV2, within(0, 3, 1)},
    {"imperial", &AppConfig::imperial, within(0, 1, 0)},
    {"telemetryConsent", &AppConfig::telemetryConsent},
    {"telemetryConsentVersion", &AppConfig::telemetryConsentVersion},
    {"shareMode", &AppConfig::shareMode, within(0, 2, 0)},
    {"shareDisplayName", &AppConfig::shareDisplayName, atMostBytes(24)},
    {"shareAliasConfirmed", &AppConfig::shareAliasConfirmed},
    {"shareAliasRefused", &AppConfig::shareAliasRefused},
    {"shareDatePrecision", &AppConfig::shareDatePrecision, within(0, 2, 0)},
    {"shareWeather", &AppConfig::shareWeather},
    {"shareOptInSeen", &AppConfig::shareOptInSeen},
    {"perfIntroSeen", &AppConfig::perfIntroSeen},
    {"perfTipsHidden", &AppConfig::perfTipsHidden},
    {"pressureUnit", &AppConfig::pressureUnit, within(0, 2, 0)},
    {"perfHistoryLimit", &AppConfig::perfHistoryLimit},
    {"perfLoggingEnabled", &AppConfig::perfLoggingEnabled},
    {"iracingAutoTelemetry", &AppConfig::iracingAutoTelemetry},
    {"ibtCardNeverAsk", &AppConfig::ibtCardNeverAsk},
    {"ibtCardOfferedKey", &AppConfig::ibtCardOfferedKey},
    {"ibtCardNotNowCount", &AppConfig::ibtCardNotNowCount},
    {"ibtAutoImport", &AppConfig::ibtAutoImport, within(-1, 1, -1)},
    {"dashLayoutOpened", &AppConfig::dashLayoutOpened},
    {"builderOpened", &AppConfig::builderOpened},
    {"perfLastSim", &AppConfig::perfLastSim, within(0, kSimCount - 1, 0)},
    {"perfTextScale", &AppConfig::perfTextScale},
    {"panelTextSize", &AppConfig::panelTextSize},
    {"uiLanguage", &AppConfig::uiLanguage, within(-1, 6, -1)},
    {"voiceLanguage", &AppConfig::voiceLanguage},
    {"overlayBgColor", &AppConfig::overlayBgColor, within(0, 0xFFFFFF, 0x212129)},
    {"defaultBgOpacity", &AppConfig::defaultBgOpacity, within(0, 1)},
    {"defaultTextOpacity", &AppConfig::defaultTextOpacity, within(0, 1)},
    {"arrangeHotkeyVk", &AppConfig::arrangeHotkeyVk},
    {"arrangeHotkeyMod", &AppConfig::arrangeHotkeyMod},
    {"arrangeHotkeyBtn", &AppConfig::arrangeHotkeyBtn},
    {"demoHotkeyVk", &AppConfig::demoHotkeyVk},
    {"demoHotkeyMod", &AppConfig::demoHotkeyMod},
    {"demoHotkeyBtn", &AppConfig::demoHotkeyBtn},
    {"startupMinimized", &AppConfig::startupMinimized},
    {"minimizeToTray", &AppConfig::minimizeToTray},
    {"showInTaskbar", &AppConfig::showInTaskbar},
    {"alwaysOnTop", &AppConfig::alwaysOnTop},
    {"dr2ListenLan", &AppConfig::dr2ListenLan},
    {"alertPulse", &AppConfig::alertPulse},
    {"pitStrategyEnabled", &AppConfig::pitStrategyEnabled},
    {"pitWriteEnabled", &AppConfig::pitWriteEnabled},
    {"stratNextHotkeyVk", &AppConfig::stratNextHotkeyVk},
    {"stratNextHotkeyMod", &AppConfig::stratNextHotkeyMod},
    {"stratNextHotkeyBtn", &AppConfig::stratNextHotkeyBtn},
    {"stratCommitHotkeyVk", &AppConfig::stratCommitHotkeyVk},
    {"stratCommitHotkeyMod", &AppConfig::stratCommitHotkeyMod},
    {"stratCommitHotkeyBtn", &AppConfig::stratCommitHotkeyBtn},
    {"vrEnabled", &AppConfig::vrEnabled},
    {"vrDisclosureSeen", &AppConfig::vrDisclosureSeen},
    {"vrRecenterHotkeyVk", &AppConfig::vrRecenterHotkeyVk},
    {"vrRecenterHotkeyMod", &AppConfig::vrRecenterHotkeyMod},
    {"vrRecenterHotkeyBtn", &AppConfig::vrRecenterHotkeyBtn},
    {"vrOpenXrLayer", &AppConfig::vrOpenXrLayer, within(0, 2, 0)},
    {"vrOpenXrLayerDisclosed", &AppConfig::vrOpenXrLayerDisclosed},
    {"vrOpenXrLayerCrashApp", &AppConfig::vrOpenXrLayerCrashApp, atMostBytes(kNameBytes)},
    {"panelX", &AppConfig::panelX},
    {"panelY", &AppConfig::panelY},
    {"panelW", &AppConfig::panelW},
    {"panelH", &AppConfig::panelH},
    {"streamMirrorsOpen", &AppConfig::streamMirrorsOpen},
    {"browserSourceEnabled", &AppConfig::browserSourceEnabled},
    {"browserSourcePort", &AppConfig::browserSourcePort, within(1, 65535, 8998)},
    {"browserSourceLan", &AppConfig::browserSourceLan},
    {"browserSourceKey", &AppConfig::browserSourceKey},
    {"lastActiveSim", &AppConfig::lastActiveSim},
};

void readThemes(AppConfig& config, const json& root) {
    const auto themes = root.find("overlayThemeOverride");
    if (themes == root.end() || !themes->is_array()) return;
    for (size_t slot = 0; slot < config.overlayThemeOverride.size(); ++slot) {
        const int theme = slot < themes->size() ? toInt((*themes)[slot], -1) : -1;
        config.overlayThemeOverride[slot] = theme >= -1 && theme <= 3 ? theme : -1;
    }
}

void readTexts(std::vector<std::string>& texts, const json& root, const char* key) {
    const auto array = root.find(key);
    if (array == root.end() || !array->is_array()) return;
    texts.clear();
    for (const json& entry : *array)
        if (entry.is_string()) texts.push_back(entry.get<std::string>());
}

void readRotations(AppConfig& config, const json& root) {
    const auto array = root.find("steerRotations");
    if (array == root.end() || !array->is_array()) return;
    config.steerRotations.clear();
    for (const json& entry : *array) {
        SteerRotation rotation{readInt(entry, "sim", -1), readString(entry, "car", ""),
                               readInt(entry, "deg", 0)};
        if (rotation.sim >= 0 && rotation.deg >= 180 && rotation.deg <= 1440)
            config.steerRotations.push_back(std::move(rotation));
    }
}

void readProfiles(AppConfig& config, const json& root) {
    const auto object = root.find("lastProfile");
    if (object == root.end() || !object->is_object()) return;
    for (int sim = 0; sim < kSimCount; ++sim) {
        std::string& name = config.lastProfile[static_cast<size_t>(sim)];
        readSetting(*object, simKey(sim), atMostBytes(kNameBytes), name);
    }
}

bool isBrowserKey(const std::string& key) {
    return key.size() == 32 && key.find_first_not_of("0123456789abcdef") == key.npos;
}

} // namespace

void readAppKeys(AppConfig& config, const json& root) {
    readSettings(kAppKeys, root, config);
    readThemes(config, root);
    readTexts(config.shareSuppressedCombos, root, "shareSuppressedCombos");
    readTexts(config.steerRotAsked, root, "steerRotAsked");
    readRotations(config, root);
    readProfiles(config, root);

    const int textScale = config.perfTextScale;
    if (textScale != 100 && textScale != 110 && textScale != 120) config.perfTextScale = 100;
    if (!isBrowserKey(config.browserSourceKey)) config.browserSourceKey.clear();
    if (!root.contains("arrangeHotkeyMod") && readBool(root, "arrangeHotkeyCtrl", false))
        config.arrangeHotkeyMod = kModControl;
    // Who once looked at the offer and did not share is asked again, one time: files from before
    // that are those without this key.
    if (!root.contains("shareOptInRecheckDone") && config.shareMode == 0)
        config.shareOptInSeen = false;
}

void writeAppKeys(const AppConfig& config, json& root) {
    writeSettings(kAppKeys, config, root);
    root["shareOptInRecheckDone"] = true;
    root["overlayThemeOverride"] = config.overlayThemeOverride;
    root["shareSuppressedCombos"] = config.shareSuppressedCombos;
    root["steerRotAsked"] = config.steerRotAsked;

    json rotations = json::array();
    for (const SteerRotation& rotation : config.steerRotations)
        rotations.push_back({{"sim", rotation.sim}, {"car", rotation.car}, {"deg", rotation.deg}});
    root["steerRotations"] = std::move(rotations);

    json profiles = json::object();
    for (int sim = 0; sim < kSimCount; ++sim) {
        const std::string& name = config.lastProfile[static_cast<size_t>(sim)];
        if (!name.empty()) profiles[simKey(sim)] = name;
    }
    root["lastProfile"] = std::move(profiles);
}

} // namespace vt
