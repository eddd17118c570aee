#include "telemetry/sim_registry.h"

#include <cstring>

namespace vt {

namespace {

struct SimNames {
    const char* shortName;
    const char* key;
    const char* longName;
    const char* logo;
};

constexpr SimNames kSims[kSimCount] = {
    {"iRacing", "iracing", "iRacing", "iracing.png"},
    {"LMU", "lmu", "Le Mans Ultimate", "lmu.png"},
    {"AMS2", "ams2", "Automobilista 2", "ams2.png"},
    {"ACC", "acc", "ACC", "acc.png"},
    {"AC EVO", "ac_evo", "AC EVO", "ac-evo.png"},
    {"AC", "ac", "Assetto Corsa", "ac.png"},
    {"AC Rally", "acrally", "AC Rally", "ac-rally.png"},
    {"ETS2", "ets2", "ETS2", "ets2.png"},
    {"BeamNG", "beamng", "BeamNG", "beamng.png"},
    {"F1", "f1", "F1 25", "f1.png"},
    {"DiRT Rally 2.0", "dirtrally2", "DiRT Rally 2.0", "dr2.png"},
    {"EA Sports WRC", "eawrc", "EA Sports WRC", "wrc.png"},
    {"rFactor 2", "rf2", "rFactor 2", "rfactor2.png"},
    {"RaceRoom", "raceroom", "RaceRoom", "raceroom.png"},
};
constexpr SimNames kNoSim = {"?", "unknown", "Unknown", ""};

const SimNames& names(int32_t kind) {
    return kind >= 0 && kind < kSimCount ? kSims[kind] : kNoSim;
}

} // namespace

const char* simShortName(int32_t kind) {
    return names(kind).shortName;
}
const char* simKey(int32_t kind) {
    return names(kind).key;
}
const char* simDisplayName(int32_t kind) {
    return names(kind).longName;
}
const char* simLogoFile(int32_t kind) {
    return names(kind).logo;
}

int32_t simFromKey(const char* key) {
    for (int32_t kind = 0; kind < kSimCount; ++kind)
        if (std::strcmp(kSims[kind].key, key) == 0) return kind;
    return -1;
}

} // namespace vt
