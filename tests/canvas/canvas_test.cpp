#include "platform/canvas.h"
#include "support/picture_compare.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <numbers>
#include <numeric>
#include <unistd.h>

namespace vt::test {

namespace {

struct Drawing {
    BitmapRef bitmap;
    Canvas canvas;
    explicit Drawing(int width = 40, int height = 40, float dpi = 96)
        : bitmap(createBitmap(width, height, dpi)) {
        canvas.begin(bitmap);
    }
    Pixel at(int x, int y) const { return pixelAt(*bitmap, x, y); }
};

const BrushRef kWhite = solidBrush({1, 1, 1, 1});

TEST(Canvas, SolidFillsAreExact) {
    for (int v = 0; v < 256; ++v) {
        Drawing d(2, 2);
        const float c = static_cast<float>(v) / 255.0f;
        d.canvas.fillRect({0, 0, 2, 2}, solidBrush({c, 1 - c, 0, 1}).get());
        EXPECT_TRUE(d.canvas.end().ok());
        EXPECT_EQ(d.at(1, 1), (Pixel{0, 255 - v, v, 255}));
        Drawing half(2, 2);
        half.canvas.clear({c, 0, 0, 0.5f});
        half.canvas.end();
        EXPECT_EQ(half.at(0, 0), (Pixel{0, 0, (v * 128 + 127) / 255, 128})) << v;
    }
    // Rounded to the nearest byte, not cut.
    Drawing d(2, 2);
    d.canvas.clear({0.039f, 0.043f, 0.051f, 1});
    d.canvas.end();
    EXPECT_EQ(d.at(0, 0), (Pixel{13, 11, 10, 255}));
}

TEST(Canvas, UnitsFollowTheDpiOfTheTarget) {
    Drawing d(60, 60, 144);
    EXPECT_EQ(d.canvas.bounds(), (RectF{0, 0, 40, 40}));
    d.canvas.fillRect({10, 10, 20, 20}, kWhite.get());
    d.canvas.setTransform(combine(scaleMatrix(2), translateMatrix(20, 0)));
    d.canvas.fillRect({0, 0, 2, 2}, kWhite.get());
    d.canvas.end();
    EXPECT_EQ(d.at(14, 15).a, 0);
    EXPECT_EQ(d.at(15, 15).a, 255);
    EXPECT_EQ(d.at(29, 29).a, 255);
    EXPECT_EQ(d.at(30, 29).a, 0);
    EXPECT_EQ(d.at(30, 0).a, 255);
    EXPECT_EQ(d.at(35, 5).a, 255);
    EXPECT_EQ(d.at(36, 5).a, 0);
}

TEST(Canvas, ClipsAndLayersNestAndLeaveTheTransform) {
    Drawing d;
    d.canvas.pushClip({0, 0, 20, 40});
    d.canvas.setTransform(translateMatrix(10, 0));
    d.canvas.pushLayer(nullptr, 0.5f);
    d.canvas.fillRect({0, 0, 30, 10}, kWhite.get());
    d.canvas.fillRect({0, 0, 30, 10}, kWhite.get()); // twice inside, faded once
    d.canvas.popClip();                              // not the innermost: no effect
    d.canvas.popLayer();
    d.canvas.popClip();
    EXPECT_EQ(d.canvas.transform().dx, 10);
    d.canvas.fillRect({0, 30, 30, 40}, kWhite.get());
    d.canvas.end();
    EXPECT_EQ(d.at(5, 5).a, 0);
    EXPECT_NEAR(d.at(15, 5).a, 128, 1);
    EXPECT_EQ(d.at(25, 5).a, 0);
    EXPECT_EQ(d.at(9, 35).a, 0);
    EXPECT_EQ(d.at(39, 35).a, 255);
}

TEST(Canvas, LayersLeftOpenAreLaidDownAtTheEnd) {
    Drawing d;
    d.canvas.pushClip({10, 10, 30, 30});
    d.canvas.pushLayer(PathBuilder().rect({0, 0, 20, 40}).build(), 1);
    d.canvas.fillRect({0, 0, 40, 40}, kWhite.get());
    EXPECT_TRUE(d.canvas.end().ok());
    EXPECT_FALSE(d.canvas.active());
    EXPECT_EQ(d.at(15, 15).a, 255);
    EXPECT_EQ(d.at(25, 15).a, 0);
    EXPECT_EQ(d.at(5, 15).a, 0);
}

TEST(Canvas, SoftMaskEdgesActOnce) {
    Drawing d;
    d.canvas.pushClip({0, 0, 10.5f, 40});
    d.canvas.pushLayer(PathBuilder().rect({0, 0, 40, 10.5f}).build(), 1);
    d.canvas.fillRect({0, 0, 40, 40}, kWhite.get());
    d.canvas.popLayer();
    d.canvas.popClip();
    d.canvas.end();
    EXPECT_NEAR(d.at(10, 5).a, 128, 10); // acting twice they would give 64
    EXPECT_NEAR(d.at(5, 10).a, 128, 10);
}

TEST(Canvas, NothingAndNonsenseAreIgnored) {
    Drawing d;
    d.canvas.fillRect({0, 0, 40, 40}, nullptr);
    d.canvas.fillPath(nullptr, kWhite.get());
    d.canvas.drawBitmap(nullptr, {0, 0, 40, 40});
    d.canvas.drawBitmap(d.bitmap.get(), {0, 0, 40, 40});
    d.canvas.fillRect({0, 0, NAN, 40}, kWhite.get());
    d.canvas.fillRect({20, 20, 10, 10}, kWhite.get());
    d.canvas.strokeEllipse({20, 20}, 0, 5, kWhite.get());
    d.canvas.setTransform({0, 0, 0, 0, 0, 0});
    const StrokeStyle broken{LineCap::flat, LineJoin::miter, {-1, 0}, NAN};
    d.canvas.strokeRect({0, 0, 0, 0}, kWhite.get(), 1, &broken);
    d.canvas.popClip();
    d.canvas.popLayer();
    d.canvas.fillPath(PathBuilder().build().get(), kWhite.get());
    EXPECT_TRUE(d.canvas.end().ok());
    for (int i = 0; i < 40; ++i)
        EXPECT_EQ(d.at(i, i).a, 0);
    Canvas closed;
    closed.fillRect({0, 0, 1, 1}, kWhite.get());
    EXPECT_FALSE(closed.begin(nullptr));
    EXPECT_FALSE(closed.end().ok());
}

TEST(Canvas, GradientsRunFromStopToStop) {
    Drawing d(100, 4);
    const BrushRef across =
        linearGradient({0, 0}, {100, 0}, {{0, {1, 0, 0, 1}}, {1, {0, 0, 1, 1}}});
    d.canvas.fillRect({0, 0, 100, 4}, across.get());
    d.canvas.end();
    EXPECT_NEAR(d.at(0, 1).r, 255, 3);
    EXPECT_NEAR(d.at(50, 1).r, 127, 4);
    EXPECT_NEAR(d.at(99, 1).b, 255, 3);
    Drawing r(100, 40);
    const BrushRef glow = radialGradient({50, 20}, 40, 10, {{0, {1, 1, 1, 1}}, {1, {1, 1, 1, 0}}});
    r.canvas.fillRect({0, 0, 100, 40}, glow.get());
    r.canvas.end();
    EXPECT_GT(r.at(50, 20).a, 240);
    EXPECT_NEAR(r.at(70, 20).a, 127, 8);
    EXPECT_NEAR(r.at(50, 25).a, 120, 20);
    EXPECT_EQ(r.at(50, 32).a, 0);
}

TEST(Canvas, PicturesAreCutScaledAndFaded) {
    const BitmapRef source = createBitmap(4, 4);
    uint8_t* p = bitmapWritablePixels(*source);
    for (int i = 0; i < 16; ++i, p += 4) {
        p[2] = i % 4 < 2 ? 255 : 0;
        p[0] = i % 4 < 2 ? 0 : 255;
        p[3] = 255;
    }
    bitmapChanged(*source);
    Drawing d;
    d.canvas.drawBitmap(source.get(), {0, 0, 20, 20}, nullptr, 1, Sampling::nearest);
    const RectF right{2, 0, 4, 4};
    d.canvas.drawBitmap(source.get(), {20, 0, 40, 20}, &right); // no red may bleed in
    d.canvas.drawBitmap(source.get(), {0, 20, 20, 40}, nullptr, 0.5f, Sampling::nearest);
    d.canvas.end();
    EXPECT_EQ(d.at(9, 10), (Pixel{0, 0, 255, 255}));
    EXPECT_EQ(d.at(10, 10), (Pixel{255, 0, 0, 255}));
    EXPECT_EQ(d.at(20, 10), (Pixel{255, 0, 0, 255}));
    EXPECT_EQ(d.at(39, 19), (Pixel{255, 0, 0, 255}));
    EXPECT_NEAR(d.at(5, 30).a, 128, 1);
}

TEST(Canvas, PathBoundsFollowTheCurve) {
    const PathRef circle =
        PathBuilder().arc({50, 50}, 20, 0, 2 * std::numbers::pi_v<float>).close().build();
    const RectF r = pathBounds(*circle);
    EXPECT_NEAR(r.left, 30, 0.05f);
    EXPECT_NEAR(r.top, 30, 0.05f);
    EXPECT_NEAR(r.right, 70, 0.05f);
    EXPECT_NEAR(r.bottom, 70, 0.05f);
    EXPECT_EQ(pathBounds(*PathBuilder().build()), RectF{});
    // A bow whose control points lie far outside of what it reaches.
    const RectF bow =
        pathBounds(*PathBuilder().moveTo(0, 0).bezierTo({0, 40}, {30, 40}, {30, 0}).build());
    EXPECT_NEAR(bow.bottom, 30, 0.05f);
}

TEST(Blur, KeepsTheAmountAndSpreadsItBySigma) {
    for (const float sigma : {0.8f, 1.5f, 3.0f, 4.0f, 7.5f}) {
        const BitmapRef dot = createBitmap(101, 101);
        uint8_t* p = bitmapWritablePixels(*dot);
        for (int y = 47; y < 54; ++y)
            for (int x = 47; x < 54; ++x)
                std::fill_n(p + (y * 101 + x) * 4, 4, uint8_t{255});
        bitmapChanged(*dot);
        const BitmapRef soft = blurBitmap(*dot, sigma);
        double sum = 0, mean = 0, spread = 0;
        for (int y = 0; y < 101; ++y)
            for (int x = 0; x < 101; ++x) {
                const double a = pixelAt(*soft, x, y).a;
                sum += a;
                mean += a * x;
                spread += a * (x - 50) * (x - 50);
            }
        EXPECT_NEAR(sum / (49 * 255.0), 1, 0.06) << sigma;
        EXPECT_NEAR(mean / sum, 50, 0.03) << sigma;
        EXPECT_NEAR(std::sqrt(spread / sum - 4), sigma, sigma * 0.08 + 0.05) << sigma;
    }
}

TEST(Device, DrawingFailsWhileItIsLost) {
    const int generation = deviceGeneration();
    EXPECT_TRUE(isDeviceLost(kDrawDeviceLost));
    EXPECT_FALSE(isDeviceLost(kDrawStillBusy));
    raiseDeviceLost();
    Drawing d;
    const DrawResult result = d.canvas.end();
    EXPECT_EQ(result.status, DrawStatus::lost);
    EXPECT_EQ(result.code, kDrawDeviceLost);
    EXPECT_TRUE(remakeDevice());
    EXPECT_FALSE(deviceLost());
    EXPECT_EQ(deviceGeneration(), generation + 1);
    d.canvas.begin(d.bitmap);
    EXPECT_TRUE(d.canvas.end().ok());
}

TEST(Bitmaps, ImpossibleOnesAreRefused) {
    EXPECT_EQ(createBitmap(0, 5), nullptr);
    EXPECT_EQ(createBitmap(5, 16385), nullptr);
    uint8_t pixels[64] = {};
    EXPECT_EQ(wrapBitmap(pixels, 4, 4, 12, 96, nullptr), nullptr);
    EXPECT_NE(wrapBitmap(pixels, 4, 4, 16, 96, nullptr), nullptr);
}

class Pictures : public testing::Test {
protected:
    std::filesystem::path folder =
        std::filesystem::temp_directory_path() / ("vt_pictures_" + std::to_string(getpid()));
    void SetUp() override { std::filesystem::create_directories(folder); }
    void TearDown() override { std::filesystem::remove_all(folder); }
    std::string path(const char* name) const { return (folder / name).string(); }
};

TEST_F(Pictures, PngKeepsEveryPixel) {
    Drawing d(33, 17);
    d.canvas.fillRoundedRect({2, 2, 30, 15}, 6, solidBrush({1, 0.5f, 0.25f, 0.7f}).get());
    d.canvas.end();
    ASSERT_TRUE(savePng(*d.bitmap, path("a.png")));
    const BitmapRef back = loadPicture(path("a.png"));
    ASSERT_TRUE(back);
    EXPECT_TRUE(samePicture(*back, *d.bitmap, "png", {1, 0}));
    EXPECT_FALSE(savePng(*d.bitmap, path("no/such/folder/a.png")));
    EXPECT_EQ(loadPicture(path("a.png"), 32), nullptr);
}

TEST_F(Pictures, DamagedFilesGiveNothing) {
    Drawing d(64, 64);
    d.canvas.fillEllipse({32, 32}, 30, 20, kWhite.get());
    d.canvas.end();
    ASSERT_TRUE(savePng(*d.bitmap, path("a.png")));
    std::ifstream in(path("a.png"), std::ios::binary);
    const std::string whole{std::istreambuf_iterator<char>(in), {}};
    const auto load = [&](const std::string& bytes) {
        std::ofstream(path("b.png"), std::ios::binary) << bytes;
        return loadPicture(path("b.png"));
    };
    EXPECT_NE(load(whole), nullptr);
    EXPECT_EQ(load(""), nullptr);
    EXPECT_EQ(load("plain text, no picture"), nullptr);
    EXPECT_EQ(load("\xFF\xD8\xFF\xE0 torn"), nullptr);
    EXPECT_EQ(load(whole.substr(0, whole.size() / 2)), nullptr);
    for (size_t i = 8; i < whole.size(); i += 7) { // must not crash, whatever comes out
        std::string bent = whole;
        bent[i] = static_cast<char>(bent[i] ^ 0x5A);
        load(bent);
    }
    EXPECT_EQ(loadPicture(path("missing.png")), nullptr);
}

} // namespace

} // namespace vt::test
