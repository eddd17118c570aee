// A whole race of the driver model with the fuel models beside it: what they say at every lap end,
// and what came true. Tests judge it, `plot_fuel` draws it.
#pragma once
#include "driver_model/driver_model.h"
#include "race/fuel_save.h"
#include "telemetry/sim_registry.h"

#include <array>
#include <vector>

namespace vt {

/// What was said when a lap of the player's ended.
struct Said {
    int lap = 0; // as the frame counts
    double fuel = 0;
    FuelView view;
    std::array<StrategyOption, 4> options{};
    int optionCount = 0;
};

struct Drive {
    model::Race race;
    std::vector<Said> laps;
    std::vector<model::LapRecord> truth; // of the player's laps
    struct Moment {
        double lap = 0, fuel = 0; // laps since the line, litres
    };
    std::vector<Moment> trace; // each second
    double endFuel = 0, addedFuel = 0;
    FuelModels models;
};

/// `late`: s until a finished lap's time is told.
inline Drive drive(const model::Settings& settings, double late) {
    Drive out;
    out.race = model::startRace(settings, model::builtInCircuit("club"));
    FuelLapRing ring;
    SimFrame frame;
    int lap = -1;
    double lapAt = 0, fuelBefore = settings.startFuel;
    float told = 0;
    bool pending = false;
    for (int tick = 0; tick < 60 * 60 * 90; ++tick) {
        model::stepRace(out.race, 1.0 / 60);
        const model::Car& car = model::player(out.race);
        model::fillFrame(out.race, frame);
        frame.connected = 1;
        frame.simKind = kSimLmu;
        if (car.fuel > fuelBefore) out.addedFuel += car.fuel - fuelBefore;
        fuelBefore = car.fuel;
        if (tick % 60 == 0) out.trace.push_back({car.lap + car.pct, car.fuel});
        if (frame.lap != lap) {
            lap = frame.lap;
            lapAt = out.race.time;
            pending = true;
        }
        if (out.race.time >= lapAt + late) told = frame.lastLapTime;
        frame.lastLapTime = told;
        const auto now = static_cast<uint64_t>(out.race.time * 1000) + 1;
        FuelModels& m = out.models;
        strategyTick(m.strategy, m.store, {}, &frame, now);
        fuelSaveTick(m.save, m.strategy, m.published, {}, &frame);
        fuelRingTick(ring, m.store, {}, &frame, now);
        const FuelView view = computeFuelView(ring.ring, {}, &frame);
        m.published.shortLitres = view.status == kFuelLearning ? 0 : view.delta;
        m.published.lapsToFinish = view.status == kFuelLearning ? -1 : view.lapsToFinish;
        if (pending && out.race.time >= lapAt + late + 0.1) {
            pending = false;
            out.laps.push_back({lap, car.fuel, view, m.strategy.options, m.strategy.optionCount});
        }
        if (car.finished) break;
    }
    out.endFuel = model::player(out.race).fuel;
    for (const model::LapRecord& record : out.race.laps)
        if (record.car == 0) out.truth.push_back(record);
    fuelRingTick(ring, out.models.store, {}, nullptr, 0);
    return out;
}

/// Mean burn of the newest `window` laps without a stop that ended before the frame's `lap`.
inline double trueBurn(const Drive& drive, int lap, int window) {
    double sum = 0;
    int count = 0;
    for (auto it = drive.truth.rbegin(); it != drive.truth.rend() && count < window; ++it) {
        if (it->lap + 1 >= lap || it->inLap || it->outLap || it->lap < 1) continue;
        sum += it->fuelUsed;
        ++count;
    }
    return count ? sum / count : 0;
}

} // namespace vt
