#include "overlay/overlays/standings_overlay.h"

#include "base/hash.h"
#include "base/translate.h"
#include "overlay/frame/styles.h"
#include "overlay/settings/slots.h"

#include <cmath>

namespace vt {

StandingsOverlay::StandingsOverlay(OverlayHost& overlayHost)
    : ListOverlay(overlayHost, kSlotStandings, ListKind::standings) {
    layoutForStyle();
    applyScale(*this);
}

void StandingsOverlay::layoutForStyle() {
    const StandingsConfig& c = config.standings;
    const ColumnScene scene = currentScene(c.stdStyle);
    usesChrome = scene.style == kListClassic;
    lastFrameHash_ = 0;
    baseWidth = listWidth(c.columns, scene);
    if (liveFrame()) lastExtent_ = planStandings(c, scene.style, frame, rotation_.index).sizeExtent;
    lastExtent_.labels = standingsLabels(scene.style, lastExtent_.blocks);
    baseHeight = standingsHeight(scene.style, lastExtent_);
}

uint64_t StandingsOverlay::contentHash() {
    const StandingsConfig& c = config.standings;
    const SimFrame* live = liveFrame();
    Fnv64 hash;
    hash.number(c.stdStyle);
    hash.number(c.standingsRows);
    hash.number(c.standingsRowsOther);
    hash.number(c.standingsScope);
    hash.number(c.standingsSizeMode);
    hash.flag(c.bestPerClass);
    hashColumns(hash, c.columns);
    if (live) {
        hashListFrame(hash, *live, pitLaps, columnOptions(c.columns, kColumnInterval).relDecimals);
        hash.number(std::isfinite(live->timeRemain) ? static_cast<int64_t>(live->timeRemain) : -1);
    }
    const uint64_t still = hash.value; // but for the classes taking turns
    if (live && c.standingsScope == 2 && !previewMode) {
        if (still != lastFrameHash_)
            turns_ = static_cast<int>(standingsClasses(*live, playerRow(*live)).size());
        nextRotationClass(rotation_, turns_, 2, c.standingsCycleSec, clockMs(host.clock));
    }
    hash.number(rotation_.index);
    if (still != lastFrameHash_ || rotation_.index != lastTurn_) {
        lastFrameHash_ = still;
        lastTurn_ = rotation_.index;
        const ColumnScene scene = currentScene(c.stdStyle);
        if (live) lastExtent_ = planStandings(c, scene.style, live, rotation_.index).sizeExtent;
        followSize(listWidth(c.columns, scene), standingsHeight(scene.style, lastExtent_));
    }
    return hash.value ? hash.value : 1;
}

float StandingsOverlay::buildView() {
    const StandingsConfig& c = config.standings;
    const StandingsPlan plan =
        planStandings(c, c.stdStyle, liveFrame(), c.standingsScope == 2 ? rotation_.index : 0);
    buildStandingsView(view_, c, source(), plan);
    if (!liveFrame()) return static_cast<float>(baseHeight);
    return static_cast<float>(standingsHeight(view_.style, plan.sizeExtent));
}

void StandingsOverlay::buildPage(const PageBuilder& page) {
    using Kind = PageRow::Kind;
    static const char* const scopes[] = {"My class", "All classes", "Rotate classes"};
    static const char* const sizes[] = {"Fixed", "Grow to fit"};
    StandingsConfig& c = config.standings;
    page.row({.kind = Kind::section, .label = Translate("OPTIONS")});
    PageRow style{.kind = Kind::stylePicker,
                  .label = Translate("Style"),
                  .hint = Translate("Which look the list is drawn in."),
                  .slot = slot};
    style.number = styleOf(config, slot, style.choiceCount, style.choices, style.firstValue);
    page.row(style);
    page.row({.kind = Kind::intSlider,
              .label = Translate("Rows, my class"),
              .hint = Translate("How many cars from your own class to list."),
              .number = &c.standingsRows,
              .min = 3,
              .max = 30,
              .slot = slot});
    page.row({.kind = Kind::intSlider,
              .label = Translate("Rows, other classes"),
              .hint = Translate("How many cars from each of the other classes to list."),
              .number = &c.standingsRowsOther,
              .min = 3,
              .max = 30,
              .slot = slot});
    page.row({.kind = Kind::choice,
              .label = Translate("Classes"),
              .hint = Translate("Whether to list your own class, every class at once, or rotate "
                                "through them one at a time."),
              .number = &c.standingsScope,
              .choices = scopes,
              .choiceCount = 3,
              .slot = slot});
    page.row({.kind = Kind::floatSlider,
              .label = Translate("Cycle"),
              .unit = "s",
              .real = &c.standingsCycleSec,
              .max = 10,
              .slot = slot});
    page.row({.kind = Kind::choice,
              .label = Translate("Box size"),
              .number = &c.standingsSizeMode,
              .choices = sizes,
              .choiceCount = 2,
              .slot = slot});
    page.row({.kind = Kind::toggle,
              .label = Translate("Best lap per class"),
              .hint = Translate("Best-lap highlighting per class instead of overall"),
              .flag = &c.bestPerClass,
              .slot = slot});
    addColumnRows(page, c.columns, currentScene(c.stdStyle));
    addCommonRows(page, c, slot, heightResizable, supportsStrips());
}

} // namespace vt
