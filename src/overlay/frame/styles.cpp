#include "overlay/frame/styles.h"

#include <cstring>
#include <utility>

namespace vt {

namespace {

using StyleField = const int* (*)(const AppConfig&);

struct StyleList {
    int slot;
    StyleField field;
    int count;
    const char* const* names;
    int firstValue;
};

constexpr const char* kClassicApex[] = {"Classic", "Apex"};
constexpr const char* kRelative[] = {"Classic", "Grid", "Compact", "Anchor", "Rows", "Apex"};
constexpr const char* kFuel[] = {"Classic", "Full", "Compact", "Planner", "Range", "Apex"};
constexpr const char* kSpotter[] = {"Bars", "Radar", "Disc"};
constexpr const char* kHaptics[] = {"Classic", "Apex", "Rig"};
constexpr const char* kStandings[] = {"Classic", "Grid", "Compact", "Focus", "Rows", "Apex"};
constexpr const char* kBattleBar[] = {"Track bar", "Cards", "Ladder", "Strip", "Apex", "Apex Mini"};
constexpr const char* kShiftLight[] = {"Block", "Gauge", "Ring", "Meter", "Apex"};
constexpr const char* kDash[] = {"Apex", "Apex Low", "Fan", "Blade", "Pod", "Wing", "Halo"};
constexpr const char* kRecap[] = {"Graphite", "Apex"};

template <auto Block, auto Field, size_t Count>
constexpr StyleList styles(int slot, const char* const (&names)[Count], int firstValue = 0) {
    return {slot, [](const AppConfig& config) -> const int* { return &((config.*Block).*Field); },
            static_cast<int>(Count), names, firstValue};
}

constexpr StyleList kStyles[] = {
    styles<&AppConfig::session, &SessionConfig::sessionStyle>(kSlotSession, kClassicApex),
    styles<&AppConfig::relative, &RelativeConfig::relStyle>(kSlotRelative, kRelative),
    styles<&AppConfig::fuel, &FuelConfig::fuelStyle>(kSlotFuel, kFuel),
    styles<&AppConfig::spotter, &SpotterConfig::spotterMode>(kSlotSpotter, kSpotter),
    styles<&AppConfig::haptics, &HapticsConfig::hapticsStyle>(kSlotHaptics, kHaptics),
    styles<&AppConfig::standings, &StandingsConfig::stdStyle>(kSlotStandings, kStandings),
    styles<&AppConfig::battlebar, &BattleBarConfig::bbStyle>(kSlotBattleBar, kBattleBar, 5),
    styles<&AppConfig::shiftlight, &ShiftLightConfig::slStyle>(kSlotShiftLight, kShiftLight),
    styles<&AppConfig::dash, &DashConfig::dashStyle>(kSlotDash, kDash, 5),
    styles<&AppConfig::pithelper, &PitHelperConfig::pitStyle>(kSlotPitHelper, kClassicApex),
    styles<&AppConfig::trackmap, &TrackMapConfig::tmStyle>(kSlotTrackMap, kClassicApex),
    styles<&AppConfig::deltatrace, &DeltaTraceConfig::dtStyle>(kSlotDeltaTrace, kClassicApex),
    styles<&AppConfig::performance, &PerformanceConfig::perfStyle>(kSlotPerformance, kClassicApex),
    styles<&AppConfig::raceinfo, &RaceInfoConfig::riStyle>(kSlotRaceInfo, kClassicApex),
    styles<&AppConfig::chat, &ChatConfig::chatStyle>(kSlotChat, kClassicApex),
    styles<&AppConfig::featured, &FeaturedConfig::featuredStyle>(kSlotFeatured, kClassicApex),
    styles<&AppConfig::cover, &CoverConfig::coverStyle>(kSlotCover, kClassicApex),
    styles<&AppConfig::recap, &RecapConfig::recapStyle>(kSlotRecap, kRecap),
    styles<&AppConfig::lmuEnergy, &LmuEnergyConfig::energyStyle>(kSlotLmuEnergy, kClassicApex),
    styles<&AppConfig::lmuStint, &LmuStintConfig::stintStyle>(kSlotLmuStint, kClassicApex),
};

/// Drawn in the Apex look alone.
constexpr int kAlwaysApex[] = {kSlotCoach, kSlotAlerts, kSlotTrackStrip, kSlotTraining};

} // namespace

const int* styleOf(const AppConfig& config, int slot, int& count, const char* const*& names,
                   int& firstValue) {
    for (const StyleList& list : kStyles) {
        if (list.slot != slot) continue;
        count = list.count;
        names = list.names;
        firstValue = list.firstValue;
        return list.field(config);
    }
    count = firstValue = 0;
    names = nullptr;
    return nullptr;
}

int* styleOf(AppConfig& config, int slot, int& count, const char* const*& names, int& firstValue) {
    return const_cast<int*>(styleOf(std::as_const(config), slot, count, names, firstValue));
}

bool overlayUsesApexStyle(const AppConfig& config, int slot) {
    for (int always : kAlwaysApex)
        if (slot == always) return true;
    int count = 0, firstValue = 0;
    const char* const* names = nullptr;
    const int* style = styleOf(config, slot, count, names, firstValue);
    if (!style || *style < firstValue || *style - firstValue >= count) return false;
    return std::strncmp(names[*style - firstValue], "Apex", 4) == 0;
}

} // namespace vt
