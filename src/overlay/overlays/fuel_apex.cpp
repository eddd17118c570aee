// The Apex face of the Fuel overlay, in its four layouts.
#include "base/translate.h"
#include "overlay/frame/theme.h"
#include "overlay/overlays/fuel_overlay.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>

namespace vt {

namespace {

enum Layout { kBlocks, kTriHero, kCompact, kStrip };
constexpr int kBlockWidth = 104, kPlanWidth = 190, kWordWidth = 176;

RectF inset(RectF box, float x, float y) {
    return {box.left + x, box.top + y, box.right - x, box.bottom - y};
}

const char* arrowOf(const FuelPicture& shown) {
    return shown.burnFlash > 0 ? " \xE2\x96\xB2" : shown.burnFlash < 0 ? " \xE2\x96\xBC" : "";
}

std::string burnText(const FuelPicture& shown) {
    return std::string(shown.text.burn.data()) + (shown.view.burnValid ? "L" : "") + arrowOf(shown);
}

void drawHeroes(FuelFace& face, RectF row) {
    const FuelTexts& t = face.shown.text;
    const FuelCell cells[] = {
        {Translate("L IN TANK"), t.tank.data()},
        {Translate("LAPS OF FUEL"), t.lapsInTank.data(),
         face.shown.view.alertLevel > 0 ? fuelStatusColour(face.shown) : Color{0, 0, 0, 0}},
        {Translate("ADD"), t.add.data(),
         face.shown.view.addAtPit > 0 ? fuelStatusColour(face.shown) : Color{0, 0, 0, 0}}};
    const float wide = row.width() / 3;
    for (size_t i = 0; i < 3; ++i) {
        const float left = row.left + wide * static_cast<float>(i);
        drawFuelCell(face, {left, row.top + 4 * face.unit, left + wide - 6 * face.unit, row.bottom},
                     cells[i], 30 * face.unit);
    }
}

/// A stop that is far off is no alarm yet.
Color wordColour(const FuelPicture& shown) {
    return shown.view.status == kFuelShort && shown.phase == 0 ? themePalette().text
                                                               : fuelStatusColour(shown);
}

void drawWord(FuelFace& face, RectF row) {
    const FuelTexts& t = face.shown.text;
    const Color colour = wordColour(face.shown);
    face.p.canvas.fillRoundedRect(row, 5 * face.unit, face.p.ground(fade(colour, 0.16f)));
    const RectF in = inset(row, 10 * face.unit, 0);
    const TextStyle left{Face::sans, 12 * face.unit, 700}, value{Face::mono, 20 * face.unit, 700},
        right{Face::mono, 11 * face.unit, 400};
    const Color shown = fade(colour, face.shown.flash);
    face.p.text(in, t.bigLeft.data(), left, shown);
    const float after = in.left + face.p.width(left, t.bigLeft.data()) + 12 * face.unit;
    face.p.text({after, in.top, in.right, in.bottom}, t.bigValue.data(), value, shown);
    const float rest = after + face.p.width(value, t.bigValue.data()) + 12 * face.unit;
    if (rest < in.right)
        face.p.textCut({rest, in.top, in.right, in.bottom}, t.bigRight.data(), right,
                       themePalette().text, TextAlign::trailing);
}

void drawBarRow(FuelFace& face, RectF row) {
    const FuelView& view = face.shown.view;
    const TextStyle small{Face::mono, 9.5f * face.unit, 400};
    char end[32];
    if (face.shown.barOfLaps && view.lapsToFinish >= 0)
        std::snprintf(end, sizeof end, "%.0f %s", static_cast<double>(view.lapsToFinish),
                      Translate("LAPS"));
    else if (!face.shown.barOfLaps && view.capacity > 0)
        std::snprintf(end, sizeof end, "%.0f L", static_cast<double>(view.capacity));
    else
        std::snprintf(end, sizeof end, "--");
    const float wide = face.p.width(small, "000 LAPS") + 4 * face.unit;
    face.p.text({row.right - wide, row.top, row.right, row.bottom}, end, small,
                themePalette().textDim, TextAlign::trailing);
    drawFuelBar(face, {row.left, row.top + row.height() * 0.25f, row.right - wide - 6 * face.unit,
                       row.bottom - row.height() * 0.25f});
}

void drawStats(FuelFace& face, RectF row) {
    const FuelTexts& t = face.shown.text;
    const std::string burn = burnText(face.shown);
    const FuelCell cells[] = {{Translate("MINS OF FUEL"), t.minutes.data()},
                              {Translate("TO FINISH"), t.toFinish.data()},
                              {Translate("PER-LAP"), burn.c_str()},
                              {t.leftLabel.data(), t.left.data()}};
    const float wide = row.width() / 4;
    for (size_t i = 0; i < 4; ++i) {
        const float left = row.left + wide * static_cast<float>(i);
        drawFuelCell(face, {left, row.top + 2 * face.unit, left + wide - 4 * face.unit, row.bottom},
                     cells[i], 14 * face.unit);
    }
}

void drawPlan(FuelFace& face, RectF row) {
    const FuelTexts& t = face.shown.text;
    const float u = face.unit;
    face.p.canvas.fillRoundedRect(row, 4 * u, face.p.ground(themePalette().cellFill));
    const RectF in = inset(row, 8 * u, 4 * u);
    const float half = in.height() / 2;
    const TextStyle title{Face::sans, 9.5f * u, 700}, plan{Face::mono, 13 * u, 700},
        note{Face::mono, 11 * u, 400};
    face.p.text({in.left, in.top, in.right, in.top + half * 0.8f}, t.planTitle.data(), title,
                themePalette().accentText);
    face.p.text({in.left, in.top, in.right, in.top + half * 0.8f}, t.planNote.data(), note,
                themePalette().text, TextAlign::trailing);
    face.p.text({in.left, in.top + half * 0.8f, in.right, in.bottom}, t.plan.data(), plan,
                themePalette().text);
}

void drawFooter(FuelFace& face, RectF row) {
    face.p.canvas.fillRect({row.left, row.top, row.right, row.top + 1},
                           face.p.ink(themePalette().panelLine));
    face.p.textCut(inset(row, 0, 2 * face.unit), face.shown.text.footer.data(),
                   {Face::sans, 10.5f * face.unit, 600}, themePalette().textDim);
}

void drawRows(FuelFace& face, RectF rect) {
    const RectF in = inset(rect, 12 * face.unit, 8 * face.unit);
    float top = in.top;
    for (const FuelRow& row : fuelRows(face.config)) {
        const float height = static_cast<float>(row.height) * face.unit;
        const RectF box{in.left, top, in.right, top + height - 4 * face.unit};
        top += height;
        switch (row.kind) {
        case FuelRow::heroes:
            drawHeroes(face, box);
            break;
        case FuelRow::word:
            drawWord(face, box);
            break;
        case FuelRow::bar:
            drawBarRow(face, box);
            break;
        case FuelRow::stats:
            drawStats(face, box);
            break;
        case FuelRow::spark:
            drawFuelSpark(face, box, face.config.fuelShowAxis);
            break;
        case FuelRow::plan:
            drawPlan(face, box);
            break;
        case FuelRow::footer:
            drawFooter(face, box);
            break;
        }
    }
}

void drawBlocks(FuelFace& face, RectF rect) {
    const FuelTexts& t = face.shown.text;
    const FuelConfig& c = face.config;
    const float u = face.unit;
    RectF in = inset(rect, 10 * u, 8 * u);
    if (c.fuelShowFooter) {
        drawFooter(face, {in.left, in.bottom - 22 * u, in.right, in.bottom});
        in.bottom -= 26 * u;
    }
    const float barTop = in.bottom - 16 * u;
    drawBarRow(face, {in.left, barTop, in.right, in.bottom});
    // Widths follow the window's, heights its height.
    const float w = rect.width() / static_cast<float>(std::max(fuelBlocksWidth(c), 1));
    in.left = rect.left + 10 * w;
    float left = in.left;
    const auto block = [&](const FuelCell& cell) {
        const RectF box{left, in.top, left + (kBlockWidth - 6) * w, barTop - 6 * u};
        face.p.canvas.fillRoundedRect(box, 4 * u, face.p.ground(themePalette().cellFill));
        drawFuelCell(face, inset(box, 8 * u, 4 * u), cell, 20 * u);
        left += kBlockWidth * w;
    };
    const std::string burn = burnText(face.shown);
    block({Translate("L IN TANK"), t.tank.data()});
    if (c.fuelShowPerLap) block({Translate("PER-LAP"), burn.c_str()});
    if (c.fuelShowRemain) block({Translate("LAPS OF FUEL"), t.lapsInTank.data()});
    if (c.fuelShowAddPit) block({Translate("ADD AT PIT"), t.add.data()});
    if (c.fuelShowBadge) {
        const RectF box{left, in.top, left + (kWordWidth - 6) * w, barTop - 6 * u};
        const Color colour = wordColour(face.shown);
        face.p.canvas.fillRoundedRect(box, 4 * u, face.p.ground(fade(colour, 0.16f)));
        drawFuelCell(face, inset(box, 8 * u, 4 * u),
                     {t.bigLeft.data(), t.bigValue.data(), fade(colour, face.shown.flash)}, 20 * u);
        left += kWordWidth * w;
    }
    if (c.fuelShowSparkline) {
        drawFuelSpark(
            face, inset({left, in.top, left + (kBlockWidth - 6) * w, barTop - 6 * u}, 2 * u, 4 * u),
            c.fuelShowAxis);
        left += kBlockWidth * w;
    }
    if (c.fuelShowStrategy || face.shown.saving)
        drawPlan(face, {left, in.top, left + (kPlanWidth - 6) * w, barTop - 6 * u});
}

void drawStrip(FuelFace& face, RectF rect) {
    const TextStyle style{Face::mono, 14 * face.unit, 700};
    const RectF in = inset(rect, 10 * face.unit, 0);
    std::string line;
    for (const FuelText& part : face.shown.text.strip) {
        if (!part[0]) continue;
        const std::string longer = line.empty() ? part.data() : line + " \xC2\xB7 " + part.data();
        if (!line.empty() && face.p.width(style, longer) > in.width()) break;
        line = longer;
    }
    face.p.text(in, line, style,
                face.shown.view.status == kFuelShort ? fuelStatusColour(face.shown)
                                                     : themePalette().text,
                TextAlign::center);
}

} // namespace

std::vector<FuelRow> fuelRows(const FuelConfig& config) {
    std::vector<FuelRow> rows;
    const bool compact = config.fuelLayout == kCompact;
    if (!compact) rows.push_back({FuelRow::heroes, 62});
    if (config.fuelShowBadge || compact) rows.push_back({FuelRow::word, 40});
    rows.push_back({FuelRow::bar, 24});
    if (config.fuelShowStats || compact) rows.push_back({FuelRow::stats, 46});
    if (config.fuelShowSpark) rows.push_back({FuelRow::spark, 44});
    if (config.fuelShowStrategy || config.fuelShowSave) rows.push_back({FuelRow::plan, 46});
    if (config.fuelShowFooter && !compact) rows.push_back({FuelRow::footer, 26});
    return rows;
}

int fuelRowsHeight(const FuelConfig& config) {
    int height = 16;
    for (const FuelRow& row : fuelRows(config))
        height += row.height;
    return height;
}

int fuelBlocksWidth(const FuelConfig& config) {
    int width = 20 + kBlockWidth;
    width += (config.fuelShowPerLap + config.fuelShowRemain + config.fuelShowAddPit +
              config.fuelShowSparkline) *
             kBlockWidth;
    if (config.fuelShowBadge) width += kWordWidth;
    if (config.fuelShowStrategy || config.fuelShowSave) width += kPlanWidth;
    return width - 6;
}

void drawFuelApex(FuelFace& face, RectF rect) {
    if (face.shown.pulse > 0)
        face.p.canvas.fillRoundedRect(rect, themeCornerRadius(),
                                      face.p.ink(fade(kApexNegative, 0.28f * face.shown.pulse)));
    if (face.config.fuelLayout == kStrip)
        drawStrip(face, rect);
    else if (face.config.fuelLayout == kBlocks)
        drawBlocks(face, rect);
    else
        drawRows(face, rect);
}

} // namespace vt
