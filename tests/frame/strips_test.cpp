#include "base/utf8.h"
#include "overlay/frame/sim_support.h"
#include "overlay/frame/strips.h"
#include "overlay/frame/theme.h"
#include "platform/picture_file.h"
#include "telemetry/demo_feed.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <string>

using namespace vt;

namespace {

constexpr int kWidth = 420, kHeight = 70; // strip, content, strip
constexpr Color kContent{0.1f, 0.12f, 0.15f, 1};

struct Fonts {
    Fonts() { drawingInit(VT_SOURCE_DIR "/fonts"); }
    ~Fonts() { drawingShutdown(); }
};

class Strips : public testing::Test {
protected:
    static void SetUpTestSuite() { fonts_ = new Fonts; }
    static void TearDownTestSuite() {
        delete fonts_;
        fonts_ = nullptr;
    }
    void TearDown() override { setDrawTheme(0); }

private:
    static inline Fonts* fonts_ = nullptr;
};

struct Look {
    bool apex = false;
    int theme = 0;
    float textScale = 1;
    float opacity = 1;
};

/// Both strips of an overlay with these header texts; the footer as given.
BitmapRef paint(const OverlayConfig& overlay, const StripTexts& header, const StripTexts& footer,
                const Look& look, Color background = kContent, int width = kWidth) {
    BitmapRef bitmap = createBitmap(width, kHeight);
    Canvas canvas;
    BrushCache brushes;
    EXPECT_TRUE(canvas.begin(bitmap));
    const auto w = static_cast<float>(width);
    canvas.clear(background);
    setDrawTheme(look.theme);
    const TextFormatRef format = makeTextFormat("Inter Tight", 13 * look.textScale, 600);
    const StripStyle style{look.apex, look.opacity, format.get()};
    drawStrip(canvas, brushes, {0, 0, w, kStripHeight}, true, overlay, header, style);
    drawStrip(canvas, brushes, {0, kHeight - kStripHeight, w, kHeight}, false, overlay, footer,
              style);
    EXPECT_TRUE(canvas.end().ok());
    return bitmap;
}

StripTexts texts(const char* left, const char* center, const char* right) {
    StripTexts t;
    copyText(t.left, left);
    copyText(t.center, center);
    copyText(t.right, right);
    return t;
}

struct Pixel {
    int r = 0, g = 0, b = 0, a = 0;
};

Pixel pixel(const Bitmap& bitmap, int x, int y) {
    const PixelView view = bitmapPixels(bitmap);
    const uint8_t* p = view.data + y * view.stride + x * 4;
    return {p[2], p[1], p[0], p[3]};
}

bool inked(Pixel p) {
    return std::max({p.r, p.g, p.b}) > 60;
}

/// For each column whether a text of the header has ink there, the line at its edge left out.
std::string inkColumns(const Bitmap& bitmap) {
    std::string columns(static_cast<size_t>(bitmapWidth(bitmap)), '.');
    for (int x = 0; x < bitmapWidth(bitmap); ++x)
        for (int y = 0; y < static_cast<int>(kStripHeight) - 1; ++y)
            if (inked(pixel(bitmap, x, y))) columns[static_cast<size_t>(x)] = '#';
    return columns;
}

/// Blank runs of at least `wide` columns between ink.
int gaps(const std::string& columns, size_t wide) {
    const size_t first = columns.find('#'), last = columns.rfind('#');
    if (first == std::string::npos) return 0;
    int count = 0;
    size_t run = 0;
    for (size_t x = first; x <= last; ++x) {
        run = columns[x] == '.' ? run + 1 : 0;
        if (run == wide) ++count;
    }
    return count;
}

/// Brightest pixel of the header between two columns.
Pixel brightest(const Bitmap& bitmap, int from, int to) {
    Pixel best;
    for (int x = from; x < to; ++x)
        for (int y = 0; y < static_cast<int>(kStripHeight) - 1; ++y)
            if (const Pixel p = pixel(bitmap, x, y); p.r + p.g + p.b > best.r + best.g + best.b)
                best = p;
    return best;
}

const char* const kLongTrack = "Circuit de la Sarthe, Le Mans 24 Heures Grand Prix";
const char* const kJapanese = "鈴鹿サーキット 東コース グランプリ";

} // namespace

