#include "overlay/overlays/cells.h"

#include "base/format.h"
#include "base/utf8.h"
#include "overlay/frame/theme.h"
#include "overlay/overlays/brands.h"
#include "race/race_text.h"
#include "telemetry/sim_registry.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace vt {

namespace {

constexpr Color kAmber{0.878f, 0.710f, 0.290f};
constexpr Color kClassBest{0.78f, 0.53f, 1.0f};
constexpr Color kWetTyre{0.29f, 0.612f, 1.0f};
constexpr int kFirstWetLevel = 3; // iRacing allows wet tyres from "Very Lightly Wet" on

} // namespace

ListColours classicColours(Color accent) {
    return {.text = kTextColour,
            .dim = {0.60f, 0.63f, 0.68f},
            .accent = accent,
            .onAccent = textOn(accent),
            .positive = {0.3f, 0.85f, 0.4f},
            .negative = {0.95f, 0.35f, 0.3f},
            .ahead = {0.97f, 0.42f, 0.38f},
            .battle = {1.0f, 0.62f, 0.18f},
            .calm = {0.72f, 0.75f, 0.80f},
            .behind = {0.36f, 0.86f, 0.48f},
            .classBest = kClassBest,
            .ownBest = {0.36f, 0.86f, 0.48f},
            .amber = kAmber};
}

ListColours apexColours() {
    const OverlayTheme& theme = themePalette();
    return {.text = {0.92f, 0.935f, 0.95f},
            .dim = theme.textDim,
            .accent = theme.accent,
            .onAccent = theme.onAccent,
            .positive = kApexPositive,
            .negative = kApexNegative,
            .ahead = kApexNegative,
            .battle = kAmber,
            .calm = theme.text,
            .behind = kApexPositive,
            .classBest = kClassBest,
            .ownBest = kApexPositive,
            .amber = kAmber};
}

// ---- pieces ----

size_t signedSeconds(double seconds, int decimals, char* out, size_t capacity) {
    if (capacity > 0) out[0] = '\0';
    if (!std::isfinite(seconds) || std::abs(seconds) > 1e6) return 0;
    const int digits = std::clamp(decimals, 0, 2);
    const double step = digits == 0 ? 1 : digits == 1 ? 10 : 100;
    const bool zero = std::abs(seconds) * step < 0.5 + 1e-9;
    const int length = formatText(out, capacity, "%+.*f", digits, zero ? 0.0 : seconds);
    return static_cast<size_t>(length);
}

size_t ratingText(int rating, char* out, size_t capacity) {
    if (capacity > 0) out[0] = '\0';
    if (rating < 1) return 0;
    const int length = rating >= 1000 ? formatText(out, capacity, "%.1fk", rating / 1000.0)
                                      : formatText(out, capacity, "%d", rating);
    return static_cast<size_t>(length);
}

Color licenceColour(std::string_view licence) {
    switch (licence.empty() ? ' ' : asciiUpper(licence[0])) {
    case 'A':
        return {0.2f, 0.55f, 0.95f};
    case 'B':
        return {0.18f, 0.7f, 0.3f};
    case 'C':
        return {0.95f, 0.78f, 0.1f};
    case 'D':
        return {0.95f, 0.45f, 0.13f};
    case 'P':
        return {0.78f, 0.8f, 0.86f};
    case 'R':
        return {0.86f, 0.2f, 0.18f};
    default:
        return {0.55f, 0.57f, 0.62f};
    }
}

Color textOn(Color fill) {
    const float luminance = 0.2126f * fill.r + 0.7152f * fill.g + 0.0722f * fill.b;
    return luminance > 0.47f ? Color{0.05f, 0.06f, 0.08f} : Color{1, 1, 1};
}

bool multiclassFrame(const SimFrame& frame) {
    for (const CarRow& row : frame.cars)
        if (textOf(row.carClass) != textOf(frame.cars.front().carClass)) return true;
    return false;
}

