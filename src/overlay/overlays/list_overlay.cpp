#include "overlay/overlays/list_overlay.h"

#include "overlay/frame/theme.h"
#include "overlay/overlays/list_styles.h"
#include "race/race_text.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

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
    stamps_.begin(previewMode ? 0.0f : dpiScale); // a preview may have any scale
    ListPainter painter{target, *this, shelf_, stamps_, contentOpacity(), bgOpacity()};
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
    stamps_.clear();
}

bool ListOverlay::rebuildDeviceResources() {
    shelf_.clear();
    stamps_.clear();
    return OverlayWindow::rebuildDeviceResources();
}

// ---- hashes ----

namespace {

/// The whole field, eight bytes a step: what lies behind the terminator can at worst bring a redraw
/// too many, and looking for the terminator costs more than it saves.
template <size_t N>
void hashText(Fnv64& hash, const char (&field)[N]) {
    for (size_t at = 0; at < N; at += 8) {
        uint64_t word = 0;
        std::memcpy(&word, field + at, N - at < 8 ? N - at : 8);
        hash.word(word);
        hash.value ^= hash.value >> 29; // a product keeps its high bits to itself
    }
}

/// `x` in steps of `scale` per unit; what is no number has one value of its own. Inline throughout:
/// a frame has three hundred of them.
uint64_t steps(float x, float scale) {
    const float v = x * scale;
    if (!(v > -1e9f && v < 1e9f)) return UINT64_MAX;
    return static_cast<uint32_t>(static_cast<int32_t>(v + (v < 0 ? -0.5f : 0.5f)));
}

uint64_t carNumbers(const CarRow& car, const PitLapTable& pits, float gapScale) {
    Fnv64 hash;
    const auto pair = [&](int32_t a, int32_t b) {
        hash.word(static_cast<uint64_t>(static_cast<uint32_t>(a)) << 32 | static_cast<uint32_t>(b));
    };
    pair(car.carIdx, car.carNumberValue);
    pair(car.position, car.classPosition);
    pair(car.lap, car.irating);
    hash.word(steps(car.gapToPlayer, gapScale));
    hash.word(steps(car.gapToLeader, 10));
    hash.word(steps(car.lastLapTime, 10));
    hash.word(steps(car.bestLapTime, 10));
    hash.word(steps(car.lastPitTime, 10));
    pair(tyreAgeLaps(pits, car), car.tyreCompound);
    hash.word((car.onPitRoad ? 1u : 0u) | (car.pitThisLap ? 2u : 0u) |
              (car.bestFromEarlier ? 4u : 0u) | (car.lapDistPct >= 0 ? 8u : 0u));
    return hash.value;
}

uint64_t carTexts(const CarRow& car) {
    Fnv64 hash;
    hashText(hash, car.driverName);
    hashText(hash, car.carClass);
    hashText(hash, car.licence);
    hashText(hash, car.carBrand);
    hashText(hash, car.carNumber);
    return hash.value;
}

/// The first of each class: whole laps are counted against them.
struct ClassLeaders {
    std::array<const CarRow*, 16> rows{};
    size_t count = 0;
    explicit ClassLeaders(const SimFrame& frame) {
        for (const CarRow& car : frame.cars)
            if ((car.classPosition == 1 || car.position == 1) && count < rows.size())
                rows[count++] = &car;
    }
    int lapsBehind(const CarRow& car) const {
        for (size_t i = 0; i < count; ++i)
            if (std::strncmp(rows[i]->carClass, car.carClass, sizeof car.carClass) == 0)
                return lapBadge(*rows[i], car);
        return 0;
    }
};

} // namespace

void hashListFrame(Fnv64& hash, const SimFrame& frame, const PitLapTable& pits, int decimals) {
    const CarRow* player = playerRow(frame);
    const ClassLeaders leaders(frame);
    const float gapScale = decimals >= 2 ? 100 : 10;
    hash.flag(frame.connected != 0);
    hash.number(frame.simKind);
    hash.number(frame.playerCarIdx);
    hash.number(frame.radioCarIdx);
    hash.number(sessionKind(textOf(frame.sessionName)));
    hash.number(frame.wetnessLevel);
    hash.word(flagPriority(frame.sessionFlags));
    hash.word(frame.cars.size());
    for (const CarRow& car : frame.cars) {
        // Each car in chains of its own, which the processor works on side by side.
        hash.word(carNumbers(car, pits, gapScale));
        hash.word(carTexts(car));
        hash.number(leaders.lapsBehind(car) * 1024 + (player ? lapBadge(*player, car) : 0));
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