TEST_F(Strips, placesKeepTheirEdges) {
    const OverlayConfig overlay;
    const auto black = Color{0, 0, 0, 1};
    const auto left = inkColumns(*paint(overlay, texts("HHH", "", ""), {}, {}, black));
    const auto center = inkColumns(*paint(overlay, texts("", "HHH", ""), {}, {}, black));
    const auto right = inkColumns(*paint(overlay, texts("", "", "HHH"), {}, {}, black));
    EXPECT_NEAR(static_cast<double>(left.find('#')), 11, 2);
    EXPECT_NEAR(static_cast<double>(right.rfind('#')), kWidth - 12, 2);
    EXPECT_NEAR(static_cast<double>(center.find('#') + center.rfind('#')) / 2, kWidth / 2.0, 2);
    EXPECT_EQ(inkColumns(*paint(overlay, {}, {}, {}, black)).find('#'), std::string::npos);
    const auto apex = inkColumns(*paint(overlay, texts("HHH", "", ""), {}, {.apex = true}, black));
    EXPECT_NEAR(static_cast<double>(apex.find('#')), 13, 2);
}

// However long the texts, a gap stays between those that show, the margins stay free, and the
// content below is not touched.
TEST_F(Strips, longTextsNeverTouch) {
    const OverlayConfig overlay;
    const std::string three(3, 'H'), many(21, 'H'), endless(90, 'H');
    const struct {
        std::string left, center, right;
        int small, large; // gaps at text scale 1, and at 2 and 3
    } cases[] = {
        {many, many, three, 2, 1},       // the centre is cut, then goes
        {endless, three, endless, 1, 1}, // no room for a centre at all
        {endless, "", three, 1, 1},      // the shorter one stays whole
        {three, "", endless, 1, 1},      //
        {three, endless, three, 2, 2},   // the centre takes what is left
        {many, three, "", 1, 1},         // the centre moves aside
    };
    for (const float scale : {0.5f, 1.0f, 2.0f, 3.0f})
        for (size_t i = 0; i < std::size(cases); ++i) {
            const auto& c = cases[i];
            const BitmapRef bitmap =
                paint(overlay, texts(c.left.c_str(), c.center.c_str(), c.right.c_str()), {},
                      {.textScale = scale}, {0, 0, 0, 1});
            const std::string columns = inkColumns(*bitmap);
            EXPECT_GE(columns.find('#'), 9u) << i << " at " << scale;
            // A cut text keeps its edge.
            if (!c.right.empty() && scale == 1) {
                EXPECT_GE(columns.rfind('#'), static_cast<size_t>(kWidth - 14)) << i;
            }
            EXPECT_LE(columns.rfind('#'), static_cast<size_t>(kWidth - 9)) << i << " at " << scale;
            if (scale >= 1) {
                EXPECT_EQ(gaps(columns, 9), scale > 1 ? c.large : c.small)
                    << i << " at " << scale << "\n"
                    << columns;
            }
            for (int x = 0; x < kWidth; ++x)
                EXPECT_FALSE(inked(pixel(*bitmap, x, static_cast<int>(kStripHeight) + 1)));
        }
}

TEST_F(Strips, colours) {
    OverlayConfig overlay;
    overlay.headerLeft = 18;
    const Color black{0, 0, 0, 1};
    const auto left = [&](const char* text, const Look& look) {
        return brightest(*paint(overlay, texts(text, "", ""), {}, look, black), 0, 200);
    };
    const Pixel gain = left("iR Gain +12 HH", {}), loss = left("iR Gain -12 HH", {});
    EXPECT_GT(gain.g, gain.r + 60);
    EXPECT_GT(loss.r, loss.g + 60);
    const Pixel apexGain = left("iR Gain +12 HH", {.apex = true, .theme = 2});
    EXPECT_NEAR(apexGain.g, 208, 8);
    EXPECT_NEAR(apexGain.r, 45, 8);
    // Not a value: plain, and weaker than one.
    const Pixel missing = left("iR Gain N/A", {});
    EXPECT_NEAR(missing.r, missing.b, 8);
    EXPECT_NEAR(missing.g, 0.45 * 245, 8);
    overlay.headerLeft = 8;
    EXPECT_NEAR(left("HHHHH -12", {}).g, 245, 8);
    EXPECT_NEAR(left("HHHHH -12", {.opacity = 0.5f}).g, 122, 8);
}

