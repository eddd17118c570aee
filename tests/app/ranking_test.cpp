#include "app/ranking.h"
#include "support/scripted_race.h"

#include <gtest/gtest.h>

namespace vt {
namespace {

struct Car {
    int position, classPosition, lap;
    float pct;
    const char* carClass;
    float estTime = 0;
};

SimFrame grid(std::initializer_list<Car> cars) {
    SimFrame frame;
    frame.connected = 1;
    frame.simKind = kSimRFactor2;
    frame.sessionState = 4;
    copyText(frame.sessionName, "Race");
    for (const Car& car : cars) {
        CarRow& row = frame.cars.emplace_back();
        row.carIdx = static_cast<int32_t>(frame.cars.size()) * 3;
        row.position = car.position;
        row.classPosition = car.classPosition;
        row.lap = car.lap;
        row.lapDistPct = car.pct;
        row.estTime = car.estTime;
        copyText(row.carClass, car.carClass);
    }
    return frame;
}

std::vector<int> positions(const SimFrame& frame, int32_t CarRow::*place) {
    std::vector<int> out;
    for (const CarRow& row : frame.cars)
        out.push_back(row.*place);
    return out;
}

TEST(Ranking, HandsTheHeldPlacesOutByTheWayCovered) {
    Ranking state;
    SimFrame frame = grid({{5, 2, 3, 0.2f, "GT"},   // third of those that count
                           {2, 1, 4, 0.1f, "P"},    // first
                           {9, 1, 3, 0.9f, "GT"},   // second
                           {0, 0, 7, 0.5f, "GT"},   // has no place
                           {1, 3, 8, -1.0f, "GT"},  // not in the world
                           {3, 2, -1, 0.5f, "P"}}); // no lap counter
    rankCars(state, frame, 90);
    EXPECT_EQ(positions(frame, &CarRow::position), (std::vector<int>{9, 2, 5, 0, 1, 3}));
    EXPECT_EQ(positions(frame, &CarRow::classPosition), (std::vector<int>{2, 1, 1, 0, 3, 2}));
}

TEST(Ranking, EqualWaysKeepTheirOrderAndOneCarIsNotRanked) {
    Ranking state;
    SimFrame frame = grid({{2, 2, 1, 0.5f, ""}, {1, 1, 1, 0.5f, ""}});
    rankCars(state, frame, 90);
    EXPECT_EQ(positions(frame, &CarRow::position), (std::vector<int>{2, 1}));
    SimFrame alone = grid({{4, 1, 1, 0.5f, ""}, {0, 2, 1, 0.6f, ""}});
    alone.cars[1].gapToLeader = 12;
    rankCars(state, alone, 90);
    EXPECT_EQ(positions(alone, &CarRow::classPosition), (std::vector<int>{1, 2}));
    EXPECT_EQ(alone.cars[1].gapToLeader, 12);
}

TEST(Ranking, GapToTheLeaderOfTheClass) {
    const struct {
        const char* what;
        Car leader, other;
        float leaderEstimate, gap;
    } cases[] = {
        {"same lap", {1, 1, 5, 0.50f, "A", 50}, {2, 2, 5, 0.45f, "A", 45}, 100, 5},
        {"across the line", {1, 1, 6, 0.02f, "A", 2}, {2, 2, 5, 0.97f, "A", 97}, 100, 5},
        {"one lap down", {1, 1, 6, 0.50f, "A", 50}, {2, 2, 5, 0.45f, "A", 45}, 100, 105},
        {"reference lap stands in", {1, 1, 6, 0.50f, "A", 50}, {2, 2, 5, 0.45f, "A", 45}, 0, 95},
        {"never below 0", {1, 1, 5, 0.50f, "A", 50}, {2, 2, 5, 0.49f, "A", 51}, 100, 0},
        {"no lap counter", {1, 1, -1, 0.50f, "A", 50}, {2, 2, 4, 0.45f, "A", 45}, 100, 5},
        {"another class", {1, 1, 5, 0.50f, "A", 50}, {2, 1, 5, 0.45f, "B", 45}, 100, 0},
    };
    for (const auto& c : cases) {
        Ranking state;
        // A third car keeps two places in play where the leader has no lap counter.
        SimFrame frame = grid({c.leader, c.other, {3, 0, 1, 0.1f, "Z", 0}});
        frame.cars[0].lapEstimate = c.leaderEstimate;
        frame.cars[1].gapToLeader = 55;
        rankCars(state, frame, 90);
        EXPECT_EQ(frame.cars[0].gapToLeader, 0) << c.what;
        EXPECT_NEAR(frame.cars[1].gapToLeader, c.gap, 1e-3f) << c.what;
    }
}

TEST(Ranking, AppliesOnlyToARaceUnderWayOfOtherSims) {
    SimFrame frame = grid({});
    EXPECT_TRUE(rankingApplies(frame));
    copyText(frame.sessionName, "SPRINT RACE 2");
    EXPECT_TRUE(rankingApplies(frame));
    const auto without = [&](void (*change)(SimFrame&)) {
        SimFrame changed = frame;
        change(changed);
        return rankingApplies(changed);
    };
    EXPECT_FALSE(without([](SimFrame& f) { f.simKind = kSimIRacing; }));
    EXPECT_FALSE(without([](SimFrame& f) { f.connected = 0; }));
    EXPECT_FALSE(without([](SimFrame& f) { f.sessionState = 5; }));
    EXPECT_FALSE(without([](SimFrame& f) { copyText(f.sessionName, "Qualify"); }));
}

} // namespace
} // namespace vt
