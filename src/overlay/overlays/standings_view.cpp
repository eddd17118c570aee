// The Standings: which classes and rows, and the head above them.
#include "base/format.h"
#include "base/translate.h"
#include "base/utf8.h"
#include "overlay/overlays/list_build.h"
#include "race/race_text.h"
#include "telemetry/sim_registry.h"

#include <algorithm>
#include <cmath>

namespace vt {

namespace {

constexpr int kMaxRows = 64;

int capacityOf(const StandingsConfig& config, const StandingsClass& c) {
    return std::clamp(c.isPlayerClass ? config.standingsRows : config.standingsRowsOther, 1,
                      kMaxRows);
}

void planShown(StandingsPlan& plan, const StandingsConfig& config, int rotation) {
    if (plan.classes.empty()) return;
    if (config.standingsScope == 1) {
        for (size_t i = 0; i < plan.classes.size(); ++i)
            plan.shown.push_back(i);
        return;
    }
    const bool turns = config.standingsScope == 2;
    const auto index = static_cast<size_t>(std::max(rotation, 0));
    plan.shown.push_back(turns && index < plan.classes.size() ? index : 0);
}

/// "Fixed": the room that the settings allow, whether it is filled or not; with classes taking
/// turns, that of the largest.
StandingsExtent fixedExtent(const StandingsPlan& plan, const StandingsConfig& config, int style) {
    StandingsExtent extent = plan.extent;
    extent.rows = extent.gaps = extent.extraRows = 0;
    for (size_t i = 0; i < plan.classes.size(); ++i) {
        const StandingsClass& c = plan.classes[i];
        const int capacity = capacityOf(config, c);
        const bool mayPin = c.isPlayerClass && static_cast<int>(c.rows.size()) > capacity;
        if (config.standingsScope == 2)
            extent.rows = std::max(extent.rows, capacity);
        else if (config.standingsScope == 1 || i == 0)
            extent.rows += capacity;
        if (mayPin) extent.gaps = 1;
        if (c.isPlayerClass && style == kListApex) extent.extraRows = 1;
    }
    return extent;
}

} // namespace

StandingsPlan planStandings(const StandingsConfig& config, int style, const SimFrame* frame,
                            int rotation) {
    StandingsPlan plan;
    style = clampListStyle(style);
    if (frame && frame->connected) plan.player = playerRow(*frame);
    if (plan.player) {
        plan.classes = standingsClasses(*frame, plan.player);
        planShown(plan, config, rotation);
    }
    for (const size_t i : plan.shown) {
        const StandingsClass& c = plan.classes[i];
        plan.windows.push_back(
            standingsWindow(c.rows, capacityOf(config, c), c.isPlayerClass, frame->playerCarIdx));
        for (const StandingsRow& row : plan.windows.back()) {
            ++plan.extent.rows;
            if (row.pinned) ++plan.extent.gaps;
            if (row.car == plan.player && style == kListApex) ++plan.extent.extraRows;
        }
    }
    plan.extent.blocks = static_cast<int>(plan.shown.size());
    plan.extent.labels = standingsLabels(style, plan.extent.blocks);
    plan.sizeExtent =
        config.standingsSizeMode == 0 ? fixedExtent(plan, config, style) : plan.extent;
    return plan;
}

// ---- the view ----

namespace {

void blockTexts(ListBlock& block, const StandingsClass& c, const CellScene& scene) {
    const int cars = static_cast<int>(c.rows.size());
    copyText(block.name, c.className.empty() ? std::string_view(Translate("FIELD")) : c.className);
    formatText(block.detail, sizeof block.detail, Translate("%d CARS"), cars);
    if (scene.frame->simKind == kSimIRacing)
        strengthText(block.strength, sizeof block.strength, static_cast<uint32_t>(c.strength));
    block.players = c.isPlayerClass;
    block.colour = classColour(scene.palette, c.className);
}

void gapBetween(char (&out)[16], const CarRow& behind, const CarRow& front) {
    int laps = 0;
    leaderGapText(behind, front, out, sizeof out, laps);
}

/// Leader of the player's class and the car in front of the player there.
void headRivals(ListHead& head, const CellScene& scene, const StandingsClass& c,
                const ColumnList& list) {
    const ColumnOptions& name = columnOptions(list, kColumnDriver);
    const CarRow& leader = *c.rows.front();
    driverNameText(leader, name, head.leader, sizeof head.leader);
    const auto at = std::find(c.rows.begin(), c.rows.end(), scene.player);
    if (at == c.rows.end()) return;
    if (*at != &leader) gapBetween(head.leaderGap, **at, leader);
    if (at == c.rows.begin()) return;
    const CarRow& ahead = **(at - 1);
    driverNameText(ahead, name, head.ahead, sizeof head.ahead);
    gapBetween(head.aheadGap, **at, ahead);
}

void standingsHead(ListView& view, const CellScene& scene, const StandingsPlan& plan) {
    ListHead& head = view.head;
    headFlag(head, *scene.frame);
    headTime(head, *scene.frame);
    headPlace(head, *scene.player, scene.multiclass);
    if (plan.shown.empty()) return;
    const StandingsClass& first = plan.classes[plan.shown.front()];
    const int cars = static_cast<int>(first.rows.size());
    const bool own = first.isPlayerClass && view.style == kListApex;
    if (own && scene.multiclass)
        copyText(head.group, Translate("YOUR CLASS"));
    else if (first.className.empty())
        formatText(head.group, sizeof head.group, Translate("%d CARS"), cars);
    else
        formatText(head.group, sizeof head.group, Translate("%s · %d"),
                   std::string(first.className).c_str(), cars);
    if (scene.frame->simKind == kSimIRacing)
        strengthText(head.strength, sizeof head.strength, static_cast<uint32_t>(first.strength));
    for (const StandingsClass& c : plan.classes)
        if (c.isPlayerClass && !c.rows.empty()) headRivals(head, scene, c, view.list);
}

} // namespace

void buildStandingsView(ListView& view, const StandingsConfig& config, const ListSource& source,
                        const StandingsPlan& plan) {
    const ColumnScene columns = columnScene(ListKind::standings, config.stdStyle, source);
    const CellScene scene = beginView(view, columns, config.columns, config.bestPerClass, source);
    if (!scene.player) return;
    standingsHead(view, scene, plan);
    const ColumnOptions& name = columnOptions(view.list, kColumnDriver);
    const int labels = standingsLabels(columns.style, static_cast<int>(plan.shown.size()));
    for (size_t b = 0; b < plan.shown.size(); ++b) {
        const StandingsClass& c = plan.classes[plan.shown[b]];
        ListBlock block;
        block.firstRow = view.rows.size();
        block.rowCount = plan.windows[b].size();
        block.label = b + static_cast<size_t>(labels) >= plan.shown.size();
        blockTexts(block, c, scene);
        for (const StandingsRow& row : plan.windows[b]) {
            const auto at = std::find(c.rows.begin(), c.rows.end(), row.car);
            const bool battle =
                name.nameBattle && nearbyBattle(c.rows, static_cast<size_t>(at - c.rows.begin()),
                                                static_cast<float>(name.nameBattleSec));
            addCarRow(view, scene, *row.car, c.rows.front(), battle);
            view.rows.back().pinned = row.pinned;
        }
        view.blocks.push_back(block);
    }
}

} // namespace vt
