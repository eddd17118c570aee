#include "app/lap_sampler.h"

#include <gtest/gtest.h>

#include <vector>

namespace vt {
namespace {

void ticks(LapSampler& sampler, int count, float lapTime, int lap, bool inPit = false) {
    for (int i = 0; i < count; ++i)
        samplerTick(sampler, lapTime, lap, inPit);
}

/// The counter rises two ticks before the time.
void finishLap(LapSampler& sampler, float lapTime, int newLap) {
    ticks(sampler, 2, sampler.prevTime, newLap);
    ticks(sampler, 8, lapTime, newLap);
}

std::vector<float> kept(const LapSampler& sampler) {
    return {sampler.laps.begin(), sampler.laps.begin() + sampler.count};
}

using Laps = std::vector<float>;

TEST(LapSampler, WaitsForTheTimeThatComesAfterTheCounter) {
    LapSampler sampler;
    ticks(sampler, 10, 90, 3);
    ticks(sampler, 60, 90, 4); // the counter rose, the old time stands for 2 s
    EXPECT_EQ(kept(sampler), Laps{});
    ticks(sampler, 30, 91.5f, 4);
    EXPECT_EQ(kept(sampler), Laps{91.5f});
}

TEST(LapSampler, AnUnchangedTimeIsTakenAfterNinetyTicks) {
    LapSampler sampler;
    ticks(sampler, 10, 90, 3);
    ticks(sampler, 89, 90, 4);
    EXPECT_EQ(kept(sampler), Laps{});
    ticks(sampler, 1, 90, 4);
    EXPECT_EQ(kept(sampler), Laps{90});
    ticks(sampler, 200, 90, 4);
    EXPECT_EQ(kept(sampler), Laps{90});
}

TEST(LapSampler, PitLapsAndTheLapUnderWayAtTheStartDoNotCount) {
    LapSampler sampler;
    ticks(sampler, 10, 0, 1); // no lap finished yet: the one under way is not a whole one
    finishLap(sampler, 95, 2);
    EXPECT_EQ(kept(sampler), Laps{});
    finishLap(sampler, 90, 3);
    ticks(sampler, 5, 90, 3, true);
    finishLap(sampler, 130, 4); // ends the lap that saw pit road
    EXPECT_EQ(kept(sampler), Laps{90});
    ticks(sampler, 5, 130, 4, true);
    ticks(sampler, 5, 131, 5, true); // the counter turns in the pit lane: both laps are spoilt
    finishLap(sampler, 132, 6);
    EXPECT_EQ(kept(sampler), Laps{90});
    finishLap(sampler, 91, 7);
    EXPECT_EQ(kept(sampler), (Laps{90, 91}));
}

TEST(LapSampler, AWaitingLapIsAddedWithItsOwnVerdict) {
    LapSampler sampler;
    ticks(sampler, 10, 90, 3);
    ticks(sampler, 5, 90, 4);       // waits, is clean
    ticks(sampler, 5, 90, 4, true); // the next one is not
    ticks(sampler, 1, 90, 5);       // counter again before the time settled
    EXPECT_EQ(kept(sampler), Laps{90});
    ticks(sampler, 1, 120, 5);
    EXPECT_EQ(kept(sampler), Laps{90});
}

TEST(LapSampler, ACounterThatFallsEndsTheWait) {
    LapSampler sampler;
    ticks(sampler, 10, 90, 3);
    ticks(sampler, 5, 90, 4);
    ticks(sampler, 200, 88, 2);
    EXPECT_EQ(kept(sampler), Laps{});
}

TEST(LapSampler, WithoutACounterAChangedTimeIsALap) {
    LapSampler sampler;
    ticks(sampler, 10, 90, -1);
    ticks(sampler, 10, 91, -1);
    ticks(sampler, 10, 92, -1, true);
    ticks(sampler, 10, 93, -1);
    ticks(sampler, 10, 94, -1);
    EXPECT_EQ(kept(sampler), (Laps{91, 94}));
}

TEST(LapSampler, EstimateIsTheMeanOfTheNewestUsualLaps) {
    const auto estimate = [](const Laps& laps, float hint) {
        LapSampler sampler;
        ticks(sampler, 1, 50, -1);
        for (const float lap : laps)
            ticks(sampler, 1, lap, -1);
        return samplerEstimate(sampler, hint);
    };
    EXPECT_EQ(estimate({}, 90), 0);
    EXPECT_NEAR(estimate({100, 101, 102, 104}, 0), (104 + 102 + 101) / 3.0f, 1e-3f);
    EXPECT_NEAR(estimate({100, 101, 107.5f}, 0), 100.5f, 1e-3f);            // more than 7 % off
    EXPECT_NEAR(estimate({60, 100, 101, 102, 103, 104}, 0), 103.0f, 1e-3f); // the ring holds five
    EXPECT_NEAR(estimate({104, 103}, 97), 103.0f, 1e-2f); // 104 is beyond 97 * 1.07
    EXPECT_EQ(estimate({104, 105}, 80), 0);
    EXPECT_NEAR(estimate({104, 105}, 4.9f), 104.5f, 1e-3f); // no best lap
}

} // namespace
} // namespace vt
