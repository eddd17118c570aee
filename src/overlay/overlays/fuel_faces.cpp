// The faces Classic, Full, Compact, Planner and Range of the Fuel overlay.
#include "base/translate.h"
#include "overlay/frame/theme.h"
#include "overlay/overlays/fuel_overlay.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

namespace vt {

namespace {

RectF inset(RectF box, float x, float y) {
    return {box.left + x, box.top + y, box.right - x, box.bottom - y};
}

/// Equal columns of a row, `gap` apart.
RectF column(RectF row, size_t index, size_t count, float gap) {
    const float width =
        (row.width() - gap * static_cast<float>(count - 1)) / static_cast<float>(count);
    const float left = row.left + (width + gap) * static_cast<float>(index);
    return {left, row.top, left + width, row.bottom};
}

void drawGrid(FuelFace& face, RectF box, const std::vector<FuelCell>& cells, size_t columns,
              float size) {
    const size_t rows = (cells.size() + columns - 1) / columns;
    const float gap = 6 * face.unit;
    const float height =
        (box.height() - gap * static_cast<float>(rows - 1)) / static_cast<float>(rows);
    for (size_t i = 0; i < cells.size(); ++i) {
        const float top = box.top + (height + gap) * static_cast<float>(i / columns);
        const RectF cell =
            column({box.left, top, box.right, top + height}, i % columns, columns, gap);
        face.p.canvas.fillRoundedRect(cell, 4 * face.unit, face.p.ground(themePalette().cellFill));
        drawFuelCell(face, inset(cell, 8 * face.unit, 4 * face.unit), cells[i], size);
    }
}

void drawTitle(FuelFace& face, RectF row, const char* title, const char* note) {
    const float size = 12 * face.unit;
    face.p.text(row, Translate(title), {Face::sans, size, 700}, themePalette().text);
    const float badge = 92 * face.unit;
    if (face.config.fuelShowBadge)
        drawFuelBadge(face, {row.right - badge, row.top, row.right, row.bottom},
                      face.shown.text.badge.data());
    const float left = row.left + face.p.width({Face::sans, size, 700}, Translate(title)) + size;
    face.p.text({left, row.top, row.right - (face.config.fuelShowBadge ? badge + 8 * face.unit : 0),
                 row.bottom},
                note, {Face::mono, size * 0.85f, 400}, themePalette().textDim);
}

void drawBig(FuelFace& face, RectF box, const char* value, const char* label, Color colour) {
    const float size = box.height() * 0.62f;
    const TextStyle figure{Face::mono, size, 700};
    face.p.text({box.left, box.top, box.right, box.top + box.height() * 0.78f}, value, figure,
                colour);
    face.p.text({box.left, box.bottom - box.height() * 0.24f, box.right, box.bottom}, label,
                {Face::sans, 9.5f * face.unit, 600}, themePalette().textDim);
}

std::string lapsText(float laps) {
    char text[32];
    if (laps < 0) return Translate("-- laps");
    std::snprintf(text, sizeof text, Translate("%d laps"),
                  static_cast<int>(std::min(laps, 9999.0f)));
    return text;
}

} // namespace

void drawFuelClassic(FuelFace& face, RectF rect) {
    const FuelTexts& t = face.shown.text;
    const FuelConfig& c = face.config;
    RectF row = inset(rect, 12 * face.unit, 8 * face.unit);
    if (c.fuelShowSparkline) {
        const float wide = 96 * face.unit;
        drawFuelSpark(face,
                      inset({row.right - wide, row.top, row.right, row.bottom}, 0, 10 * face.unit),
                      c.fuelShowAxis);
        row.right -= wide + 12 * face.unit;
    }
    if (c.fuelShowBadge) {
        const float wide = 96 * face.unit;
        const RectF box{row.right - wide, row.top + row.height() * 0.2f, row.right,
                        row.top + row.height() * 0.56f};
        drawFuelBadge(face, box, t.badge.data());
        face.p.text({box.left, box.bottom + 2 * face.unit, box.right, row.bottom},
                    t.badgeNote.data(), {Face::sans, 10 * face.unit, 600}, themePalette().textDim,
                    TextAlign::center);
        row.right -= wide + 12 * face.unit;
    }
    const char* tag = face.shown.view.status == kFuelLearning ? Translate("CALIBRATING")
                      : face.shown.view.timed                 ? Translate("TIMED")
                                                              : Translate("L in tank");
    std::vector<FuelCell> cells{{tag, t.tank.data()}};
    if (c.fuelShowPerLap) cells.push_back({Translate("Per lap"), t.burn.data()});
    if (c.fuelShowRemain) {
        cells.push_back({Translate("Laps in tank"), t.lapsInTank.data()});
        cells.push_back({face.shown.view.timed ? Translate("Time left") : Translate("Laps left"),
                         t.left.data()});
    }
    cells.push_back({Translate("Margin"), t.margin.data(), fuelStatusColour(face.shown)});
    if (c.fuelShowAddPit) cells.push_back({Translate("Add at pit"), t.add.data()});
    for (size_t i = 0; i < cells.size(); ++i)
        drawFuelCell(face, inset(column(row, i, cells.size(), 6 * face.unit), 0, 8 * face.unit),
                     cells[i], 18 * face.unit);
}

void drawFuelFull(FuelFace& face, RectF rect) {
    const FuelTexts& t = face.shown.text;
    const float u = face.unit;
    const RectF box = inset(rect, 14 * u, 12 * u);
    char note[96];
    if (face.shown.view.pitLap >= 0)
        std::snprintf(note, sizeof note, "PER-LAP %s  PIT L%d", t.burn.data(),
                      face.shown.view.pitLap);
    else
        std::snprintf(note, sizeof note, "%s", t.badgeNote.data());
    drawTitle(face, {box.left, box.top, box.right, box.top + 22 * u}, "FUEL", note);
    const RectF hero{box.left, box.top + 30 * u, box.left + 132 * u, box.top + 90 * u};
    drawBig(face, hero, t.tank.data(), Translate("L IN TANK"), themePalette().text);
    drawFuelBar(face, {hero.right + 10 * u, hero.top + 10 * u, box.right, hero.top + 26 * u});
    if (face.config.fuelShowSparkline)
        drawFuelSpark(face, {hero.right + 10 * u, hero.top + 34 * u, box.right, hero.bottom},
                      face.config.fuelShowAxis);
    std::vector<FuelCell> cells{
        {Translate("PER LAP"), t.burn.data()},
        {Translate("LAPS IN TANK"), t.lapsInTank.data()},
        {t.leftLabel.data(), t.left.data()},
        {Translate("MARGIN"), t.margin.data(), fuelStatusColour(face.shown)},
        {Translate("ADD AT PIT"), t.add.data()},
        {Translate("TO FINISH"), t.toFinish.data()}};
    drawGrid(face, {box.left, hero.bottom + 10 * u, box.right, box.bottom}, cells, 3, 17 * u);
}

void drawFuelCompact(FuelFace& face, RectF rect) {
    const FuelTexts& t = face.shown.text;
    const float u = face.unit;
    const RectF box = inset(rect, 14 * u, 12 * u);
    drawTitle(face, {box.left, box.top, box.right, box.top + 22 * u}, "FUEL", "");
    const RectF hero{box.left, box.top + 28 * u, box.right, box.top + 84 * u};
    drawBig(face, {hero.left, hero.top, hero.left + hero.width() * 0.52f, hero.bottom},
            t.tank.data(), Translate("L IN TANK"), themePalette().text);
    const bool needs = face.shown.view.addAtPit > 0;
    const bool known = face.shown.view.toFinishKnown && face.shown.view.status != kFuelLearning;
    drawFuelCell(
        face, {hero.left + hero.width() * 0.54f, hero.top + 6 * u, hero.right, hero.bottom},
        {Translate("ADD AT PIT"), known && !needs ? Translate("NO ADD NEEDED") : t.add.data(),
         needs ? fuelStatusColour(face.shown) : themePalette().text},
        18 * u, TextAlign::trailing);
    drawFuelBar(face, {box.left, hero.bottom + 8 * u, box.right, hero.bottom + 22 * u});
    drawGrid(face, {box.left, hero.bottom + 32 * u, box.right, box.bottom},
             {{Translate("PER-LAP"), t.burn.data()},
              {Translate("LAPS IN TANK"), t.lapsInTank.data()},
              {t.leftLabel.data(), t.left.data()},
              {Translate("MARGIN"), t.margin.data(), fuelStatusColour(face.shown)}},
             2, 15 * u);
}

void drawFuelPlanner(FuelFace& face, RectF rect) {
    const FuelTexts& t = face.shown.text;
    const FuelView& view = face.shown.view;
    const float u = face.unit;
    const RectF box = inset(rect, 14 * u, 12 * u);
    drawTitle(face, {box.left, box.top, box.right, box.top + 22 * u}, "FUEL",
              Translate("PIT PLAN"));
    char add[24], note[96], now[96], target[32], stops[16];
    std::snprintf(add, sizeof add, "%.1f", static_cast<double>(view.addAtPit));
    const bool known = view.toFinishKnown && view.status != kFuelLearning;
    const char* why = view.status == kFuelLearning ? Translate("learning fuel burn")
                      : !view.toFinishKnown        ? Translate("no race length")
                                                   : nullptr;
    const float spare = view.burnValid ? std::max(view.addAtPit - view.delta, 0.0f) / view.burn : 0;
    if (why)
        std::snprintf(note, sizeof note, "%s", why);
    else if (view.addAtPit > 0)
        std::snprintf(note, sizeof note, Translate("fills to finish + %.1f lap margin"),
                      static_cast<double>(spare));
    else
        std::snprintf(note, sizeof note, "%s", Translate("NO ADD NEEDED"));
    const RectF hero{box.left, box.top + 32 * u, box.right, box.top + 104 * u};
    drawBig(face, hero, known ? add : "--", Translate("ADD AT NEXT STOP"),
            view.addAtPit > 0 ? fuelStatusColour(face.shown) : themePalette().text);
    face.p.text({hero.left + hero.width() * 0.5f, hero.top + 8 * u, hero.right, hero.top + 26 * u},
                note, {Face::sans, 11 * u, 600}, themePalette().textDim, TextAlign::trailing);
    std::snprintf(now, sizeof now, Translate("now %s L"), t.tank.data());
    if (known)
        std::snprintf(target, sizeof target, Translate("target %.1f L"),
                      static_cast<double>(view.fuel + view.addAtPit));
    else
        std::snprintf(target, sizeof target, "%s", Translate("target --"));
    face.p.text({hero.left + hero.width() * 0.5f, hero.top + 28 * u, hero.right, hero.top + 46 * u},
                now, {Face::mono, 11 * u, 400}, themePalette().text, TextAlign::trailing);
    face.p.text({hero.left + hero.width() * 0.5f, hero.top + 46 * u, hero.right, hero.top + 64 * u},
                target, {Face::mono, 11 * u, 400}, themePalette().text, TextAlign::trailing);
    drawFuelBar(face, {box.left, hero.bottom + 10 * u, box.right, hero.bottom + 24 * u});
    char laps[16];
    std::snprintf(laps, sizeof laps, "%d", view.lapsBeforePit);
    const int needed = view.capacity > 0
                           ? static_cast<int>(std::ceil(view.addAtPit / view.capacity))
                       : view.addAtPit > 0 ? 1
                                           : 0;
    std::snprintf(stops, sizeof stops, "%d", std::clamp(needed, 0, 99));
    drawGrid(face, {box.left, hero.bottom + 36 * u, box.right, box.bottom},
             {{Translate("LAPS TO PIT"), view.lapsBeforePit >= 0 ? laps : "--"},
              {Translate("PER LAP"), t.burn.data()},
              {Translate("STOPS LEFT"), known ? stops : "--"}},
             3, 17 * u);
}

void drawFuelRange(FuelFace& face, RectF rect) {
    const FuelTexts& t = face.shown.text;
    const FuelView& view = face.shown.view;
    const float u = face.unit;
    const RectF box = inset(rect, 14 * u, 12 * u);
    const char* word = view.status == kFuelLearning ? Translate("LEARNING")
                       : !view.toFinishKnown        ? Translate("READY")
                       : view.status == kFuelShort  ? Translate("PIT REQUIRED")
                                                    : Translate("FUEL OK");
    drawTitle(face, {box.left, box.top, box.right, box.top + 22 * u}, "FUEL", "");
    face.p.text({box.left, box.top + 28 * u, box.right, box.top + 58 * u}, word,
                {Face::sans, 22 * u, 700}, fade(fuelStatusColour(face.shown), face.shown.flash));
    const float span = std::max({view.lapsInTank, view.lapsToFinish, 1.0f});
    const auto lane = [&](float top, const char* label, float laps, Color colour) {
        const RectF row{box.left, top, box.right, top + 34 * u};
        face.p.text({row.left, row.top, row.right, row.top + 16 * u}, label,
                    {Face::sans, 10 * u, 600}, themePalette().textDim);
        face.p.text({row.left, row.top, row.right, row.top + 16 * u}, lapsText(laps),
                    {Face::mono, 12 * u, 700}, themePalette().text, TextAlign::trailing);
        const RectF bar{row.left, row.top + 19 * u, row.right, row.top + 29 * u};
        face.p.canvas.fillRoundedRect(bar, 4 * u, face.p.ink(themePalette().cellFill));
        if (laps > 0)
            face.p.canvas.fillRoundedRect({bar.left, bar.top,
                                           bar.left + std::max(bar.width() * laps / span, 8 * u),
                                           bar.bottom},
                                          4 * u, face.p.ink(colour));
    };
    lane(box.top + 64 * u, Translate("IN TANK"), view.lapsInTank, fuelStatusColour(face.shown));
    lane(box.top + 100 * u, Translate("RACE LEFT"), view.lapsToFinish, themePalette().accent);
    char shortBy[40];
    std::snprintf(shortBy, sizeof shortBy, "%.1f L", static_cast<double>(view.delta));
    drawGrid(face, {box.left, box.top + 144 * u, box.right, box.bottom - 20 * u},
             {view.status == kFuelShort
                  ? FuelCell{Translate("SHORT BY"), shortBy, fuelStatusColour(face.shown)}
                  : FuelCell{Translate("MARGIN"), t.margin.data(), fuelStatusColour(face.shown)},
              {Translate("ADD AT PIT"), t.add.data()},
              {Translate("PER LAP"), t.burn.data()}},
             3, 16 * u);
    char left[80];
    std::snprintf(left, sizeof left,
                  view.toFinishKnown || view.status == kFuelLearning
                      ? Translate("%s left")
                      : Translate("no race length known"),
                  t.left.data());
    face.p.text({box.left, box.bottom - 16 * u, box.right, box.bottom}, left,
                {Face::sans, 10.5f * u, 600}, themePalette().textDim);
}

} // namespace vt
