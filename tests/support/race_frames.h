// Scripted fields of cars: whole races in one frame, with the names, gaps and gaps in the data that
// real sessions bring. Pure functions; the same arguments give the same frame.
#pragma once
#include "base/format.h"
#include "base/utf8.h"
#include "telemetry/sim_frame.h"
#include "telemetry/sim_registry.h"

#include <array>
#include <string_view>

namespace vt::test {

struct ClassScript {
    const char* name;
    const char* brands[4];
    float lapTime;
    int baseRating;
};

inline constexpr std::array<ClassScript, 4> kClassScripts = {{
    {"GT3", {"Ferrari", "Porsche", "BMW", "McLaren"}, 118.4f, 2600},
    {"GTP", {"Cadillac", "Acura", "Porsche", "BMW"}, 105.2f, 4400},
    {"LMP2", {"Dallara", "Oreca", "Ligier", "Dallara"}, 110.9f, 3300},
    {"GT4", {"Aston Martin", "Toyota", "Ford", "Lada"}, 128.7f, 1500},
}};

inline constexpr std::array<const char*, 20> kDriverNames = {{
    "Jonas Feld",
    "Maximilian Alexander von Hohenzollern-Sigmaringen Montgomery",
    "佐藤 健太郎",
    "Łukasz Wiśniewski",
    "Søren Ångström",
    "Kimi",
    "Chloé Dubois-Lefèvre",
    "Иван Петров",
    "鈴木一郎",
    "Ana García López",
    "Bob Li",
    "Þórður Jónsson",
    "Wolfeschlegelsteinhausenbergerdorff",
    "João da Silva Neto3",
    "Mia van der Berg",
    "王小明",
    "Δημήτρης Παπαδόπουλος",
    "D'Arcy O'Neill",
    "Emma Clarke",
    "T. K.",
}};

/// Sixty cars in four classes of fifteen, in their twelfth lap. The player drives the GT3 that is
/// 20th overall. Among them: lapped cars, cars in the pits, one that never set a lap, one without a
/// rating, one that is not in the world, three-digit numbers and gaps, a repeated best lap.
inline SimFrame sixtyCarFrame(int playerClassPlace = 5, const char* session = "Race") {
    SimFrame f;
    f.connected = 1;
    f.simKind = kSimIRacing;
    f.isOnTrack = 1;
    f.timeRemain = 1834;
    f.sessionFlags = kFlagGreen;
    f.lap = 12;
    copyText(f.sessionName, session);
    copyText(f.trackName, "Winton National");
    constexpr std::array<int, 4> order = {1, 2, 0, 3}; // classes from fast to slow
    for (int place = 0; place < 60; ++place) {
        const int inClass = place / 4;
        const int classNo = order[static_cast<size_t>(place % 4)];
        const ClassScript& script = kClassScripts[static_cast<size_t>(classNo)];
        CarRow row;
        row.carIdx = (place * 7 + 3) % 60;
        copyText(row.driverName, kDriverNames[static_cast<size_t>(place * 3 % 20)]);
        copyText(row.carClass, script.name);
        copyText(row.carBrand, script.brands[inClass % 4]);
        row.position = place + 1;
        row.classPosition = inClass + 1;
        row.irating = script.baseRating + (inClass * 37 % 15) * 110;
        row.carNumberValue = place % 9 == 4 ? 100 + place * 13 : place + 2;
        formatText(row.carNumber, sizeof row.carNumber, "%d", row.carNumberValue);
        formatText(row.licence, sizeof row.licence, "%c %d.%02d", "ABCDR"[inClass % 5],
                   1 + inClass % 4, (inClass * 17) % 100);
        row.bestLapTime = script.lapTime + static_cast<float>(inClass) * 0.137f;
        row.lastLapTime = row.bestLapTime + static_cast<float>(inClass % 4) * 0.41f;
        row.gapToLeader = static_cast<float>(place) * 9.4f;
        row.lap = 12 - (classNo == 0 ? 1 : classNo == 3 ? 2 : 0);
        row.lapDistPct = 0.93f - static_cast<float>(place) * 0.0151f;
        row.trackSurface = 3;
        row.tyreCompound = inClass % 3 == 1 ? 1 : 0;
        row.lastPitTime = inClass % 2 ? 28.4f + static_cast<float>(inClass) : -1.0f;
        f.cars.push_back(row);
        if (classNo == 0 && inClass + 1 == playerClassPlace) f.playerCarIdx = row.carIdx;
    }
    f.cars[9].onPitRoad = 1;
    f.cars[9].pitThisLap = 1;
    f.cars[22].onPitRoad = 1;
    f.cars[22].pitThisLap = 1;
    f.cars[30].bestLapTime = f.cars[30].lastLapTime = 0;
    f.cars[33].irating = 0;
    f.cars[33].licence[0] = '\0';
    f.cars[41].lapDistPct = -1;
    f.cars[41].trackSurface = -1;
    f.cars[6].bestLapTime = f.cars[2].bestLapTime; // the car met first keeps the class best
    const CarRow* player = playerRow(f);
    for (CarRow& row : f.cars) {
        float gap = (row.lapDistPct - player->lapDistPct) * 118.4f;
        row.gapToPlayer = gap;
        row.gapFromRings = 1;
    }
    const size_t at = static_cast<size_t>(player - f.cars.data());
    f.cars[at - 1].gapToPlayer = 0.62f; // a battle in front
    f.radioCarIdx = f.cars[at - 1].carIdx;
    f.lapDistPct = player->lapDistPct;
    f.lastLapTime = player->lastLapTime;
    f.bestLapTime = player->bestLapTime;
    return f;
}

/// A connected race of `count` cars in one class, in the order of their positions, carIdx = place
/// in the list. The player is `player`.
inline SimFrame simpleRace(int count, int player, const char* session = "Race",
                           const char* carClass = "GT3") {
    SimFrame f;
    f.connected = 1;
    f.simKind = kSimIRacing;
    f.isOnTrack = 1;
    f.playerCarIdx = player;
    copyText(f.sessionName, session);
    for (int i = 0; i < count; ++i) {
        CarRow row;
        row.carIdx = i;
        formatText(row.driverName, sizeof row.driverName, "Driver Number%d", i + 1);
        copyText(row.carClass, carClass);
        row.position = row.classPosition = i + 1;
        row.irating = 3000 - i * 50;
        row.carNumberValue = i + 1;
        row.lap = 5;
        row.lapDistPct = 0.6f - 0.01f * static_cast<float>(i);
        row.gapToPlayer = static_cast<float>(player - i) * 1.2f;
        row.gapToLeader = static_cast<float>(i) * 1.2f;
        f.cars.push_back(row);
    }
    return f;
}

} // namespace vt::test
