#include "overlay/overlays/fuel_overlay.h"
#include "platform/picture_file.h"
#include "telemetry/sim_registry.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <limits>

namespace vt {
namespace {

struct Situation {
    const char* name;
    float fuel;
    int lapsRemain, cleanLaps;
};
constexpr Situation kSituations[] = {
    {"learning", 60, 20, 1}, {"safe", 60, 20, 5},  {"marginal", 46.5f, 20, 5}, {"far", 30, 20, 5},
    {"soon", 8.2f, 20, 5},   {"now", 2.4f, 20, 5}, {"open", 30, -1, 5}};

class FuelWindow : public testing::Test {
protected:
    AppConfig config = defaultAppConfig(1920, 1080);
    Clock clock = manualClock();
    FuelModels models;
    OverlayHost host{config, clock};
    SimFrame frame;

    void SetUp() override {
        host.fuel = &models;
        frame.connected = 1;
        frame.simKind = kSimIRacing;
        frame.isOnTrack = 1;
        frame.timedSession = 0;
        frame.lap = 12;
        frame.fuelCapacity = 80;
        models.strategy.optionCount = 1;
        PlanInput plan{.stops = 1,
                       .stopLap = {22, 0},
                       .lap = 12,
                       .lapsToGo = 20,
                       .fuel = 30,
                       .capacity = 80,
                       .burn = 2.3f,
                       .avgLap = 91};
        ASSERT_TRUE(evaluatePlan(plan, models.strategy.options[0]));
    }
    void set(FuelOverlay& overlay, const Situation& s) {
        frame.fuelLevel = s.fuel;
        frame.lapsRemain = s.lapsRemain;
        overlay.ring().ring.count = 0;
        for (int i = 0; i < s.cleanLaps; ++i)
            pushFuelSample(overlay.ring().ring,
                           {2.3f + 0.12f * std::sin(1.7f * static_cast<float>(i)), 91.2f, i == 2});
        pushFuelSample(overlay.ring().ring, {2.35f, 91.3f, false});
    }
    BitmapRef shoot(const Situation& s, const std::string& name) {
        FuelOverlay overlay(host);
        set(overlay, s);
        overlay.layoutForStyle();
        applyScale(overlay);
        const BitmapRef picture = renderPreview(overlay, 1.5f, &frame);
        const char* folder = std::getenv("VT_PICTURES");
        if (folder && picture)
            savePng(*picture, std::string(folder) + "/fuel_" + name + "_" + s.name + ".png");
        return picture;
    }
};

TEST_F(FuelWindow, Pictures) {
    static const char* const kStyles[] = {"0classic", "1full", "2compact", "3planner", "4range"};
    for (const Situation& s : kSituations) {
        for (int style = 0; style < 5; ++style) {
            config.fuel.fuelStyle = style;
            EXPECT_TRUE(shoot(s, kStyles[style]));
        }
        config.fuel.fuelStyle = 5;
        for (int layout = 0; layout < 4; ++layout) {
            config.fuel.fuelLayout = layout;
            EXPECT_TRUE(shoot(s, "5apex" + std::to_string(layout)));
        }
    }
    // Narrow and wide, with both strips.
    config.fuel.showHeader = config.fuel.showFooter = true;
    for (const float width : {0.6f, 0.8f, 1.7f})
        for (int style = 0; style < 6; ++style) {
            config.fuel.fuelStyle = style;
            config.fuel.widthMul = width;
            for (const int situation : {1, 3})
                EXPECT_TRUE(shoot(kSituations[situation], "strips" + std::to_string(style) + "_" +
                                                              std::to_string(width).substr(0, 3)));
        }
    config.fuel.widthMul = 1;
    config.fuel.showHeader = config.fuel.showFooter = false;
    models.save.active = true;
    models.save.targetPerLap = 0.12f;
    models.save.lastLapValid = models.save.onTarget = true;
    models.save.bank = 0.31f;
    config.fuel.fuelLayout = 1;
    config.fuel.fuelShowStats = config.fuel.fuelShowSpark = true;
    EXPECT_TRUE(shoot(kSituations[3], "5apex1_saving"));
}

TEST_F(FuelWindow, RepaintsOnlyWhileSomethingChanges) {
    for (const auto& [situation, moves] :
         {std::pair{1, false}, {6, false}, {0, false}, {3, false}, {5, true}}) {
        FuelOverlay overlay(host);
        set(overlay, kSituations[situation]);
        overlay.frame = &frame;
        const uint64_t before = overlay.contentHash();
        int changes = 0;
        for (int i = 0; i < 60; ++i) {
            advance(clock, 1.0 / 30);
            if (overlay.contentHash() != before) ++changes;
        }
        EXPECT_EQ(changes > 0, moves) << kSituations[situation].name;
        frame.fuelLevel -= 0.2f;
        EXPECT_NE(overlay.contentHash(), before);
    }
    config.fuel.fuelStyle = 0; // its badge flashes
    FuelOverlay classic(host);
    set(classic, kSituations[3]);
    classic.frame = &frame;
    const uint64_t lit = classic.contentHash();
    advance(clock, 0.7);
    EXPECT_NE(classic.contentHash(), lit);
    // Without a frame nothing moves.
    FuelOverlay overlay(host);
    overlay.frame = nullptr;
    const uint64_t idle = overlay.contentHash();
    advance(clock, 5);
    EXPECT_EQ(overlay.contentHash(), idle);
}

TEST_F(FuelWindow, TheCountdownAndWhatIsPublished) {
    FuelView view;
    EXPECT_EQ(pitCountdownPhase(view, &config.fuel), -1);
    for (const auto& [laps, warn, phase] : {std::tuple{0, 3, 2},
                                            {1, 3, 2},
                                            {2, 3, 1},
                                            {3, 3, 1},
                                            {4, 3, 0},
                                            {2, 0, 0},
                                            {1, 0, 2},
                                            {10, 99, 1},
                                            {11, 99, 0}}) {
        view.lapsBeforePit = laps;
        config.fuel.fuelWarnLaps = warn;
        EXPECT_EQ(pitCountdownPhase(view, &config.fuel), phase) << laps << " of " << warn;
    }
    FuelOverlay overlay(host);
    overlay.ring().simKind = frame.simKind;
    set(overlay, kSituations[3]);
    overlay.prepareFrame(&frame);
    EXPECT_GT(models.published.shortLitres, 10);
    EXPECT_EQ(models.published.lapsToFinish, 20);
    overlay.whileDisabled();
    EXPECT_EQ(models.published.shortLitres, 0);
    EXPECT_EQ(models.published.lapsToFinish, -1);
    for (const float bad : {std::numeric_limits<float>::quiet_NaN(), -5.0f, 1e30f}) {
        frame.fuelLevel = frame.fuelCapacity = bad;
        frame.lapsRemain = 2000000000;
        for (int style = 0; style < 6; ++style) {
            config.fuel.fuelStyle = style;
            EXPECT_TRUE(renderPreview(overlay, 1, &frame));
        }
    }
}

} // namespace
} // namespace vt
