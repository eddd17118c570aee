// A race of the driver model through Le Mans Ultimate's and rFactor 2's shared memory: what arrives
// is what was driven.
#include "sim_player/lmu_page.h"
#include "sim_player/rf2_pages.h"
#include "support/model_check.h"
#include "support/page_image.h"
#include "telemetry/readers/lmu_reader.h"
#include "telemetry/readers/rf2_reader.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>

namespace vt::test {
namespace {

constexpr double kStep = 1.0 / 30;

/// Three short laps of two classes with stops and a yellow flag.
model::Race startedRace() {
    model::Settings settings;
    settings.cars = 24;
    settings.classes = 2;
    settings.laps = 4;
    settings.seed = 7;
    settings.pitEvery = 2;
    settings.yellows = {{60, 70}};
    return model::startRace(settings, model::builtInCircuit("oval"));
}

struct Drive {
    model::Race race = startedRace();
    ReaderDesk desk;
    uint32_t flags = 0; // all that were seen
    float pitLimit = 0;
    int polls = 0, scorings = 0, stopped = 0, lastLap = 0;

    /// `write` puts the race into the sim's memory and tells whether scoring was among it.
    void run(SimReader& reader, const std::function<bool()>& write,
             const std::function<void(bool)>& check) {
        bool scored = write();
        ASSERT_TRUE(reader.open());
        while (race.time < 300 && !model::player(race).finished) {
            ASSERT_TRUE(reader.poll(desk.frame)) << race.time;
            expectModelCar(desk.frame, race);
            if (testing::Test::HasFatalFailure()) return;
            look(scored);
            check(scored);
            if (testing::Test::HasFatalFailure()) return;
            model::stepRace(race, kStep);
            scored = write();
        }
    }
    void look(bool scored) {
        const SimFrame& frame = desk.frame;
        ++polls;
        flags |= frame.sessionFlags;
        pitLimit = frame.pitLimitSpeed;
        stopped += frame.inPitStall;
        lastLap = frame.lap;
        ASSERT_EQ(frame.cars.size(), race.cars.size());
        ASSERT_EQ(frame.playerCarIdx, 0);
        if (!scored) return;
        ++scorings;
        for (const model::Car& car : race.cars) {
            const CarRow* row = findCar(frame, car.index);
            ASSERT_TRUE(row);
            expectModelRow(*row, race, car);
        }
    }
    void expectAll() const {
        EXPECT_GT(polls, 2000);
        EXPECT_GT(scorings, polls / 8);
        EXPECT_EQ(lastLap, 3);
        EXPECT_GT(stopped, 10);
        EXPECT_NEAR(pitLimit, race.circuit.pitLimit, 0.5);
        EXPECT_EQ(flags, kFlagGreen | kFlagYellow | kFlagWhite | kFlagChequered);
    }
};

TEST(LmuModel, ARaceArrivesAsItWasDriven) {
    Drive drive;
    const std::string base = ownName("lmu_model");
    const LmuNames names{base, base + "_event", base + "_lock", base + "_lock_event"};
    SharedMapWriter writer;
    NamedEvent event;
    ASSERT_TRUE(writer.create(names.map, sizeof(LmuPage)) && event.create(names.event));
    const auto page = std::make_unique<LmuPage>();
    double scoredAt = -1;
    LmuReader reader(drive.desk.context, names);
    const auto write = [&] {
        const bool scored = scoredAt < 0 || drive.race.time - scoredAt > player::kScoringPeriod;
        if (scored) {
            scoredAt = drive.race.time;
            player::fillLmuScoring(drive.race, *page);
        }
        player::fillLmuTelemetry(drive.race, *page);
        page->head.events[kLmuScoringUpdated] = scored;
        page->head.events[kLmuTelemetryUpdated] = 1;
        std::memcpy(writer.data(), page.get(), sizeof *page);
        return scored;
    };
    double worst = 0; // m between the place on the lap and the truth
    const auto check = [&](bool scored) {
        const SimFrame& frame = drive.desk.frame;
        const model::Car& car = model::player(drive.race);
        ASSERT_NEAR(frame.worldX, car.x, 1e-3);
        ASSERT_NEAR(frame.worldY, -car.y, 1e-3);
        ASSERT_NEAR(frame.forwardX, std::cos(car.heading), 1e-6);
        ASSERT_NEAR(frame.forwardY, -std::sin(car.heading), 1e-6);
        ASSERT_NEAR(frame.yawRate, car.yawRate, 1e-6);
        for (int i = 0; i < 4; ++i) {
            ASSERT_NEAR(frame.tyreTemp[i], car.wheels[i].tempC, 1e-3);
            ASSERT_EQ(frame.wheelOnKerb[i], car.wheels[i].onKerb);
        }
        const double off = (frame.lapDistPct - car.pct) * drive.race.circuit.length;
        if (std::abs(off) < drive.race.circuit.length / 2) worst = std::max(worst, std::abs(off));
        if (!scored) return;
        for (const model::Car& other : drive.race.cars)
            ASSERT_EQ(findCar(frame, other.index)->classPosition, other.classPosition);
        ASSERT_EQ(frame.gridPosition, car.gridPosition);
    };
    drive.run(reader, write, check);
    drive.expectAll();
    EXPECT_LT(worst, 2.5) << "between two scorings a car drives on for 15 m";
    const auto& starts = drive.desk.frame.sectorStarts;
    ASSERT_EQ(starts.size(), 3u);
    for (size_t i = 0; i < 3; ++i)
        EXPECT_NEAR(starts[i], drive.race.circuit.sectorStarts[i], 0.01);
}

TEST(Rf2Model, ARaceArrivesAsItWasDriven) {
    Drive drive;
    const Rf2Names names{ownName("rf2_model_t"), ownName("rf2_model_s")};
    SharedMapWriter telemetry, scoring;
    ASSERT_TRUE(telemetry.create(names.telemetry, sizeof(Rf2TelemetryPage)));
    ASSERT_TRUE(scoring.create(names.scoring, sizeof(Rf2ScoringPage)));
    const auto telemetryPage = std::make_unique<Rf2TelemetryPage>();
    const auto scoringPage = std::make_unique<Rf2ScoringPage>();
    Rf2Reader reader(drive.desk.context, names);
    const auto write = [&] {
        player::fillRf2Scoring(drive.race, *scoringPage);
        player::fillRf2Telemetry(drive.race, *telemetryPage);
        std::memcpy(scoring.data(), scoringPage.get(), sizeof *scoringPage);
        std::memcpy(telemetry.data(), telemetryPage.get(), sizeof *telemetryPage);
        return true;
    };
    drive.run(reader, write, [&](bool) {
        ASSERT_NEAR(drive.desk.frame.lapDistPct, model::player(drive.race).pct, 1e-6);
    });
    drive.expectAll();
}

} // namespace
} // namespace vt::test
