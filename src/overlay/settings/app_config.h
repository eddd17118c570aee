// Everything the user can set, one record for the program. The main thread owns it and alone writes
// it; the pump and the audio threads read single words of it and accept that two of them may not
// fit together for an instant.
#pragma once
#include "overlay/settings/overlay_config.h"
#include "overlay/settings/slots.h"

#include <array>
#include <climits>
#include <string>
#include <vector>

namespace vt {

inline constexpr int kNeverPlaced = INT_MIN;
inline constexpr int kSimKeyCount = 14;
inline constexpr int kPanelCount = 6;
inline constexpr int kConfigVersion = 9; // of the files' form, as this program writes them

/// Steering lock of a car, degrees from stop to stop (180..1440).
struct SteerRotation {
    int sim = -1;
    std::string car;
    int deg = 0;
};

/// A panel that the user designed. Nothing here reads it yet: its JSON text is kept as it was
/// found, so that a save loses nothing.
struct PanelDesign {
    std::string json; // one object; empty = the panel was never stored
};

constexpr std::array<int, kSlotCount> filledSlots(int value) {
    std::array<int, kSlotCount> all{};
    all.fill(value);
    return all;
}

struct AppConfig {
    int accentTheme = 0;    // accent colour 0 to 5
    int overlayThemeV2 = 1; // overlay colour theme 0 to 3; above 3 reads 1
    // per slot; -1 follows overlayThemeV2, else 0 to 3
    std::array<int, kSlotCount> overlayThemeOverride = filledSlots(-1);
    int imperial = 0;          // 1 shows imperial units
    int telemetryConsent = -1; // consent state for usage reporting
    int telemetryConsentVersion = 0;
    int shareMode = 0;                    // lap sharing mode 0 to 2; above 2 reads 0
    std::string shareDisplayName = "";    // alias; cut to 24 bytes
    std::string shareAliasConfirmed = ""; // last alias decided by the server
    std::string shareAliasRefused = "";
    int shareDatePrecision = 0; // 0 to 2; above 2 reads 0
    bool shareWeather = true;
    std::vector<std::string> shareSuppressedCombos;
    // when shareOptInRecheckDone is absent, shareOptInSeen is true and shareMode is 0, it reads
    // false
    bool shareOptInSeen = false;
    bool perfIntroSeen = false;
    bool perfTipsHidden = false;
    int pressureUnit = 0; // tyre pressure unit
    int perfHistoryLimit = 100;
    bool perfLoggingEnabled = true;
    bool iracingAutoTelemetry = false;
    bool ibtCardNeverAsk = false; // ibtAutoImport outside -1..1 reads -1
    std::string ibtCardOfferedKey = "";
    int ibtCardNotNowCount = 0;
    int ibtAutoImport = -1;
    bool dashLayoutOpened = false; // first-use marks
    bool builderOpened = false;
    int perfLastSim = 0;              // above 13 reads 0
    int perfTextScale = 120;          // must be 100, 110 or 120; anything else reads 100
    int panelTextSize = 2;            // control panel text size
    int uiLanguage = -1;              // -1 follows the system, else 0 to 6; outside reads -1
    std::string voiceLanguage = "";   // voice language folder
    int overlayBgColor = 0x212129;    // overlay background as 0xRRGGBB
    float defaultBgOpacity = 0.5738f; // general opacities
    float defaultTextOpacity = 0.7972f;
    // arrange mode shortcut; arrangeHotkeyCtrl (bool) of older files becomes arrangeHotkeyMod 2
    // when arrangeHotkeyMod is absent
    int arrangeHotkeyVk = 117;
    int arrangeHotkeyMod = 1;
    int arrangeHotkeyBtn = 0;
    int demoHotkeyVk = 118; // demo feed shortcut
    int demoHotkeyMod = 1;
    int demoHotkeyBtn = 0;
    bool startupMinimized = false; // main window
    bool minimizeToTray = false;
    bool showInTaskbar = true;
    bool alwaysOnTop = false;
    bool dr2ListenLan = false;
    bool alertPulse = false; // red alerts pulse
    bool pitStrategyEnabled = true;
    bool pitWriteEnabled = false;
    std::vector<SteerRotation> steerRotations; // steering lock per car
    std::vector<std::string> steerRotAsked;
    int stratNextHotkeyVk = 119;
    int stratNextHotkeyMod = 1;
    int stratNextHotkeyBtn = 0;
    int stratCommitHotkeyVk = 120;
    int stratCommitHotkeyMod = 1;
    int stratCommitHotkeyBtn = 0;
    bool vrEnabled = false;
    bool vrDisclosureSeen = false;
    int vrRecenterHotkeyVk = 122;
    int vrRecenterHotkeyMod = 1;
    int vrRecenterHotkeyBtn = 0;
    int vrOpenXrLayer = 0; // above 2 reads 0
    bool vrOpenXrLayerDisclosed = false;
    std::string vrOpenXrLayerCrashApp = ""; // cut to 63 bytes
    int panelX = kNeverPlaced;              // control panel window; the default means never placed
    int panelY = kNeverPlaced;
    int panelW = kNeverPlaced;
    int panelH = kNeverPlaced;
    bool streamMirrorsOpen = false;
    bool browserSourceEnabled = false;
    int browserSourcePort = 8998; // outside 1..65535 reads 8998
    bool browserSourceLan = true;
    // kept only when exactly 32 characters of 0-9 and a-f, else emptied
    std::string browserSourceKey = "";
    int lastActiveSim = -1;
    std::array<std::string, kSimKeyCount> lastProfile; // profile name per sim; empty = none

    BattleBarConfig battlebar;
    SessionConfig session;
    FuelConfig fuel;
    SpotterConfig spotter;
    ShiftLightConfig shiftlight;
    PitHelperConfig pithelper;
    TrackMapConfig trackmap;
    DeltaTraceConfig deltatrace;
    RaceInfoConfig raceinfo;
    ChatConfig chat;
    FeaturedConfig featured;
    CoverConfig cover;
    PerformanceConfig performance;
    RecapConfig recap;
    LmuEnergyConfig lmuEnergy;
    LmuStintConfig lmuStint;
    CoachConfig coach;
    AlertsConfig alerts;
    TrackStripConfig trackstrip;
    TrainingConfig training;
    DriftConfig drift;
    HapticsConfig haptics;
    DashConfig dash;
    RelativeConfig relative;
    StandingsConfig standings;
    std::array<WidgetConfig, 12> widgets;
    std::array<PanelDesign, kPanelCount> panels;
    int panelsVersion = kConfigVersion; // the form that the panels' JSON is in

    /// A change is waiting to be written. Set it after any change; `saveIfDirty` writes.
    bool settingsDirty = false;
};

/// The complete configuration of a fresh installation on a primary screen of that size in pixels.
AppConfig defaultAppConfig(int screenWidth, int screenHeight);

/// The overlay's block by slot; null for the six custom panels and for numbers that are no slot.
OverlayConfig* overlayConfig(AppConfig& config, int slot);
const OverlayConfig* overlayConfig(const AppConfig& config, int slot);

} // namespace vt
