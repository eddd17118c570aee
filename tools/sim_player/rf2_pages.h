// A race of the driver model in rFactor 2's pages.
#pragma once
#include "sim_player/vehicle_records_model.h"
#include "telemetry/readers/rf2_layout.h"

#include <algorithm>

namespace player {

inline size_t rf2Cars(const model::Race& race) {
    return std::min<size_t>(race.cars.size(), vt::kRf2Cars);
}

/// In the order of the ranks; all but the version words.
inline void fillRf2Scoring(const model::Race& race, vt::Rf2ScoringPage& page) {
    const size_t cars = rf2Cars(race);
    fillScoringInfo(race, cars, page.scoring.info);
    page.scoring.info.timeRemaining = 0; // this sim has something else there
    size_t at = 0;
    for (const int index : race.order) {
        if (static_cast<size_t>(index) >= cars) continue;
        vt::VehicleScoring& out = page.scoring.vehicles[at++];
        fillScoring(race, race.cars[static_cast<size_t>(index)], out);
        out.fuelFraction = 0;
    }
}

inline void fillRf2Telemetry(const model::Race& race, vt::Rf2TelemetryPage& page) {
    const size_t cars = rf2Cars(race);
    page.numVehicles = static_cast<int32_t>(cars);
    for (size_t i = 0; i < cars; ++i)
        fillTelemetry(race, race.cars[i], page.vehicles[(i + cars / 2) % cars]);
}

} // namespace player