bool uniformCompound(const SimFrame& frame) {
    int compound = -1;
    for (const CarRow& row : frame.cars) {
        if (row.tyreCompound < 0) continue;
        if (compound >= 0 && row.tyreCompound != compound) return false;
        compound = row.tyreCompound;
    }
    return compound >= 0;
}

int shownPosition(const CarRow& row, bool multiclass) {
    return multiclass && row.classPosition > 0 ? row.classPosition : row.position;
}

bool nearbyBattle(const std::vector<const CarRow*>& rows, size_t i, float seconds) {
    if (i >= rows.size() || !rows[i] || rows[i]->onPitRoad) return false;
    const auto close = [&](size_t other) {
        if (!rows[other] || rows[other]->onPitRoad) return false;
        // Sims without gaps leave them all 0.
        if (rows[i]->gapToLeader == 0 && rows[other]->gapToLeader == 0) return false;
        const float gap = std::abs(rows[i]->gapToLeader - rows[other]->gapToLeader);
        return std::isfinite(gap) && gap <= seconds && lapBadge(*rows[i], *rows[other]) == 0;
    };
    return (i > 0 && close(i - 1)) || (i + 1 < rows.size() && close(i + 1));
}

// ---- cells ----

namespace {

using CellMaker = void (*)(const CellScene&, const ColumnOptions&, const CarRow&,
                           const CarRow* classLeader, CellContent&);

bool isPlayer(const CellScene& scene, const CarRow& row) {
    return scene.player == &row;
}

Color rowClassColour(const CellScene& scene, const CarRow& row) {
    return classColour(scene.palette, textOf(row.carClass));
}

void show(CellContent& cell, Color colour) {
    if (cell.text[0] == '\0') return;
    cell.form = CellForm::text;
    cell.colour = colour;
}

void positionCell(const CellScene& s, const ColumnOptions& o, const CarRow& row, const CarRow*,
                  CellContent& cell) {
    const int position = shownPosition(row, s.multiclass);
    if (position > 0)
        formatText(cell.text, sizeof cell.text, "P%d", position);
    else
        copyText(cell.text, "-");
    cell.bold = true;
    show(cell, position > 0 ? s.colours.text : s.colours.dim);
    cell.talking = o.posTalking && s.frame->radioCarIdx >= 0 && row.carIdx == s.frame->radioCarIdx;
    if (!o.posSolidBg) return;
    cell.form = CellForm::pill;
    cell.fill = s.multiclass ? rowClassColour(s, row) : Color{1, 1, 1, 0.12f};
    if (s.multiclass) cell.colour = textOn(cell.fill);
}

void numberCell(const CellScene& s, const ColumnOptions&, const CarRow& row, const CarRow*,
                CellContent& cell) {
    if (row.carNumber[0] != '\0')
        copyText(cell.text, textOf(row.carNumber));
    else if (row.carNumberValue >= 0)
        formatText(cell.text, sizeof cell.text, "%d", row.carNumberValue);
    cell.bold = true;
    cell.align = TextAlign::center;
    cell.fill = rowClassColour(s, row);
    show(cell, textOn(cell.fill));
    if (cell.form == CellForm::text) cell.form = CellForm::pill;
}

void licenceCell(const CellScene& s, const ColumnOptions& o, const CarRow& row, const CarRow*,
                 CellContent& cell) {
    const std::string_view licence = textOf(row.licence);
    const size_t blank = licence.find(' ');
    if (o.licMode == 1)
        copyText(cell.text, licence.substr(0, blank));
    else if (o.licMode == 2 && blank != std::string_view::npos)
        copyText(cell.text, licence.substr(blank + 1));
    else
        copyText(cell.text, licence);
    const Color colour = licenceColour(licence);
    show(cell, o.licColorByClass ? colour : s.colours.text);
    if (cell.form == CellForm::empty) return;
    cell.form = o.licBadge ? CellForm::pill : CellForm::chip;
    cell.fill = o.licColorByClass ? colour : Color{0.5f, 0.53f, 0.6f};
    if (o.licBadge) cell.colour = textOn(cell.fill);
}

void ratingCell(const CellScene& s, const ColumnOptions&, const CarRow& row, const CarRow*,
                CellContent& cell) {
    ratingText(row.irating, cell.text, sizeof cell.text);
    show(cell, s.colours.text);
}

Color intervalColour(const ListColours& c, const ColumnOptions& o, float gap) {
    if (o.relColorMode == 2) return c.text;
    if (o.relColorMode == 1)
        return std::abs(gap) <= std::max(o.relBattleSec, 0.0f) ? c.battle : c.calm;
    return gap > 0 ? c.ahead : c.behind;
}

void intervalCell(const CellScene& s, const ColumnOptions& o, const CarRow& row, const CarRow*,
                  CellContent& cell) {
    if (isPlayer(s, row)) {
        cell.form = CellForm::mark;
        cell.colour = s.colours.text;
        return;
    }
    if (!(row.lapDistPct >= 0)) return;
    const float gap = row.gapToPlayer;
    if (signedSeconds(static_cast<double>(gap), o.relDecimals, cell.text, sizeof cell.text) == 0)
        return;
    cell.bold = true;
    show(cell, intervalColour(s.colours, o, gap));
    if (s.gapBar) cell.bar = std::min(std::abs(gap) / 3.0f, 1.0f);
}

void brandCell(const CellScene& s, const ColumnOptions& o, const CarRow& row, const CarRow*,
               CellContent& cell) {
    const std::string_view brand = textOf(row.carBrand);
    const BrandMark mark = brandMark(brand);
    copyText(cell.text, mark.text);
    cell.align = TextAlign::center;
    cell.bold = true;
    show(cell, mark.colour);
    if (cell.form == CellForm::empty) return;
    cell.fill = mark.colour;
    const bool apex = s.columns.style == kListApex;
    const bool wantsLogo = apex ? o.brandApexMark == 0 : o.brandStyle != 0;
    const bool both = !apex && o.brandStyle == 2;
    cell.logo = wantsLogo ? brandLogo(brand) : nullptr;
    const bool found = cell.logo != nullptr;
    cell.form = found ? CellForm::logo : wantsLogo ? CellForm::chip : CellForm::text;
    if (found && !both) cell.text[0] = '\0';
}

void leaderGapCell(const CellScene& s, const ColumnOptions&, const CarRow& row,
                   const CarRow* leader, CellContent& cell) {
    int laps = 0;
    if (s.columns.kind == ListKind::relative)
        relativeLeaderGapText(row, cell.text, sizeof cell.text);
    else if (leader)
        leaderGapText(row, *leader, cell.text, sizeof cell.text, laps);
    show(cell, laps > 0 || cell.text[0] == '-' ? s.colours.dim : s.colours.text);
}

void lapTimeCell(const CellScene& s, float seconds, int badge, CellContent& cell) {
    formatLapTimeTenths(cell.text, sizeof cell.text, static_cast<double>(seconds));
    show(cell, badge == 1 ? s.colours.classBest : badge == 2 ? s.colours.ownBest : s.colours.text);
    cell.bold = badge != 0;
}

void bestLapCell(const CellScene& s, const ColumnOptions& o, const CarRow& row, const CarRow*,
                 CellContent& cell) {
    lapTimeCell(s, row.bestLapTime, o.lapBestHighlight ? bestLapBadge(s.bests, row) : 0, cell);
}

void lastLapCell(const CellScene& s, const ColumnOptions& o, const CarRow& row, const CarRow*,
                 CellContent& cell) {
    lapTimeCell(s, row.lastLapTime, o.lapBestHighlight ? lastLapBadge(s.bests, row) : 0, cell);
}

void compoundCell(const CellScene& s, const ColumnOptions& o, const CarRow& row, const CarRow*,
                  CellContent& cell) {
    const int compound = row.tyreCompound;
    if (compound < 0) return;
    const bool wet =
        s.frame->simKind == kSimIRacing && compound == 1 && s.frame->wetnessLevel >= kFirstWetLevel;
    if (wet)
        copyText(cell.text, "W");
    else if (compound <= 2)
        formatText(cell.text, sizeof cell.text, "%c", "HMS"[compound]);
    else
        formatText(cell.text, sizeof cell.text, "C%d", compound);
    const Color colour = compound == 1   ? Color{1, 0.76f, 0.2f}
                         : compound == 2 ? Color{1, 0.36f, 0.54f}
                                         : Color{0.91f, 0.925f, 0.949f};
    cell.align = TextAlign::center;
    cell.bold = true;
    show(cell, wet && o.compWetDry ? kWetTyre : colour);
    if (o.compStyle == 0) cell.form = CellForm::dot;
}

void ratingGainCell(const CellScene& s, const ColumnOptions&, const CarRow& row, const CarRow*,
                    CellContent& cell) {
    bool known = false;
    const int gain = ratingGainOf(*s.frame, row, known);
    if (!known) return;
    formatText(cell.text, sizeof cell.text, "%+d", gain);
    show(cell, gain >= 0 ? s.colours.positive : s.colours.negative);
}

void lastDeltaCell(const CellScene& s, const ColumnOptions&, const CarRow& row, const CarRow*,
                   CellContent& cell) {
    if (!s.player || isPlayer(s, row) || !(row.lastLapTime > 0) || !(s.player->lastLapTime > 0))
        return;
    const double delta = static_cast<double>(row.lastLapTime - s.player->lastLapTime);
    signedSeconds(delta, 1, cell.text, sizeof cell.text);
    show(cell, delta < -0.05  ? s.colours.positive
               : delta > 0.05 ? s.colours.negative
                              : s.colours.text);
}

void pitTimeCell(const CellScene& s, const ColumnOptions&, const CarRow& row, const CarRow*,
                 CellContent& cell) {
    if (row.pitThisLap)
        copyText(cell.text, "OUT");
    else if (row.lastPitTime >= 0 && row.lastPitTime < 1e5f)
        formatText(cell.text, sizeof cell.text, "%.1fs", static_cast<double>(row.lastPitTime));
    show(cell, row.pitThisLap ? s.colours.amber : s.colours.text);
}

void tyreAgeCell(const CellScene& s, const ColumnOptions& o, const CarRow& row, const CarRow*,
                 CellContent& cell) {
    if (!s.pits) return;
    tyreAgeText(tyreAgeLaps(*s.pits, row), o.tyreAgeMode, cell.text, sizeof cell.text);
    show(cell, s.colours.text);
}

// The class is the row's own spine or tint, the driver the row's name, 11 and 13 are badges beside
// it; 12 and 15 no sim gives.
constexpr std::array<CellMaker, kColumnCount> kMakers = {
    positionCell, nullptr,        numberCell,    nullptr,       licenceCell,
    ratingCell,   intervalCell,   brandCell,     leaderGapCell, bestLapCell,
    lastLapCell,  nullptr,        nullptr,       nullptr,       compoundCell,
    nullptr,      ratingGainCell, lastDeltaCell, pitTimeCell,   tyreAgeCell};

} // namespace

CellContent cellContent(const CellScene& scene, int column, const CarRow& row,
                        const CarRow* classLeader) {
    CellContent cell;
    if (column < 0 || column >= kColumnCount) return cell;
    columnHeaderText(column, cell.align);
    if (const CellMaker make = kMakers[static_cast<size_t>(column)])
        make(scene, columnOptions(*scene.list, column), row, classLeader, cell);
    return cell;
}

} // namespace vt
