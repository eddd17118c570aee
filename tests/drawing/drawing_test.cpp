#include "base/log.h"
#include "overlay/drawing/drawing.h"
#include "platform/picture_file.h"
#include "sheets.h"
#include "support/picture_compare.h"

#include <gtest/gtest.h>

namespace vt::test {

namespace {

class DrawingTest : public testing::Test {
protected:
    std::vector<std::string> log;
    BitmapRef bitmap = createBitmap(300, 100);
    Canvas canvas;
    BrushRef white = solidBrush({1, 1, 1, 1});
    TextFormatRef format;

    void SetUp() override {
        loadFonts(fontsFolder());
        format = makeTextFormat("Inter Tight", 14, 400);
        clearTextLayoutCache();
        setLogSink(
            [](void* user, std::string_view line) {
                static_cast<std::vector<std::string>*>(user)->emplace_back(line);
            },
            &log);
        canvas.begin(bitmap);
    }
    void TearDown() override {
        setLogSink(nullptr, nullptr);
        canvas.end();
        drawingShutdown();
    }
    /// Layouts that `draw` had to make.
    template <typename Draw>
    int made(Draw draw) {
        const uint64_t before = textLayoutsMade();
        draw();
        return static_cast<int>(textLayoutsMade() - before);
    }
    int drawn(const TextFormatRef& f, const char* text, RectF rect,
              TextAlign h = TextAlign::leading, TextAlign v = TextAlign::center) {
        return made([&] { drawText(canvas, f.get(), text, rect, white.get(), h, v); });
    }
    /// Columns that carry something.
    std::pair<int, int> ink() const {
        int first = 300, last = -1;
        for (int x = 0; x < 300; ++x)
            for (int y = 0; y < 100; ++y)
                if (pixelAt(*bitmap, x, y).a > 40) {
                    first = std::min(first, x);
                    last = x;
                }
        return {first, last};
    }
};

TEST_F(DrawingTest, BrushesAreSharedByTheirBytes) {
    BrushCache cache;
    const Brush* red = brushFor(cache, {1, 0, 0, 0.5f});
    EXPECT_EQ(brushFor(cache, {0.9995f, 0.001f, -3, 0.501f}), red);
    EXPECT_NE(brushFor(cache, {0.99f, 0, 0, 0.5f}), red);
    EXPECT_EQ(cache.entries.size(), 2u);
    EXPECT_EQ(cache.entries[0].key, 0xFF000080u);
    EXPECT_EQ(cache.fallback.get(), red);
    const Brush* fade = fadeGradient(cache, 0.5f);
    EXPECT_EQ(fadeGradient(cache, 0.501f), fade);
    EXPECT_NE(fadeGradient(cache, 0.6f), fade);
    flushBrushes(cache);
    EXPECT_TRUE(cache.entries.empty() && !cache.fallback && !cache.fade);
}

TEST_F(DrawingTest, OneLayoutPerTextFormatBoxAndAlignment) {
    const RectF box{0, 0, 100, 20};
    EXPECT_EQ(drawn(format, "Lap 7", box), 1);
    EXPECT_EQ(drawn(format, "Lap 7", box), 0);
    EXPECT_EQ(drawn(format, "Lap 7", {50, 40, 150, 60}), 0); // only the size counts
    EXPECT_EQ(drawn(format, "Lap 7", {0, 0, 100.04f, 20}), 0);
    EXPECT_EQ(drawn(format, "Lap 7", {0, 0, 100.06f, 20}), 1);
    EXPECT_EQ(drawn(format, "Lap 7", {0, 0, 100, 21}), 1);
    EXPECT_EQ(drawn(format, "Lap 8", box), 1);
    EXPECT_EQ(drawn(format, "Lap 7", box, TextAlign::trailing), 1);
    EXPECT_EQ(drawn(format, "Lap 7", box, TextAlign::leading, TextAlign::trailing), 1);
    // A format that looks the same and lies, perhaps, where an older one lay.
    format.reset();
    format = makeTextFormat("Inter Tight", 14, 400);
    EXPECT_EQ(drawn(format, "Lap 7", box), 1);
    const auto spaced = [&](float by) {
        return made([&] { drawTextSpaced(canvas, format.get(), "Lap 7", box, white.get(), by); });
    };
    EXPECT_EQ(spaced(1), 1);
    EXPECT_EQ(spaced(2), 1);
    EXPECT_EQ(spaced(1), 0);
    clearTextLayoutCache();
    EXPECT_EQ(drawn(format, "Lap 7", box), 1);
    setDrawingLanguage(6);
    EXPECT_EQ(makeTextFormat("Inter Tight", 14, 400)->locale, "ja-JP");
    EXPECT_EQ(drawn(format, "Lap 7", box), 1);
    setDrawingLanguage(0);
}

TEST_F(DrawingTest, WhatWasUsedLatelyStaysInTheFullCache) {
    const RectF box{0, 0, 100, 20};
    for (int i = 0; i < 3000; ++i) {
        frameStamp = static_cast<uint64_t>(i);
        drawn(format, std::to_string(i).c_str(), box);
        EXPECT_LE(drawn(format, "always", box), i == 0 ? 1 : 0) << i;
    }
    int kept = 0;
    for (int i = 2999; i > 2999 - 100; --i)
        kept += drawn(format, std::to_string(i).c_str(), box) == 0 ? 1 : 0;
    EXPECT_GE(kept, 95);
    int old = 0;
    for (int i = 0; i < 100; ++i)
        old += drawn(format, std::to_string(i).c_str(), box) == 0 ? 1 : 0;
    EXPECT_LE(old, 5);
}

TEST_F(DrawingTest, TheOverlaysCacheDropsItsLessUsedHalf) {
    OverlayLayoutCache cache;
    const auto cell = [&](int i) {
        return made([&] {
            drawTextCached(canvas, cache, format.get(), std::to_string(i), {0, 0, 60, 20},
                           white.get());
        });
    };
    for (int i = 0; i < 128; ++i)
        EXPECT_EQ(cell(i), 1);
    for (int i = 0; i < 32; ++i)
        EXPECT_EQ(cell(i), 0); // now the most recent
    EXPECT_EQ(cell(128), 1);
    EXPECT_EQ(cache.entries.size(), 65u);
    for (int i = 0; i < 32; ++i)
        EXPECT_EQ(cell(i), 0) << i;
    EXPECT_EQ(cell(127), 0);
    EXPECT_EQ(cell(40), 1);
}

TEST_F(DrawingTest, FittedTextFillsItsBoxUpToTheLargestScale) {
    const auto fit = [&](RectF box, float maxScale) {
        canvas.clear({0, 0, 0, 0});
        drawTextFit(canvas, format.get(), "MMMM", box, white.get(), maxScale);
        const auto [first, last] = ink();
        EXPECT_NEAR((first + last) / 2.0, (box.left + box.right) / 2, 2);
        return last - first + 1;
    };
    // What the letters cover is less than their advance, by the same share at every size.
    const TextFormatRef big = makeTextFormat("Inter Tight", 70, 400);
    drawText(canvas, big.get(), "MMMM", {0, 0, 300, 100}, white.get());
    const float share =
        static_cast<float>(ink().second - ink().first + 1) / textWidthUnbounded(big.get(), "MMMM");
    const float natural = textWidthUnbounded(format.get(), "MMMM") * share;
    EXPECT_NEAR(fit({50, 0, 250, 100}, 0), 200 * 0.97f * share, 3); // enlarged
    EXPECT_NEAR(fit({50, 0, 250, 100}, 1), 200 * 0.97f * share, 3); // 1 and below is no limit
    EXPECT_NEAR(fit({10, 0, 290, 100}, 2), natural * 2, 3);
    EXPECT_NEAR(fit({100, 0, 120, 100}, 2), 20 * 0.97f * share, 2); // made smaller
    const TextMetrics m = layoutMetrics(*measureLayout(format.get(), "MMMM", 500, 500));
    EXPECT_NEAR(fit({10, 10, 290, 30}, 0), natural * 20 * 0.94f / m.height, 2); // height decides
}

TEST_F(DrawingTest, WidthsAndHeights) {
    const float one = textWidthUnbounded(format.get(), "word");
    EXPECT_GT(textWidthUnbounded(format.get(), "word  "), one + 4);
    EXPECT_EQ(textWidthUnbounded(format.get(), "", 9), 0);
    EXPECT_EQ(textWidthUnbounded(nullptr, "word", 9), 9);
    EXPECT_NEAR(textHeightAt(format.get(), "word word word", one * 1.3f),
                3 * textHeightAt(format.get(), "word", 500), 0.5f);
    EXPECT_EQ(made([&] { textWidthUnbounded(format.get(), "word"); }), 0);
}

TEST_F(DrawingTest, NothingIsDrawnFromNothing) {
    drawText(canvas, nullptr, "x", {0, 0, 100, 20}, white.get());
    drawText(canvas, format.get(), "", {0, 0, 100, 20}, white.get());
    drawText(canvas, format.get(), "x", {0, 0, 100, 20}, nullptr);
    drawTextFit(canvas, format.get(), "x", {0, 0, 0, 20}, white.get());
    drawTextFit(canvas, format.get(), "   ", {0, 0, 100, 20}, white.get());
    EXPECT_EQ(measureLayout(format.get(), "", 10, 10), nullptr);
    EXPECT_EQ(ink().second, -1);
    drawText(canvas, format.get(), "x", {0, 0, 100, 20}, white.get());
    EXPECT_GT(ink().second, 0);
}

TEST_F(DrawingTest, RepeatedFailuresAreCounted) {
    static const char panel[] = "panel", other[] = "other";
    reportDrawFailure(panel, 0x80004005, 1000);
    reportDrawFailure(panel, 0x80004005, 2000);
    reportDrawFailure(panel, 0x80004005, 5999);
    reportDrawFailure(other, 0x80004005, 2000);
    ASSERT_EQ(log.size(), 2u);
    EXPECT_EQ(log[0], "[d2d] panel draw failed hr=0x80004005, frame dropped\n");
    reportDrawFailure(panel, 0x80004005, 6000);
    ASSERT_EQ(log.size(), 3u);
    EXPECT_EQ(log[2], "[d2d] panel draw failed hr=0x80004005, frame dropped (2 more suppressed)\n");
    reportDrawFailure(panel, 0x8007000E, 6001); // another code is news
    EXPECT_EQ(log.size(), 4u);
    static const std::string many(64, 'x');
    for (size_t i = 0; i < 64; ++i)
        reportDrawFailure(many.c_str() + i, 1, 10000);
    EXPECT_EQ(log.size(), 4u + 22u); // 24 places in all
}

TEST_F(DrawingTest, RebuildsAreLimitedAndTheLossStaysRaisedMeanwhile) {
    static int releases, remakes;
    static bool works;
    releases = remakes = 0;
    works = true;
    int self = 0;
    addDeviceClient({"test", &self, [](void*) { ++releases; },
                     [](void*) {
                         ++remakes;
                         return works;
                     }});
    uint64_t now = 1'000'000; // far from what other tests used
    recoverDevice(now);
    EXPECT_EQ(releases, 0); // nothing is lost
    const int generation = deviceGeneration();
    for (int i = 0; i < 5; ++i) {
        raiseDeviceLost();
        recoverDevice(now += 100);
        EXPECT_FALSE(deviceLost());
    }
    EXPECT_EQ(deviceGeneration(), generation + 5);
    log.clear();
    raiseDeviceLost();
    for (const int after : {100, 5000, 9999}) {
        recoverDevice(now + static_cast<uint64_t>(after));
        EXPECT_TRUE(deviceLost());
    }
    EXPECT_EQ(log, std::vector<std::string>{"[panel] 5 device rebuilds in 10s, backing off 10s\n"});
    recoverDevice(now + 10'099);
    EXPECT_TRUE(deviceLost());
    recoverDevice(now + 10'100);
    EXPECT_FALSE(deviceLost());
    EXPECT_EQ(releases, 6);
    works = false;
    raiseDeviceLost();
    recoverDevice(now + 10'200);
    EXPECT_TRUE(deviceLost());
    works = true;
    recoverDevice(now + 10'300);
    EXPECT_FALSE(deviceLost());
    removeDeviceClient(&self);
    raiseDeviceLost();
    recoverDevice(now + 10'400);
    EXPECT_EQ(remakes, 8);
}

} // namespace

} // namespace vt::test
