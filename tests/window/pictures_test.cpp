// What the base draws around an overlay's content, checked at the pixels that matter. With
// VT_PICTURES=<folder> each picture is also written there, on a dark and a light ground.
#include "base/utf8.h"
#include "platform/picture_file.h"
#include "window/window_desk.h"

#include <cstdlib>

namespace vt {
namespace {

class Pictures : public Desk {
protected:
    /// Lays the picture over a ground that is dark on the left and light on the right.
    static void write(const std::string& name, const BitmapRef& picture) {
        const char* folder = std::getenv("VT_PICTURES");
        if (!folder || !picture) return;
        const float w = static_cast<float>(bitmapWidth(*picture)),
                    h = static_cast<float>(bitmapHeight(*picture));
        const BitmapRef sheet =
            createBitmap(bitmapWidth(*picture) + 20, bitmapHeight(*picture) + 20);
        Canvas canvas;
        ASSERT_TRUE(sheet && canvas.begin(sheet));
        canvas.clear({0.16f, 0.19f, 0.22f, 1});
        canvas.fillRect({10 + w / 2, 0, w + 20, h + 20},
                        solidBrush({0.62f, 0.66f, 0.64f, 1}).get());
        canvas.drawBitmap(picture.get(), rectAt(10, 10, w, h));
        ASSERT_TRUE(canvas.end().ok());
        EXPECT_TRUE(savePng(*sheet, std::string(folder) + "/" + name + ".png"));
    }

    static int alphaAt(const BitmapRef& picture, int x, int y) {
        const PixelView view = bitmapPixels(*picture);
        return view.data[y * view.stride + x * 4 + 3];
    }

    /// Pixels of a region that are bright enough for a letter.
    static int brightIn(const BitmapRef& picture, RectI area) {
        const PixelView view = bitmapPixels(*picture);
        int count = 0;
        for (int y = area.top; y < area.bottom; ++y)
            for (int x = area.left; x < area.right; ++x) {
                const uint8_t* p = view.data + y * view.stride + x * 4;
                count += p[0] > 150 && p[1] > 150 && p[2] > 150;
            }
        return count;
    }
};

TEST_F(Pictures, EditModeOfAllSizes) {
    const struct {
        const char* name;
        int width, height;
        bool chrome;
    } cases[] = {{"edit-60x30", 60, 30, false},           {"edit-120x60", 120, 60, false},
                 {"edit-200x100-chrome", 200, 100, true}, {"edit-440x206-chrome", 440, 206, true},
                 {"edit-800x600", 800, 600, false},       {"edit-12x8", 12, 8, false}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        TestOverlay& overlay = add(kSlotSession, 100, 100, c.width, c.height);
        overlay.usesChrome = c.chrome;
        setEditMode(overlay, true);
        ASSERT_TRUE(overlay.picture);
        write(c.name, overlay.picture);
        if (c.width >= 60) { // words in the pill, none cut off at its sides
            const int center = c.width / 2, half = std::min(100, (c.width - 8) / 2);
            EXPECT_GT(brightIn(overlay.picture, {center - half, 4, center + half, 26}), 10);
            EXPECT_EQ(brightIn(overlay.picture, {center - half, 8, center - half + 4, 22}), 0);
            EXPECT_EQ(brightIn(overlay.picture, {center + half - 4, 8, center + half, 22}), 0);
        }
        kept.clear();
    }
}

TEST_F(Pictures, CaptionOfADrag) {
    for (const int width : {60, 320}) {
        TestOverlay& overlay = add(kSlotSession, 100, 100, width, 120);
        setEditMode(overlay, true);
        drag({110, 150}, {1210, 750}, false);
        tick(live);
        write("drag-" + std::to_string(width), overlay.picture);
        EXPECT_GT(brightIn(overlay.picture, {0, 4, width, 26}), 10);
        headlessMouseButton(0, false);
        kept.clear();
    }
    TestOverlay& overlay = add(kSlotSpotter, 100, 100, 320, 120);
    overlay.hasGap = overlay.widthFixed = true;
    overlay.gap = 260;
    setEditMode(overlay, true);
    drag({419, 150}, {439, 150}, false);
    tick(live);
    write("drag-gap", overlay.picture);
}

TEST_F(Pictures, Placeholders) {
    host.editPlaceholders = true;
    const PointI sizes[] = {{60, 30}, {90, 50}, {160, 70}, {440, 206}, {800, 600}};
    for (const PointI size : sizes) {
        TestOverlay& overlay = add(kSlotStandings, 100, 100, size.x, size.y);
        setEditMode(overlay, true);
        ASSERT_TRUE(overlay.picture);
        write("placeholder-" + std::to_string(size.x) + "x" + std::to_string(size.y),
              overlay.picture);
        EXPECT_EQ(overlay.draws, 0);
        kept.clear();
    }
    host.editPlaceholders = false;
}

TEST_F(Pictures, NotAvailable) {
    live.simKind = kSimDirtRally2;
    for (const PointI size : {PointI{110, 40}, PointI{440, 206}}) {
        TestOverlay& overlay = add(kSlotRelative, 100, 100, size.x, size.y);
        overlay.usesChrome = true;
        config.relative.relStyle = 0;
        tick(live);
        write("not-available-" + std::to_string(size.x), overlay.picture);
        EXPECT_EQ(overlay.draws, 0);
        kept.clear();
    }
}

TEST_F(Pictures, StripsInFourThemes) {
    live.fuelLevel = 34.6f;
    live.timeRemain = 1503;
    live.airTemp = 22;
    live.sessionFlags = kFlagGreen;
    copyText(live.trackName, "Circuit de Spa-Francorchamps");
    for (int theme = -1; theme < kThemeCount; ++theme) {
        TestOverlay& overlay = add(kSlotSession, 100, 100, 380, 120);
        overlay.usesChrome = true;
        OverlayConfig& common = config.session;
        common.showHeader = common.showFooter = true;
        common.headerLeft = 1;
        common.headerCenter = 5;
        common.headerRight = 14;
        common.footerCenter = 10;
        config.session.sessionStyle = theme < 0 ? 0 : 1;
        config.overlayThemeV2 = std::max(theme, 0);
        tick(live);
        ASSERT_TRUE(overlay.picture);
        write(theme < 0 ? "strips-classic" : "strips-theme-" + std::to_string(theme),
              overlay.picture);
        // The corner is round where the look or the theme says so, for all that is drawn.
        const bool square = theme == 0 || theme == 1;
        EXPECT_EQ(alphaAt(overlay.picture, 1, 1) > 0, square) << theme;
        EXPECT_GT(brightIn(overlay.picture, {4, 4, 376, 22}), 50);
        kept.clear();
    }
}

} // namespace
} // namespace vt
