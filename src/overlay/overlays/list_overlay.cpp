#include "overlay/overlays/list_overlay.h"

#include "overlay/frame/theme.h"
#include "overlay/overlays/list_styles.h"
#include "race/race_text.h"

#include <algorithm>
#include <cmath>

namespace vt {

ListOverlay::ListOverlay(OverlayHost& overlayHost, int slotNumber, ListKind kind)
    : OverlayWindow(overlayHost, slotNumber), kind_(kind) {
    heightResizable = true;
}

void ListOverlay::prepareFrame(const SimFrame* newFrame) {
    updatePitLaps(pitLaps, newFrame);
}

ListSource ListOverlay::source() const {
    return {.frame = liveFrame(),
            .pits = &pitLaps,
            .sim = lastScene_.sim,
            .accentTheme = config.accentTheme};
}

ColumnScene ListOverlay::currentScene(int style) {
    if (liveFrame()) lastScene_ = columnScene(kind_, style, source());
    lastScene_.kind = kind_;
    lastScene_.style = clampListStyle(style);
    return lastScene_;
}

void ListOverlay::followSize(int width, int height) {
    if (previewMode || (width == baseWidth && height == baseHeight)) return;
    baseWidth = width;
    baseHeight = height;
    resizeToSettings(*this);
}

void ListOverlay::draw(Canvas& target, RectF rect) {
    if (rect.width() < 1 || rect.height() < 1) return;
    const float naturalHeight = buildView();
    CommonSnapshot common;
    getCommon(common);
    const float textScale =
        std::isfinite(common.textScale) ? std::clamp(common.textScale, 0.5f, 3.0f) : 1.0f;
    ListPainter painter{target, *this, shelf_, contentOpacity(), bgOpacity()};
    const ListPicture list{view_, rect, naturalHeight, textScale,
                           colourFromRgb(config.overlayBgColor)};
    target.pushClip(rect);
    drawList(painter, list);
    target.popClip();
    shelf_.endPicture();
}

void ListOverlay::discardDeviceResources() {
    OverlayWindow::discardDeviceResources();
    shelf_.clear();
}

bool ListOverlay::rebuildDeviceResources() {
    shelf_.clear();
    return OverlayWindow::rebuildDeviceResources();
}

// ---- hashes ----

namespace {

void hashCar(Fnv64& hash, const CarRow& car, const PitLapTable& pits) {
    hash.number(car.carIdx);
    hash.word(static_cast<uint64_t>(static_cast<uint32_t>(car.position)) << 32 |
              static_cast<uint32_t>(car.classPosition));
    hash.word(static_cast<uint64_t>(static_cast<uint32_t>(car.lap)) << 32 |
              static_cast<uint32_t>(car.irating));
    hash.scaled(static_cast<double>(car.gapToPlayer), 100); // up to two decimals are shown
    hash.scaled(static_cast<double>(car.gapToLeader), 10);
    hash.scaled(static_cast<double>(car.lastLapTime), 10);
    hash.scaled(static_cast<double>(car.bestLapTime), 10);
    hash.scaled(static_cast<double>(car.lastPitTime), 10);
    hash.number(car.carNumberValue);
    hash.number(tyreAgeLaps(pits, car));
    hash.word(static_cast<uint64_t>(static_cast<uint32_t>(car.tyreCompound)) << 8 |
              (car.onPitRoad ? 1u : 0u) | (car.pitThisLap ? 2u : 0u) |
              (car.bestFromEarlier ? 4u : 0u) | (car.lapDistPct >= 0 ? 8u : 0u));
    hash.text(textOf(car.driverName));
    hash.text(textOf(car.carClass));
    hash.text(textOf(car.licence));
    hash.text(textOf(car.carBrand));
    hash.text(textOf(car.carNumber));
}

} // namespace

void hashListFrame(Fnv64& hash, const SimFrame& frame, const PitLapTable& pits) {
    const CarRow* player = playerRow(frame);
    hash.flag(frame.connected != 0);
    hash.number(frame.simKind);
    hash.number(frame.playerCarIdx);
    hash.number(frame.radioCarIdx);
    hash.number(sessionKind(textOf(frame.sessionName)));
    hash.number(frame.wetnessLevel);
    hash.word(flagPriority(frame.sessionFlags));
    hash.word(frame.cars.size());
    for (const CarRow& car : frame.cars) {
        hashCar(hash, car, pits);
        if (player) hash.number(lapBadge(*player, car));
    }
}

void hashColumns(Fnv64& hash, const ColumnList& list) {
    hash.number(list.count);
    for (const ColumnSpec& spec : list.specs) {
        hash.number(spec.fieldId);
        hash.word((spec.enabled ? 1u : 0u) | (spec.race ? 2u : 0u) | (spec.qualy ? 4u : 0u) |
                  (spec.practice ? 8u : 0u));
        const ColumnOptions& o = spec.opts;
        const bool flags[] = {
            o.licColorByClass, o.licBadge,   o.relBarClassic, o.relBarGrid, o.relBarCompact,
            o.relBarAnchor,    o.relBarRows, o.relBarApex,    o.nameBattle, o.lapBestHighlight,
            o.compHideUniform, o.compWetDry, o.posTalking,    o.posSolidBg};
        uint64_t bits = 0;
        for (const bool flag : flags)
            bits = bits << 1 | (flag ? 1u : 0u);
        hash.word(bits);
        const int numbers[] = {o.licMode,       o.relColorMode, o.relDecimals, o.nameMode,
                               o.nameBattleSec, o.compStyle,    o.classStyle,  o.brandStyle,
                               o.brandApexMark, o.tyreAgeMode};
        for (const int number : numbers)
            hash.number(number);
        hash.scaled(static_cast<double>(o.relBattleSec), 1000);
    }
}

} // namespace vt
