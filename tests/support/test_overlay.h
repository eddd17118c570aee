// Overlays for tests and benchmarks: a small one that tells what was asked of it, and one as heavy
// as a full field's timing table.
#pragma once
#include "overlay/frame/theme.h"
#include "overlay/window/overlay_window.h"

#include <cstdio>
#include <string>

namespace vt {

/// Answers what the test sets, and counts what it is asked.
class TestOverlay : public OverlayWindow {
public:
    TestOverlay(OverlayHost& overlayHost, int slotNumber, int width = 200, int height = 100)
        : OverlayWindow(overlayHost, slotNumber), wantedWidth(width), wantedHeight(height) {
        layoutForStyle();
        applyScale(*this);
    }

    int wantedWidth, wantedHeight;
    float gap = 0; // with `hasGap` the width is the gap and two bars of 30
    bool hasGap = false;
    uint64_t hash = 1;
    bool withoutSim = false, gate = true, extra = false, clickArea = false;
    RectI liveArea;

    int draws = 0, hashes = 0, gates = 0, extras = 0, prepared = 0;
    RectF lastRect;
    RectF lastOnScreen; // the same rectangle under the draw's transform
    int lastTheme = -1;
    PointI lastClick{-1, -1};

    void buildPage(const PageBuilder&) override {}
    bool showsWithoutSim() const override { return withoutSim; }
    float* gapField() override { return hasGap ? &gap : nullptr; }
    void layoutForStyle() override {
        baseWidth = hasGap ? static_cast<int>(gap) + 60 : wantedWidth;
        baseHeight = wantedHeight;
    }
    bool visibilityGate() override { return ++gates, gate; }
    bool extraShowWhen(bool, bool, bool) override { return ++extras, extra; }
    bool hasClickArea() const override { return clickArea; }
    bool hitAt(int x, int y) const override { return liveArea.contains({x, y}); }
    void onClick(PointI client) override { lastClick = client; }
    uint64_t contentHash() override { return ++hashes, hash; }
    void prepareFrame(const SimFrame*) override { ++prepared; }
    void draw(Canvas& target, RectF rect) override {
        ++draws;
        lastRect = rect;
        const Matrix m = target.transform();
        lastOnScreen = {rect.left * m.xx + m.dx, rect.top * m.yy + m.dy, rect.right * m.xx + m.dx,
                        rect.bottom * m.yy + m.dy};
        lastTheme = drawTheme();
        target.fillRect(rect, brush({0.1f, 0.35f, 0.6f, 0.6f}));
    }
};

/// Sixty rows of ten texts with backgrounds. `tenths` is what changes from frame to frame.
class HeavyOverlay : public OverlayWindow {
public:
    static constexpr int kRows = 60, kColumns = 10;

    HeavyOverlay(OverlayHost& overlayHost, int slotNumber)
        : OverlayWindow(overlayHost, slotNumber) {
        layoutForStyle();
        applyScale(*this);
    }

    int tenths = 0;

    void buildPage(const PageBuilder&) override {}
    void layoutForStyle() override {
        baseWidth = 640;
        baseHeight = kRows * 14;
    }
    uint64_t contentHash() override { return static_cast<uint64_t>(tenths) + 1; }
    void draw(Canvas& target, RectF rect) override {
        if (!font) font = makeTextFormat("Inter Tight", 11, 500);
        const float cell = rect.width() / kColumns;
        for (int row = 0; row < kRows; ++row) {
            const float y = rect.top + static_cast<float>(row) * 14;
            target.fillRect({rect.left, y, rect.right, y + 13},
                            brush({0.1f, 0.12f, 0.16f, row % 2 ? 0.8f : 0.6f}));
            for (int column = 0; column < kColumns; ++column) {
                char text[16];
                // One column runs with time, the others stand.
                const int value = column == 9 ? tenths + row * 7 : row * 10 + column;
                std::snprintf(text, sizeof text, "%d.%d", value / 10, value % 10);
                const float x = rect.left + static_cast<float>(column) * cell;
                drawText(target, font.get(), text, {x, y, x + cell, y + 13}, brush(kTextColour));
            }
        }
    }
    void discardDeviceResources() override {
        OverlayWindow::discardDeviceResources();
        font.reset();
    }

private:
    TextFormatRef font;
};

} // namespace vt
