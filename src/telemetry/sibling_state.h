// The record of the sibling program that drives bass shakers from the same sims. It publishes, we
// only read: which game it serves, whether it is alive, what the shakers do.
#pragma once
#include "platform/shared_map.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace vt {

inline constexpr const char* kSiblingMapName = "Local\\VantorelState";
inline constexpr uint32_t kSiblingVersionMin = 2;

/// Numbers of `SiblingState::gameId`; they are not `SimKind`s.
enum SiblingGame : int32_t {
    kSiblingAcc = 1,
    kSiblingAc = 4,
    kSiblingAcRally = 5,
    kSiblingBeamNg = 7,
    kSiblingF1 = 9,
    kSiblingDirtRally2 = 10,
    kSiblingEaWrc = 11,
};

#pragma pack(push, 1)
/// Everything in it is foreign: levels may be NaN, indices wild, names without an end.
struct SiblingState {
    char magic[4];        // "VTST"
    uint32_t version;     // 2 and up are used
    uint32_t sequence;    // odd while it is written; changes with every write
    uint32_t serving;     // not 0: it has a sim and forwards its telemetry
    int32_t gameId;       // SiblingGame
    float masterGain;     // 0..1
    float effectGain[8];  // 0..1
    float effectLevel[8]; // now, 0..1
    uint8_t unused[100];
    uint32_t rigPresent; // the shaker fields hold data
    int32_t rigKind[16];
    float rigLevel[16];    // now, 0..1
    int32_t rigEffect[16]; // index of the dominating effect; -1 none
    float rigX[16];        // place in the seat diagram, 0..1
    float rigY[16];
    char rigName[16][24];
    uint32_t pedalsPresent; // the pedal fields hold data
    uint32_t pedalMask;     // bit per pedal
    float pedalLevel[3];    // now, 0..1
    int32_t pedalEffect[3]; // index of the dominating effect; -1 none
};
#pragma pack(pop)

static_assert(sizeof(SiblingState) == 928);
static_assert(offsetof(SiblingState, effectLevel) == 56);
static_assert(offsetof(SiblingState, rigPresent) == 188);
static_assert(offsetof(SiblingState, rigY) == 448);
static_assert(offsetof(SiblingState, rigName) == 512);
static_assert(offsetof(SiblingState, pedalsPresent) == 896);
static_assert(offsetof(SiblingState, pedalEffect) == 916);

/// One per thread that reads; stays open once opened.
struct SiblingLink {
    SharedMap map;
    const char* name = kSiblingMapName;
    uint32_t lastSequence = 1; // of the last good copy; 1 = none yet
};

/// True at once when it is open already.
bool siblingOpen(SiblingLink& link);

/// A consistent copy: the sequence is the same and even before and after, 8 tries at most. False,
/// and `out` undefined, without a sibling, on a torn record, a wrong magic or an old version.
/// Closes the link when the sibling died, so that the next call finds the record of its next run.
bool siblingRead(SiblingLink& link, SiblingState& out);

/// The number behind `telemetryConsent=` in the sibling's `haptic_config.ini`; -1 without one.
int siblingConsent(const std::string& appDataDir);

} // namespace vt
