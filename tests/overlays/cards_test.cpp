// The small cards: what they say, and pictures of each look.
#include "overlay/overlays/pit_helper.h"
#include "overlay/overlays/privacy_cover.h"
#include "overlay/overlays/race_info.h"
#include "platform/picture_file.h"
#include "support/race_frames.h"
#include "telemetry/sim_registry.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace vt {
namespace {

SimFrame pitFrame(float kph) {
    SimFrame frame;
    frame.connected = 1;
    frame.simKind = kSimIRacing;
    frame.onPitRoad = 1;
    frame.speed = kph / 3.6f;
    frame.pitLimitSpeed = 80 / 3.6f;
    frame.trackLength = 5000;
    return frame;
}

TEST(PitHelper, BandsStandAroundTheLimit) {
    PitHelperConfig config;
    PitHelperView view;
    const auto band = [&](float kph) {
        const SimFrame frame = pitFrame(kph);
        buildPitHelper(view, config, false, &frame);
        return view.band;
    };
    EXPECT_EQ(band(80.49f), PitBand::hold) << "half a km/h is let pass";
    EXPECT_EQ(band(80.6f), PitBand::over);
    EXPECT_EQ(band(77.1f), PitBand::hold);
    EXPECT_EQ(band(76.9f), PitBand::below);
    config.pitWarnMargin = 25; // from an old file
    EXPECT_EQ(band(60.1f), PitBand::hold);
    EXPECT_EQ(band(59.9f), PitBand::below);
    EXPECT_STREQ(view.delta, "-20 km/h");
    SimFrame frame = pitFrame(100);
    buildPitHelper(view, config, true, &frame);
    EXPECT_STREQ(view.speed, "62");
    EXPECT_STREQ(view.limit, "LIMIT 50");
    EXPECT_STREQ(view.delta, "+12 mph");
    frame.pitLimitSpeed = 0;
    buildPitHelper(view, config, false, &frame);
    EXPECT_EQ(view.band, PitBand::unknown);
}

TEST(PitHelper, TheWayToTheBox) {
    PitHelperConfig config;
    PitHelperView view;
    const auto box = [&](float stall, float at, bool imperial = false) {
        SimFrame frame = pitFrame(60);
        frame.pitStallPct = stall;
        frame.lapDistPct = at;
        buildPitHelper(view, config, imperial, &frame);
        return std::string(view.box);
    };
    EXPECT_EQ(box(0.5f, 0.48f), "100 m");
    EXPECT_EQ(box(0.5f, 0.48f, true), "328 ft");
    EXPECT_EQ(box(0.01f, 0.99f), "100 m") << "over the line";
    EXPECT_EQ(box(0.5f, 0.4f), "") << "too far";
    EXPECT_EQ(box(0.5f, 0.51f), "") << "behind the car";
    EXPECT_EQ(box(0.5f, 0.4999f), "STOP");
    EXPECT_EQ(box(-1, 0.5f), "Locating pit stall...");
}

TEST(PitHelper, ShowsOnPitRoadAloneOrWhereItCannotWork) {
    AppConfig config = defaultAppConfig(1920, 1080);
    Clock clock = manualClock();
    OverlayHost host{config, clock};
    PitHelperOverlay overlay(host);
    SimFrame frame = pitFrame(90);
    overlay.frame = &frame;
    EXPECT_TRUE(overlay.visibilityGate());
    const uint64_t lit = overlay.contentHash();
    advance(clock, 0.3);
    EXPECT_NE(overlay.contentHash(), lit) << "it flashes";
    frame.onPitRoad = 0;
    EXPECT_FALSE(overlay.visibilityGate());
    frame.pitLimiterOn = 1;
    EXPECT_TRUE(overlay.visibilityGate());
    frame.pitLimiterOn = 0;
    frame.simKind = kSimF1;
    EXPECT_TRUE(overlay.visibilityGate()) << "to say that it cannot work";
}

TEST(RaceInfo, TellsWhatIsLeftAndWarns) {
    const RaceInfoConfig config;
    RaceInfoView view;
    SimFrame frame;
    frame.connected = 1;
    frame.simKind = kSimIRacing;
    copyText(frame.trackName, "Some Ring");
    copyText(frame.carName, "GT3 Car");
    frame.lap = 12;
    frame.timeRemain = 3725;
    buildRaceInfo(view, config, &frame);
    EXPECT_STREQ(view.car, "GT3 Car") << "no ratings, no strength";
    EXPECT_STREQ(view.lap, "L12");
    EXPECT_STREQ(view.time, "1:02:05 LEFT");
    EXPECT_EQ(view.timeSeverity, 0);
    frame.timeRemain = 299.9;
    buildRaceInfo(view, config, &frame);
    EXPECT_STREQ(view.time, "4:59 LEFT");
    EXPECT_EQ(view.timeSeverity, 1);
    frame.timeRemain = 119;
    buildRaceInfo(view, config, &frame);
    EXPECT_EQ(view.timeSeverity, 2);
    frame.timeRemain = 604800; // no clock
    frame.timedSession = 0;
    for (const auto& [left, severity] : {std::pair{4, 0}, {3, 1}, {2, 1}, {1, 2}, {0, 2}}) {
        frame.lapsRemain = left;
        buildRaceInfo(view, config, &frame);
        EXPECT_EQ(view.lapSeverity, severity) << left;
    }
    EXPECT_STREQ(view.time, "");
    EXPECT_EQ(leftSeverity(1, 0, 0), 0) << "switched off";
}

TEST(Cards, Pictures) {
    AppConfig config = defaultAppConfig(1920, 1080);
    Clock clock = manualClock();
    OverlayHost host{config, clock};
    const auto shoot = [](OverlayWindow& overlay, const SimFrame& frame, const std::string& name) {
        overlay.layoutForStyle();
        applyScale(overlay);
        const BitmapRef picture = renderPreview(overlay, 1.5f, &frame);
        const char* folder = std::getenv("VT_PICTURES");
        if (folder && picture) savePng(*picture, std::string(folder) + "/card_" + name + ".png");
        EXPECT_TRUE(picture) << name;
    };
    SimFrame race = test::sixtyCarFrame();
    race.simKind = kSimIRacing;
    race.timedSession = 1;
    race.timeRemain = 250;
    race.lap = 12;
    copyText(race.trackName, "Circuit de Spa-Francorchamps with a long name");
    copyText(race.carName, "Falcon GT3 Evolution");
    for (int style = 0; style < 2; ++style) {
        const std::string tail = "_" + std::to_string(style);
        config.pithelper.pitStyle = config.raceinfo.riStyle = config.cover.coverStyle = style;
        for (const float kph : {0.0f, 62.0f, 79.0f, 96.0f}) {
            PitHelperOverlay pits(host);
            SimFrame frame = pitFrame(kph);
            frame.pitStallPct = 0.5f;
            frame.lapDistPct = kph > 0 ? 0.48f : 0.5f;
            frame.inPitStall = kph > 0 ? 0 : 1;
            frame.pitLimiterOn = kph == 79.0f ? 1 : 0;
            shoot(pits, frame, "pit" + std::to_string(static_cast<int>(kph)) + tail);
        }
        PitHelperOverlay nowhere(host);
        SimFrame other = pitFrame(60);
        other.simKind = kSimF1;
        shoot(nowhere, other, "pit_none" + tail);
        RaceInfoOverlay info(host);
        shoot(info, race, "info" + tail);
        PrivacyCoverOverlay cover(host);
        shoot(cover, race, "cover" + tail);
    }
}

} // namespace
} // namespace vt
