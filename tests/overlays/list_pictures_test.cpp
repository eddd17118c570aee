// Pictures of the two lists on the memory desktop. With VT_PICTURES=<folder> they are written there
// to be looked at.
#include "overlay/overlays/overlay_catalogue.h"
#include "overlay/overlays/relative_overlay.h"
#include "overlay/overlays/standings_overlay.h"
#include "overlay/settings/settings_store.h"
#include "platform/picture_file.h"
#include "support/race_frames.h"
#include "telemetry/demo_feed.h"

#include <gtest/gtest.h>

#include <cstdlib>

using namespace vt;
using namespace vt::test;

namespace {

const char* const kStyleNames[] = {"classic", "grid", "compact", "focus", "rows", "apex"};

class ListPictures : public testing::Test {
protected:
    AppConfig config = defaultAppConfig(1920, 1080);
    Clock clock = manualClock();
    OverlayHost host{config, clock};

    void plain() {
        for (OverlayConfig* o : {static_cast<OverlayConfig*>(&config.relative),
                                 static_cast<OverlayConfig*>(&config.standings)}) {
            o->widthMul = o->heightMul = o->textScale = 1;
            o->bgOpacity = 0.92f;
        }
    }
    void setStyle(int style) { config.relative.relStyle = config.standings.stdStyle = style; }

    BitmapRef shoot(OverlayWindow& overlay, const SimFrame& frame, const std::string& name,
                    float scale = 1) {
        overlay.prepareFrame(&frame);
        const BitmapRef picture = renderPreview(overlay, scale, &frame);
        const char* folder = std::getenv("VT_PICTURES");
        if (folder && picture) savePng(*picture, std::string(folder) + "/" + name + ".png");
        return picture;
    }
    void shootBoth(const SimFrame& frame, const std::string& name, float scale = 1) {
        RelativeOverlay relative(host);
        StandingsOverlay standings(host);
        ASSERT_TRUE(shoot(relative, frame, "relative_" + name, scale));
        ASSERT_TRUE(shoot(standings, frame, "standings_" + name, scale));
    }
};

SimFrame demo(double t) {
    SimFrame f;
    demoFrameAt(f, t);
    return f;
}

} // namespace

TEST_F(ListPictures, EveryStyleOnTheDemoRaceAndOnSixtyCars) {
    plain();
    const SimFrame sixty = sixtyCarFrame();
    config.standings.standingsRows = 6;
    config.standings.standingsRowsOther = 3;
    for (int style = 0; style < kListStyleCount; ++style) {
        setStyle(style);
        shootBoth(demo(40), std::string(kStyleNames[style]) + "_demo");
        shootBoth(sixty, std::string(kStyleNames[style]) + "_sixty");
    }
}

// What is drawn without the opacity that belongs to it would show here.
TEST_F(ListPictures, OpacitiesReachEverything) {
    plain();
    config.relative.bgOpacity = config.relative.contentOpacity = 0;
    config.standings.bgOpacity = config.standings.contentOpacity = 0;
    const SimFrame frame = sixtyCarFrame(14);
    for (int style = kListGrid; style < kListStyleCount; ++style) {
        setStyle(style);
        RelativeOverlay relative(host);
        StandingsOverlay standings(host);
        for (OverlayWindow* overlay :
             {static_cast<OverlayWindow*>(&relative), static_cast<OverlayWindow*>(&standings)}) {
            const BitmapRef picture = renderPreview(*overlay, 1, &frame);
            ASSERT_TRUE(picture);
            const PixelView pixels = bitmapPixels(*picture);
            int drawn = 0;
            for (int y = 0; y < pixels.height; ++y)
                for (int x = 0; x < pixels.width * 4; ++x)
                    drawn += pixels.data[y * pixels.stride + x] != 0;
            EXPECT_EQ(drawn, 0) << kStyleNames[style] << " slot " << overlay->slot;
        }
    }
}

TEST_F(ListPictures, ARedrawLaysOutChangedTextsOnly) {
    SimFrame frame = sixtyCarFrame();
    StandingsOverlay standings(host);
    for (int i = 0; i < 2; ++i)
        ASSERT_TRUE(renderPreview(standings, 1, &frame));
    const uint64_t before = textLayoutsMade();
    ASSERT_TRUE(renderPreview(standings, 1, &frame));
    EXPECT_EQ(textLayoutsMade(), before);
    frame.cars[2].lastLapTime = 141.7f;
    ASSERT_TRUE(renderPreview(standings, 1, &frame));
    EXPECT_GT(textLayoutsMade(), before);
    EXPECT_LE(textLayoutsMade(), before + 4) << "the time, and the delta to it";
}

TEST_F(ListPictures, DefaultsThemesStripsAndScales) {
    if (!std::getenv("VT_PICTURES")) GTEST_SKIP() << "VT_PICTURES names no folder for pictures";
    const SimFrame race = demo(72);
    shootBoth(race, "default");
    shootBoth(sixtyCarFrame(14), "default_pinned");
    plain();
    for (int theme = 0; theme < 4; ++theme) {
        config.overlayThemeV2 = theme;
        shootBoth(race, "theme" + std::to_string(theme));
    }
    config.overlayThemeV2 = 1;
    for (const float textScale : {0.5f, 1.5f, 3.0f}) {
        config.relative.textScale = config.standings.textScale = textScale;
        for (const int style : {0, 1, 3, 5}) {
            setStyle(style);
            shootBoth(sixtyCarFrame(), std::string(kStyleNames[style]) + "_text" +
                                           std::to_string(static_cast<int>(textScale * 10)));
        }
    }
    plain();
    for (const float width : {0.25f, 0.5f, 2.0f}) {
        config.relative.widthMul = config.standings.widthMul = width;
        for (const int style : {1, 5}) {
            setStyle(style);
            shootBoth(sixtyCarFrame(), std::string(kStyleNames[style]) + "_width" +
                                           std::to_string(static_cast<int>(width * 100)));
        }
    }
    plain();
    setStyle(kListClassic);
    config.relative.showHeader = config.relative.showFooter = true;
    config.standings.showHeader = config.standings.showFooter = true;
    shootBoth(race, "strips");
}
