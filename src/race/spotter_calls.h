// What the spotter says: who is alongside by the sim's word or by distances, held long enough, and
// when to be silent. Main thread, every tick; the display does not depend on it.
#pragma once
#include "telemetry/sim_frame.h"

#include <array>
#include <cstdint>

namespace vt {

enum SpotterPhrase : int {
    kSayCarLeft,
    kSayCarRight,
    kSayThreeWide,
    kSayClearLeft,
    kSayClearRight,
    kSayClear,
    kSayStillLeft,
    kSayStillRight,
    kSayStillThere,
    kSayThreeWideLeft,
    kSayThreeWideRight,
};

enum SpotterState : int {
    kSpotterClear,
    kSpotterLeft,
    kSpotterRight,
    kSpotterBoth,
    kSpotterTwoRight,
    kSpotterTwoLeft,
};

struct SpotterRules {
    float minKph = 40;        // silent below; 0 = never
    bool pitQuiet = true;     // silent in the pits
    float startQuietSec = 5;  // silent this long after the start
    bool cautionQuiet = true; // silent under a full course yellow
    uint32_t repeatMs = 3000; // reminder; 0 = each car once
};

/// A flag that follows its raw value once that has held.
struct HeldFlag {
    bool raw = false, on = false;
    uint64_t sinceMs = 0;
};

struct SpotterCalls {
    std::array<HeldFlag, 4> flags{}; // left, right, two left, two right
    int state = kSpotterClear;
    uint64_t changedMs = 0; // last change of state, or reminder
    uint64_t passMs = 0;    // last pass, 0 = none
    int sessionNum = -1;
    uint64_t startMs = 0; // when the race went green, 0 = no mark
    double startTime = 0; // the session's time then, s
    bool everChanged = false;
};

/// Car length that counts as overlap, m, by sim; 4.7 for a number that is none.
float spotterOverlap(int simKind);

/// Signed way to a car along the lap, m, positive ahead; `trackLength` above 1.
float wayAlong(const SimFrame& frame, const CarRow& player, const CarRow& car);

/// The player's row when cars around can be told at all, else null.
const CarRow* spotterPlayer(const SimFrame* frame);
/// Not the player, with a place, not on pit road.
bool spotterCounts(const CarRow& player, const CarRow& car);
/// Any row tells how far it is from the middle of the road.
bool lateralKnown(const SimFrame& frame);

/// One pass; the phrase to say, -1 = none. `voiceReady`: an engine runs and has a pack.
int spotterCallsTick(SpotterCalls& calls, const SpotterRules& rules, const SimFrame* frame,
                     bool voiceReady, uint64_t nowMs);

} // namespace vt