TEST_F(Strips, bandsAndLines) {
    const OverlayConfig overlay;
    const Color black{0, 0, 0, 1};
    const auto at = [&](const Look& look, int x, int y) {
        return pixel(*paint(overlay, {}, {}, look, black), x, y);
    };
    // Classic: a hairline alone, 8 px in, at the strips' inner edges.
    EXPECT_EQ(at({}, 200, 10).r, 0);
    EXPECT_NEAR(at({}, 200, 25).r, 20, 2);
    EXPECT_NEAR(at({}, 200, kHeight - 26).r, 20, 2);
    EXPECT_EQ(at({}, 6, 25).r, 0);
    EXPECT_EQ(at({}, kWidth - 7, 25).r, 0);
    // Apex: the theme's band, and its line across the whole width.
    EXPECT_NEAR(at({.apex = true}, 200, 10).b, 38, 2);
    EXPECT_NEAR(at({.apex = true}, 0, 25).b, 104, 2);
    EXPECT_NEAR(at({.apex = true, .opacity = 0.5f}, 200, 10).b, 19, 2);
    // Smoked Glass at half of its own 0.5.
    EXPECT_NEAR(at({.apex = true, .theme = 3}, 200, 10).b, 5, 1);
    EXPECT_EQ(at({.apex = true, .theme = 3}, 0, 0).b, 0) << "rounded outside";
    EXPECT_GT(at({.apex = true, .theme = 3}, 0, 25).b, 0) << "square inside";
}

TEST_F(Strips, textsOfAFrame) {
    SimFrame frame;
    demoFrameAt(frame, 42);
    const AppConfig config;
    const Clock clock = manualClock();
    const FieldContext context{config, kSlotStandings, clock};
    OverlayConfig overlay;
    overlay.headerCenter = 8;
    overlay.footerLeft = 14;
    const StripTexts header = stripTexts(overlay, true, frame, context);
    EXPECT_STREQ(header.left, "STANDINGS");
    EXPECT_STREQ(header.center, "Position P6");
    EXPECT_STREQ(header.right, "iRacing");
    const StripTexts footer = stripTexts(overlay, false, frame, context);
    EXPECT_STREQ(footer.left, "Fuel 55.9 L");
    EXPECT_STREQ(footer.center, "");
    EXPECT_STREQ(footer.right, "Flag GREEN");
    frame.simKind = kSimBeamNg;
    overlay.headerLeft = 4;
    EXPECT_STREQ(stripTexts(overlay, true, frame, context).left, "Session N/A");
}

TEST_F(Strips, pictures) {
    const char* folder = std::getenv("VT_PICTURES");
    if (!folder) GTEST_SKIP() << "VT_PICTURES=<folder> saves pictures of the strips";
    SimFrame frame;
    demoFrameAt(frame, 42);
    const AppConfig config;
    const Clock clock = manualClock();
    const FieldContext context{config, kSlotRelative, clock};
    OverlayConfig overlay;
    overlay.headerLeft = 1;
    overlay.headerCenter = 18;
    overlay.headerRight = 2;
    overlay.footerLeft = 6;
    overlay.footerCenter = 20;
    overlay.footerRight = 9;
    frame.waterTemp = -1000;

    struct {
        const char* name;
        Look look;
    } const looks[] = {{"classic", {}},
                       {"apex_red", {true, 0}},
                       {"carbon", {true, 1}},
                       {"graphite", {true, 2}},
                       {"smoked_glass", {true, 3}}};
    const StripTexts set[][2] = {
        {stripTexts(overlay, true, frame, context), stripTexts(overlay, false, frame, context)},
        {texts(kLongTrack, "iR Gain -118", "Mostly Dry"),
         texts("SOF 2.4k", kJapanese, "Lap 12 / 34")},
        {texts(kJapanese, "", kLongTrack), texts(kLongTrack, kLongTrack, kLongTrack)},
    };
    for (const auto& [name, look] : looks) {
        constexpr float scales[] = {0.5f, 1, 2};
        constexpr int gap = 6;
        BitmapRef sheet = createBitmap(3 * kWidth + 4 * gap, 3 * kHeight + 4 * gap);
        Canvas canvas;
        ASSERT_TRUE(canvas.begin(sheet));
        canvas.clear({0.35f, 0.4f, 0.35f, 1});
        for (int column = 0; column < 3; ++column)
            for (int row = 0; row < 3; ++row) {
                Look scaled = look;
                scaled.textScale = scales[column];
                const BitmapRef one =
                    paint(overlay, set[row][0], set[row][1], scaled, {0.2f, 0.24f, 0.2f, 1});
                canvas.drawBitmap(one.get(),
                                  rectAt(static_cast<float>(gap + column * (kWidth + gap)),
                                         static_cast<float>(gap + row * (kHeight + gap)), kWidth,
                                         kHeight));
            }
        ASSERT_TRUE(canvas.end().ok());
        EXPECT_TRUE(savePng(*sheet, std::string(folder) + "/strips_" + name + ".png"));
    }
}
