// What the faces of the Fuel overlay share.
#include "overlay/frame/theme.h"
#include "overlay/overlays/fuel_overlay.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace vt {

namespace {

constexpr Color kAmber{1.0f, 0.72f, 0.16f, 1};

} // namespace

Color fuelStatusColour(const FuelPicture& shown) {
    switch (shown.view.status) {
    case kFuelSafe:
        return kApexPositive;
    case kFuelMarginal:
        return kAmber;
    case kFuelShort:
        return shown.phase == 1 ? kAmber : kApexNegative;
    default:
        return themePalette().textDim;
    }
}

void drawFuelCell(FuelFace& face, RectF box, const FuelCell& cell, float valueSize,
                  TextAlign align) {
    const float label = std::max(valueSize * 0.42f, 9 * face.unit);
    const RectF top{box.left, box.top, box.right, box.top + label * 1.5f};
    face.p.text(top, cell.label, {Face::sans, label, 600}, themePalette().textDim, align);
    face.p.text({box.left, top.bottom, box.right, box.bottom}, cell.value,
                {Face::mono, valueSize, 700}, cell.colour.a > 0 ? cell.colour : themePalette().text,
                align);
}

void drawFuelBar(FuelFace& face, RectF box) {
    const FuelPicture& shown = face.shown;
    const float radius = std::min(4 * face.unit, box.height() / 2);
    face.p.canvas.fillRoundedRect(box, radius, face.p.ink(themePalette().cellFill));
    if (shown.bar > 0.005f) {
        const RectF level{box.left, box.top,
                          box.left + std::max(box.width() * shown.bar, 2 * radius), box.bottom};
        const Color colour = shown.view.alertLevel == 2   ? kApexNegative
                             : shown.view.alertLevel == 1 ? kAmber
                                                          : fuelStatusColour(shown);
        face.p.canvas.fillRoundedRect(level, radius, face.p.ink(colour));
    }
    // Lap marks from the next lap on, while they stand apart.
    const FuelView& view = shown.view;
    if (!shown.barOfLaps && view.burnValid && view.capacity > 0) {
        const float step = view.burn / view.capacity * box.width();
        for (float x = box.left + box.width() * shown.bar - step; step > 5 && x > box.left + 2;
             x -= step)
            face.p.canvas.fillRect({x - 0.5f, box.top + box.height() * 0.55f, x + 0.5f, box.bottom},
                                   face.p.ink(fade(themePalette().panelTop, 0.8f)));
    }
    if (shown.notch < 0) return;
    const float x = box.left + box.width() * shown.notch;
    face.p.canvas.fillRect({x - 1.2f, box.top - 3, x + 1.2f, box.bottom + 3},
                           face.p.ink(themePalette().text));
}

void drawFuelSpark(FuelFace& face, RectF box, bool axis) {
    const FuelRing& ring = face.ring.ring;
    float least = 1e9f, most = 0;
    for (int i = 0; i < ring.count; ++i) {
        const LapFuelSample& sample = ring.samples[static_cast<size_t>(i)];
        if (sample.dirty) continue;
        least = std::min(least, sample.fuelUsed);
        most = std::max(most, sample.fuelUsed);
    }
    const TextStyle small{Face::mono, 9 * face.unit, 400};
    if (!(most > 0)) {
        face.p.text(box, "--", small, themePalette().textDim, TextAlign::center);
        return;
    }
    if (axis) {
        char text[16];
        const float wide = face.p.width(small, "0.00") + 4;
        const RectF labels{box.right - wide, box.top, box.right, box.bottom};
        std::snprintf(text, sizeof text, "%.1f", static_cast<double>(most));
        face.p.text({labels.left, labels.top, labels.right, labels.top + small.size * 1.4f}, text,
                    small, themePalette().textDim, TextAlign::trailing);
        std::snprintf(text, sizeof text, "%.1f", static_cast<double>(least));
        face.p.text({labels.left, labels.bottom - small.size * 1.4f, labels.right, labels.bottom},
                    text, small, themePalette().textDim, TextAlign::trailing);
        box.right = labels.left - 2;
    }
    // Bars from a little below the least: the differences are what matters.
    const float bottom = std::max(0.0f, least - (most - least) * 0.6f - 0.05f * most);
    const float step = box.width() / kFuelRing;
    for (int i = 0; i < ring.count; ++i) {
        const LapFuelSample& sample = ring.samples[static_cast<size_t>(i)];
        const float used = sample.dirty ? least : sample.fuelUsed;
        const float height =
            std::clamp((used - bottom) / std::max(most - bottom, 0.01f), 0.06f, 1.0f) *
            box.height();
        const float left = box.left + step * static_cast<float>(i + kFuelRing - ring.count);
        const Color colour = sample.dirty ? themePalette().panelLine : themePalette().accent;
        face.p.canvas.fillRect({left + 1, box.bottom - height, left + step - 1, box.bottom},
                               face.p.ink(fade(colour, i + 1 == ring.count ? 1.0f : 0.65f)));
    }
}

void drawFuelBadge(FuelFace& face, RectF box, const char* text) {
    const Color colour = fuelStatusColour(face.shown);
    face.p.pill(box, text, {Face::sans, box.height() * 0.52f, 700}, fade(colour, face.shown.flash),
                fade(colour, 0.18f), std::min(5 * face.unit, box.height() / 2));
}

} // namespace vt
