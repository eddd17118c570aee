#include "overlay/overlays/relative_overlay.h"

#include "base/hash.h"
#include "base/translate.h"
#include "overlay/frame/styles.h"
#include "overlay/settings/slots.h"

namespace vt {

RelativeOverlay::RelativeOverlay(OverlayHost& overlayHost)
    : ListOverlay(overlayHost, kSlotRelative, ListKind::relative) {
    layoutForStyle();
    applyScale(*this);
}

void RelativeOverlay::layoutForStyle() {
    const RelativeConfig& c = config.relative;
    const ColumnScene scene = currentScene(c.relStyle);
    usesChrome = scene.style == kListClassic;
    lastFrameHash_ = 0;
    baseWidth = listWidth(c.columns, scene);
    baseHeight = relativeHeight(scene.style, c.rowsAhead, c.rowsBehind);
}

uint64_t RelativeOverlay::contentHash() {
    const RelativeConfig& c = config.relative;
    Fnv64 hash;
    hash.number(c.relStyle);
    hash.number(c.rowsAhead);
    hash.number(c.rowsBehind);
    hash.flag(c.bestPerClass);
    hashColumns(hash, c.columns);
    if (const SimFrame* live = liveFrame())
        hashListFrame(hash, *live, pitLaps, columnOptions(c.columns, kColumnInterval).relDecimals);
    if (hash.value != lastFrameHash_) {
        // Nothing that the size follows from can have changed otherwise.
        lastFrameHash_ = hash.value;
        const ColumnScene scene = currentScene(c.relStyle);
        followSize(listWidth(c.columns, scene),
                   relativeHeight(scene.style, c.rowsAhead, c.rowsBehind));
    }
    return hash.value ? hash.value : 1;
}

float RelativeOverlay::buildView() {
    const RelativeConfig& c = config.relative;
    buildRelativeView(view_, c, source());
    return static_cast<float>(relativeHeight(view_.style, c.rowsAhead, c.rowsBehind));
}

void RelativeOverlay::buildPage(const PageBuilder& page) {
    using Kind = PageRow::Kind;
    RelativeConfig& c = config.relative;
    page.row({.kind = Kind::section, .label = Translate("OPTIONS")});
    PageRow style{.kind = Kind::stylePicker,
                  .label = Translate("Style"),
                  .hint = Translate("Which look the list is drawn in."),
                  .slot = slot};
    style.number = styleOf(config, slot, style.choiceCount, style.choices, style.firstValue);
    page.row(style);
    page.row({.kind = Kind::intSlider,
              .label = Translate("Cars ahead"),
              .hint = Translate("How many cars ahead of you on track to list."),
              .number = &c.rowsAhead,
              .max = 5,
              .slot = slot});
    page.row({.kind = Kind::intSlider,
              .label = Translate("Cars behind"),
              .hint = Translate("How many cars behind you on track to list."),
              .number = &c.rowsBehind,
              .max = 5,
              .slot = slot});
    page.row({.kind = Kind::toggle,
              .label = Translate("Best lap per class"),
              .hint = Translate("Best-lap highlighting per class instead of overall"),
              .flag = &c.bestPerClass,
              .slot = slot});
    addColumnRows(page, c.columns, currentScene(c.relStyle));
    addCommonRows(page, c, slot, heightResizable, supportsStrips());
}

} // namespace vt
