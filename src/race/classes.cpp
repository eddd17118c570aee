// How cars group into classes, in which order, and which of them a list shows.
#include "base/utf8.h"
#include "race/race_text.h"
#include "race/relative_model.h"

#include <algorithm>
#include <climits>
#include <cmath>

namespace vt {

const std::array<Color, kPaletteSize> kClassColours = {{{0.29f, 0.612f, 1.0f},
                                                        {0.878f, 0.627f, 0.125f},
                                                        {0.0f, 0.784f, 0.392f},
                                                        {0.608f, 0.424f, 1.0f},
                                                        {0.3f, 0.8f, 0.8f},
                                                        {1.0f, 0.45f, 0.7f}}};

int sessionKind(std::string_view sessionName) {
    const std::string_view name = sessionName.substr(0, 23);
    if (containsNoCase(name, "race")) return kSessionRace;
    if (containsNoCase(name, "qual")) return kSessionQualify;
    if (containsNoCase(name, "practice") || containsNoCase(name, "warmup") ||
        containsNoCase(name, "test"))
        return kSessionPractice;
    return kSessionUnknown;
}

// ---- palette ----

namespace {

struct RankedClass {
    std::string_view name;
    uint32_t strength = 0;
    bool isPlayers = false;
};

/// The classes of a frame, the player's first, then by strength; equal ones as they are met.
std::vector<RankedClass> rankedClasses(const SimFrame& frame, const CarRow* player) {
    std::vector<RankedClass> classes;
    for (const CarRow& row : frame.cars) {
        const std::string_view name = textOf(row.carClass);
        const auto known = std::find_if(classes.begin(), classes.end(),
                                        [&](const RankedClass& c) { return c.name == name; });
        if (known != classes.end()) continue;
        classes.push_back({name, classStrength(frame, name),
                           player != nullptr && textOf(player->carClass) == name});
    }
    std::stable_sort(classes.begin(), classes.end(),
                     [](const RankedClass& a, const RankedClass& b) {
                         if (a.isPlayers != b.isPlayers) return a.isPlayers;
                         return a.strength > b.strength;
                     });
    return classes;
}

} // namespace

ClassPalette buildClassPalette(const SimFrame& frame, const CarRow* player) {
    ClassPalette palette;
    for (const RankedClass& c : rankedClasses(frame, player)) {
        if (palette.count == kPaletteSize) break;
        auto& name = palette.names[static_cast<size_t>(palette.count++)];
        c.name.copy(name.data(), name.size() - 1);
    }
    return palette;
}

int classColourIndex(const ClassPalette& palette, std::string_view className) {
    for (int i = 0; i < palette.count; ++i)
        if (className == palette.names[static_cast<size_t>(i)].data()) return i;
    return 0;
}

Color classColour(const ClassPalette& palette, std::string_view className) {
    return kClassColours[static_cast<size_t>(classColourIndex(palette, className))];
}

// ---- standings ----

namespace {

int orderKey(const CarRow& row, bool named) {
    const int key = named && row.classPosition > 0 ? row.classPosition : row.position;
    return key < 1 ? INT_MAX : key;
}

bool standsBefore(const CarRow& a, const CarRow& b, bool named) {
    const int keyA = orderKey(a, named), keyB = orderKey(b, named);
    if (keyA != keyB) return keyA < keyB;
    if (a.position > 0 && b.position > 0 && a.position != b.position)
        return a.position < b.position;
    if (a.irating != b.irating) return a.irating > b.irating;
    if (a.carNumberValue != b.carNumberValue) return a.carNumberValue < b.carNumberValue;
    return a.carIdx < b.carIdx;
}

/// By insertion: rows whose sim gives positions to some only can make the comparison go round in a
/// circle, which the library's sorts do not allow.
void sortRows(std::vector<const CarRow*>& rows, bool named) {
    for (size_t i = 1; i < rows.size(); ++i) {
        const CarRow* row = rows[i];
        size_t at = i;
        for (; at > 0 && standsBefore(*row, *rows[at - 1], named); --at)
            rows[at] = rows[at - 1];
        rows[at] = row;
    }
}

} // namespace

std::vector<StandingsClass> standingsClasses(const SimFrame& frame, const CarRow* player) {
    std::vector<StandingsClass> classes;
    if (!frame.connected) return classes;
    const int kind = sessionKind(textOf(frame.sessionName));
    const bool unplacedToo = kind == kSessionQualify || kind == kSessionPractice;
    for (const CarRow& row : frame.cars) {
        if (row.position < 1 && !unplacedToo) continue;
        const std::string_view name = textOf(row.carClass);
        auto found = std::find_if(classes.begin(), classes.end(),
                                  [&](const StandingsClass& c) { return c.className == name; });
        if (found == classes.end()) {
            found = classes.emplace(classes.end());
            found->className = name;
        }
        found->rows.push_back(&row);
    }
    for (StandingsClass& c : classes) {
        c.strength = static_cast<int>(classStrength(frame, c.className));
        c.isPlayerClass = player != nullptr && textOf(player->carClass) == c.className;
        sortRows(c.rows, !c.className.empty());
    }
    std::stable_sort(classes.begin(), classes.end(),
                     [](const StandingsClass& a, const StandingsClass& b) {
                         if (a.isPlayerClass != b.isPlayerClass) return a.isPlayerClass;
                         return a.strength > b.strength;
                     });
    return classes;
}

std::vector<StandingsRow> standingsWindow(const std::vector<const CarRow*>& rows, int capacity,
                                          bool pinPlayer, int playerCarIdx) {
    std::vector<StandingsRow> shown;
    if (capacity < 1) return shown;
    const size_t room = static_cast<size_t>(capacity);
    shown.reserve(std::min(room, rows.size()));
    const auto player = std::find_if(rows.begin(), rows.end(), [&](const CarRow* row) {
        return pinPlayer && row->carIdx == playerCarIdx;
    });
    const bool pinned = player != rows.end() && static_cast<size_t>(player - rows.begin()) >= room;
    const size_t fromTop = std::min(rows.size(), pinned ? room - 1 : room);
    for (size_t i = 0; i < fromTop; ++i)
        shown.push_back({rows[i], false});
    if (pinned) shown.push_back({*player, true});
    return shown;
}

void nextRotationClass(ClassRotation& state, int classCount, int scope, float cycleSec,
                       uint64_t nowMs) {
    if (classCount < 1) return;
    if (scope == 2) {
        const double seconds =
            std::isfinite(cycleSec) ? std::clamp(static_cast<double>(cycleSec), 0.05, 10.0) : 1.0;
        const auto period = static_cast<uint64_t>(std::llround(seconds * 1000.0));
        if (state.stampMs == 0) {
            state.stampMs = nowMs;
        } else if (nowMs - state.stampMs >= period) {
            state.index = (state.index + 1) % classCount;
            state.stampMs = nowMs;
        }
    }
    if (state.index < 0 || state.index >= classCount) state.index = 0;
}

} // namespace vt
