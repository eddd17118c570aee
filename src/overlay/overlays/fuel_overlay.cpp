#include "overlay/overlays/fuel_overlay.h"

#include "base/hash.h"
#include "base/translate.h"
#include "overlay/frame/styles.h"
#include "overlay/frame/theme.h"
#include "overlay/settings/slots.h"

#include <algorithm>

namespace vt {

namespace {

enum Style { kClassic, kFull, kCompactFace, kPlanner, kRange, kApex };
enum Layout { kBlocks, kTriHero, kCompact, kStrip };

void hashTexts(Fnv64& hash, const FuelTexts& t) {
    for (const FuelText* text : {&t.tank, &t.burn, &t.lapsInTank, &t.minutes, &t.toFinish, &t.left,
                                 &t.margin, &t.add, &t.badge, &t.badgeNote, &t.bigValue,
                                 &t.bigRight, &t.plan, &t.planNote, &t.planTitle, &t.footer})
        hash.text(text->data());
}

} // namespace

FuelOverlay::FuelOverlay(OverlayHost& host_) : OverlayWindow(host_, kSlotFuel) {
    if (host.screenshots) fillScreenshotRing(ring_);
}

bool FuelOverlay::hasChrome() const {
    return config.fuel.fuelStyle == kClassic || config.fuel.fuelStyle == kApex;
}

void FuelOverlay::layoutForStyle() {
    struct Size {
        int width, height;
    };
    static constexpr Size kSizes[] = {{620, 90}, {470, 238}, {288, 222}, {344, 232}, {420, 240}};
    const FuelConfig& c = config.fuel;
    if (c.fuelStyle >= kClassic && c.fuelStyle < kApex) {
        baseWidth = kSizes[c.fuelStyle].width;
        baseHeight = kSizes[c.fuelStyle].height;
    } else if (c.fuelLayout == kStrip) {
        baseWidth = 240;
        baseHeight = 44;
    } else if (c.fuelLayout == kBlocks) {
        baseWidth = fuelBlocksWidth(c);
        baseHeight = 102 + (c.fuelShowFooter ? 26 : 0);
    } else {
        baseWidth = c.fuelLayout == kCompact ? 336 : 400;
        baseHeight = fuelRowsHeight(c);
    }
}

void FuelOverlay::publish(const FuelView* view) {
    if (!host.fuel) return;
    const bool known = view && view->toFinishKnown && view->status != kFuelLearning;
    host.fuel->published.shortLitres = known ? view->delta : 0;
    host.fuel->published.lapsToFinish = known ? view->lapsToFinish : -1;
}

void FuelOverlay::prepareFrame(const SimFrame* newFrame) {
    if (previewMode) return;
    const FuelRules rules = fuelRules(config.fuel);
    const uint64_t now = clockMs(host.clock);
    const bool live = newFrame && newFrame->connected;
    if (!host.screenshots)
        fuelRingTick(ring_, host.fuel ? host.fuel->store : ownStore_, rules, newFrame, now);
    const FuelView view = computeFuelView(ring_.ring, rules, newFrame);
    publish(live ? &view : nullptr);
    const int phase = live ? pitCountdownPhase(view, &config.fuel) : -1;
    if (phase == 2 && lastPhase_ != 2) callMs_ = std::max<uint64_t>(now, 1);
    if (phase != 2) callMs_ = 0;
    lastPhase_ = phase;
    const int width = baseWidth, height = baseHeight;
    layoutForStyle();
    if (width != baseWidth || height != baseHeight) resizeToSettings(*this);
}

void FuelOverlay::whileDisabled() {
    publish(nullptr);
}

void FuelOverlay::build(const SimFrame* from) {
    const FuelView view = computeFuelView(ring_.ring, fuelRules(config.fuel), from);
    buildFuelPicture(shown_, view, config.fuel, ring_, host.fuel, clockMs(host.clock), callMs_);
}

uint64_t FuelOverlay::contentHash() {
    build(liveFrame());
    const FuelConfig& c = config.fuel;
    Fnv64 hash;
    hash.flag(shown_.view.live);
    hash.number(frame ? frame->simKind : -1);
    hash.scaled(static_cast<double>(shown_.view.fuel), 10);
    hash.scaled(static_cast<double>(shown_.view.capacity), 10);
    hash.number(c.fuelStyle * 100 + c.fuelLayout * 10 + c.fuelBarMode);
    for (const bool on :
         {c.fuelShowNotch, c.fuelShowStats, c.fuelShowSpark, c.fuelShowAxis, c.fuelShowFooter,
          c.fuelShowBadge, c.fuelShowPerLap, c.fuelShowRemain, c.fuelShowAddPit,
          c.fuelShowSparkline, c.fuelShowStrategy, c.fuelShowSave})
        hash.flag(on);
    for (int i = 0; i < ring_.ring.count; ++i) {
        const LapFuelSample& sample = ring_.ring.samples[static_cast<size_t>(i)];
        hash.scaled(static_cast<double>(sample.fuelUsed), 1000);
        hash.flag(sample.dirty);
    }
    hash.number(shown_.burnFlash);
    hash.number(shown_.phase);
    hash.number(shown_.view.alertLevel);
    hash.flag(shown_.barOfLaps);
    hash.scaled(static_cast<double>(shown_.bar), 1000);
    hash.scaled(static_cast<double>(shown_.notch), 1000);
    hash.word(shown_.motion);
    hashTexts(hash, shown_.text);
    return hash.value ? hash.value : 1;
}

void FuelOverlay::draw(Canvas& target, RectF rect) {
    if (rect.width() < 1 || rect.height() < 1) return;
    build(liveFrame());
    stamps_.begin(previewMode ? 0.0f : dpiScale);
    ListPainter painter{target, *this, shelf_, stamps_, contentOpacity(), bgOpacity()};
    const float unit = std::min(rect.width() / static_cast<float>(std::max(baseWidth, 1)),
                                rect.height() / static_cast<float>(std::max(baseHeight, 1)));
    FuelFace face{painter, shown_, config.fuel, ring_, unit};
    target.pushClip(rect);
    painter.sheet(rect, themeCornerRadius(),
                  config.fuel.fuelStyle == kApex ? themePalette().panelTop
                                                 : colourFromRgb(config.overlayBgColor));
    static constexpr void (*kFaces[])(FuelFace&, RectF) = {drawFuelClassic, drawFuelFull,
                                                           drawFuelCompact, drawFuelPlanner,
                                                           drawFuelRange,   drawFuelApex};
    kFaces[std::clamp(config.fuel.fuelStyle, 0, 5)](face, rect);
    target.popClip();
    shelf_.endPicture();
}

void FuelOverlay::discardDeviceResources() {
    OverlayWindow::discardDeviceResources();
    shelf_.clear();
    stamps_.clear();
}

bool FuelOverlay::rebuildDeviceResources() {
    shelf_.clear();
    stamps_.clear();
    return OverlayWindow::rebuildDeviceResources();
}

void FuelOverlay::buildPage(const PageBuilder& page) {
    using Kind = PageRow::Kind;
    static const char* const kLayouts[] = {"Blocks", "Tri-Hero", "Compact", "Strip"};
    static const char* const kBars[] = {"Level", "Cycling", "Race Laps"};
    FuelConfig& c = config.fuel;
    const bool apex = c.fuelStyle == kApex;
    const auto toggle = [&](const char* label, const char* hint, bool& flag) {
        page.row({.kind = Kind::toggle, .label = label, .hint = hint, .flag = &flag, .slot = slot});
    };
    const auto whole = [&](const char* label, const char* hint, const char* unit, int& value,
                           float min, float max) {
        page.row({.kind = Kind::intSlider,
                  .label = label,
                  .hint = hint,
                  .unit = unit,
                  .number = &value,
                  .min = min,
                  .max = max,
                  .slot = slot});
    };
    page.row({.kind = Kind::section, .label = Translate("OPTIONS")});
    PageRow style{.kind = Kind::stylePicker, .label = Translate("Style"), .slot = slot};
    style.number = styleOf(config, slot, style.choiceCount, style.choices, style.firstValue);
    page.row(style);
    if (apex) {
        page.row({.kind = Kind::choice,
                  .label = Translate("Layout"),
                  .number = &c.fuelLayout,
                  .choices = kLayouts,
                  .choiceCount = 4,
                  .slot = slot});
        page.row({.kind = Kind::choice,
                  .label = Translate("Bar"),
                  .hint = Translate("What the big bar tracks: fuel in the tank, laps left in the "
                                    "race, or both in turn."),
                  .number = &c.fuelBarMode,
                  .choices = kBars,
                  .choiceCount = 3,
                  .slot = slot});
        if (c.fuelBarMode == 1) whole(Translate("Change every"), "", "s", c.fuelCycleSec, 3, 10);
        toggle(Translate("Finish mark"),
               Translate("Mark on the bar how much fuel you need to reach the finish."),
               c.fuelShowNotch);
        toggle(Translate("Numbers"), Translate("The burn, laps-left and add-at-pit numbers."),
               c.fuelShowStats);
        toggle(Translate("Graph"),
               Translate("A small graph of how much fuel each recent lap used."), c.fuelShowSpark);
        toggle(Translate("Footer line"),
               Translate("The summary line along the bottom of the card."), c.fuelShowFooter);
        toggle(Translate("Pit strategy"), Translate("Needs pit strategy to be on."),
               c.fuelShowStrategy);
        toggle(Translate("Fuel saving"), "", c.fuelShowSave);
    }
    toggle(Translate("Per lap"), Translate("How much fuel you are using each lap."),
           c.fuelShowPerLap);
    toggle(Translate("Laps in tank"), Translate("How far the fuel on board will get you."),
           c.fuelShowRemain);
    toggle(Translate("Add at pit"), Translate("How much to put in at your next stop."),
           c.fuelShowAddPit);
    toggle(Translate("Badge"), Translate("The SAFE, MARGINAL or SHORT tag on the fuel you have."),
           c.fuelShowBadge);
    toggle(Translate("Sparkline"),
           Translate("A small graph of how much fuel each recent lap used."), c.fuelShowSparkline);
    toggle(Translate("Graph labels"),
           Translate("Label that graph with its highest and lowest value."), c.fuelShowAxis);
    whole(Translate("Laps averaged"), "", "laps", c.fuelWindowLaps, 3, 10);
    page.row(
        {.kind = Kind::floatSlider,
         .label = Translate("Spare fuel"),
         .hint = Translate("Spare fuel added to every stop recommendation, as a safety margin."),
         .unit = "L",
         .real = &c.fuelPitBuffer,
         .min = 0,
         .max = 5,
         .slot = slot});
    whole(Translate("Burn flash at"), "", "%", c.fuelDevPct, 0, 25);
    whole(Translate("Amber below"), "", "laps", c.fuelAlertAmberLaps, 0, 20);
    whole(Translate("Red below"), "", "laps", c.fuelAlertRedLaps, 0, 20);
    whole(Translate("Countdown from"),
          Translate("Start the countdown to your stop when this many laps of fuel are left."),
          "laps", c.fuelWarnLaps, 1, 10);
    addCommonRows(page, c, slot, heightResizable, supportsStrips());
}

} // namespace vt
