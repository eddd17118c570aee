#include "platform/canvas.h"
#include "platform/file.h"
#include "platform/text.h"
#include "support/picture_compare.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace vt {

namespace {

std::string shippedFonts() {
    const std::string folder = std::string(VT_SOURCE_DIR) + "/fonts";
    return fileExists(folder + "/inter-tight/InterTight_400Regular.ttf") ? folder : std::string();
}

/// The pixels that a layout touches.
RectI inkOf(const TextLayout& layout, PointF at, float dpi = 96, bool clip = false) {
    const BitmapRef bitmap = createBitmap(400, 200, dpi);
    Canvas canvas;
    canvas.begin(bitmap);
    const BrushRef white = solidBrush({1, 1, 1, 1});
    canvas.drawLayout(layout, at, white.get(), clip);
    EXPECT_TRUE(canvas.end().ok());
    const PixelView view = bitmapPixels(*bitmap);
    RectI ink{400, 200, 0, 0};
    for (int y = 0; y < view.height; ++y)
        for (int x = 0; x < view.width; ++x)
            if (view.data[y * view.stride + x * 4 + 3] > 40)
                ink = {std::min(ink.left, x), std::min(ink.top, y), std::max(ink.right, x + 1),
                       std::max(ink.bottom, y + 1)};
    return ink;
}

class Text : public testing::Test {
protected:
    TextFormatRef format;
    void SetUp() override {
        loadFonts(shippedFonts());
        format = createTextFormat("Inter Tight", 16, 400);
    }
    void TearDown() override { unloadFonts(); }
    TextLayoutRef layout(std::string_view text, float w = 100, float h = 40, float spacing = 0) {
        return createTextLayout(*format, text, w, h, spacing);
    }
};

TEST_F(Text, SizesAreDesignUnitsAndScaleWithoutJumps) {
    const TextMetrics plain = layoutMetrics(*layout("Hamburg"));
    const TextFormatRef twice = createTextFormat("Inter Tight", 32, 400);
    const TextMetrics big = layoutMetrics(*createTextLayout(*twice, "Hamburg", 100, 40));
    EXPECT_NEAR(big.width, plain.width * 2, 0.1f);
    EXPECT_NEAR(big.height, plain.height * 2, 0.1f);
    const RectI at96 = inkOf(*layout("Hamburg"), {10, 10});
    const RectI at192 = inkOf(*layout("Hamburg"), {10, 10}, 192);
    EXPECT_NEAR(at192.width(), at96.width() * 2, 3);
    EXPECT_NEAR(at192.left, at96.left * 2, 3);
}

TEST_F(Text, TrailingBlanksCountOnlyWhereAsked) {
    const TextMetrics bare = layoutMetrics(*layout("Lap"));
    const TextMetrics blanks = layoutMetrics(*layout("Lap   "));
    EXPECT_FLOAT_EQ(blanks.width, bare.width);
    EXPECT_GT(blanks.widthWithTrailing, bare.width + 5);
    const TextMetrics lines = layoutMetrics(*layout("one\ntwo\nthree"));
    EXPECT_EQ(lines.lineCount, 3);
    EXPECT_NEAR(lines.height, bare.height * 3, 0.1f);
}

TEST_F(Text, AlignsInTheBoxAlsoWhenTheTextOverflowsIt) {
    for (const char* text : {"fits", "far wider than the box it has", "blanks   "}) {
        const TextLayoutRef t = layout(text, 80, 60);
        const float width = layoutMetrics(*t).width;
        const float left = 150, top = 50;
        layoutSetAlign(*t, TextAlign::leading, TextAlign::leading);
        EXPECT_NEAR(inkOf(*t, {left, top}).left, left, 2.5) << text;
        layoutSetAlign(*t, TextAlign::trailing, TextAlign::leading);
        EXPECT_NEAR(inkOf(*t, {left, top}).right, left + 80, 2.5) << text;
        layoutSetAlign(*t, TextAlign::center, TextAlign::center);
        const RectI ink = inkOf(*t, {left, top});
        EXPECT_NEAR((ink.left + ink.right) / 2.0, left + 40, 2) << text;
        EXPECT_NEAR(ink.width(), width, 4) << text;
        EXPECT_NEAR((ink.top + ink.bottom) / 2.0, top + 30, 4) << text;
    }
}

TEST_F(Text, LinesAreAlignedEachForItself) {
    const TextLayoutRef t = layout("i\nwide line", 200, 60);
    layoutSetAlign(*t, TextAlign::trailing, TextAlign::leading);
    EXPECT_NEAR(inkOf(*t, {10, 10}).right, 210, 2);
    const float first = layoutCaretX(*t, 0), second = layoutCaretX(*t, 2);
    EXPECT_GT(first, 190);
    EXPECT_LT(second, 150);
}

TEST_F(Text, WrapsAndCutsOnlyOnRequest) {
    const TextLayoutRef t = layout("several words that need more room", 80, 40);
    EXPECT_EQ(layoutMetrics(*t).lineCount, 1);
    layoutSetWrap(*t, true);
    EXPECT_GT(layoutMetrics(*t).lineCount, 2);
    EXPECT_LE(layoutMetrics(*t).width, 80);
    layoutSetWrap(*t, false);
    layoutSetEllipsis(*t, true);
    EXPECT_EQ(layoutMetrics(*t).lineCount, 1);
    EXPECT_LE(layoutMetrics(*t).width, 80);
    EXPECT_GT(layoutMetrics(*t).width, 55);
    layoutSetBox(*t, 1000, 40);
    EXPECT_GT(layoutMetrics(*t).width, 150);
}

TEST_F(Text, LetterSpacingGoesBehindEveryLetter) {
    const float plain = layoutMetrics(*layout("12345")).width;
    EXPECT_NEAR(layoutMetrics(*layout("12345", 100, 40, 4)).width, plain + 5 * 4, 0.1f);
    EXPECT_NEAR(layoutMetrics(*layout("12345", 100, 40, -1)).width, plain - 5, 0.1f);
    EXPECT_EQ(inkOf(*layout("12345", 100, 40, 4), {10, 10}).left,
              inkOf(*layout("12345"), {10, 10}).left);
}

TEST_F(Text, BrokenBytesShowAsReplacementCharacters) {
    const float mark = layoutMetrics(*layout("\xEF\xBF\xBD")).width;
    EXPECT_GT(mark, 4);
    EXPECT_FLOAT_EQ(layoutMetrics(*layout("\xFF")).width, mark);
    EXPECT_FLOAT_EQ(layoutMetrics(*layout("a\xC3(")).width,
                    layoutMetrics(*layout("a\xEF\xBF\xBD(")).width);
    EXPECT_FLOAT_EQ(layoutMetrics(*layout(std::string_view("a\0b", 3))).width,
                    layoutMetrics(*layout("a\xEF\xBF\xBD"
                                          "b"))
                        .width);
}

TEST_F(Text, CaretAndHitAgree) {
    const std::string text = "aé日本z";
    const TextLayoutRef t = layout(text, 300, 40);
    layoutSetAlign(*t, TextAlign::center, TextAlign::center);
    for (const size_t byte : {size_t{0}, size_t{1}, size_t{3}, size_t{6}, size_t{9}, size_t{10}}) {
        const float x = layoutCaretX(*t, byte);
        EXPECT_EQ(layoutHitTest(*t, x + 0.5f, 20), byte);
        EXPECT_EQ(layoutHitTest(*t, x - 0.5f, 20), byte);
    }
    EXPECT_EQ(layoutHitTest(*t, -1000, 20), 0u);
    EXPECT_EQ(layoutHitTest(*t, 1000, 20), text.size());
}

TEST_F(Text, ClipsToTheBoxOnlyWhenAsked) {
    const TextLayoutRef t = layout("far wider than the box", 60, 40);
    EXPECT_GT(inkOf(*t, {20, 20}, 96, false).right, 90);
    EXPECT_LE(inkOf(*t, {20, 20}, 96, true).right, 80);
}

/// Plain text goes onto the pixels by a way of its own; inside a layer it takes the general one.
TEST_F(Text, BothWaysOntoThePixelsAgree) {
    const auto draw = [&](bool layer, RectF clip, Color color, float dpi) {
        const BitmapRef bitmap = createBitmap(220, 120, dpi);
        Canvas canvas;
        canvas.begin(bitmap);
        canvas.clear({0.2f, 0.4f, 0.1f, 0.7f});
        canvas.pushClip(clip);
        if (layer) canvas.pushLayer(nullptr);
        const BrushRef brush = solidBrush(color);
        for (int i = 0; i < 8; ++i) // also across the edges of the picture and of the clip
            canvas.drawLayout(
                *layout("Hamburg 1:47.302"),
                {-20.3f + 17.3f * static_cast<float>(i), -9 + 14.6f * static_cast<float>(i)},
                brush.get());
        if (layer) canvas.popLayer();
        canvas.popClip();
        EXPECT_TRUE(canvas.end().ok());
        return bitmap;
    };
    for (const RectF clip : {RectF{-10, -10, 500, 500}, RectF{20, 10, 90, 70},
                             RectF{20.4f, 10.6f, 90.7f, 70.2f}, RectF{30, 30, 30, 60}})
        for (const Color color : {Color{1, 1, 1, 1}, Color{1, 0.3f, 0.1f, 0.5f}})
            for (const float dpi : {96.0f, 144.0f}) {
                const BitmapRef fast = draw(false, clip, color, dpi);
                EXPECT_TRUE(
                    test::samePicture(*fast, *draw(true, clip, color, dpi), "ways", {3, 0}));
            }
}

TEST_F(Text, JapaneseComesFromTheShippedFont) {
    if (shippedFonts().empty()) GTEST_SKIP() << "no fonts/ folder: run tools/get_fonts";
    const TextFormatRef japanese = createTextFormat("Noto Sans JP", 16, 400);
    for (const char* text : {"日本", "かな", "カナ", "、。", "㐀", "１２", "ㇰ"}) {
        const RectI own = inkOf(*createTextLayout(*japanese, text, 100, 40), {10, 10});
        const RectI mixed = inkOf(*createTextLayout(*format, text, 100, 40), {10, 10});
        EXPECT_EQ(own.width(), mixed.width()) << text;
        EXPECT_EQ(own.height(), mixed.height()) << text;
    }
}

} // namespace

} // namespace vt
