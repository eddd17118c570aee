// What a fresh installation looks like.
#include "overlay/settings/app_config.h"

#include <algorithm>
#include <initializer_list>
#include <iterator>

namespace vt {

namespace {

/// A coordinate on a screen that is `size` pixels wide or high.
struct Place {
    int divisor = 0; // size / divisor; 0 = none of it
    int offset = 0;
    int centred = 0; // (size - centred) / 2, when above 0

    constexpr int on(int size) const {
        if (centred > 0) return (size - centred) / 2;
        return (divisor > 0 ? size / divisor : 0) + offset;
    }
};
constexpr Place at(int pixels) {
    return {.offset = pixels};
}
constexpr Place farEdge(int pixels) { // that far before the right or lower edge
    return {.divisor = 1, .offset = -pixels};
}
constexpr Place centre(int extent) {
    return {.centred = extent};
}
constexpr Place share(int divisor, int offset = 0) {
    return {.divisor = divisor, .offset = offset};
}

struct ShowWhen {
    bool inCar, outOfCar, spotting, inGarage;
};
constexpr ShowWhen kDriving = {true, false, true, false};
constexpr ShowWhen kOnTrack = {true, true, true, false};
constexpr ShowWhen kAlways = {true, true, true, true};
constexpr ShowWhen kGarage = {false, false, false, true};
constexpr ShowWhen kOwnDriving = {true, false, false, false};

struct OverlayDefaults {
    int slot;
    bool enabled;
    Place x, y;
    float widthMul, heightMul, textScale;
    int refreshHz;
    float bgOpacity, contentOpacity;
    ShowWhen show;
};

constexpr OverlayDefaults kDefaults[] = {
    {kSlotSession, false, at(60), at(60), 1, 1, 1, 5, 0.85f, 1, kDriving},
    {kSlotStandings, true, at(410), at(410), 1.192f, 1.151f, 1.4836f, 10, 1, 1, kOnTrack},
    {kSlotBattleBar, true, at(480), at(480), 0.994f, 1, 1.0014f, 15, 0.85f, 1, kDriving},
    {kSlotFuel, true, at(200), at(200), 1.707f, 1.454f, 0.8712f, 4, 1, 1, kDriving},
    {kSlotSpotter, true, at(270), at(270), 1.032f, 1.164f, 1, 30, 0.7027f, 1, kDriving},
    {kSlotShiftLight, false, at(550), at(550), 1.527f, 1.527f, 1.9812f, 60, 0.5925f, 0.7639f,
     kDriving},
    {kSlotPitHelper, false, centre(360), at(80), 1, 1, 1, 30, 0.85f, 1, kDriving},
    {kSlotTrackMap, false, at(40), at(200), 1, 1, 0.6531f, 15, 0, 1, kOnTrack},
    {kSlotDeltaTrace, false, centre(520), share(2, -200), 1, 1, 1, 20, 1, 1, kAlways},
    {kSlotRaceInfo, false, centre(504), farEdge(140), 1, 1, 1, 4, 0.85f, 1, kDriving},
    {kSlotChat, false, farEdge(380), at(120), 1, 1, 1.2749f, 10, 1, 1, kDriving},
    {kSlotFeatured, false, farEdge(400), at(520), 1, 1, 1, 10, 0.85f, 1, kDriving},
    {kSlotCover, false, centre(1280), centre(720), 3.4409f, 3.445f, 1, 10, 1, 1, kGarage},
    {kSlotPerformance, false, centre(400), share(2, -100), 1.572f, 1.572f, 1.1698f, 15, 0.85f, 1,
     kDriving},
    {kSlotRecap, false, centre(360), centre(227), 1, 1, 1, 10, 0.85f, 1, kOnTrack},
    {kSlotLmuEnergy, false, farEdge(360), at(40), 1, 1, 1, 10, 0.85f, 1, kDriving},
    {kSlotLmuStint, false, at(40), at(40), 1, 1, 1, 10, 0.85f, 1, kDriving},
    {kSlotCoach, true, centre(340), share(4), 1, 1, 1, 15, 1, 1, kDriving},
    {kSlotAlerts, true, centre(320), share(5), 1, 1, 1, 10, 1, 1, kDriving},
    {kSlotTrackStrip, false, centre(700), farEdge(210), 1, 1, 1, 15, 1, 1, kOnTrack},
    {kSlotTraining, false, at(60), share(4), 1, 1, 1, 10, 1, 1, kOwnDriving},
    {kSlotDrift, false, at(60), share(3), 1, 1, 1, 30, 1, 1, kOwnDriving},
    {kSlotHaptics, false, at(340), at(340), 0.97f, 0.975f, 1, 30, 0.85f, 1, kDriving},
    {kSlotDash, true, centre(624), farEdge(275), 0.846f, 1.02f, 1.009f, 30, 1, 1, kDriving},
    {kSlotRelative, true, at(130), at(130), 0.956f, 1.025f, 1.1239f, 10, 1, 1, kDriving},
};

void apply(OverlayConfig& config, const OverlayDefaults& row, int screenWidth, int screenHeight) {
    config.enabled = row.enabled;
    config.x = row.x.on(screenWidth);
    config.y = row.y.on(screenHeight);
    config.widthMul = row.widthMul;
    config.heightMul = row.heightMul;
    config.textScale = row.textScale;
    config.refreshHz = row.refreshHz;
    config.bgOpacity = row.bgOpacity;
    config.contentOpacity = row.contentOpacity;
    config.showInCar = row.show.inCar;
    config.showOutOfCar = row.show.outOfCar;
    config.showSpotting = row.show.spotting;
    config.showInGarage = row.show.inGarage;
}

void setHeader(OverlayConfig& config, int left, int center, int right) {
    config.headerLeft = left;
    config.headerCenter = center;
    config.headerRight = right;
}

void setFooter(OverlayConfig& config, int left, int center, int right) {
    config.footerLeft = left;
    config.footerCenter = center;
    config.footerRight = right;
}

void applyStrips(AppConfig& config) {
    config.session.showHeader = config.session.showFooter = true;
    config.spotter.showHeader = config.spotter.showFooter = true;
    setFooter(config.session, 12, 15, 7);
    setFooter(config.standings, 12, 15, 7);
    setHeader(config.relative, 13, 19, 16);
    setFooter(config.relative, 6, 10, 11);
}

void applyHeadset(AppConfig& config) {
    for (int slot : {kSlotBattleBar, kSlotFuel, kSlotSpotter, kSlotDash, kSlotRelative})
        overlayConfig(config, slot)->vrEnabled = true;
    config.spotter.vrAnchor = config.alerts.vrAnchor = 1;
    config.fuel.vrX = 0.55f;
    config.fuel.vrY = -0.15f;
    config.fuel.vrZ = -1.1f;
    config.fuel.vrYaw = -20;
    config.fuel.vrScale = 0.4f;
    config.spotter.vrY = 0.28f;
    config.spotter.vrScale = 0.6f;
}

void applyWidget(WidgetConfig& config, int index) {
    config.x = config.y = 690 + 70 * index;
    config.refreshHz = 15;
    config.bgOpacity = 1;
    config.useGeneralOpacity = true;
    config.vrX = -0.77f + 0.14f * static_cast<float>(index);
    config.vrY = -0.55f;
    config.vrZ = -1.2f;
    config.vrScale = 0.18f;
}

ColumnList columnsInOrder(std::initializer_list<int> order) {
    ColumnList list;
    for (int id : order) {
        ColumnSpec& spec = list.specs[static_cast<size_t>(list.count++)];
        spec.fieldId = id;
        spec.enabled = id != 12 && id != 15 && id != 18 && id != 19;
        spec.opts.licColorByClass = id == 4;
        spec.opts.nameMode = id == 3 ? 0 : 1;
        spec.opts.relBarAnchor = id != 18 && id != 19;
    }
    return list;
}

} // namespace

ColumnList defaultRelativeColumns() {
    ColumnList list =
        columnsInOrder({1, 0, 2, 3, 7, 5, 16, 4, 6, 17, 8, 9, 10, 11, 12, 13, 14, 15, 18, 19});
    for (ColumnSpec& spec : list.specs) {
        ColumnOptions& opts = spec.opts;
        if (spec.fieldId == 8) spec.enabled = false;
        if (spec.fieldId == 6) {
            opts.relColorMode = 1;
            opts.relBattleSec = 0.755f;
        }
        opts.lapBestHighlight = spec.fieldId == 9 || spec.fieldId == 10;
        opts.compHideUniform = spec.fieldId != 14;
        opts.posTalking = spec.fieldId == 0;
    }
    return list;
}

ColumnList defaultStandingsColumns() {
    return columnsInOrder({0, 2, 3, 7, 5, 16, 4, 8, 6, 17, 9, 10, 13, 1, 11, 12, 14, 15, 18, 19});
}

AppConfig defaultAppConfig(int screenWidth, int screenHeight) {
    AppConfig config;
    for (const OverlayDefaults& row : kDefaults)
        apply(*overlayConfig(config, row.slot), row, screenWidth, screenHeight);
    for (size_t i = 0; i < config.widgets.size(); ++i)
        applyWidget(config.widgets[i], static_cast<int>(i));
    const auto scale = [](OverlayConfig& widget, float width, float height, float text) {
        widget.widthMul = width;
        widget.heightMul = height;
        widget.textScale = text;
    };
    scale(config.widgets[0], 1.321f, 1.409f, 1.713f);
    scale(config.widgets[1], 1.495f, 1.987f, 1.56f);
    config.trackstrip.useGeneralOpacity = true;
    applyStrips(config);
    applyHeadset(config);
    return config;
}

} // namespace vt
