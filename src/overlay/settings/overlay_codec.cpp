// The stored settings of each overlay, one table each, and how one overlay's JSON object is read
// and written by them.
#include "overlay/settings/overlay_codec.h"

#include "base/json_read.h"
#include "overlay/settings/column_codec.h"
#include "overlay/settings/setting_key.h"

#include <nlohmann/json.hpp>

#include <iterator>

namespace vt {

namespace {

using json = nlohmann::json;

constexpr SettingKey<OverlayConfig> kCommonKeys[] = {
    {"enabled", &OverlayConfig::enabled},
    {"x", &OverlayConfig::x},
    {"y", &OverlayConfig::y},
    {"monitor", &OverlayConfig::monitor},
    {"locked", &OverlayConfig::locked},
    {"widthMul", &OverlayConfig::widthMul, within(0.25, 4)},
    {"heightMul", &OverlayConfig::heightMul, within(0.25, 4)},
    {"textScale", &OverlayConfig::textScale, within(0.5, 3)},
    {"refreshHz", &OverlayConfig::refreshHz},
    {"bgOpacity", &OverlayConfig::bgOpacity, within(0, 1)},
    {"contentOpacity", &OverlayConfig::contentOpacity, within(0, 1)},
    {"useGeneralOpacity", &OverlayConfig::useGeneralOpacity},
    {"showHeader", &OverlayConfig::showHeader},
    {"headerLeft", &OverlayConfig::headerLeft},
    {"headerCenter", &OverlayConfig::headerCenter},
    {"headerRight", &OverlayConfig::headerRight},
    {"showFooter", &OverlayConfig::showFooter},
    {"footerLeft", &OverlayConfig::footerLeft},
    {"footerCenter", &OverlayConfig::footerCenter},
    {"footerRight", &OverlayConfig::footerRight},
    {"showInCar", &OverlayConfig::showInCar},
    {"showOutOfCar", &OverlayConfig::showOutOfCar},
    {"showSpotting", &OverlayConfig::showSpotting},
    {"showInGarage", &OverlayConfig::showInGarage},
    {"toggleHotkeyVk", &OverlayConfig::toggleHotkeyVk},
    {"toggleHotkeyMod", &OverlayConfig::toggleHotkeyMod},
    {"toggleHotkeyBtn", &OverlayConfig::toggleHotkeyBtn},
    {"mirrorOnStream", &OverlayConfig::mirrorOnStream},
    {"mirrorWindowOpen", &OverlayConfig::mirrorWindowOpen},
};

/// Not of the Privacy Cover: what hides the screen from viewers has no place in a headset.
constexpr SettingKey<OverlayConfig> kHeadsetKeys[] = {
    {"vrEnabled", &OverlayConfig::vrEnabled},
    {"vrAutoFace", &OverlayConfig::vrAutoFace},
    {"vrX", &OverlayConfig::vrX, within(-3, 3)},
    {"vrY", &OverlayConfig::vrY, within(-3, 3)},
    {"vrZ", &OverlayConfig::vrZ, within(-5, -0.2)},
    {"vrYaw", &OverlayConfig::vrYaw, within(-180, 180)},
    {"vrPitch", &OverlayConfig::vrPitch, within(-180, 180)},
    {"vrRoll", &OverlayConfig::vrRoll, within(-180, 180)},
    {"vrScale", &OverlayConfig::vrScale, within(0.05, 3)},
    {"vrAnchor", &OverlayConfig::vrAnchor, within(0, 1, 0)},
    {"vrOpacity", &OverlayConfig::vrOpacity, within(0, 1)},
};

constexpr SettingKey<SessionConfig> kSessionKeys[] = {
    {"showAirTemp", &SessionConfig::showAirTemp},
    {"showTrackTemp", &SessionConfig::showTrackTemp},
    {"showWeather", &SessionConfig::showWeather},
    {"showIncidents", &SessionConfig::showIncidents},
    {"showTimeLeft", &SessionConfig::showTimeLeft},
    {"incidentWarn", &SessionConfig::incidentWarn, within(0, 20)},
    {"alertTimeAmberMin", &SessionConfig::alertTimeAmberMin, within(0, 60)},
    {"alertTimeRedMin", &SessionConfig::alertTimeRedMin, within(0, 60)},
    {"alertLapsAmber", &SessionConfig::alertLapsAmber, within(0, 20)},
    {"alertLapsRed", &SessionConfig::alertLapsRed, within(0, 20)},
    {"alertIncAmberGap", &SessionConfig::alertIncAmberGap, within(0, 20)},
    {"alertIncRedGap", &SessionConfig::alertIncRedGap, within(0, 20)},
    {"sessionStyle", &SessionConfig::sessionStyle, laterStyle(1, 1)},
};

constexpr SettingKey<RelativeConfig> kRelativeKeys[] = {
    {"rowsAhead", &RelativeConfig::rowsAhead, within(0, 5)},
    {"rowsBehind", &RelativeConfig::rowsBehind, within(0, 5)},
    {"relStyle", &RelativeConfig::relStyle, within(0, 5, 5)},
    {"bestPerClass", &RelativeConfig::bestPerClass},
};

constexpr SettingKey<FuelConfig> kFuelKeys[] = {
    {"fuelStyle", &FuelConfig::fuelStyle, within(0, 5, 5)},
    {"fuelWindowLaps", &FuelConfig::fuelWindowLaps, within(3, 10)},
    {"fuelPitBuffer", &FuelConfig::fuelPitBuffer, within(0, 5)},
    {"fuelDevPct", &FuelConfig::fuelDevPct, within(0, 25)},
    {"fuelAlertAmberLaps", &FuelConfig::fuelAlertAmberLaps, within(0, 20)},
    {"fuelAlertRedLaps", &FuelConfig::fuelAlertRedLaps, within(0, 20)},
    {"fuelShowPerLap", &FuelConfig::fuelShowPerLap},
    {"fuelShowRemain", &FuelConfig::fuelShowRemain},
    {"fuelShowAddPit", &FuelConfig::fuelShowAddPit},
    {"fuelShowBadge", &FuelConfig::fuelShowBadge},
    {"fuelShowSparkline", &FuelConfig::fuelShowSparkline},
    {"fuelShowAxis", &FuelConfig::fuelShowAxis},
    {"fuelLayout", &FuelConfig::fuelLayout, within(0, 3)},
    {"fuelBarMode", &FuelConfig::fuelBarMode, within(0, 2)},
    {"fuelCycleSec", &FuelConfig::fuelCycleSec, within(3, 10)},
    {"fuelWarnLaps", &FuelConfig::fuelWarnLaps, within(1, 10)},
    {"fuelShowNotch", &FuelConfig::fuelShowNotch},
    {"fuelShowStats", &FuelConfig::fuelShowStats},
    {"fuelShowSpark", &FuelConfig::fuelShowSpark},
    {"fuelShowFooter", &FuelConfig::fuelShowFooter},
    {"fuelShowStrategy", &FuelConfig::fuelShowStrategy},
    {"fuelShowSave", &FuelConfig::fuelShowSave},
};

constexpr SettingKey<SpotterConfig> kSpotterKeys[] = {
    {"spotterBarGap", &SpotterConfig::spotterBarGap, within(0, 5000)},
    {"spotterBarWidth", &SpotterConfig::spotterBarWidth, within(0, 100)},
    {"spotterMode", &SpotterConfig::spotterMode, within(0, 2, 2)},
    {"spotterRadarRange", &SpotterConfig::spotterRadarRange, within(10, 40)},
    {"spotterRadarNums", &SpotterConfig::spotterRadarNums},
    {"spotterShowInQualy", &SpotterConfig::spotterShowInQualy},
    {"spotterVoice", &SpotterConfig::spotterVoice},
    {"spotterVoiceVol", &SpotterConfig::spotterVoiceVol, within(0, 1)},
    {"spotterVoicePack", &SpotterConfig::spotterVoicePack},
    {"spotterVoiceDeviceId", &SpotterConfig::spotterVoiceDeviceId},
    {"spotterVoiceMinKph", &SpotterConfig::spotterVoiceMinKph, within(0, 100)},
    {"spotterVoicePitQuiet", &SpotterConfig::spotterVoicePitQuiet},
    {"spotterVoiceStartQuietSec", &SpotterConfig::spotterVoiceStartQuietSec, within(0, 15)},
    {"spotterVoiceCautionQuiet", &SpotterConfig::spotterVoiceCautionQuiet},
    {"spotterVoiceRepeatSec", &SpotterConfig::spotterVoiceRepeatSec, within(0, 8)},
};

constexpr SettingKey<HapticsConfig> kHapticsKeys[] = {
    {"showNoSim", &HapticsConfig::showNoSim},
    {"hapticsStyle", &HapticsConfig::hapticsStyle, within(0, 2, 1)},
};

constexpr SettingKey<StandingsConfig> kStandingsKeys[] = {
    {"standingsRows", &StandingsConfig::standingsRows, within(3, 30)},
    {"standingsRowsOther", &StandingsConfig::standingsRowsOther, within(3, 30)},
    {"standingsScope", &StandingsConfig::standingsScope, within(0, 2)},
    {"standingsSizeMode", &StandingsConfig::standingsSizeMode, within(0, 1)},
    {"standingsCycleSec", &StandingsConfig::standingsCycleSec, within(0, 10)},
    {"stdStyle", &StandingsConfig::stdStyle, within(0, 5, 5)},
    {"bestPerClass", &StandingsConfig::bestPerClass},
};

constexpr SettingKey<BattleBarConfig> kBattleBarKeys[] = {
    {"bbStyle", &BattleBarConfig::bbStyle},
    {"bbShowArrows", &BattleBarConfig::bbShowArrows},
    {"bbShowNames", &BattleBarConfig::bbShowNames},
    {"bbClassMode", &BattleBarConfig::bbClassMode, within(0, 1)},
    {"bbShowTarget", &BattleBarConfig::bbShowTarget},
    {"bbShowTrendGraph", &BattleBarConfig::bbShowTrendGraph},
    {"bbShowPitExit", &BattleBarConfig::bbShowPitExit},
    {"bbShowCatch", &BattleBarConfig::bbShowCatch},
    {"bbHideNoBattle", &BattleBarConfig::bbHideNoBattle},
    {"bbNoBattleSec", &BattleBarConfig::bbNoBattleSec, within(0.5, 10)},
    {"bbBattleSec", &BattleBarConfig::bbBattleSec, within(0.3, 5)},
    {"bbAttackSec", &BattleBarConfig::bbAttackSec, within(0.1, 3)},
    {"bbShowLapTimes", &BattleBarConfig::bbShowLapTimes},
    {"bbLapCycle", &BattleBarConfig::bbLapCycle},
    {"bbLapCycleSec", &BattleBarConfig::bbLapCycleSec, within(1.5, 15)},
    {"bbDanger", &BattleBarConfig::bbDanger},
    {"bbDangerSec", &BattleBarConfig::bbDangerSec, within(0.3, 2)},
};

constexpr SettingKey<ShiftLightConfig> kShiftLightKeys[] = {
    {"slStyle", &ShiftLightConfig::slStyle, within(0, 4, 4)},
    {"slShowGear", &ShiftLightConfig::slShowGear},
    {"slTrimRpm", &ShiftLightConfig::slTrimRpm, within(-500, 500)},
    {"slBelowMode", &ShiftLightConfig::slBelowMode, within(0, 2)},
};

constexpr SettingKey<DashConfig> kDashKeys[] = {
    {"slShowGear", &DashConfig::slShowGear},
    {"slTrimRpm", &DashConfig::slTrimRpm, within(0, 500)},
    {"dialGlowMode", &DashConfig::dialGlowMode, within(0, 1)},
    {"dialGlowLevel", &DashConfig::dialGlowLevel, within(0, 1)},
    {"slBelowMode", &DashConfig::slBelowMode, within(0, 2)},
    {"dashStyle", &DashConfig::dashStyle},
    {"rdBattle", &DashConfig::rdBattle},
    {"rdData", &DashConfig::rdData},
    {"dashBattleSource", &DashConfig::dashBattleSource, within(0, 4)},
    {"rdFanCorner", &DashConfig::rdFanCorner, within(0, 3)},
    {"rdPodTacho", &DashConfig::rdPodTacho, within(0, 3)},
    {"dashApexBattleBar", &DashConfig::dashApexBattleBar},
    {"dashApexInfoStrip", &DashConfig::dashApexInfoStrip},
    {"dashApexTacho", &DashConfig::dashApexTacho},
    {"dashApexShiftStyle", &DashConfig::dashApexShiftStyle},
};

constexpr SettingKey<WidgetConfig> kWidgetKeys[] = {
    {"wgtType", &WidgetConfig::wgtType},     {"wgtLayout", &WidgetConfig::wgtLayout},
    {"wgtVisual", &WidgetConfig::wgtVisual}, {"wgtBar", &WidgetConfig::wgtBar},
    {"wgtStyle", &WidgetConfig::wgtStyle},   {"slStyle", &WidgetConfig::slStyle},
};

constexpr SettingKey<PitHelperConfig> kPitHelperKeys[] = {
    {"pitStyle", &PitHelperConfig::pitStyle, within(0, 1, 1)},
    {"pitWarnMargin", &PitHelperConfig::pitWarnMargin, within(0, 15)},
    {"pitFlashOver", &PitHelperConfig::pitFlashOver},
    {"pitHideOffRoad", &PitHelperConfig::pitHideOffRoad},
    {"pitCountdown", &PitHelperConfig::pitCountdown},
    {"pitCountdownRange", &PitHelperConfig::pitCountdownRange, within(50, 300)},
};

constexpr SettingKey<TrackMapConfig> kTrackMapKeys[] = {
    {"tmStyle", &TrackMapConfig::tmStyle, laterStyle(1, 1)},
    {"tmShowTurns", &TrackMapConfig::tmShowTurns},
    {"tmShowNames", &TrackMapConfig::tmShowNames},
    {"tmShowPitLane", &TrackMapConfig::tmShowPitLane},
    {"tmShowCarNumbers", &TrackMapConfig::tmShowCarNumbers},
    {"tmTrackWidth", &TrackMapConfig::tmTrackWidth, within(0, 24)},
    {"tmCornerNumScale", &TrackMapConfig::tmCornerNumScale, within(0, 3)},
    {"tmCornerNameScale", &TrackMapConfig::tmCornerNameScale, within(0, 3)},
    {"tmCarNumScale", &TrackMapConfig::tmCarNumScale, within(0, 3)},
    {"tmFollow", &TrackMapConfig::tmFollow},
    {"tmFollowZoomM", &TrackMapConfig::tmFollowZoomM, within(80, 800)},
    {"tmFollowPedals", &TrackMapConfig::tmFollowPedals},
    {"tmFollowBrakePt", &TrackMapConfig::tmFollowBrakePt},
    {"tmFollowCornerSign", &TrackMapConfig::tmFollowCornerSign},
    {"tmFollowInfoPos", &TrackMapConfig::tmFollowInfoPos, within(0, 1)},
    {"tmFollowShowDist", &TrackMapConfig::tmFollowShowDist},
    {"tmFollowShowGear", &TrackMapConfig::tmFollowShowGear},
    {"tmFollowShowSpeed", &TrackMapConfig::tmFollowShowSpeed},
    {"tmFollowShowTurn", &TrackMapConfig::tmFollowShowTurn},
    {"tmFollowShowTime", &TrackMapConfig::tmFollowShowTime},
    {"tmFollowInfoTint", &TrackMapConfig::tmFollowInfoTint},
};

constexpr SettingKey<DeltaTraceConfig> kDeltaTraceKeys[] = {
    {"dtMode", &DeltaTraceConfig::dtMode, within(0, 1)},
    {"dtRef", &DeltaTraceConfig::dtRef, within(0, 3)},
    {"dtScale", &DeltaTraceConfig::dtScale, within(0, 10)},
    {"dtStyle", &DeltaTraceConfig::dtStyle, laterStyle(1, 1)},
    {"dtRefInputs", &DeltaTraceConfig::dtRefInputs},
};

constexpr SettingKey<PerformanceConfig> kPerformanceKeys[] = {
    {"perfStyle", &PerformanceConfig::perfStyle, within(0, 1, 1)},
};

constexpr SettingKey<RaceInfoConfig> kRaceInfoKeys[] = {
    {"riStyle", &RaceInfoConfig::riStyle, laterStyle(1, 1)},
    {"alertTimeAmberMin", &RaceInfoConfig::alertTimeAmberMin, within(0, 60)},
    {"alertTimeRedMin", &RaceInfoConfig::alertTimeRedMin, within(0, 60)},
    {"alertLapsAmber", &RaceInfoConfig::alertLapsAmber, within(0, 20)},
    {"alertLapsRed", &RaceInfoConfig::alertLapsRed, within(0, 20)},
};

constexpr SettingKey<ChatConfig> kChatKeys[] = {
    {"chatShowChips", &ChatConfig::chatShowChips},
    {"chatShowSubTags", &ChatConfig::chatShowSubTags},
    {"chatStyle", &ChatConfig::chatStyle, laterStyle(1, 0)},
};

constexpr SettingKey<FeaturedConfig> kFeaturedKeys[] = {
    {"featuredStyle", &FeaturedConfig::featuredStyle, laterStyle(1, 1)},
};

constexpr SettingKey<CoverConfig> kCoverKeys[] = {
    {"coverStyle", &CoverConfig::coverStyle, laterStyle(1, 0)},
};

constexpr SettingKey<RecapConfig> kRecapKeys[] = {
    {"recapAutoShow", &RecapConfig::recapAutoShow},
    {"recapStyle", &RecapConfig::recapStyle, laterStyle(1, 1)},
};

constexpr SettingKey<LmuEnergyConfig> kLmuEnergyKeys[] = {
    {"energyStyle", &LmuEnergyConfig::energyStyle, laterStyle(1, 1)},
};

constexpr SettingKey<LmuStintConfig> kLmuStintKeys[] = {
    {"stintStyle", &LmuStintConfig::stintStyle, laterStyle(1, 1)},
};

constexpr SettingKey<AlertsConfig> kAlertsKeys[] = {
    {"holdMul", &AlertsConfig::holdMul, within(0, 3)},   {"voice", &AlertsConfig::voice},
    {"voiceVol", &AlertsConfig::voiceVol, within(0, 1)}, {"voicePack", &AlertsConfig::voicePack},
    {"voiceDeviceId", &AlertsConfig::voiceDeviceId},
};

constexpr SettingKey<TrackStripConfig> kTrackStripKeys[] = {
    {"tsShowGaps", &TrackStripConfig::tsShowGaps},
    {"tsShowPit", &TrackStripConfig::tsShowPit},
    {"tsShowSectors", &TrackStripConfig::tsShowSectors},
    {"tsClassColours", &TrackStripConfig::tsClassColours},
    {"tsMyClassOnly", &TrackStripConfig::tsMyClassOnly},
};

constexpr SettingKey<DriftConfig> kDriftKeys[] = {
    {"showSessionBar", &DriftConfig::showSessionBar},
};

void readCommon(OverlayConfig& config, int slot, const json& object) {
    // Before width, height and text had scales of their own there was one for all three.
    const float scale = readFloat(object, "scale", 0);
    if (scale != 0) config.widthMul = config.heightMul = config.textScale = scale;
    readSettings(kCommonKeys, object, config);
    if (slot != kSlotCover) readSettings(kHeadsetKeys, object, config);
}

void writeCommon(const OverlayConfig& config, int slot, json& object) {
    writeSettings(kCommonKeys, config, object);
    if (slot != kSlotCover) writeSettings(kHeadsetKeys, config, object);
}

// What the tables cannot say, by kind of block; `before` is the block as it was before the reading.

template <class Block>
void finishReading(Block&, const Block&, const json&) {}

void finishReading(BattleBarConfig& config, const BattleBarConfig&, const json&) {
    // 0 to 4 were looks that are gone.
    if (config.bbStyle < 5) config.bbStyle = 5;
    if (config.bbStyle > 10) config.bbStyle = BattleBarConfig{}.bbStyle;
}

void finishReading(DashConfig& config, const DashConfig& before, const json&) {
    // A style from nowhere says that the rest of the block is not to be trusted either.
    if (config.dashStyle < 0 || config.dashStyle > 11)
        config = before;
    else if (config.dashStyle == 0 || config.dashStyle == 4)
        config.dashStyle = 5;
    else if (config.dashStyle < 4)
        config.dashStyle = 6;
}

void finishReading(RelativeConfig& config, const RelativeConfig&, const json& object) {
    readColumns(config.columns, object, defaultRelativeColumns());
}

void finishReading(StandingsConfig& config, const StandingsConfig&, const json& object) {
    readColumns(config.columns, object, defaultStandingsColumns());
}

template <class Block>
void finishWriting(const Block& config, json& object) {
    if constexpr (requires { config.columns; }) writeColumns(config.columns, object);
}

struct Codec {
    int slot;
    void (*read)(OverlayConfig& config, int slot, const json& object);
    void (*write)(const OverlayConfig& config, int slot, json& object);
    void (*copy)(OverlayConfig& to, const OverlayConfig& from);
};

template <class Block>
void copyBlock(OverlayConfig& to, const OverlayConfig& from) {
    static_cast<Block&>(to) = static_cast<const Block&>(from);
}

template <class Block, const auto& Keys>
constexpr Codec codec(int slot) {
    return {slot,
            [](OverlayConfig& common, int own, const json& object) {
                auto& config = static_cast<Block&>(common);
                const Block before = config;
                readCommon(config, own, object);
                readSettings(Keys, object, config);
                finishReading(config, before, object);
            },
            [](const OverlayConfig& common, int own, json& object) {
                const auto& config = static_cast<const Block&>(common);
                writeCommon(config, own, object);
                writeSettings(Keys, config, object);
                finishWriting(config, object);
            },
            copyBlock<Block>};
}

/// For overlays with nothing but the common block.
template <class Block>
constexpr Codec commonCodec(int slot) {
    return {slot, readCommon, writeCommon, copyBlock<Block>};
}

constexpr Codec kCodecs[] = {
    codec<BattleBarConfig, kBattleBarKeys>(kSlotBattleBar),
    codec<SessionConfig, kSessionKeys>(kSlotSession),
    codec<FuelConfig, kFuelKeys>(kSlotFuel),
    codec<SpotterConfig, kSpotterKeys>(kSlotSpotter),
    codec<ShiftLightConfig, kShiftLightKeys>(kSlotShiftLight),
    codec<PitHelperConfig, kPitHelperKeys>(kSlotPitHelper),
    codec<TrackMapConfig, kTrackMapKeys>(kSlotTrackMap),
    codec<DeltaTraceConfig, kDeltaTraceKeys>(kSlotDeltaTrace),
    codec<RaceInfoConfig, kRaceInfoKeys>(kSlotRaceInfo),
    codec<ChatConfig, kChatKeys>(kSlotChat),
    codec<FeaturedConfig, kFeaturedKeys>(kSlotFeatured),
    codec<CoverConfig, kCoverKeys>(kSlotCover),
    codec<PerformanceConfig, kPerformanceKeys>(kSlotPerformance),
    codec<RecapConfig, kRecapKeys>(kSlotRecap),
    codec<LmuEnergyConfig, kLmuEnergyKeys>(kSlotLmuEnergy),
    codec<LmuStintConfig, kLmuStintKeys>(kSlotLmuStint),
    commonCodec<CoachConfig>(kSlotCoach),
    codec<AlertsConfig, kAlertsKeys>(kSlotAlerts),
    codec<TrackStripConfig, kTrackStripKeys>(kSlotTrackStrip),
    commonCodec<TrainingConfig>(kSlotTraining),
    codec<DriftConfig, kDriftKeys>(kSlotDrift),
    codec<HapticsConfig, kHapticsKeys>(kSlotHaptics),
    codec<DashConfig, kDashKeys>(kSlotDash),
    codec<RelativeConfig, kRelativeKeys>(kSlotRelative),
    codec<StandingsConfig, kStandingsKeys>(kSlotStandings),
};
constexpr Codec kWidgetCodec = codec<WidgetConfig, kWidgetKeys>(kSlotWidget0);

template <class Visit>
void forEachCodec(Visit visit) {
    for (const Codec& row : kCodecs)
        visit(row.slot, row);
    for (int slot = kSlotWidget0; slot < kSlotWidget0 + 12; ++slot)
        visit(slot, kWidgetCodec);
}

} // namespace

void readOverlays(AppConfig& config, const json& root) {
    forEachCodec([&](int slot, const Codec& row) {
        const auto found = root.find(overlayKey(slot));
        if (found != root.end() && found->is_object())
            row.read(*overlayConfig(config, slot), slot, *found);
    });
}

void writeOverlays(const AppConfig& config, json& root) {
    forEachCodec([&](int slot, const Codec& row) {
        json object = json::object();
        row.write(*overlayConfig(config, slot), slot, object);
        root[overlayKey(slot)] = std::move(object);
    });
}

void copyOverlay(AppConfig& to, const AppConfig& from, int slot) {
    forEachCodec([&](int own, const Codec& row) {
        if (own == slot) row.copy(*overlayConfig(to, slot), *overlayConfig(from, slot));
    });
}

} // namespace vt
