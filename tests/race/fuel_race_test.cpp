// Whole races of the driver model: what the fuel models say on every lap, against what came true.
#include "support/fuel_drive.h"

#include <gtest/gtest.h>

#include <cmath>

namespace vt {
namespace {

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
