// The only place where a simulator has a number, a key, a name and a logo.
#pragma once
#include <cstdint>

namespace vt {

inline constexpr int kSimCount = 14;

enum SimKind : int32_t {
    kSimNone = -1,
    kSimIRacing = 0,
    kSimLmu = 1,
    kSimAms2 = 2,
    kSimAcc = 3,
    kSimAcEvo = 4,
    kSimAc = 5,
    kSimAcRally = 6,
    kSimEts2 = 7,
    kSimBeamNg = 8,
    kSimF1 = 9,
    kSimDirtRally2 = 10,
    kSimEaWrc = 11,
    kSimRFactor2 = 12,
    kSimRaceRoom = 13,
};

// Outside 0..13: "?", "unknown", "Unknown" and an empty logo name.
const char* simShortName(int32_t kind);   // logs and most of the interface
const char* simKey(int32_t kind);         // stored files and JSON
const char* simDisplayName(int32_t kind); // the sim picker
const char* simLogoFile(int32_t kind);

/// The `SimKind` with that key, or -1.
int32_t simFromKey(const char* key);

} // namespace vt
