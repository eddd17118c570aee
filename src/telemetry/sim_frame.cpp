#include "telemetry/sim_frame.h"

#include "base/utf8.h"

#include <utility>

namespace vt {

void resetKeepingCapacity(SimFrame& frame) {
    std::vector<float> starts = std::move(frame.sectorStarts);
    std::vector<CarRow> cars = std::move(frame.cars);
    starts.clear();
    cars.clear();
    frame = SimFrame{};
    frame.sectorStarts = std::move(starts);
    frame.cars = std::move(cars);
}

const CarRow* findCar(const SimFrame& frame, int32_t carIdx) {
    if (carIdx < 0) return nullptr;
    for (const CarRow& row : frame.cars)
        if (row.carIdx == carIdx) return &row;
    return nullptr;
}

const CarRow* playerRow(const SimFrame& frame) {
    return findCar(frame, frame.playerCarIdx);
}

bool frameIsRace(const SimFrame& frame) {
    if (frame.isRace >= 0) return frame.isRace != 0;
    return containsNoCase(frame.sessionName, "race");
}

uint32_t flagPriority(uint32_t sessionFlags) {
    constexpr uint32_t order[] = {kFlagRed,   kFlagChequered, kFlagRepair, kFlagWarning,
                                  kFlagWhite, kFlagYellow,    kFlagBlue,   kFlagGreen};
    for (const uint32_t bit : order)
        if (sessionFlags & bit) return bit;
    return 0;
}

} // namespace vt
