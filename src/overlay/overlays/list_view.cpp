// What Relative and Standings have in common, and the Relative.
#include "overlay/overlays/list_view.h"

#include "base/format.h"
#include "base/translate.h"
#include "base/utf8.h"
#include "overlay/frame/theme.h"
#include "overlay/overlays/list_build.h"
#include "race/race_text.h"
#include "telemetry/sim_registry.h"

#include <algorithm>
#include <cmath>

namespace vt {

ColumnScene columnScene(ListKind kind, int style, const ListSource& source) {
    ColumnScene scene{.kind = kind, .style = clampListStyle(style), .sim = source.sim};
    const SimFrame* frame = source.frame;
    if (!frame || !frame->connected) return scene;
    scene.sim = frame->simKind;
    scene.session = sessionKind(textOf(frame->sessionName));
    scene.uniformCompound = uniformCompound(*frame);
    return scene;
}

CellScene beginView(ListView& view, const ColumnScene& scene, const ColumnList& list,
                    bool bestPerClass, const ListSource& source) {
    CellScene cells;
    cells.list = &view.list;
    cells.columns = scene;
    cells.pits = source.pits;
    cells.colours =
        scene.style == kListApex ? apexColours() : classicColours(accentColour(source.accentTheme));
    if (source.frame && source.frame->connected) {
        cells.frame = source.frame;
        cells.player = playerRow(*source.frame);
        cells.palette = buildClassPalette(*source.frame, cells.player);
        cells.bests = buildClassBests(*source.frame, bestPerClass);
        cells.multiclass = multiclassFrame(*source.frame);
    }
    view.kind = scene.kind;
    view.style = scene.style;
    view.multiclass = cells.multiclass;
    view.colours = cells.colours;
    view.list = list;
    view.columns = columnOrder(list, scene);
    view.gapBar = cells.gapBar = hasGapBar(list, scene);
    view.hasName = columnVisible(list, scene, kColumnDriver);
    // Only Classic lets the class column be switched; the other looks always tell classes apart.
    const bool asked = scene.style != kListClassic || columnVisible(list, scene, kColumnClass);
    const bool classed = cells.multiclass || (cells.player && cells.player->carClass[0] != '\0');
    view.classTint = scene.style == kListClassic && asked && classed &&
                     columnOptions(list, kColumnClass).classStyle == 1;
    view.classSpine = asked && classed && !view.classTint;
    std::erase(view.columns, static_cast<int>(kColumnClass));
    view.head = {};
    view.rows.clear();
    view.blocks.clear();
    view.cells.clear();
    copyText(view.head.title,
             Translate(scene.kind == ListKind::relative ? "RELATIVE" : "STANDINGS"));
    return cells;
}

void addBlankRow(ListView& view, int kind) {
    ListRow row;
    row.kind = kind;
    row.firstCell = view.cells.size();
    view.cells.resize(view.cells.size() + view.columns.size());
    view.rows.push_back(row);
}

void driverNameText(const CarRow& row, const ColumnOptions& options, char* out, size_t capacity) {
    const size_t length = formatDriverName(textOf(row.driverName), options.nameMode, out, capacity);
    std::transform(out, out + length, out, [](char c) { return asciiUpper(c); });
}

void addCarRow(ListView& view, const CellScene& scene, const CarRow& car, const CarRow* classLeader,
               bool battle) {
    ListRow row;
    row.blank = false;
    row.player = scene.player == &car;
    row.onPitRoad = car.onPitRoad != 0;
    row.classColour = classColour(scene.palette, textOf(car.carClass));
    const ColumnOptions& name = columnOptions(view.list, kColumnDriver);
    driverNameText(car, name, row.name, sizeof row.name);
    row.nameColour = battle && name.nameBattle ? scene.colours.battle : scene.colours.text;
    row.showPitBadge = car.onPitRoad && columnVisible(view.list, scene.columns, kColumnPit);
    if (scene.player && !row.player && columnVisible(view.list, scene.columns, kColumnLapDelta))
        row.laps = lapBadge(*scene.player, car);
    if (row.laps != 0) formatText(row.lapBadge, sizeof row.lapBadge, "%+dL", row.laps);
    row.firstCell = view.cells.size();
    for (const int column : view.columns)
        view.cells.push_back(
            column == kColumnDriver ? CellContent{} : cellContent(scene, column, car, classLeader));
    view.rows.push_back(row);
}

// ---- heads ----

namespace {

struct FlagWord {
    uint32_t flag;
    const char* word;
    Color colour;
};

constexpr FlagWord kFlagWords[] = {
    {kFlagGreen, "GREEN", {0.227f, 0.875f, 0.486f}},
    {kFlagYellow, "YELLOW", {0.878f, 0.710f, 0.290f}},
    {kFlagWhite, "WHITE", {0.93f, 0.94f, 0.96f}},
    {kFlagBlue, "BLUE", {0.29f, 0.612f, 1.0f}},
    {kFlagChequered, "CHECKERED", {0.93f, 0.94f, 0.96f}},
};

} // namespace

void headFlag(ListHead& head, const SimFrame& frame) {
    const uint32_t flag = flagPriority(frame.sessionFlags);
    for (const FlagWord& word : kFlagWords) {
        if (word.flag != flag) continue;
        copyText(head.flag, Translate(word.word));
        head.flagColour = word.colour;
    }
}

void headTime(ListHead& head, const SimFrame& frame) {
    char text[16];
    if (!(frame.timeRemain > 0) || !(frame.timeRemain < 86400)) return;
    if (formatDuration(text, sizeof text, frame.timeRemain) == 0) return;
    formatText(head.time, sizeof head.time, "%s %s", Translate("TIME"), text);
}

void strengthText(char* out, size_t capacity, uint32_t strength) {
    char rating[16];
    if (capacity > 0) out[0] = '\0';
    if (ratingText(static_cast<int>(strength), rating, sizeof rating) == 0) return;
    if (strength < 1000)
        formatText(out, capacity, Translate("SOF %d"), static_cast<int>(strength));
    else
        formatText(out, capacity, Translate("SOF %s"), rating);
}

void headPlace(ListHead& head, const CarRow& player, bool multiclass) {
    const int shown = shownPosition(player, multiclass);
    if (shown < 1) return;
    formatText(head.place, sizeof head.place, "P%d", shown);
    if (multiclass && player.classPosition > 0 && player.position > 0)
        formatText(head.overall, sizeof head.overall, Translate("P%d OVERALL"), player.position);
}

// ---- the Relative ----

namespace {

void relativeHead(ListView& view, const CellScene& scene) {
    const CarRow& player = *scene.player;
    ListHead& head = view.head;
    headPlace(head, player, scene.multiclass);
    copyText(head.group, scene.multiclass ? textOf(player.carClass) : std::string_view());
    if (scene.frame->simKind == kSimIRacing)
        strengthText(head.strength, sizeof head.strength,
                     classStrength(*scene.frame, textOf(player.carClass)));
    headFlag(head, *scene.frame);
    char time[16];
    if (formatLapTimeTenths(time, sizeof time, static_cast<double>(player.bestLapTime)) > 0)
        formatText(head.best, sizeof head.best, "%s", time);
    if (formatLapTimeTenths(time, sizeof time, static_cast<double>(player.lastLapTime)) > 0)
        formatText(head.last, sizeof head.last, "%s", time);
    head.bestColour =
        bestLapBadge(scene.bests, player) == 1 ? scene.colours.classBest : scene.colours.text;
    const int lastBadge = lastLapBadge(scene.bests, player);
    head.lastColour = lastBadge == 1   ? scene.colours.classBest
                      : lastBadge == 2 ? scene.colours.ownBest
                                       : scene.colours.text;
}

/// Is that car in battle within its own class's running order?
class BattleLookup {
public:
    BattleLookup(const CellScene& scene, const ColumnOptions& name) : seconds_(0) {
        if (!scene.frame || !name.nameBattle) return;
        seconds_ = static_cast<float>(name.nameBattleSec);
        classes_ = standingsClasses(*scene.frame, scene.player);
    }
    bool operator()(const CarRow& car) const {
        for (const StandingsClass& c : classes_)
            for (size_t i = 0; i < c.rows.size(); ++i)
                if (c.rows[i] == &car) return nearbyBattle(c.rows, i, seconds_);
        return false;
    }

private:
    float seconds_;
    std::vector<StandingsClass> classes_;
};

} // namespace

void buildRelativeView(ListView& view, const RelativeConfig& config, const ListSource& source) {
    const ColumnScene columns = columnScene(ListKind::relative, config.relStyle, source);
    const CellScene scene = beginView(view, columns, config.columns, config.bestPerClass, source);
    const int ahead = std::clamp(config.rowsAhead, 0, 5);
    const int behind = std::clamp(config.rowsBehind, 0, 5);
    const CarRow* player = nullptr;
    const auto rows = relativeRows(source.frame, ahead, behind, player);
    const BattleLookup inBattle(scene, columnOptions(view.list, kColumnDriver));
    for (const RelativeRow& row : rows) {
        if (!row.car) {
            addBlankRow(view, row.kind);
            continue;
        }
        addCarRow(view, scene, *row.car, nullptr, inBattle(*row.car));
        view.rows.back().kind = row.kind;
    }
    if (scene.player) relativeHead(view, scene);
    ListBlock all;
    all.rowCount = view.rows.size();
    view.blocks.push_back(all);
}

} // namespace vt
