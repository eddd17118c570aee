// Whole races of the driver model: what the fuel models say on every lap, against what came true.
#include "driver_model/driver_model.h"
#include "race/fuel_save.h"
#include "telemetry/sim_registry.h"

#include <gtest/gtest.h>

#include <cmath>

namespace vt {
namespace {

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
    double endFuel = 0, addedFuel = 0;
    FuelModels models;
};

/// `late`: s until a finished lap's time is told.
Drive drive(const model::Settings& settings, double late) {
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
double trueBurn(const Drive& drive, int lap, int window) {
    double sum = 0;
    int count = 0;
    for (auto it = drive.truth.rbegin(); it != drive.truth.rend() && count < window; ++it) {
        if (it->lap + 1 >= lap || it->inLap || it->outLap || it->lap < 1) continue;
        sum += it->fuelUsed;
        ++count;
    }
    return count ? sum / count : 0;
}

/// Plans that ask for no saving get the car to the finish on what it really burns.
void expectDriveable(const Said& said, double burn, int toGo) {
    for (int i = 0; i < said.optionCount; ++i) {
        const StrategyOption& plan = said.options[static_cast<size_t>(i)];
        EXPECT_LE(plan.saveLitresPerLap, burn * 0.16);
        double fuel = said.fuel;
        int lap = said.lap;
        for (int stop = 0; stop <= plan.stops; ++stop) {
            const int end =
                stop < plan.stops ? plan.stopLap[static_cast<size_t>(stop)] : said.lap + toGo;
            fuel -= (end - lap) * (burn - static_cast<double>(plan.saveLitresPerLap));
            EXPECT_GT(fuel, -0.05 * burn * toGo - 0.6) << plan.title << " on lap " << said.lap;
            if (stop < plan.stops)
                fuel += static_cast<double>(plan.addFuel[static_cast<size_t>(stop)]);
            lap = end;
        }
    }
}

TEST(FuelRace, ALapRaceWithAStopTrafficAndAYellow) {
    model::Settings settings;
    settings.cars = 12;
    settings.laps = 25;
    settings.startFuel = 30;
    settings.lappedTraffic = true;
    settings.pitEvery = 9;
    settings.yellows = {{700, 760}};
    for (const double late : {0.0, 2.5}) {
        const Drive d = drive(settings, late);
        ASSERT_GE(d.laps.size(), 24u);
        ASSERT_GE(model::player(d.race).pitStops, 1);
        const double used = settings.startFuel + d.addedFuel - d.endFuel;
        int judged = 0, planned = 0;
        for (const Said& said : d.laps) {
            if (said.view.cleanCount < 3) {
                EXPECT_EQ(said.view.status, kFuelLearning);
                continue;
            }
            ++judged;
            const double burn = trueBurn(d, said.lap, 5);
            EXPECT_NEAR(static_cast<double>(said.view.burn), burn, 0.02) << "lap " << said.lap;
            EXPECT_EQ(said.view.lapsToFinish, static_cast<float>(said.view.lapsRemain));
            // What will be burnt until the flag is what was burnt in all, less what is behind.
            double behind = 0;
            for (const model::LapRecord& record : d.truth)
                if (record.lap + 1 < said.lap) behind += record.fuelUsed;
            const double ahead = used - behind;
            const double laps = static_cast<double>(said.view.lapsToFinish);
            EXPECT_NEAR(static_cast<double>(said.view.fuelToFinish), ahead,
                        0.03 * ahead + burn * 1.2)
                << "lap " << said.lap;
            EXPECT_NEAR(static_cast<double>(said.view.lapsInTank), said.fuel / burn, 0.3);
            if (said.optionCount > 0) {
                ++planned;
                expectDriveable(said, burn, static_cast<int>(laps));
            }
        }
        EXPECT_GE(judged, 18);
        EXPECT_GE(planned, 5);

        // The stop cost what the laps say.
        const PitStrategyEngine& engine = d.models.strategy;
        EXPECT_EQ(engine.pitLossSource, kPitLossOwn);
        double measured = 0;
        for (size_t i = 1; i + 1 < d.truth.size(); ++i)
            if (d.truth[i].inLap)
                measured = d.truth[i].time + d.truth[i + 1].time - 2 * d.truth[i - 1].time;
        EXPECT_NEAR(static_cast<double>(engine.pitLossSec), measured, 3);
        const CarTrackEntry* kept = nullptr;
        for (const CarTrackEntry& entry : d.models.store.entries)
            if (entry.fuelPerLap > 0) kept = &entry;
        ASSERT_NE(kept, nullptr);
        EXPECT_NEAR(static_cast<double>(kept->fuelPerLap), trueBurn(d, 99, 10), 0.05);
        EXPECT_GT(kept->avgLapTime, 30);
    }
}

TEST(FuelRace, AnEstimateByTheClockNeverAsksForTooLittle) {
    for (const uint32_t seed : {1u, 5u, 9u}) {
        model::Settings settings;
        settings.cars = 6;
        settings.seed = seed;
        settings.minutes = 14 + seed * 0.7;
        const Drive d = drive(settings, 1);
        const int total = static_cast<int>(d.truth.back().lap);
        for (const Said& said : d.laps) {
            if (said.view.cleanCount < 3 || said.view.timeRemain <= 0) continue;
            const int left = total + 1 - (said.lap - 1);
            EXPECT_GE(said.view.lapsToFinish, static_cast<float>(left) - 0.01f)
                << "lap " << said.lap;
            EXPECT_LE(said.view.lapsToFinish, static_cast<float>(left) + 2) << "lap " << said.lap;
        }
    }
}

} // namespace
} // namespace vt
