// The race arithmetic behind Relative and Standings: who is ahead and behind, classes and their
// order, strength of field, projected rating change, best laps, tyre age, short names. Pure
// functions over one frame, but for the two small records of state named below. Main thread, during
// a draw or a tick. Lists hold pointers into the frame and must not outlive it.
#pragma once
#include "base/geometry.h"
#include "telemetry/sim_frame.h"

#include <array>
#include <cstdint>
#include <string_view>
#include <vector>

namespace vt {

// ---- sessions and strength
// ---------------------------------------------------------------------------

enum SessionKind {
    kSessionUnknown = 0,
    kSessionRace = 1,
    kSessionQualify = 2,
    kSessionPractice = 3
};
int sessionKind(std::string_view sessionName);

/// K = 1600 / ln 2. Over rows with a rating: K * ln(n / sum of exp(-rating / K)), rounded; 0 for
/// none.
uint32_t strengthOfField(const std::vector<const CarRow*>& rows);
/// Over all rows of that class; over all rows for an empty name.
uint32_t classStrength(const SimFrame& frame, std::string_view className);
std::vector<const CarRow*> ratingFieldOf(const SimFrame& frame);
/// Projected change of the car's rating for its present place; false when there is none.
bool projectRatingGain(const std::vector<const CarRow*>& rows, int carIdx, int& gain);
/// `known` false when the row has no rating.
int ratingGainOf(const SimFrame& frame, const CarRow& row, bool& known);

// ---- classes
// -----------------------------------------------------------------------------------------

inline constexpr int kPaletteSize = 6;
extern const std::array<Color, kPaletteSize> kClassColours;

/// Up to six class names: the player's first, then by strength.
struct ClassPalette {
    std::array<std::array<char, 32>, kPaletteSize> names{};
    int count = 0;
};
ClassPalette buildClassPalette(const SimFrame& frame, const CarRow* player);
/// Index 0..5; 0 for a class that is not in the palette.
int classColourIndex(const ClassPalette& palette, std::string_view className);
Color classColour(const ClassPalette& palette, std::string_view className);

struct StandingsClass {
    std::string_view className;
    int strength = 0;
    bool isPlayerClass = false;
    std::vector<const CarRow*> rows;
};
/// The player's class first, the others by strength; empty without a connected frame.
std::vector<StandingsClass> standingsClasses(const SimFrame& frame, const CarRow* player);

struct StandingsRow {
    const CarRow* car = nullptr;
    bool pinned = false; // forced in because it is the player's
};
std::vector<StandingsRow> standingsWindow(const std::vector<const CarRow*>& rows, int capacity,
                                          bool pinPlayer, int playerCarIdx);

/// Which class shows when they take turns. Owned by the overlay; survives hiding.
struct ClassRotation {
    int index = 0;
    uint64_t stampMs = 0; // 0 = not started
};
/// `scope` 2 moves on every `cycleSec` (0.05..10 s).
void nextRotationClass(ClassRotation& state, int classCount, int scope, float cycleSec,
                       uint64_t nowMs);

// ---- around the player
// -------------------------------------------------------------------------------

struct RelativeRow {
    const CarRow* car = nullptr; // null: a blank row
    int kind = 0;                // 0 ahead, 1 the player, 2 behind
    float gap = 0;               // seconds, positive = ahead
};
/// Always ahead + 1 + behind entries, the player at index `ahead`, nearest cars next to it.
std::vector<RelativeRow> relativeRows(const SimFrame* frame, int ahead, int behind,
                                      const CarRow*& player);

// ---- badges
// --------------------------------------------------------------------------------------------

struct ClassBests {
    struct Entry {
        std::string_view className;
        int bestCarIdx = -1;
        float bestTime = 0;
    };
    std::vector<Entry> classes;
    int playerCarIdx = -1;
    float playerBest = 0;
};
/// `perClass` false gives one best over all classes.
ClassBests buildClassBests(const SimFrame& frame, bool perClass = true);
int bestLapBadge(const ClassBests& bests, const CarRow& row); // 0 none, 1 class best, 2 own best
int lastLapBadge(const ClassBests& bests, const CarRow& row);

/// Laps by which the player leads that car, whole laps; 0 shows nothing.
int lapBadge(const CarRow& player, const CarRow& row);

/// Text of the gap to the class leader ("--", "+1L", "+3.4", or empty); `laps` above 0 when lapped.
size_t leaderGapText(const CarRow& row, const CarRow& leader, char* out, size_t capacity,
                     int& laps);
/// The same column in Relative: leaders of a class show "--".
size_t relativeLeaderGapText(const CarRow& row, char* out, size_t capacity);

// ---- tyre age
// --------------------------------------------------------------------------------------------

/// Per car the lap on which it was last in the pits; -1 = none. The program has one, in `pitLaps`.
struct PitLapTable {
    std::array<int, 64> lap = [] {
        std::array<int, 64> none{};
        none.fill(-1);
        return none;
    }();
    char sessionName[24] = "";
    bool started = false;
};
extern PitLapTable pitLaps;
/// Once per tick; calling it twice changes nothing.
void updatePitLaps(PitLapTable& table, const SimFrame* frame);
/// -1 when it is not known.
int tyreAgeLaps(const PitLapTable& table, const CarRow& row);
size_t tyreAgeText(int laps, int mode, char* out, size_t capacity);

// ---- names
// -----------------------------------------------------------------------------------------------

/// 0 full, 1 "F. Last", 2 surname, 3 three letters, 4 first. Cuts between characters.
size_t formatDriverName(std::string_view name, int nameMode, char* out, size_t capacity);
/// At most 15 bytes: 1 the first word, 2 what follows the first blank, else the whole name.
size_t shortDriverName(std::string_view name, int mode, char (&out)[16]);

} // namespace vt
