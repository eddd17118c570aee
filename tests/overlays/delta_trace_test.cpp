#include "overlay/overlays/delta_trace_overlay.h"
#include "overlay/settings/slots.h"
#include "platform/picture_file.h"
#include "telemetry/sim_registry.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>

using namespace vt;

namespace {

SimFrame frameAt(float pct, float delta, SimKind sim = kSimIRacing) {
    SimFrame frame;
    frame.connected = 1;
    frame.simKind = sim;
    frame.lap = 7;
    frame.timedSession = 0;
    frame.lapsRemain = 13;
    frame.lapDistPct = pct;
    frame.sectorStarts = {0, 0.3f, 0.7f};
    (sim == kSimIRacing ? frame.deltaOptimalOk : frame.liveDeltaBestOk) = 1;
    (sim == kSimIRacing ? frame.deltaOptimal : frame.liveDeltaBest) = delta;
    return frame;
}

float lapDelta(float pct) {
    return 0.8f * std::sin(pct * 9) - 0.3f * pct;
}

TEST(DeltaTraceTest, StartsAnewAtTheLineAndKeepsItsMemory) {
    DeltaTrace trace;
    const auto drive = [&](float from, float to, int reference = 2) {
        for (float pct = from; pct < to; pct += 0.0004f)
            trace.add(frameAt(pct, lapDelta(pct)), reference);
    };
    drive(0, 1);
    EXPECT_GT(trace.points().size(), 650u);
    EXPECT_LE(trace.points().size(), DeltaTrace::kPoints + 1);
    float won = 0;
    ASSERT_TRUE(trace.between(0.3f, 0.7f, won));
    EXPECT_NEAR(won, lapDelta(0.7f) - lapDelta(0.3f), 0.02f);
    drive(0, 0.1f);
    EXPECT_LT(trace.points().size(), 120u);
    EXPECT_FALSE(trace.between(0.3f, 0.7f, won));
    const float before = trace.points().back().pct;
    trace.add(frameAt(before - 0.01f, 0), 2); // a wobble backwards
    EXPECT_FLOAT_EQ(trace.points().back().pct, before);
    trace.add(frameAt(0.6f, 0), 2);
    EXPECT_EQ(trace.points().size(), 1u) << "a tow is no lap";
    drive(0.6f, 0.8f, 0);
    EXPECT_TRUE(trace.points().empty()) << "another reference that the sim has no value for";
    trace.add(frameAt(NAN, 1), 2);
    trace.add(frameAt(0.5f, NAN), 2);
    EXPECT_TRUE(trace.points().empty());
}

TEST(DeltaTraceTest, TheValueFollowsTheReference) {
    SimFrame frame = frameAt(0.5f, 0.4f);
    frame.deltaLastOk = 1;
    frame.deltaLast = -0.2f;
    EXPECT_FLOAT_EQ(deltaOf(frame, 2).seconds, 0.4f);
    EXPECT_FLOAT_EQ(deltaOf(frame, 1).seconds, -0.2f);
    EXPECT_FALSE(deltaOf(frame, 0).ok);
    const SimFrame other = frameAt(0.5f, 0.7f, kSimLmu);
    EXPECT_FLOAT_EQ(deltaOf(other, 2).seconds, 0.7f) << "no optimal lap there: the kept best";
    EXPECT_FALSE(deltaOf(other, 1).ok);
}

TEST(DeltaTraceTest, SectorsOfTheLap) {
    DeltaTrace trace;
    for (float pct = 0; pct < 0.5f; pct += 0.001f)
        trace.add(frameAt(pct, pct), 2);
    DeltaTraceView view;
    const SimFrame now = frameAt(0.5f, 0.5f);
    buildDeltaTrace(view, DeltaTraceConfig(), trace, &now);
    ASSERT_EQ(view.sectors.size(), 3u);
    EXPECT_TRUE(view.sectors[0].known);
    EXPECT_NEAR(view.sectors[0].delta, 0.3f, 0.01f);
    EXPECT_TRUE(view.sectors[1].running);
    EXPECT_NEAR(view.sectors[1].delta, 0.2f, 0.01f);
    EXPECT_FALSE(view.sectors[2].known);
    EXPECT_STREQ(view.lap, "LAP 7/20");
    EXPECT_STREQ(view.figure, "+0.50");
}

TEST(DeltaTraceTest, Pictures) {
    AppConfig config = defaultAppConfig(1920, 1080);
    Clock clock = manualClock();
    OverlayHost host{config, clock};
    for (int look = 0; look < 8; ++look) {
        config.deltatrace.dtStyle = look & 1;
        config.deltatrace.dtMode = look >> 1 & 1;
        config.deltatrace.dtRefInputs = look >= 4;
        config.deltatrace.dtScale = 1;
        config.overlayThemeV2 = look % 4;
        DeltaTraceOverlay overlay(host);
        SimFrame frame;
        for (float pct = 0; pct < 0.8f; pct += 0.002f) {
            frame = frameAt(pct, lapDelta(pct));
            overlay.prepareFrame(&frame);
        }
        EXPECT_EQ(overlay.baseHeight, (look >> 1 & 1 ? 46 : 100) + (look >= 4 ? 20 : 0));
        const BitmapRef picture = renderPreview(overlay, 1, &frame);
        ASSERT_TRUE(picture);
        if (const char* folder = std::getenv("VT_PICTURES"))
            savePng(*picture, std::string(folder) + "/delta_" + std::to_string(look) + ".png");
    }
}

} // namespace
