// Who is ahead and behind on the road, best laps, whole-lap badges, gaps to the leader, tyre age.
#include "base/format.h"
#include "base/utf8.h"
#include "race/race_text.h"
#include "race/relative_model.h"

#include <algorithm>
#include <cmath>

namespace vt {

// ---- neighbours ----

std::vector<RelativeRow> relativeRows(const SimFrame* frame, int ahead, int behind,
                                      const CarRow*& player) {
    player = nullptr;
    ahead = std::max(ahead, 0);
    behind = std::max(behind, 0);
    std::vector<RelativeRow> rows(static_cast<size_t>(ahead + 1 + behind));
    for (size_t i = 0; i < rows.size(); ++i)
        rows[i].kind = i < static_cast<size_t>(ahead) ? 0 : i == static_cast<size_t>(ahead) ? 1 : 2;
    if (!frame || !frame->connected) return rows;
    player = playerRow(*frame);
    if (!player) return rows;
    rows[static_cast<size_t>(ahead)] = {player, 1, player->gapToPlayer};

    std::vector<const CarRow*> front, back;
    for (const CarRow& row : frame->cars) {
        if (&row == player || !(row.lapDistPct >= 0) || !std::isfinite(row.gapToPlayer)) continue;
        (row.gapToPlayer > 0 ? front : back).push_back(&row);
    }
    const auto nearestFirst = [](const CarRow* a, const CarRow* b) {
        return std::abs(a->gapToPlayer) < std::abs(b->gapToPlayer);
    };
    std::sort(front.begin(), front.end(), nearestFirst);
    std::sort(back.begin(), back.end(), nearestFirst);
    for (size_t i = 0; i < std::min(front.size(), static_cast<size_t>(ahead)); ++i)
        rows[static_cast<size_t>(ahead) - 1 - i] = {front[i], 0, front[i]->gapToPlayer};
    for (size_t i = 0; i < std::min(back.size(), static_cast<size_t>(behind)); ++i)
        rows[static_cast<size_t>(ahead) + 1 + i] = {back[i], 2, back[i]->gapToPlayer};
    return rows;
}

// ---- best laps ----

namespace {

constexpr float kSameLap = 0.005f; // s; times of one lap from two sources differ by rounding

const ClassBests::Entry* bestsOf(const ClassBests& bests, const CarRow& row) {
    const std::string_view name = textOf(row.carClass);
    for (const ClassBests::Entry& entry : bests.classes)
        if (entry.className == name) return &entry;
    return nullptr;
}

void takeBest(ClassBests::Entry& entry, const CarRow& row) {
    if (row.bestFromEarlier || !(row.bestLapTime > 0) || !std::isfinite(row.bestLapTime)) return;
    if (entry.bestCarIdx >= 0 && entry.bestTime <= row.bestLapTime) return;
    entry.bestCarIdx = row.carIdx;
    entry.bestTime = row.bestLapTime;
}

} // namespace

ClassBests buildClassBests(const SimFrame& frame, bool perClass) {
    ClassBests bests;
    bests.playerCarIdx = frame.playerCarIdx;
    ClassBests::Entry overall;
    for (const CarRow& row : frame.cars) {
        const std::string_view name = textOf(row.carClass);
        auto entry = std::find_if(bests.classes.begin(), bests.classes.end(),
                                  [&](const auto& e) { return e.className == name; });
        if (entry == bests.classes.end())
            entry = bests.classes.insert(entry, ClassBests::Entry{name, -1, 0});
        takeBest(*entry, row);
        takeBest(overall, row);
    }
    if (!perClass)
        for (ClassBests::Entry& entry : bests.classes)
            entry = {entry.className, overall.bestCarIdx, overall.bestTime};
    const CarRow* player = playerRow(frame);
    if (player && !player->bestFromEarlier) bests.playerBest = player->bestLapTime;
    return bests;
}

int bestLapBadge(const ClassBests& bests, const CarRow& row) {
    if (row.bestFromEarlier || !(row.bestLapTime > 0)) return 0;
    const ClassBests::Entry* entry = bestsOf(bests, row);
    if (entry && entry->bestCarIdx == row.carIdx && row.carIdx >= 0) return 1;
    return row.carIdx == bests.playerCarIdx ? 2 : 0;
}

int lastLapBadge(const ClassBests& bests, const CarRow& row) {
    if (!(row.lastLapTime > 0)) return 0;
    const ClassBests::Entry* entry = bestsOf(bests, row);
    if (entry && entry->bestCarIdx == row.carIdx && entry->bestTime > 0 &&
        std::abs(entry->bestTime - row.lastLapTime) < kSameLap)
        return 1;
    if (row.carIdx == bests.playerCarIdx && bests.playerBest > 0 &&
        std::abs(bests.playerBest - row.lastLapTime) < kSameLap)
        return 2;
    return 0;
}

// ---- laps and gaps ----

namespace {

/// A car that is not in the world has no place on its lap and counts from the line.
double lapShare(const CarRow& row) {
    return std::isfinite(row.lapDistPct) ? std::clamp(static_cast<double>(row.lapDistPct), 0.0, 1.0)
                                         : 0.0;
}

/// Whole laps by which `front` has come further, fractions of a lap counted in.
int lapsAhead(const CarRow& front, const CarRow& back) {
    if (front.lap < 0 || back.lap < 0) return 0;
    return static_cast<int>((lapShare(front) - lapShare(back)) + (front.lap - back.lap));
}

size_t emptyText(char* out, size_t capacity) {
    if (capacity > 0) out[0] = '\0';
    return 0;
}

size_t leaderText(char* out, size_t capacity) {
    return static_cast<size_t>(formatText(out, capacity, "--"));
}

size_t gapText(float seconds, char* out, size_t capacity) {
    if (!std::isfinite(seconds) || !(seconds > 0.05f)) return emptyText(out, capacity);
    return static_cast<size_t>(formatText(out, capacity, "+%.1f", static_cast<double>(seconds)));
}

} // namespace

int lapBadge(const CarRow& player, const CarRow& row) {
    return lapsAhead(player, row);
}

size_t leaderGapText(const CarRow& row, const CarRow& leader, char* out, size_t capacity,
                     int& laps) {
    laps = 0;
    if (row.carIdx == leader.carIdx) return leaderText(out, capacity);
    const int behind = lapsAhead(leader, row);
    if (behind > 0) {
        laps = behind;
        return static_cast<size_t>(formatText(out, capacity, "+%dL", behind));
    }
    return gapText(row.gapToLeader - leader.gapToLeader, out, capacity);
}

size_t relativeLeaderGapText(const CarRow& row, char* out, size_t capacity) {
    if (row.position == 1 || row.classPosition == 1) return leaderText(out, capacity);
    return gapText(row.gapToLeader, out, capacity);
}

// ---- tyre age ----

PitLapTable pitLaps;

void updatePitLaps(PitLapTable& table, const SimFrame* frame) {
    const bool live = frame && frame->connected;
    const std::string_view name = frame ? textOf(frame->sessionName) : std::string_view();
    if (!live || !table.started || name != textOf(table.sessionName)) {
        table.lap.fill(-1);
        copyText(table.sessionName, name);
    }
    table.started = true;
    if (!frame) return;
    for (const CarRow& row : frame->cars) {
        if (row.carIdx < 0 || row.carIdx >= static_cast<int>(table.lap.size()) || row.lap < 0)
            continue;
        int& entry = table.lap[static_cast<size_t>(row.carIdx)];
        if (row.pitThisLap)
            entry = row.lap;
        else if (entry > row.lap)
            entry = -1;
    }
}

int tyreAgeLaps(const PitLapTable& table, const CarRow& row) {
    if (!table.started || row.carIdx < 0 || row.carIdx >= static_cast<int>(table.lap.size()))
        return -1;
    const int entry = table.lap[static_cast<size_t>(row.carIdx)];
    return entry < 0 || row.lap < entry ? -1 : row.lap - entry;
}

size_t tyreAgeText(int laps, int mode, char* out, size_t capacity) {
    if (laps < 0) return emptyText(out, capacity);
    if (mode == 1)
        return static_cast<size_t>(formatText(out, capacity, "%s",
                                              laps < 3    ? "NEW"
                                              : laps < 15 ? "OK"
                                                          : "OLD"));
    return static_cast<size_t>(formatText(out, capacity, "%dL", laps));
}

} // namespace vt
