#include "sheets.h"

#include "overlay/drawing/drawing.h"
#include "platform/file.h"

#include <cmath>
#include <cstdio>
#include <numbers>
#include <string>

namespace vt::test {

namespace {

constexpr Color kBackground{0.055f, 0.063f, 0.078f, 1};
constexpr Color kPanel{0.11f, 0.125f, 0.161f, 1};
constexpr Color kText{0.961f, 0.969f, 0.98f, 1};
constexpr Color kDim{0.961f, 0.969f, 0.98f, 0.55f};
constexpr Color kRed{1, 0.29f, 0.29f, 1};
constexpr Color kYellow{1, 0.784f, 0, 1};
constexpr Color kGreen{0, 0.784f, 0.392f, 1};
constexpr Color kBlue{0.118f, 0.302f, 0.549f, 1};

BitmapRef sheet(float width, float height, float dpi) {
    return createBitmap(static_cast<int>(std::lround(width * dpi / 96)),
                        static_cast<int>(std::lround(height * dpi / 96)), dpi);
}

struct Sheet {
    BitmapRef bitmap;
    Canvas canvas;
    BrushCache brushes;

    Sheet(float width, float height, float dpi) : bitmap(sheet(width, height, dpi)) {
        canvas.begin(bitmap);
        canvas.clear(kBackground);
    }
    const Brush* brush(Color color) { return brushFor(brushes, color); }
    BitmapRef done() {
        canvas.end();
        return bitmap;
    }
};

PathRef star(float x, float y, float radius) {
    PathBuilder builder;
    for (int i = 0; i < 5; ++i) {
        const float a = static_cast<float>(i) * 4 * std::numbers::pi_v<float> / 5 -
                        std::numbers::pi_v<float> / 2;
        builder.lineTo(x + radius * std::cos(a), y + radius * std::sin(a));
    }
    return builder.close().build(true);
}

PathRef gauge(float x, float y, float radius) {
    constexpr float pi = std::numbers::pi_v<float>;
    return PathBuilder()
        .arc({x, y}, radius, 0.75f * pi, 2.25f * pi)
        .arc({x, y}, radius * 0.7f, 2.25f * pi, 0.75f * pi)
        .close()
        .build();
}

} // namespace

std::string fontsFolder() {
    const std::string folder = std::string(VT_SOURCE_DIR) + "/fonts";
    return fileExists(folder + "/inter-tight/InterTight_400Regular.ttf") ? folder : std::string();
}

BitmapRef shapesSheet(float dpi) {
    Sheet s(320, 240, dpi);
    Canvas& c = s.canvas;
    c.fillRect({10, 10, 60, 40}, s.brush(kRed));
    c.strokeRect({70.5f, 10.5f, 119.5f, 39.5f}, s.brush(kYellow));
    c.fillRoundedRect({130, 10, 180, 40}, 8, s.brush(kGreen));
    c.strokeRoundedRect({190, 10, 240, 40}, 8, s.brush(kText), 2);
    c.fillRoundedRect({250, 10, 310, 40}, 99, s.brush(kPanel));
    c.fillEllipse({35, 70}, 25, 18, s.brush(kBlue));
    c.strokeEllipse({95, 70}, 24, 18, s.brush(kYellow), 3);
    c.fillPath(star(155, 72, 22).get(), s.brush(kYellow));
    c.strokePath(star(215, 72, 22).get(), s.brush(kText), 1.5f);
    c.fillPath(gauge(280, 74, 22).get(), s.brush(kRed));
    const BrushRef across =
        linearGradient({10, 0}, {150, 0}, {{0, kRed}, {0.5f, kYellow}, {1, withAlpha(kGreen, 0)}});
    c.fillRoundedRect({10, 105, 150, 135}, 6, across.get());
    const BrushRef glow =
        radialGradient({235, 120}, 70, 20, {{0, kYellow}, {1, withAlpha(kYellow, 0)}});
    c.fillRect({160, 100, 310, 140}, glow.get());
    const StrokeStyle dashed{LineCap::flat, LineJoin::miter, {6, 6}, 0};
    const StrokeStyle dotted{LineCap::round, LineJoin::round, {0, 8}, 0};
    c.drawLine({10, 150.5f}, {150, 150.5f}, s.brush(kText), 1, &dashed);
    c.drawLine({10, 162}, {150, 162}, s.brush(kYellow), 4, &dotted);
    c.drawLine({10, 172}, {150, 188}, s.brush(kGreen), 2);
    const StrokeStyle square{LineCap::square, LineJoin::bevel, {}, 0};
    c.strokePath(PathBuilder().moveTo(170, 188).lineTo(200, 152).lineTo(230, 188).build().get(),
                 s.brush(kText), 7, &square);
    const StrokeStyle round{LineCap::round, LineJoin::round, {}, 0};
    c.strokePath(
        PathBuilder().moveTo(250, 186).bezierTo({260, 140}, {290, 220}, {305, 156}).build().get(),
        s.brush(kRed), 5, &round);
    c.pushClip({10, 200, 90, 230});
    c.fillEllipse({50, 215}, 60, 22, s.brush(kGreen));
    c.popClip();
    c.setTransform(combine({std::cos(0.3f), std::sin(0.3f), -std::sin(0.3f), std::cos(0.3f), 0, 0},
                           translateMatrix(140, 205)));
    c.fillRect({-20, -10, 30, 20}, s.brush(kBlue));
    c.setTransform({});
    for (int i = 0; i <= 10; ++i)
        c.fillRect(rectAt(190.0f + 11.0f * static_cast<float>(i), 200, 10, 30),
                   s.brush(withAlpha(kText, static_cast<float>(i) / 10)));
    return s.done();
}

BitmapRef layersSheet(float dpi) {
    Sheet s(320, 160, dpi);
    Canvas& c = s.canvas;
    const auto stripes = [&](float x, float y) {
        for (int i = 0; i < 6; ++i)
            c.fillRect(rectAt(x + 15.0f * static_cast<float>(i), y, 15, 60),
                       s.brush(i % 2 ? kYellow : kBlue));
        c.fillEllipse({x + 45, y + 30}, 30, 20, s.brush(kRed));
    };
    c.pushLayer(PathBuilder().roundedRect({10, 10, 100, 70}, 16).build());
    stripes(10, 10);
    c.popLayer();
    c.pushLayer(PathBuilder().roundedRect({115, 10, 205, 70}, 16).build(), 0.4f);
    stripes(115, 10);
    c.popLayer();
    c.pushLayer(nullptr, 0.5f);
    stripes(220, 10);
    c.popLayer();

    const BitmapRef dot = createBitmap(80, 60);
    Canvas inner;
    inner.begin(dot);
    inner.fillRoundedRect({25, 20, 55, 40}, 4, s.brush(kYellow));
    inner.end();
    c.drawBitmap(dot.get(), rectAt(0, 85, 80, 60));
    c.drawBitmap(blurBitmap(*dot, 1.2f).get(), rectAt(50, 85, 80, 60));
    c.drawBitmap(blurBitmap(*dot, 6).get(), rectAt(100, 85, 80, 60));
    const RectF part{25, 20, 35, 30};
    c.drawBitmap(dot.get(), rectAt(180, 95, 40, 40), &part, 1, Sampling::nearest);
    c.drawBitmap(dot.get(), rectAt(230, 95, 40, 40), &part, 0.5f);
    c.drawBitmap(dot.get(), rectAt(280, 105, 20, 15));
    return s.done();
}

BitmapRef fontsSheet(float dpi) {
    struct Row {
        const char* family;
        int weight;
        bool italic;
    };
    constexpr Row rows[] = {
        {"Inter Tight", 400, false},      {"Inter Tight", 500, false},
        {"Inter Tight", 600, false},      {"Inter Tight", 700, false},
        {"Inter Tight", 700, true},       {"JetBrains Mono", 400, false},
        {"JetBrains Mono", 600, false},   {"JetBrains Mono", 700, false},
        {"Titillium Web", 400, false},    {"Titillium Web", 600, false},
        {"Titillium Web", 700, false},    {"Chakra Petch", 400, false},
        {"Chakra Petch", 600, false},     {"Chakra Petch", 700, false},
        {"Barlow Condensed", 400, false}, {"Barlow Condensed", 500, false},
        {"Barlow Condensed", 600, false}, {"Barlow Condensed", 700, false},
        {"Noto Sans JP", 400, false},     {"Noto Sans JP", 700, false},
        {"Consolas", 400, false},         {"Segoe UI", 400, false},
    };
    Sheet s(640, 22.0f * std::size(rows) + 16, dpi);
    float y = 8;
    for (const Row& row : rows) {
        const TextFormatRef big = makeTextFormat(row.family, 15, row.weight, row.italic);
        const TextFormatRef small = makeTextFormat(row.family, 10, row.weight, row.italic);
        const std::string name =
            std::string(row.family) + " " + std::to_string(row.weight) + (row.italic ? " it" : "");
        drawText(s.canvas, big.get(), name, {10, y, 220, y + 22}, s.brush(kText));
        drawText(s.canvas, big.get(), "1:47.302 +0.184 日本 Ωß", {220, y, 440, y + 22},
                 s.brush(kYellow));
        drawText(s.canvas, small.get(), "Max Verstappen P3 iR 4.2k 1:47.302", {440, y, 630, y + 22},
                 s.brush(kDim));
        y += 22;
    }
    return s.done();
}

BitmapRef textSheet(float dpi) {
    Sheet s(640, 330, dpi);
    Canvas& c = s.canvas;
    const TextFormatRef f = makeTextFormat("Inter Tight", 14, 400);
    const TextFormatRef bold = makeTextFormat("Titillium Web", 18, 700);
    constexpr TextAlign aligns[] = {TextAlign::leading, TextAlign::center, TextAlign::trailing};
    for (int h = 0; h < 3; ++h)
        for (int v = 0; v < 3; ++v) {
            const RectF box = rectAt(10.0f + 105.0f * static_cast<float>(h),
                                     10.0f + 50.0f * static_cast<float>(v), 100, 45);
            c.fillRect(box, s.brush(kPanel));
            drawText(c, f.get(), "Agjx  ", box, s.brush(kText), aligns[h], aligns[v]);
        }
    // Too wide for their boxes.
    for (int h = 0; h < 3; ++h) {
        const RectF box = rectAt(400, 10.0f + 26.0f * static_cast<float>(h), 160, 22);
        c.fillRect(box, s.brush(kPanel));
        drawText(c, f.get(), "wider than the box it stands in", box, s.brush(kText), aligns[h]);
    }
    OverlayLayoutCache cells;
    const RectF cut = rectAt(400, 90, 160, 22);
    c.fillRect(cut, s.brush(kPanel));
    drawTextCached(c, cells, f.get(), "wider than the box it stands in", cut, s.brush(kText),
                   TextAlign::leading, true);
    const RectF whole = rectAt(400, 116, 160, 22);
    c.fillRect(whole, s.brush(kPanel));
    drawTextCached(c, cells, f.get(), "fits well", whole, s.brush(kText), TextAlign::leading, true);
    // Lines, each aligned in the box.
    for (int h = 0; h < 3; ++h) {
        const RectF box = rectAt(10.0f + 105.0f * static_cast<float>(h), 165, 100, 60);
        c.fillRect(box, s.brush(kPanel));
        drawText(c, f.get(), "one\nand two\n3", box, s.brush(kText), aligns[h]);
    }
    drawTextSpaced(c, f.get(), "LETTERS APART", {400, 145, 630, 165}, s.brush(kText), 3);
    drawTextSpaced(c, f.get(), "LETTERS CLOSE", {400, 165, 630, 185}, s.brush(kText), -1);
    drawText(c, f.get(), "broken \xC3(\xFF bytes", {400, 185, 630, 205}, s.brush(kRed));
    drawText(c, bold.get(), "鈴木サーキット Suzuka １２３。かな", {400, 205, 630, 230},
             s.brush(kText));
    struct Fit {
        RectF box;
        const char* text;
        float maxScale;
    };
    const Fit fits[] = {{rectAt(10, 240, 120, 70), "4", 0},
                        {rectAt(140, 240, 120, 70), "long text in a box", 0},
                        {rectAt(270, 240, 120, 70), "at most 1.5", 1.5f},
                        {rectAt(400, 240, 50, 70), "Verstappen", 2}};
    for (const Fit& fit : fits) {
        c.fillRect(fit.box, s.brush(kPanel));
        drawTextFit(c, bold.get(), fit.text, fit.box, s.brush(kYellow), fit.maxScale);
    }
    c.setTransform(combine({0, -1, 1, 0, 0, 0}, translateMatrix(470, 310)));
    drawText(c, f.get(), "upwards", {0, 0, 70, 20}, s.brush(kText));
    c.setTransform({});
    const BrushRef across = linearGradient({500, 0}, {630, 0}, {{0, kRed}, {1, kYellow}});
    drawTextFit(c, bold.get(), "Gradient", {500, 240, 630, 310}, across.get());
    return s.done();
}

BitmapRef tableSheet(float dpi) {
    Sheet s(420, 150, dpi);
    Canvas& c = s.canvas;
    const TextFormatRef name = makeTextFormat("Inter Tight", 13, 600);
    const TextFormatRef number = makeTextFormat("JetBrains Mono", 12, 400);
    const TextFormatRef badge = makeTextFormat("Barlow Condensed", 13, 700);
    static constexpr const char* names[] = {"Max Verstappen", "Sébastien Ogier", "佐藤 琢磨",
                                            "Łukasz Kowalski", "Jo"};
    c.fillRoundedRect({8, 8, 412, 142}, 8, s.brush(kPanel));
    OverlayLayoutCache cells;
    for (int i = 0; i < 5; ++i) {
        const float y = 14.0f + 25.0f * static_cast<float>(i);
        if (i == 2) c.fillRect({8, y, 412, y + 24}, s.brush(withAlpha(kYellow, 0.14f)));
        char text[32];
        std::snprintf(text, sizeof text, "%d", i + 9);
        drawTextCached(c, cells, number.get(), text, {14, y, 36, y + 24}, s.brush(kDim),
                       TextAlign::trailing);
        c.fillRoundedRect({44, y + 4, 72, y + 20}, 3, s.brush(i % 2 ? kBlue : kRed));
        drawTextCached(c, cells, badge.get(), i % 2 ? "GT3" : "LMP2", {44, y, 72, y + 24},
                       s.brush(kText), TextAlign::center);
        drawTextCached(c, cells, name.get(), names[i], {82, y, 240, y + 24}, s.brush(kText),
                       TextAlign::leading, true);
        std::snprintf(text, sizeof text, "%+.3f", (i - 2) * 1.742);
        drawTextCached(c, cells, number.get(), text, {250, y, 320, y + 24},
                       s.brush(i < 2 ? kRed : kGreen), TextAlign::trailing);
        drawTextCached(c, cells, number.get(), "1:47.302", {330, y, 404, y + 24}, s.brush(kText),
                       TextAlign::trailing);
    }
    return s.done();
}

} // namespace vt::test
